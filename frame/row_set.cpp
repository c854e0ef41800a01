#include "frame/row_set.h"

#include <algorithm>

#include "frame/error.h"

namespace ledgerwick {
namespace {

DatabaseError RecordsetError(std::int32_t number, const char16_t* text) {
  return {number, u"ADODB.Recordset", text};
}
DatabaseError NoCurrentRow() {
  return RecordsetError(3021,
                        u"Either BOF or EOF is True, or the current record has been deleted. "
                        u"Requested operation requires a current record.");
}
DatabaseError NoSuchColumn() {
  return RecordsetError(3265,
                        u"Item cannot be found in the collection corresponding to the requested "
                        u"name or ordinal.");
}
DatabaseError WrongArgument() {
  return RecordsetError(3001,
                        u"Arguments are of the wrong type, are out of acceptable range, or are in "
                        u"conflict with one another.");
}
DatabaseError Closed() {
  return RecordsetError(3704, u"Operation is not allowed when the object is closed.");
}

bool IsBetween(TextView text, char16_t first, char16_t last) {
  return text.size() >= 2 && text.front() == first && text.back() == last;
}
TextView Inside(TextView text) { return text.substr(1, text.size() - 2); }

struct Criterion {
  Text column;
  Text value;
  bool is_bare = false;  // a word without quotes
};

// `quoted` without its quotes, its doubled ones single. Throws for a single one within.
Text Unquoted(TextView quoted) {
  Text text;
  const TextView inside = Inside(quoted);
  for (std::size_t i = 0; i < inside.size(); ++i) {
    text += inside[i];
    if (inside[i] != u'\'') continue;
    if (i + 1 == inside.size() || inside[i + 1] != u'\'') throw WrongArgument();
    ++i;
  }
  return text;
}

Criterion ParseCriterion(TextView text) {
  const std::size_t equals = text.find(u'=');
  if (equals == TextView::npos) throw WrongArgument();
  Criterion criterion;
  const TextView column = Trim(text.substr(0, equals));
  const TextView value = Trim(text.substr(equals + 1));
  const bool bracketed = IsBetween(column, u'[', u']');
  criterion.column = bracketed ? Inside(column) : column;
  if (criterion.column.empty() || value.empty()) throw WrongArgument();
  if (!bracketed && column.find_first_of(u"<>'") != TextView::npos) throw WrongArgument();
  if (IsBetween(value, u'\'', u'\'')) {
    criterion.value = Unquoted(value);
  } else if (IsBetween(value, u'#', u'#')) {
    criterion.value = Inside(value);
  } else if (value.find_first_of(u" '#=<>()") == TextView::npos) {
    criterion.value = value;
    criterion.is_bare = true;
  } else {
    throw WrongArgument();
  }
  return criterion;
}

double WantedNumber(const Text& text) {
  return Trapped([&] { return ToNumber(Value(text)); }, []() -> double { throw WrongArgument(); });
}

bool WantedTruth(const Text& text) {
  if (EqualText(text, u"True")) return true;
  return !EqualText(text, u"False") && WantedNumber(text) != 0;
}

bool Meets(const Value& value, const Criterion& criterion) {
  if (value.IsNull() || value.IsEmpty()) {
    return criterion.is_bare && EqualText(criterion.value, u"Null");
  }
  if (criterion.is_bare && EqualText(criterion.value, u"Null")) return false;
  if (const bool* truth = value.If<bool>()) return *truth == WantedTruth(criterion.value);
  if (value.If<std::int64_t>() || value.If<double>()) {
    return ToNumber(value) == WantedNumber(criterion.value);
  }
  if (const Date* date = value.If<Date>()) {
    const std::optional<Date> wanted = ParseDate(criterion.value);
    if (!wanted) throw WrongArgument();
    return *date == *wanted;
  }
  return EqualText(value.ToText(), criterion.value);
}

}  // namespace

RowSet::RowSet(std::vector<Text> columns, std::vector<std::vector<Value>> rows)
    : columns_(std::move(columns)), rows_(std::move(rows)) {
  SetFilter({});
}

void RowSet::RequireOpen() const {
  if (!open_) throw Closed();
}

std::optional<std::size_t> RowSet::ColumnIndex(TextView name) const {
  const auto found = std::find_if(columns_.begin(), columns_.end(),
                                  [&](const Text& column) { return EqualText(column, name); });
  if (found != columns_.end()) return static_cast<std::size_t>(found - columns_.begin());
  if (!columns_.empty()) throw NoSuchColumn();
  return std::nullopt;
}

void RowSet::SetFilter(const Text& criteria) {
  RequireOpen();
  std::optional<Criterion> criterion;
  std::optional<std::size_t> column;
  if (!Trim(criteria).empty()) {
    criterion = ParseCriterion(criteria);
    column = ColumnIndex(criterion->column);
  }
  std::vector<std::size_t> kept;
  for (std::size_t i = 0; i < rows_.size(); ++i) {
    if (!column || Meets(rows_[i][*column], *criterion)) kept.push_back(i);
  }
  kept_ = std::move(kept);
  current_ = 0;
}

std::int32_t RowSet::RecordCount() {
  RequireOpen();
  return static_cast<std::int32_t>(kept_.size());
}

bool RowSet::AtEnd() {
  RequireOpen();
  return current_ >= kept_.size();
}

void RowSet::MoveNext() {
  if (AtEnd()) throw NoCurrentRow();
  ++current_;
}

Value RowSet::Field(const Text& name) {
  RequireOpen();
  const std::optional<std::size_t> column = ColumnIndex(name);
  if (!column || AtEnd()) throw NoCurrentRow();
  return rows_[kept_[current_]][*column];
}

void RowSet::Close() {
  RequireOpen();
  open_ = false;
  rows_.clear();
  kept_.clear();
}

void RowCollector::Columns(std::span<const ResultColumn> columns) {
  if (++results_ > 1) return;
  for (const ResultColumn& column : columns) {
    names_.push_back(column.name);
    kinds_.push_back(column.kind);
  }
}

void RowCollector::Row(std::span<const Value> values) {
  if (results_ > 1) return;
  std::vector<Value>& row = rows_.emplace_back(values.begin(), values.end());
  for (std::size_t i = 0; i < row.size(); ++i) {
    if (row[i].IsNull()) continue;
    if (kinds_[i] == ColumnKind::Decimal) row[i] = ToNumber(row[i]);
    if (kinds_[i] == ColumnKind::Boolean) row[i] = Value(ToNumber(row[i]) != 0);
  }
}

std::unique_ptr<RowSet> RowCollector::Take() {
  return std::make_unique<RowSet>(std::move(names_), std::move(rows_));
}

}  // namespace ledgerwick
