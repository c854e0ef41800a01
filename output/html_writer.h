// Pages.
#pragma once

#include "output/result_writer.h"

namespace ledgerwick {

// One page that needs no other file: title and subtitle, and a table for each result set, its
// header on every printed sheet and numbers to the right. Null is an empty cell of the class
// "null". Control characters are escaped as in tables, line breaks inside a value stay.
class HtmlWriter final : public ResultWriter {
 public:
  HtmlWriter(std::ostream& out, const WriterOptions& options);

  void Titles(const Text& title, const Text& sub_title) override;
  void Columns(std::span<const ResultColumn> columns) override;
  void Row(std::span<const Value> values) override;
  void EndRows(std::int64_t count) override;
  void Finish() override;

 private:
  void Begin();  // the page, unless it has begun
  void WriteLine(const std::string& line);

  std::ostream& out_;
  bool terminal_;
  std::string title_;      // escaped
  std::string sub_title_;  // escaped
  std::vector<ResultColumn> columns_;
  std::string line_;
  bool begun_ = false;
};

}  // namespace ledgerwick
