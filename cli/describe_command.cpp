// describe: what the class table and the host's table of filters say of one report.
#include <nlohmann/json.hpp>

#include "cli/command_line.h"
#include "cli/commands.h"
#include "cli/pager.h"
#include "cli/report_facts.h"
#include "cli/report_page.h"
#include "cli/text_table.h"
#include "host/request.h"

namespace ledgerwick {
namespace {

using Json = nlohmann::ordered_json;

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
  out << ToUtf8(s.example.answers) << '\n';
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
    const ChineseNote& chinese = ChineseOf(note);
    notes.push_back({{"code", ToUtf8(note.code)},
                     {"level", ToUtf8(SeverityName(note.severity))},
                     {"filter", ToUtf8(note.filter)},
                     {"does", ToUtf8(note.does)},
                     {"remedy", ToUtf8(note.remedy)},
                     {"does_zh", ToUtf8(chinese.does)},
                     {"remedy_zh", ToUtf8(chinese.remedy)}});
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
               {"answers", ToUtf8(s.example.answers)},
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

}  // namespace

int DescribeCommand(Console& console, const DescribeOptions& options) {
  const ClassInfo* info = FindReportClass(FromUtf8(options.report));
  if (!info) throw UsageError(UnknownClassMessage(options.report));
  const ReportInfo* report = FindReportInfo(info->name);
  const ReportExample* example = FindExample(info->name);
  if (!report || !example) {
    throw UsageError("this version does not know the filters of " + options.report);
  }
  if (!options.connection.empty() && options.format != "markdown") {
    throw UsageError("--connection is for the example of --format markdown");
  }
  const Subject subject{*info, *report, *example};
  Pager pager(console);
  if (options.format == "json") {
    WriteJson(pager.console(), subject);
  } else if (options.format == "markdown") {
    WriteReportPage(pager.console().out, subject, options.connection);
  } else if (options.format == "table") {
    WriteText(pager.console(), subject);
  } else {
    throw UsageError("unknown format '" + options.format +
                     "'; the formats are table json markdown");
  }
  CheckWritten(pager.console().out.flush());
  pager.Close();
  return kDone;
}

}  // namespace ledgerwick
