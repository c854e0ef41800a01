// JSON.
#pragma once

#include "output/held_text.h"
#include "output/json_object.h"
#include "output/result_writer.h"

namespace ledgerwick {

// One document. A result set is an array of objects, one line for each row; several are an array of
// such arrays, and none is nothing. Unless it is told that only one comes, the first result set is
// held until the second or the end, since that is when it is known what stands before it.
class JsonWriter final : public ResultWriter {
 public:
  JsonWriter(std::ostream& out, const WriterOptions& options);

  void Columns(std::span<const ResultColumn> columns) override;
  void Row(std::span<const Value> values) override;
  void EndRows(std::int64_t count) override;
  void Finish() override;
  void Abandon() override;

 private:
  void Write(std::string_view text);

  std::ostream& out_;
  bool terminal_;
  bool one_result_;
  JsonObjects objects_;
  std::string line_;
  bool first_row_ = true;
  std::int64_t sets_ = 0;
  HeldText held_;
};

}  // namespace ledgerwick
