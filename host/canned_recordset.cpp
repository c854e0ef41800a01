#include "host/canned_recordset.h"

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

const Value* FindColumn(const CannedRow& row, TextView name) {
  for (const auto& [column, value] : row) {
    if (EqualText(column, name)) return &value;
  }
  return nullptr;
}

TextView WithoutBrackets(TextView name) {
  const bool bracketed = name.size() >= 2 && name.front() == u'[' && name.back() == u']';
  return bracketed ? name.substr(1, name.size() - 2) : name;
}

// "column = value": the value quoted, or a number.
struct Criteria {
  Text column;
  Text value;
  bool is_text = false;
};

Criteria ParseCriteria(TextView text) {
  const std::size_t equals = text.find(u'=');
  if (equals == TextView::npos) throw WrongArgument();
  Criteria criteria;
  criteria.column = WithoutBrackets(Trim(text.substr(0, equals)));
  const TextView value = Trim(text.substr(equals + 1));
  criteria.is_text = value.size() >= 2 && value.front() == u'\'' && value.back() == u'\'';
  criteria.value = criteria.is_text ? value.substr(1, value.size() - 2) : value;
  if (criteria.column.empty() || criteria.value.find(u'\'') != Text::npos) throw WrongArgument();
  return criteria;
}

bool Meets(const Value* value, const Criteria& criteria) {
  if (!value || value->IsNull()) return false;
  if (criteria.is_text) return EqualText(value->ToText(), criteria.value);
  return ToNumber(*value) == ToNumber(criteria.value);
}

}  // namespace

MemoryRecordset::MemoryRecordset(std::vector<CannedRow> rows) : rows_(std::move(rows)) {
  SetFilter({});
}

bool MemoryRecordset::HasColumn(TextView name) const {
  return std::any_of(rows_.begin(), rows_.end(),
                     [&](const CannedRow& row) { return FindColumn(row, name) != nullptr; });
}

void MemoryRecordset::SetFilter(const Text& criteria) {
  std::optional<Criteria> wanted;
  if (!Trim(criteria).empty()) wanted = ParseCriteria(criteria);
  if (wanted && !rows_.empty() && !HasColumn(wanted->column)) throw NoSuchColumn();
  kept_.clear();
  current_ = 0;
  for (std::size_t i = 0; i < rows_.size(); ++i) {
    if (!wanted || Meets(FindColumn(rows_[i], wanted->column), *wanted)) kept_.push_back(i);
  }
}

void MemoryRecordset::MoveNext() {
  if (AtEnd()) throw NoCurrentRow();
  ++current_;
}

Value MemoryRecordset::Field(const Text& name) {
  if (AtEnd()) throw NoCurrentRow();
  if (const Value* value = FindColumn(rows_[kept_[current_]], name)) return *value;
  if (!HasColumn(name)) throw NoSuchColumn();
  return Null{};
}

}  // namespace ledgerwick
