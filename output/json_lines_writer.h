// JSON Lines.
#pragma once

#include "output/json_object.h"
#include "output/result_writer.h"

namespace ledgerwick {

// Each row as an object on a line of its own, which any program can read before the rest is there.
// Result sets follow one another without a mark.
class JsonLinesWriter final : public ResultWriter {
 public:
  JsonLinesWriter(std::ostream& out, const WriterOptions& options);

  void Columns(std::span<const ResultColumn> columns) override;
  void Row(std::span<const Value> values) override;
  void EndRows(std::int64_t count) override;
  void Finish() override;

 private:
  std::ostream& out_;
  bool terminal_;
  JsonObjects objects_;
  std::string line_;
};

}  // namespace ledgerwick
