// Golden traces of many requests in one file: a request that they share, and the cases.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "host/request.h"

namespace ledgerwick::testing {

// The cases in `json`, {"request": {…}, "cases": [{"case": "name", …}, …]}, by name. The members of
// a case replace those of the request (null takes one away, but "filters": null is no filter set).
// {x*300} are 300 characters x.
std::vector<std::pair<std::string, Request>> RequestsOfCases(const std::string& json,
                                                             const std::string& file_name);

// The traces of the cases in `json`. What cases have in common is written once:
// - A statement is written out with a number; of one that is like it, only what differs is, behind
//   that number, with "[n]" for n characters that are the same.
// - A procedure's call is written out with its parameters, NAME TYPE/SIZE |VALUE|; of a later one
//   only what differs is. Where nothing but statements and call differs from the first case, these
//   stand alone.
// - {x*300} are 300 characters x here too.
std::string TracesOfCases(const std::string& json, const std::string& file_name);

}  // namespace ledgerwick::testing
