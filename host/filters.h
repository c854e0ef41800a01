// What the host knows of each report's dialogue and result: one table, read by `describe`, `check`
// and --filter. A class is added by adding its rows.
#pragma once

#include <span>
#include <vector>

#include "frame/text.h"
#include "host/notes.h"

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

// How a report reads a filter, where that departs from the rest.
enum class FilterTrait {
  None,
  AnyOrder,   // the report itself puts the two bounds in order, or reads neither
  ByCaption,  // the report knows the item by its caption, whatever its name is
};

// One filter of a report's dialogue. A name that the host words is an SQL expression over the
// tables of the report's statement.
struct FilterInfo {
  TextView name;
  TextView caption;
  FilterKind kind = FilterKind::PlainText;
  WordedBy worded_by = WordedBy::Host;
  std::span<const TextView> values{};  // those that the report tells apart
  FilterTrait trait = FilterTrait::None;
  bool trims_value = false;  // blanks around a known value do not matter to the report
};

// One column of a result table.
struct ResultColumnInfo {
  TextView name;
  TextView meaning;
};

// What becomes of an item whose name the report does not know.
enum class UnknownFilter {
  LeftOut,      // it changes nothing
  InCondition,  // its condition goes into the statement as the host has worded it
};

// What a report does without a filter set.
enum class WithoutSet { Runs, Fails, GivesUp };

// What a report reads of the host's login object, and cannot do without.
enum class LoginInput { None, CurDate, cAcc_Id };

// What the host knows of one report.
struct ReportInfo {
  TextView class_name;
  TextView title;  // what its users call it
  std::span<const FilterInfo> filters;
  std::span<const ResultColumnInfo> columns;
  TextView columns_note;  // of columns that cannot be listed; empty where all stand in `columns`
  std::span<const Note> notes;
  UnknownFilter unknown_filter = UnknownFilter::LeftOut;
  WithoutSet without_set = WithoutSet::Fails;
  LoginInput login_input = LoginInput::None;
  bool counts_characters = false;  // a sales report that measures its condition so, not in bytes
};

// The report of that class name, or nullptr while the table lacks it.
const ReportInfo* FindReportInfo(TextView class_name) noexcept;

// All rows of the table.
std::span<const ReportInfo> ReportInfos() noexcept;

// A note and the reports that it is about, their classes parted by commas; none for a general one.
struct NoteEntry {
  Text reports;
  const Note* note = nullptr;
};

// Every note there is, each once, in the order of the codes.
std::vector<NoteEntry> EveryNote();

// The filter of that name or caption, blanks around and letter case aside; or nullptr.
const FilterInfo* FindFilterInfo(const ReportInfo& report, TextView name_or_caption) noexcept;

// True for the kinds that take FROM..TO.
constexpr bool IsRange(FilterKind kind) noexcept {
  return kind == FilterKind::Range || kind == FilterKind::DateRange ||
         kind == FilterKind::NumberRange;
}

// The filter that an item with that name and caption is for: one that the report knows by its
// caption, else one of that name; or nullptr.
const FilterInfo* FindItemInfo(const ReportInfo& report, TextView name, TextView caption) noexcept;

// What `describe` calls the kind.
TextView KindName(FilterKind kind) noexcept;

// What a filter of the kind takes, in plain words.
TextView KindMeaning(FilterKind kind) noexcept;

}  // namespace ledgerwick
