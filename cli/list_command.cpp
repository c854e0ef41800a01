// list and describe: what the class table and the host's table of filters say.
#include <initializer_list>

#include "cli/command_line.h"
#include "cli/commands.h"
#include "cli/pager.h"
#include "component/class_table.h"
#include "host/filters.h"
#include "host/request.h"

namespace ledgerwick {
namespace {

// Writes one result set of texts.
class TextTable {
 public:
  TextTable(ResultWriter& writer, std::initializer_list<TextView> names) : writer_(writer) {
    std::vector<ResultColumn> columns;
    for (const TextView name : names) columns.push_back({Text(name), ColumnKind::String, {}});
    writer_.Columns(columns);
  }

  void Row(std::initializer_list<TextView> cells) {
    const std::vector<Value> values(cells.begin(), cells.end());
    writer_.Row(values);
    ++count_;
  }
  void End() { writer_.EndRows(count_); }

 private:
  ResultWriter& writer_;
  std::int64_t count_ = 0;
};

Text ProgId(const ClassInfo& info) { return u"Ledgerwick." + Text(info.name); }

Text ResultTable(const ClassInfo& info) {
  return u"tempdb.." + Text(info.result_table) + (info.has_machine_suffix ? u"_<machine>" : u"");
}

TextView YesOrNo(bool yes) { return yes ? u"yes" : u"no"; }

void DescribeFilters(ResultWriter& writer, const ReportInfo& report) {
  TextTable table(writer, {u"filter", u"caption", u"kind", u"worded by", u"known values"});
  for (const FilterInfo& filter : report.filters) {
    Text values;
    for (const TextView value : filter.values) {
      values.append(values.empty() ? u"" : u", ").append(value);
    }
    table.Row({filter.name, filter.caption, KindName(filter.kind),
               filter.worded_by == WordedBy::Host ? u"host" : u"report", values});
  }
  table.End();
}

void DescribeColumns(ResultWriter& writer, const ReportInfo& report) {
  TextTable table(writer, {u"column", u"meaning"});
  for (const ResultColumnInfo& column : report.columns) table.Row({column.name, column.meaning});
  table.End();
}

void ListWhole(ResultWriter& writer) {
  TextTable table(writer, {u"ProgID", u"report", u"result table", u"subtitle", u"in this version"});
  for (const ClassInfo& info : Classes()) {
    table.Row({ProgId(info), info.report, ResultTable(info), YesOrNo(info.Has(Member::strSubTitle)),
               YesOrNo(info.factory != nullptr)});
  }
  table.End();
}

// What fits 80 columns; the other formats and `describe` tell the rest.
void ListForReading(ResultOutput& output) {
  TextTable table(output.writer(), {u"class", u"report", u"result table"});
  for (const ClassInfo& info : Classes()) {
    const TextView mark = info.Has(Member::strSubTitle) ? u", subtitled" : u"";
    table.Row({info.name, Text(info.report).append(mark), info.result_table});
  }
  table.End();
  if (!output.console().out_is_terminal) return;
  output.console().err
      << "(hosts put Ledgerwick. before the class; the tables are in tempdb, those "
         "of most\nsales reports with the machine's name behind theirs: see "
         "'ledgerwick describe')\n";
}

}  // namespace

int ListCommand(Console& console, const std::string& format) {
  OutputOptions options;
  options.format = format;
  const OutputFormat& chosen = ChooseFormat(console, options);
  ResultOutput output(console, options, chosen, true);
  if (chosen.name == "table") {
    ListForReading(output);
  } else {
    ListWhole(output.writer());
  }
  output.Finish();
  return kDone;
}

int DescribeCommand(Console& console, const std::string& class_name) {
  const ClassInfo* info = FindReportClass(FromUtf8(class_name));
  if (!info) throw UsageError(UnknownClassMessage(class_name));
  Pager pager(console);
  std::ostream& out = pager.console().out;
  out << ToUtf8(ProgId(*info)) << ": " << ToUtf8(info->report);
  if (!info->help.empty()) out << " (" << ToUtf8(info->help) << ')';
  out << "\nresult table: " << ToUtf8(ResultTable(*info))
      << "\nsubtitle: " << ToUtf8(YesOrNo(info->Has(Member::strSubTitle))) << "\n\n";
  const ReportInfo* report = FindReportInfo(info->name);
  if (!report) {
    out << "This version does not know the filters of this report.\n";
    CheckWritten(out.flush());
    pager.Close();
    return kDone;
  }
  const auto writer = RequireFormat("table").make(out, ResultOptions(console));
  if (report->filters.empty()) {
    out << "filters: none\n\n";
  } else {
    DescribeFilters(*writer, *report);
  }
  if (!report->columns.empty()) DescribeColumns(*writer, *report);
  writer->Finish();
  if (!report->columns_note.empty()) {
    out << "columns: " << ToUtf8(report->columns_note) << '\n';
  }
  CheckWritten(out.flush());
  pager.Close();
  return kDone;
}

}  // namespace ledgerwick
