#include "tsql/run/session.h"

#include <algorithm>

namespace ledgerwick::tsql {
namespace {

constexpr std::int32_t kCancelled = 0;
constexpr std::int32_t kFirstUserNumber = 50000;

// How far an error goes without XACT_ABORT.
Reach UsualReach(const SqlError& error) noexcept {
  return error.thrown ? Reach::Batch : error.reach;
}

void BindText(sqlite3_stmt* statement, int index, const std::string& text) {
  sqlite3_bind_text64(statement, index, text.data(), text.size(), SQLITE_TRANSIENT, SQLITE_UTF8);
}

void BindCaught(sqlite3_stmt* statement, int index, SystemVariable variable,
                const SqlError& error) {
  switch (variable) {
    case SystemVariable::ErrorMessage:
      BindText(statement, index, error.message);
      return;
    case SystemVariable::ErrorNumber:
      sqlite3_bind_int(statement, index, error.number);
      return;
    case SystemVariable::ErrorSeverity:
      sqlite3_bind_int(statement, index, error.severity);
      return;
    case SystemVariable::ErrorState:
      sqlite3_bind_int(statement, index, error.state);
      return;
    case SystemVariable::ErrorProcedure:
      if (!error.procedure.empty()) BindText(statement, index, error.procedure);
      return;
    case SystemVariable::ErrorLine:
      sqlite3_bind_int(statement, index, error.position.line);
      return;
    case SystemVariable::RowCount:
    case SystemVariable::Error:
    case SystemVariable::TranCount:
    case SystemVariable::NestLevel:
      return;
  }
}

}  // namespace

std::int32_t Frame::LineAt(std::size_t offset) {
  if (offset < counted_to_) {
    counted_to_ = 0;
    line_there_ = 1;
  }
  const TextView between = text.substr(counted_to_).substr(0, offset - counted_to_);
  line_there_ += static_cast<std::int32_t>(std::count(between.begin(), between.end(), u'\n'));
  counted_to_ += between.size();
  return line_there_;
}

void Session::BeginBatch() {
  frame = nullptr;
  tries = 0;
  caught.clear();
  first_error.reset();
}

Reach Session::ReachOf(const SqlError& error) const noexcept {
  const bool raised = error.number >= kFirstUserNumber && !error.thrown;
  return xact_abort && !raised ? Reach::Batch : UsualReach(error);
}

bool Session::PassesCatch(const SqlError& error, std::int32_t level) const noexcept {
  if (error.number == kCancelled) return true;
  return UsualReach(error) == Reach::Frame && error.level == level;
}

void Session::Bind(sqlite3_stmt* statement) const {
  const int count = sqlite3_bind_parameter_count(statement);
  if (count == 0) return;
  for (int i = 1; i <= std::min(count, kNamedSystemVariables); ++i) {
    if (sqlite3_bind_parameter_name(statement, i) == nullptr) continue;
    const auto variable = static_cast<SystemVariable>(i - 1);
    switch (variable) {
      case SystemVariable::RowCount:
        sqlite3_bind_int64(statement, i, row_count);
        break;
      case SystemVariable::Error:
        sqlite3_bind_int(statement, i, last_error);
        break;
      case SystemVariable::TranCount:
        sqlite3_bind_int64(statement, i, transactions);
        break;
      case SystemVariable::NestLevel:
        sqlite3_bind_int(statement, i, frame->level);
        break;
      case SystemVariable::ErrorMessage:
      case SystemVariable::ErrorNumber:
      case SystemVariable::ErrorSeverity:
      case SystemVariable::ErrorState:
      case SystemVariable::ErrorProcedure:
      case SystemVariable::ErrorLine:
        // Outside a CATCH they are null.
        if (!caught.empty()) BindCaught(statement, i, variable, caught.back());
    }
  }
  frame->variables.Bind(statement);
}

}  // namespace ledgerwick::tsql
