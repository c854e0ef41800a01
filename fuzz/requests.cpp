// Requests: from JSON to what is found in them and to the trace of what the report does.
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "host/checks.h"
#include "host/json_document.h"
#include "host/request.h"
#include "host/trace.h"

// One input.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace ledgerwick;
  try {
    const Request request =
        ParseRequest({reinterpret_cast<const char*>(data), size}, "request.json");
    CheckRequest(request);
    const std::string trace = ToJson(TraceReport(request));
    ParseJson(trace, "trace.json");
  } catch (const FileError&) {  // of the request: its answer
  } catch (const ReportMissing&) {
  }
  return 0;
}
