#include "cli/result_console.h"

#include <algorithm>

#include "cli/interrupt.h"

namespace ledgerwick {
namespace {

std::string Rows(std::int64_t count) {
  return std::to_string(count) + (count == 1 ? " row" : " rows");
}

}  // namespace

ResultConsole::ResultConsole(Console& console, ProgressLine& progress, ResultWriter& writer,
                             std::int64_t limit, StatementSource source)
    : console_(console),
      progress_(progress),
      writer_(writer),
      limit_(limit),
      source_(std::move(source)) {}

void ResultConsole::Columns(std::span<const ResultColumn> columns) {
  progress_.Clear();
  rows_ = 0;
  writer_.Columns(columns);
}

bool ResultConsole::WantsRow() {
  InterruptGuard::Check();
  return rows_ < limit_;
}

void ResultConsole::Row(std::span<const Value> values) {
  if (rows_++ < limit_) writer_.Row(values);
}

void ResultConsole::EndRows(std::int64_t count) {
  count_ = count;
  const std::int64_t written = std::min(rows_, limit_);
  writer_.EndRows(written);
  console_.out.flush();  // before the count, where both go to one terminal
  progress_.Clear();
  if (written < count) {
    console_.err << '(' << written << " of " << Rows(count) << ")\n";
  } else {
    console_.err << '(' << Rows(count) << ")\n";
  }
}

void ResultConsole::RowsAffected(std::int64_t count) {
  progress_.Clear();
  console_.err << '(' << Rows(count) << " affected)\n";
}

void ResultConsole::Message(const Text& text) {
  progress_.Clear();
  console_.err << SafeLines(ToUtf8(text)) << '\n';
}

void ResultConsole::Error(const DatabaseError& error) {
  progress_.Clear();
  console_.out.flush();
  PrintDatabaseError(console_, error, source_);
}

}  // namespace ledgerwick
