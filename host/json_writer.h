// JSON.
#pragma once

#include "host/result_writer.h"

namespace ledgerwick {

// Each result set is an array of objects, one line for each row, the columns in order. Null is
// null, bits are true and false, numbers have the shortest digits that read back exactly. Keys are
// made unique: a column without a name is "columnN" by its position, and a name that stands already
// gets
// "_2", "_3", …. On a terminal, control characters that JSON lets stand are escaped too.
class JsonWriter final : public ResultWriter {
 public:
  JsonWriter(std::ostream& out, const WriterOptions& options);

  void Columns(std::span<const ResultColumn> columns) override;
  void Row(std::span<const Value> values) override;
  void EndRows(std::int64_t count) override;
  void Finish() override;

 private:
  std::ostream& out_;
  bool terminal_;
  std::vector<std::string> keys_;  // quoted, with the colon
  std::vector<ColumnKind> kinds_;
  std::string line_;
  bool first_row_ = true;
};

// The names of `columns` in UTF-8, made unique as said above.
std::vector<std::string> UniqueNames(std::span<const ResultColumn> columns);

// Appends `utf8` as a JSON string.
void AppendJsonString(std::string& json, std::string_view utf8);

// Appends a value of a column of that kind.
void AppendJsonValue(std::string& json, const Value& value, ColumnKind kind);

}  // namespace ledgerwick
