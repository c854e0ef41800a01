// Results read back from files.
#pragma once

#include <stdexcept>
#include <string>
#include <string_view>

#include "output/result_table.h"

namespace ledgerwick {

// A file that holds no result, or more than one.
class ResultFileError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// The one result in `utf8`, in the format of that name: csv, tsv, json or jsonl, as the writers of
// these formats write it; what parts the values of csv is seen from its header. `file_name` stands
// in messages. Throws ResultFileError with the line of what is wrong, and for any other format.
ResultTable ReadResult(std::string_view utf8, std::string_view format,
                       const std::string& file_name);

}  // namespace ledgerwick
