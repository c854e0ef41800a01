// Runs a target over its corpus without a fuzzer, or parts the corpus into files for one:
//
//   TARGET CORPUS             CORPUS is a text file: inputs parted by lines "----"; \xNN is a byte
//   TARGET CORPUS --split DIRECTORY
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

// `line` with every \xNN as the byte that it stands for.
std::string Unescape(const std::string& line) {
  std::string bytes;
  for (std::size_t i = 0; i < line.size(); ++i) {
    if (line[i] == '\\' && i + 3 < line.size() && line[i + 1] == 'x') {
      bytes += static_cast<char>(std::stoi(line.substr(i + 2, 2), nullptr, 16));
      i += 3;
    } else {
      bytes += line[i];
    }
  }
  return bytes;
}

std::vector<std::string> ReadCorpus(const char* path) {
  std::vector<std::string> inputs(1);
  std::ifstream in(path);
  for (std::string line; std::getline(in, line);) {
    if (line == "----") {
      inputs.emplace_back();
    } else {
      if (!inputs.back().empty()) inputs.back() += '\n';
      inputs.back() += Unescape(line);
    }
  }
  return inputs;
}

}  // namespace

int main(int count, char** arguments) {
  if (count != 2 && count != 4) return 2;
  const std::vector<std::string> inputs = ReadCorpus(arguments[1]);
  if (inputs.size() < 2) {
    std::fprintf(stderr, "no corpus in %s\n", arguments[1]);
    return 1;
  }
  for (std::size_t i = 0; i < inputs.size(); ++i) {
    if (count == 4) {
      std::ofstream(std::string(arguments[3]) + "/" + std::to_string(i)) << inputs[i];
    } else {
      LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(inputs[i].data()),
                             inputs[i].size());
    }
  }
  std::printf("%zu inputs\n", inputs.size());
}
