// Golden traces of many requests in one file: a request that they share, and the cases.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "host/request.h"

namespace ledgerwick::testing {

// The cases in `json`, {"request": {…}, "cases": [{"case": "name", …}, …]}, by name. The members of
// a case replace those of the request (null takes one away, but "filters": null is no filter set).
// A filter may be given as ["Name", "varValue", "varValue2"]. {x*300} are 300 characters x.
std::vector<std::pair<std::string, Request>> RequestsOfCases(const std::string& json,
                                                             const std::string& file_name);

// The traces of the cases in `json`. What cases have in common is written once:
// - The first case is written in full: its operations by number, and its result. Of a later one,
//   the operations that are not as in the first are, and its result where that is another or the
//   number of operations is; a case that does all as the first is its heading alone.
// - A heading holds, behind the name, the groups of the items and the sub-title.
// - A statement is written out with a number; of one that is like it, only what differs is, behind
//   that number, with "[n]" for n characters that are the same.
// - A procedure's call is written out with its parameters, NAME TYPE/SIZE |VALUE|; of a later one
//   only what differs is.
// - {x*300} are 300 characters x here too.
std::string TracesOfCases(const std::string& json, const std::string& file_name);

}  // namespace ledgerwick::testing
