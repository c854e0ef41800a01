// The reference host's objects: what a report finds behind ObjReportManager and objLogin.
#pragma once

#include <memory>
#include <vector>

#include "frame/host.h"
#include "host/request.h"

namespace ledgerwick {

// The condition for a filter of that name: "Name = 'v'", "Name >= 'a' And Name <= 'b'", or
// "Name <= 'b'" with an upper bound alone; empty when neither value holds anything. Quotes in the
// values are doubled; a value that cannot be read as text is left out.
Text WordCondition(TextView name, const Value& value, const Value& upper);

// `value` between quotes, with its own doubled.
Text Quoted(TextView value);

// A filter item that remembers what a report writes into it.
class ReferenceFilter final : public ReportFilter {
 public:
  // Words the condition where `item` brings none.
  explicit ReferenceFilter(const FilterItem& item);

  Text Name() override { return name_; }
  Text strcaption() override { return caption_; }
  Value varValue() override { return value_; }
  void set_varValue(const Value& value) override { value_ = value; }
  Value varValue2() override { return upper_; }
  Text strSqlString() override { return sql_; }
  void set_strSqlString(const Text& sql) override { sql_ = sql; }
  std::int32_t LngGrouptoken() override { return group_; }
  void set_LngGrouptoken(std::int32_t group) override { group_ = group; }

  // True when one of the two values holds anything.
  bool IsSet() const;

 private:
  Text name_;
  Text caption_;
  Value value_;
  Value upper_;
  Text sql_;
  std::int32_t group_ = kLeftToHost;
};

// The filters of one report.
class ReferenceFilterSet final : public ReportFilterSet {
 public:
  explicit ReferenceFilterSet(const std::vector<FilterItem>& items);

  std::int32_t Count() override { return static_cast<std::int32_t>(filters_.size()); }

  // Throws error 9, "Subscript out of range", for an index that is not there.
  std::shared_ptr<ReportFilter> Item(std::int32_t index) override;

  Text ConditionText() override;
  Text GroupConditionText(std::int32_t group) override;
  Value ValueByName(const Text& name, std::int32_t which) override;

 private:
  std::vector<std::shared_ptr<ReferenceFilter>> filters_;
};

// The manager of one report's filters.
class ReferenceManager final : public ReportManager {
 public:
  // `set` may be null: the manager then has no filter set.
  ReferenceManager(Text title, std::shared_ptr<ReferenceFilterSet> set)
      : title_(std::move(title)), set_(std::move(set)) {}

  // The set for the title that the manager was made for, nothing for any other.
  std::shared_ptr<ReportFilterSet> ReportFilterByName(Text& title) override;

 private:
  Text title_;
  std::shared_ptr<ReferenceFilterSet> set_;
};

// A login object. Asking for a member that it lacks is error 438.
class ReferenceLogin final : public Login {
 public:
  explicit ReferenceLogin(LoginMembers members) : members_(std::move(members)) {}

  Value CurDate() override;
  Value cAcc_Id() override;

 private:
  LoginMembers members_;
};

class ReportProvider;

// Hands `report` what `request` describes: title, connection string, manager and login. Returns the
// filter set, for a look at what the report made of it; null when the request has none.
std::shared_ptr<ReferenceFilterSet> Furnish(ReportProvider& report, const Request& request);

// The computer's name, up to its first dot.
Text ThisComputerName();

}  // namespace ledgerwick
