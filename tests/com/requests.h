// The requests that the tests make of the reports: tests/com/requests.jsonl, one a line. A class
// joins by a line of its own.
#pragma once

#include <string>
#include <vector>

#include "host/json_document.h"
#include "host/request.h"

namespace ledgerwick::com::testing {

// The content of a file. Throws std::runtime_error when it cannot be read.
std::string ReadWhole(const std::wstring& path);

// All requests, in the order of the file.
const std::vector<Request>& Requests();

// The first request for the class of that name.
const Request& RequestFor(TextView class_name);

}  // namespace ledgerwick::com::testing
