// --filter NAME=VALUE and NAME=FROM..TO.
#pragma once

#include <optional>
#include <stdexcept>
#include <string>

#include "host/request.h"

namespace ledgerwick {

// A --filter that cannot be meant: without a name, or with a value that its kind does not take.
class FilterError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// Puts the filter that `argument` describes into `request`: in place of the item of that name, else
// behind the last. NAME is a filter's name or caption. A bound may be left open ("..TO", "FROM..");
// a range without ".." means that one value. A name that the report does not know is passed on as
// it stands. Returns a remark for the user where there is something to remark. Throws FilterError.
std::optional<std::string> ApplyFilterArgument(Request& request, TextView argument);

}  // namespace ledgerwick
