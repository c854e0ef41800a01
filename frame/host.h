// The objects that the host hands to a report. The reference host and the COM adapters implement
// them; a report only calls them. Every member may throw DatabaseError with whatever the host
// raised.
#pragma once

#include <cstdint>
#include <memory>

#include "frame/text.h"
#include "frame/value.h"

namespace ledgerwick {

// Group numbers that a report writes into a filter item.
inline constexpr std::int32_t kLeftToHost = 0;  // the host's GroupConditionText(0) words the item
inline constexpr std::int32_t kTakenByReport = 1;  // the report words it itself
inline constexpr std::int32_t kVisited = 2;        // the report has looked at it

// One filter of a report's dialogue.
class ReportFilter {
 public:
  virtual ~ReportFilter() = default;

  virtual Text Name() = 0;
  virtual Text strcaption() = 0;

  // The value, or the lower bound of a range.
  virtual Value varValue() = 0;
  virtual void set_varValue(const Value& value) = 0;

  // The upper bound of a range.
  virtual Value varValue2() = 0;

  // The condition as the host words it; empty when the user left the filter open.
  virtual Text strSqlString() = 0;
  virtual void set_strSqlString(const Text& sql) = 0;

  // The group that decides which GroupConditionText the item's condition stands in.
  virtual std::int32_t LngGrouptoken() = 0;
  virtual void set_LngGrouptoken(std::int32_t group) = 0;
};

// The filters of one report.
class ReportFilterSet {
 public:
  virtual ~ReportFilterSet() = default;

  virtual std::int32_t Count() = 0;

  // The item at `index`, counted from 1.
  virtual std::shared_ptr<ReportFilter> Item(std::int32_t index) = 0;

  // The condition that the host composes from every item whose values are set.
  virtual Text ConditionText() = 0;

  // The same from the items alone whose LngGrouptoken is `group`.
  virtual Text GroupConditionText(std::int32_t group) = 0;

  // The first (`which` = 1) or second (2) value of the item of that name; empty without such an
  // item.
  virtual Value ValueByName(const Text& name, std::int32_t which) = 0;
};

// The host's report manager.
class ReportManager {
 public:
  virtual ~ReportManager() = default;

  // The filters of the report with that title, or nullptr. What the host writes into `title` stays
  // there.
  virtual std::shared_ptr<ReportFilterSet> ReportFilterByName(Text& title) = 0;
};

// The user's login. A member that the host's object lacks is error 438.
class Login {
 public:
  virtual ~Login() = default;

  virtual Value CurDate() = 0;  // the login date
  virtual Value cAcc_Id() = 0;  // the account set's code
};

}  // namespace ledgerwick
