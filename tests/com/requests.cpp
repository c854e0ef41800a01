#include "requests.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

#include "component.h"

namespace ledgerwick::com::testing {
namespace {

std::vector<Request> ReadRequests() {
  std::istringstream lines(ReadWhole(ProgramFolder() + L"requests.jsonl"));
  std::vector<Request> requests;
  for (std::string line; std::getline(lines, line);) {
    requests.push_back(
        ParseRequest(line, "requests.jsonl, line " + std::to_string(requests.size() + 1)));
  }
  return requests;
}

}  // namespace

std::string ReadWhole(const std::wstring& path) {
  const std::ifstream file(std::filesystem::path(path), std::ios::binary);
  if (!file) throw std::runtime_error("cannot read " + ToUtf8(FromWide(path.c_str())));
  std::ostringstream text;
  text << file.rdbuf();
  return text.str();
}

const std::vector<Request>& Requests() {
  static const std::vector<Request> requests = ReadRequests();
  return requests;
}

const Request& RequestFor(TextView class_name) {
  return *std::find_if(Requests().begin(), Requests().end(),
                       [&](const Request& request) { return request.report->name == class_name; });
}

}  // namespace ledgerwick::com::testing
