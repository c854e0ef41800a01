// What the host knows of each report's dialogue and result: one table, read by `describe` and by
// --filter. A class is added by adding its rows.
#pragma once

#include <span>

#include "frame/text.h"

namespace ledgerwick {

enum class FilterKind {
  PlainText,    // one value
  List,         // values parted by commas
  Range,        // texts from … to …
  DateRange,    // dates from … to …
  NumberRange,  // numbers from … to …
  Option,       // one of the known values
};

// Who turns a filter into a condition.
enum class WordedBy { Host, Report };

// One filter of a report's dialogue. A name that the host words is an SQL expression over the
// tables of the report's statement.
struct FilterInfo {
  TextView name;
  TextView caption;
  FilterKind kind = FilterKind::PlainText;
  WordedBy worded_by = WordedBy::Host;
  std::span<const TextView> values{};  // those that the report tells apart
};

// One column of a result table.
struct ResultColumnInfo {
  TextView name;
  TextView meaning;
};

// What the host knows of one report.
struct ReportInfo {
  TextView class_name;
  std::span<const FilterInfo> filters;
  std::span<const ResultColumnInfo> columns;
  TextView columns_note;  // of columns that cannot be listed; empty where all stand in `columns`
};

// The report of that class name, or nullptr while the table lacks it.
const ReportInfo* FindReportInfo(TextView class_name) noexcept;

// All rows of the table.
std::span<const ReportInfo> ReportInfos() noexcept;

// The filter of that name or caption, blanks around and letter case aside; or nullptr.
const FilterInfo* FindFilterInfo(const ReportInfo& report, TextView name_or_caption) noexcept;

// True for the kinds that take FROM..TO.
constexpr bool IsRange(FilterKind kind) noexcept {
  return kind == FilterKind::Range || kind == FilterKind::DateRange ||
         kind == FilterKind::NumberRange;
}

// What `describe` calls the kind.
TextView KindName(FilterKind kind) noexcept;

}  // namespace ledgerwick
