#include "requests.h"

#include <cstdio>
#include <memory>
#include <stdexcept>

#include "component.h"

namespace ledgerwick::com::testing {
namespace {

std::vector<Request> ReadRequests() {
  const std::string text = ReadWhole(ProgramFolder() + L"requests.jsonl");
  std::vector<Request> requests;
  for (std::size_t from = 0; from < text.size(); from = text.find('\n', from) + 1) {
    const std::string line = text.substr(from, text.find('\n', from) - from);
    requests.push_back(
        ParseRequest(line, "requests.jsonl, line " + std::to_string(requests.size() + 1)));
  }
  return requests;
}

}  // namespace

std::string ReadWhole(const std::wstring& path) {
  const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(_wfopen(path.c_str(), L"rb"),
                                                             &std::fclose);
  if (!file) throw std::runtime_error("cannot read " + ToUtf8(FromWide(path.c_str())));
  std::string text;
  char buffer[65536];
  while (const std::size_t n = std::fread(buffer, 1, sizeof buffer, file.get())) {
    text.append(buffer, n);
  }
  return text;
}

const std::vector<Request>& Requests() {
  static const std::vector<Request> requests = ReadRequests();
  return requests;
}

Request RequestFor(const ClassInfo& info) {
  for (const Request& request : Requests()) {
    if (request.report == &info) return request;
  }
  Request bare;
  bare.report = &info;
  return bare;
}

}  // namespace ledgerwick::com::testing
