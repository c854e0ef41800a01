// Tables for documents in Markdown.
#pragma once

#include "output/result_writer.h"

namespace ledgerwick {

// A pipe table, numbers to the right, under title and subtitle where there are any. What Markdown
// would take for markup is escaped, a line break in a value is <br>, null is an empty cell. A blank
// line parts result sets.
class MarkdownWriter final : public ResultWriter {
 public:
  MarkdownWriter(std::ostream& out, const WriterOptions& options);

  void Titles(const Text& title, const Text& sub_title) override;
  void Columns(std::span<const ResultColumn> columns) override;
  void Row(std::span<const Value> values) override;
  void EndRows(std::int64_t count) override;
  void Finish() override;

 private:
  void WriteLine(const std::string& line);

  std::ostream& out_;
  bool terminal_;
  std::vector<std::string> titles_;  // paragraphs
  std::vector<ResultColumn> columns_;
  std::string line_;
  bool first_set_ = true;
};

}  // namespace ledgerwick
