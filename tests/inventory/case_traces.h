// Golden traces of many requests in one file: a request that they share, and the cases.
#pragma once

#include <string>

namespace ledgerwick::testing {

// The traces of the cases in `json`, {"request": {…}, "cases": [{"case": "name", …}, …]}, where the
// members of a case replace those of the request (null takes one away, but "filters": null is no
// filter set). A statement is written out once, with a number; of one that is like it only what
// differs is, behind that number, with "[n]" for n characters that are the same.
std::string TracesOfCases(const std::string& json, const std::string& file_name);

}  // namespace ledgerwick::testing
