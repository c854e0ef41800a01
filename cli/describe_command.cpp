// describe: what the class table and the host's table of filters say of one report.
#include <nlohmann/json.hpp>

#include "cli/command_line.h"
#include "cli/commands.h"
#include "cli/pager.h"
#include "cli/text_table.h"
#include "host/filters.h"
#include "host/request.h"

namespace ledgerwick {
namespace {

using Json = nlohmann::ordered_json;

// One report, from both tables.
struct Subject {
  const ClassInfo& info;
  const ReportInfo& report;
};

Text ProgId(const ClassInfo& info) { return u"Ledgerwick." + Text(info.name); }

Text ResultTable(const ClassInfo& info) {
  return u"tempdb.." + Text(info.result_table) + (info.has_machine_suffix ? u"_<machine>" : u"");
}

// Who makes a filter's condition, in plain words.
TextView WordingOf(const FilterInfo& filter) {
  if (filter.worded_by == WordedBy::Report) return u"the report";
  return filter.trait == FilterTrait::ByCaption ? u"the host; the report knows it by its caption"
                                                : u"the host";
}

Text ValuesOf(const FilterInfo& filter) {
  if (filter.values.empty()) return Text(KindMeaning(filter.kind));
  Text values;
  for (const TextView value : filter.values) {
    values.append(values.empty() ? u"" : u", ").append(value);
  }
  return values;
}

TextView InputsOf(const ReportInfo& report) {
  switch (report.login_input) {
    case LoginInput::CurDate:
      return u"the login date (--login-date, CurDate of \"login\")";
    case LoginInput::cAcc_Id:
      return u"the account (--account, cAcc_Id of \"login\")";
    case LoginInput::None:
      break;
  }
  return u"nothing but filters";
}

TextView SetOf(const ReportInfo& report) {
  switch (report.without_set) {
    case WithoutSet::Fails:
      return u"error 91";
    case WithoutSet::GivesUp:
      return u"the report gives up and says nothing";
    case WithoutSet::Runs:
      break;
  }
  return u"the report runs";
}

TextView UnknownOf(const ReportInfo& report) {
  return report.unknown_filter == UnknownFilter::LeftOut
             ? u"left out"
             : u"in the condition as the host has worded it";
}

// What stands above the tables: a line's name and its text.
std::vector<std::pair<TextView, Text>> Facts(const Subject& s) {
  return {{u"result table", ResultTable(s.info)},
          {u"subtitle", s.info.Has(Member::strSubTitle) ? u"yes" : u"no"},
          {u"needs", Text(InputsOf(s.report))},
          {u"without a filter set", Text(SetOf(s.report))},
          {u"an unknown filter", Text(UnknownOf(s.report))}};
}

void WriteTables(ResultWriter& writer, const Subject& s) {
  if (!s.report.filters.empty()) {
    TextTable table(writer, {u"filter", u"caption", u"kind", u"worded by", u"values"});
    for (const FilterInfo& filter : s.report.filters) {
      table.Row({filter.name, filter.caption, KindName(filter.kind), WordingOf(filter),
                 ValuesOf(filter)});
    }
    table.End();
  }
  if (!s.report.columns.empty()) {
    TextTable table(writer, {u"column", u"meaning"});
    for (const ResultColumnInfo& column : s.report.columns) {
      table.Row({column.name, column.meaning});
    }
    table.End();
  }
}

void WriteText(Console& console, const Subject& s) {
  std::ostream& out = console.out;
  out << ToUtf8(ProgId(s.info)) << ": " << ToUtf8(s.report.title) << ", " << ToUtf8(s.info.report)
      << '\n';
  for (const auto& [name, text] : Facts(s)) out << ToUtf8(name) << ": " << ToUtf8(text) << '\n';
  if (s.report.filters.empty()) out << "filters: none\n";
  out << '\n';
  const auto writer = RequireFormat("table").make(out, ResultOptions(console));
  WriteTables(*writer, s);
  writer->Finish();
  if (!s.report.columns_note.empty()) {
    out << "columns: " << ToUtf8(s.report.columns_note) << '\n';
  }
  if (!s.report.notes.empty()) out << "\nnotes:\n";
  for (const Note& note : s.report.notes) {
    out << ToUtf8(note.code) << ' ' << ToUtf8(SeverityName(note.severity));
    if (!note.filter.empty()) out << " (" << ToUtf8(note.filter) << ')';
    out << ": " << ToUtf8(note.does) << ' ' << ToUtf8(note.remedy) << '\n';
  }
}

Json NotesJson(const ReportInfo& report) {
  Json notes = Json::array();
  for (const Note& note : report.notes) {
    notes.push_back({{"code", ToUtf8(note.code)},
                     {"level", ToUtf8(SeverityName(note.severity))},
                     {"filter", ToUtf8(note.filter)},
                     {"does", ToUtf8(note.does)},
                     {"remedy", ToUtf8(note.remedy)}});
  }
  return notes;
}

Json FiltersJson(const ReportInfo& report) {
  Json filters = Json::array();
  for (const FilterInfo& filter : report.filters) {
    Json values = Json::array();
    for (const TextView value : filter.values) values.push_back(ToUtf8(value));
    filters.push_back({{"name", ToUtf8(filter.name)},
                       {"caption", ToUtf8(filter.caption)},
                       {"kind", ToUtf8(KindName(filter.kind))},
                       {"takes", ToUtf8(KindMeaning(filter.kind))},
                       {"wordedBy", filter.worded_by == WordedBy::Host ? "host" : "report"},
                       {"byCaption", filter.trait == FilterTrait::ByCaption},
                       {"values", std::move(values)}});
  }
  return filters;
}

void WriteJson(Console& console, const Subject& s) {
  Json columns = Json::array();
  for (const ResultColumnInfo& column : s.report.columns) {
    columns.push_back({{"name", ToUtf8(column.name)}, {"meaning", ToUtf8(column.meaning)}});
  }
  Json json = {{"class", ToUtf8(s.info.name)},
               {"progId", ToUtf8(ProgId(s.info))},
               {"title", ToUtf8(s.report.title)},
               {"report", ToUtf8(s.info.report)},
               {"resultTable", ToUtf8(ResultTable(s.info))},
               {"subtitle", s.info.Has(Member::strSubTitle)},
               {"needs", ToUtf8(InputsOf(s.report))},
               {"withoutFilterSet", ToUtf8(SetOf(s.report))},
               {"unknownFilter", ToUtf8(UnknownOf(s.report))}};
  json["filters"] = FiltersJson(s.report);
  json["columns"] = std::move(columns);
  json["columnsNote"] = ToUtf8(s.report.columns_note);
  json["notes"] = NotesJson(s.report);
  console.out << json.dump(2) << '\n';
}

// A cell of a table in Markdown.
std::string Cell(TextView text) {
  std::string cell;
  for (const char c : ToUtf8(text)) {
    if (c == '|' || c == '*' || c == '_' || c == '<' || c == '[' || c == '`') cell += '\\';
    cell += c;
  }
  return cell;
}

void MarkdownRow(std::ostream& out, std::initializer_list<TextView> cells) {
  for (const TextView cell : cells) out << "| " << Cell(cell) << ' ';
  out << "|\n";
}

void MarkdownHead(std::ostream& out, TextView title, std::initializer_list<TextView> names) {
  out << "\n## " << ToUtf8(title) << "\n\n";
  MarkdownRow(out, names);
  for (std::size_t i = 0; i < names.size(); ++i) out << "| --- ";
  out << "|\n";
}

void WriteMarkdown(Console& console, const Subject& s) {
  std::ostream& out = console.out;
  out << "# " << ToUtf8(s.report.title) << " (`" << ToUtf8(s.info.name) << "`)\n\n"
      << "The " << ToUtf8(s.info.report) << ".\n\n";
  for (const auto& [name, text] : Facts(s)) {
    out << "- " << ToUtf8(name) << ": " << Cell(text) << '\n';
  }
  if (!s.report.filters.empty()) {
    MarkdownHead(out, u"Filters", {u"Name", u"Caption", u"Kind", u"Worded by", u"Values"});
    for (const FilterInfo& filter : s.report.filters) {
      MarkdownRow(out, {filter.name, filter.caption, KindName(filter.kind), WordingOf(filter),
                        ValuesOf(filter)});
    }
  }
  if (!s.report.columns.empty()) {
    MarkdownHead(out, u"Columns", {u"Column", u"Meaning"});
    for (const ResultColumnInfo& column : s.report.columns) {
      MarkdownRow(out, {column.name, column.meaning});
    }
  }
  if (!s.report.columns_note.empty()) {
    out << "\nColumns: " << Cell(s.report.columns_note) << ".\n";
  }
  if (s.report.notes.empty()) return;
  MarkdownHead(out, u"Notes", {u"Code", u"Level", u"Filter", u"What happens", u"What to do"});
  for (const Note& note : s.report.notes) {
    MarkdownRow(out, {note.code, SeverityName(note.severity), note.filter, note.does, note.remedy});
  }
}

}  // namespace

int DescribeCommand(Console& console, const std::string& class_name, const std::string& format) {
  const ClassInfo* info = FindReportClass(FromUtf8(class_name));
  if (!info) throw UsageError(UnknownClassMessage(class_name));
  const ReportInfo* report = FindReportInfo(info->name);
  if (!report) throw UsageError("this version does not know the filters of " + class_name);
  const Subject subject{*info, *report};
  Pager pager(console);
  if (format == "json") {
    WriteJson(pager.console(), subject);
  } else if (format == "markdown") {
    WriteMarkdown(pager.console(), subject);
  } else if (format == "table") {
    WriteText(pager.console(), subject);
  } else {
    throw UsageError("unknown format '" + format + "'; the formats are table json markdown");
  }
  CheckWritten(pager.console().out.flush());
  pager.Close();
  return kDone;
}

}  // namespace ledgerwick
