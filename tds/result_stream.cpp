#include "tds/result_stream.h"

#include <algorithm>
#include <utility>

#include "tds/call.h"

namespace ledgerwick::tds {
namespace {

constexpr std::int32_t kUsualSeverity = 16;
constexpr std::int32_t kMostInformation = 10;

}  // namespace

void ResultStream::Hold(const Done& done) {
  Release();
  held_ = done;
}

void ResultStream::Release() {
  if (!held_) return;
  Done done = *std::exchange(held_, std::nullopt);
  done.state |= kDoneMore;
  tokens_.PutDone(done);
  packets_.SendFull();
}

TokenWriter& ResultStream::Tokens() {
  Release();
  return tokens_;
}

void ResultStream::Columns(std::span<const ResultColumn> columns) {
  types_.clear();
  for (const ResultColumn& column : columns) {
    types_.push_back(WireTypeOf(column, version_));
  }
  in_outcome_ = kind_ != DoneKind::Statement && !columns.empty() && columns[0].name == kOutcome;
  if (in_outcome_) return;
  Release();
  tokens_.Columns(columns, types_);
  in_rows_ = true;
}

void ResultStream::Row(std::span<const Value> values) {
  if (in_outcome_) {
    outcome_ = Outcome{types_, {values.begin(), values.end()}};
    return;
  }
  tokens_.Row(values, types_);
  packets_.SendFull();
  constexpr unsigned kRowsBetweenLooks = 64;
  if (++rows_ % kRowsBetweenLooks == 0) look_();
}

void ResultStream::EndRows(std::int64_t count) {
  in_rows_ = false;
  if (std::exchange(in_outcome_, false)) return;
  Hold({kind_, kDoneCount, true, static_cast<std::uint64_t>(count)});
}

// The error that follows ends the result.
void ResultStream::BreakRows(std::int64_t) {
  in_rows_ = false;
  in_outcome_ = false;
}

void ResultStream::RowsAffected(std::int64_t count) {
  Hold({kind_, kDoneCount, false, static_cast<std::uint64_t>(count)});
}

void ResultStream::Message(const Text& text) {
  DatabaseError message(0, u"Ledgerwick", text);
  Information(message);
}

void ResultStream::Information(const DatabaseError& message) {
  Tokens().Message(message, std::min(message.severity, kMostInformation));
  packets_.SendFull();
}

void ResultStream::FirstError(const DatabaseError& error) {
  told_first_ = true;
  Error(error);
}

void ResultStream::Error(const DatabaseError& error) {
  failed_ = true;
  const std::int32_t severity = error.severity > kMostInformation ? error.severity : kUsualSeverity;
  Tokens().Message(error, severity);
  Hold({kind_, kDoneError, false, 0});
}

void ResultStream::Written(std::span<const ResultColumn> columns, std::span<const WireType> types,
                           std::span<const std::string_view> rows) {
  Release();
  tokens_.Columns(columns, types, 1);
  for (const std::string_view row : rows) {
    tokens_.WrittenRow(row);
    packets_.SendFull();
  }
  Hold({kind_, kDoneCount, true, rows.size()});
}

void ResultStream::Thrown(const DatabaseError& error) {
  if (!std::exchange(told_first_, true)) Error(error);
}

void ResultStream::EndBatch(bool more) {
  if (!held_) held_ = Done{kind_, 0, false, 0};
  Done done = *std::exchange(held_, std::nullopt);
  if (more) done.state |= kDoneMore;
  tokens_.PutDone(done);
}

void ResultStream::EndCall(bool more) {
  Release();
  tokens_.PutDone(
      {DoneKind::Procedure, (failed_ ? kDoneError : 0U) | (more ? kDoneMore : 0U), false, 0});
}

}  // namespace ledgerwick::tds
