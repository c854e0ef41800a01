#include "tds/cursor.h"

#include <algorithm>

#include "tds/server_error.h"

namespace ledgerwick::tds {
namespace {

constexpr std::int64_t kRowIsThere = 1;

}  // namespace

StaticCursor::StaticCursor(std::span<const ResultColumn> columns, Version version)
    : version_(version), columns_(columns.begin(), columns.end()) {
  // What became of a row since it was fetched: nothing ever, in a cursor of this kind.
  ResultColumn state;
  state.name = u"ROWSTAT";
  state.kind = ColumnKind::Integer;
  state.type = u"int";
  state.nullable = false;
  columns_.push_back(state);
  for (const ResultColumn& column : columns_) types_.push_back(WireTypeOf(column, version));
}

void StaticCursor::Add(std::span<const Value> values) {
  constexpr std::size_t kMostBytes = std::size_t{256} << 20;
  for (std::size_t i = 0; i < values.size(); ++i) {
    PutValue(bytes_, types_[i], values[i], version_);
  }
  PutValue(bytes_, types_.back(), Value(kRowIsThere), version_);
  ends_.push_back(bytes_.size());
  if (bytes_.size() < kMostBytes) return;
  throw ServerError(
      701, 17,
      u"There is insufficient memory for the rows of this cursor, which are more than "
      u"256 MB. Read them without a cursor, or ask for fewer.");
}

// The number of the row that a fetch begins with, 0 for before the first. Whoever goes back beyond
// the first row by no more than what is fetched at once comes to the first.
std::int64_t StaticCursor::StartOf(FetchType type, std::int64_t row, std::int64_t count) const {
  switch (type) {
    case FetchType::First:
      return 1;
    case FetchType::Next:
      return position_ == 0 ? 1 : position_ + std::max<std::int64_t>(fetched_, 1);
    case FetchType::Previous:
      return StartOf(FetchType::Relative, -count, count);
    case FetchType::PreviousAsIs:
      return std::max<std::int64_t>(position_ - count, position_ > 1 ? 1 : 0);
    case FetchType::Last:
      return std::max<std::int64_t>(size() - count + 1, 1);
    case FetchType::Absolute:
      if (row >= 0) return row;
      if (-row <= size()) return size() + 1 + row;
      return -row <= count ? 1 : 0;
    case FetchType::Relative:
      if (position_ + row >= 1) return position_ + row;
      return position_ > 1 && -row <= count ? 1 : 0;
    case FetchType::Refresh:
    case FetchType::Info:
      break;
  }
  return position_;
}

void StaticCursor::Fetch(FetchType type, std::int64_t row, std::int64_t count) {
  const bool forward = type == FetchType::Next || type == FetchType::Refresh ||
                       type == FetchType::Info || (type == FetchType::First && position_ == 0);
  if (forward_only && !forward) {
    throw ServerError(16911, 16,
                      u"fetch: The fetch type cannot be used with forward only cursors. Ask for a "
                      u"static cursor instead.");
  }
  if (type == FetchType::Info) return;
  const std::int64_t start = std::clamp<std::int64_t>(StartOf(type, row, count), 0, size() + 1);
  const bool fewer = type == FetchType::PreviousAsIs;  // not those that were fetched before
  const std::int64_t end = std::min(fewer ? position_ : start + count, size() + 1);
  fetched_ = start == 0 ? 0 : std::max<std::int64_t>(end - start, 0);
  position_ = start;
}

void StaticCursor::Give(ResultStream& results) const {
  std::vector<std::string_view> rows;
  for (std::int64_t row = position_; row < position_ + fetched_; ++row) {
    const auto i = static_cast<std::size_t>(row - 1);
    const std::size_t begin = i == 0 ? 0 : ends_[i - 1];
    rows.push_back(std::string_view(bytes_).substr(begin, ends_[i] - begin));
  }
  results.Written(columns_, types_, rows);
}

}  // namespace ledgerwick::tds
