// What a page may ask a report for.
#pragma once

#include <stdexcept>
#include <string>

#include "host/request.h"

namespace ledgerwick::desk {

// A request that a report could read and that a page may not make.
class Refused : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// Reads a request of a page's. A page fills in the filters of a report and chooses no SQL: the
// request has no connection, no machine, no condition but what the host words from the values, no
// filter that the report does not know, and no value that the report's statement would read as
// anything but a value. Throws FileError and Refused.
Request ParsePageRequest(const std::string& json);

}  // namespace ledgerwick::desk
