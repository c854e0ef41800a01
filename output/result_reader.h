// Results read back from files.
#pragma once

#include <istream>
#include <stdexcept>
#include <string>
#include <string_view>

#include "output/stored_result.h"

namespace ledgerwick {

// A file that holds no result, or more than one.
class ResultFileError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// Reads the one result of `in` into `result`, which has no column yet, row by row, in the format of
// that name: csv, tsv, json or jsonl, as the writers of these formats write it in UTF-8; what parts
// the values of csv is seen from its header. `file_name` stands in messages. Throws ResultFileError
// with the line of what is wrong, and for any other format; OutputError.
void ReadResult(std::istream& in, std::string_view format, const std::string& file_name,
                StoredResult& result);

}  // namespace ledgerwick
