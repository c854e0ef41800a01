#include "cli/report_page.h"

#include <algorithm>
#include <optional>
#include <sstream>

#include "cli/commands.h"
#include "cli/report_options.h"
#include "host/trace.h"
#include "host/trace_script.h"

namespace ledgerwick {
namespace {

using Row = std::vector<Text>;

// A cell of a table in Markdown.
std::string Cell(TextView text) {
  std::string cell;
  for (const char c : ToUtf8(text)) {
    if (c == '|' || c == '*' || c == '_' || c == '<' || c == '[' || c == '`') cell += '\\';
    cell += c;
  }
  return cell;
}

// True when `next` is `cell` with the number at its end one higher, or the same text.
bool GoesOn(const Text& cell, const Text& next) {
  const std::size_t digits = cell.find_last_not_of(u"0123456789") + 1;
  constexpr std::size_t kMostDigits = 3;
  if (cell == next || digits == cell.size() || cell.size() - digits > kMostDigits) {
    return cell == next;
  }
  const int number = std::stoi(ToUtf8(cell.substr(digits)));
  return next == cell.substr(0, digits) + FromUtf8(std::to_string(number + 1));
}

// Rows that only count on, such as those of sixteen free fields, become one.
std::vector<Row> Folded(const std::vector<Row>& rows) {
  std::vector<Row> folded;
  for (std::size_t i = 0; i < rows.size();) {
    std::size_t last = i;
    while (last + 1 < rows.size() &&
           std::equal(rows[last].begin(), rows[last].end(), rows[last + 1].begin(), GoesOn)) {
      ++last;
    }
    Row row = rows[i];
    for (std::size_t c = 0; c < row.size() && last > i; ++c) {
      if (row[c] != rows[last][c]) row[c].append(u" … ").append(rows[last][c]);
    }
    folded.push_back(std::move(row));
    i = last + 1;
  }
  return folded;
}

void WriteTable(std::ostream& out, TextView title, const Row& names, const std::vector<Row>& rows) {
  if (rows.empty()) return;
  const auto write_row = [&](const Row& row) {
    for (const Text& cell : row) out << "| " << Cell(cell) << ' ';
    out << "|\n";
  };
  out << "\n## " << ToUtf8(title) << "\n\n";
  write_row(names);
  write_row(Row(names.size(), u"---"));
  for (const Row& row : Folded(rows)) write_row(row);
}

void WriteTables(std::ostream& out, const ReportInfo& report) {
  std::vector<Row> filters;
  for (const FilterInfo& filter : report.filters) {
    filters.push_back({Text(filter.name), Text(filter.caption), Text(KindName(filter.kind)),
                       Text(WordingOf(filter)), ValuesOf(filter)});
  }
  WriteTable(out, u"Filters", {u"Name", u"Caption", u"Kind", u"Worded by", u"Values"}, filters);
  std::vector<Row> columns;
  for (const ResultColumnInfo& column : report.columns) {
    columns.push_back({Text(column.name), Text(column.meaning)});
  }
  WriteTable(out, u"Columns", {u"Column", u"Meaning"}, columns);
  if (!report.columns_note.empty()) out << "\nColumns: " << Cell(report.columns_note) << ".\n";
}

void WriteNotes(std::ostream& out, const ReportInfo& report) {
  std::vector<Row> notes;
  for (const Note& note : report.notes) {
    notes.push_back({Text(note.code), Text(SeverityName(note.severity)), Text(note.filter),
                     Text(note.does), Text(note.remedy)});
  }
  WriteTable(out, u"Notes", {u"Code", u"Level", u"Filter", u"What happens", u"What to do"}, notes);
}

// The example as the command line has it.
RunOptions ExampleOptions(const Subject& s, const std::string& connection) {
  constexpr std::int64_t kRows = 4;
  RunOptions options;
  options.report.report = ToUtf8(s.info.name);
  for (const TextView filter : s.example.filters) options.report.filters.push_back(ToUtf8(filter));
  if (!s.example.login_date.empty()) options.report.login_date = ToUtf8(s.example.login_date);
  if (!s.example.account.empty()) options.report.account = ToUtf8(s.example.account);
  options.report.connection = connection;
  options.output.format = "table";
  for (const Text& column : Split(s.example.columns, u',')) {
    options.output.columns.push_back(ToUtf8(column));
  }
  options.output.limit = kRows;
  return options;
}

void WriteExample(std::ostream& out, const Subject& s, const RunOptions& options) {
  out << "\n## Example\n\n```\n$ ledgerwick run " << options.report.report;
  for (const std::string& filter : options.report.filters) out << " --filter " << filter;
  if (options.report.login_date) out << " --login-date " << *options.report.login_date;
  if (options.report.account) out << " --account " << *options.report.account;
  if (!s.example.columns.empty()) out << " --columns " << ToUtf8(s.example.columns);
  out << " --limit " << options.output.limit << '\n';
  if (!options.report.connection.empty()) {
    std::stringstream session;
    Console console = MakeConsole(session, session, session, ColourChoice::Never);
    RunCommand(console, options);
    out << session.str();
  }
  out << "```\n";
}

// What the report does in the example, on a machine of a name that is always the same.
void WriteStatement(std::ostream& out, const Subject& s, const RunOptions& options) {
  std::stringstream session;
  Console console = MakeConsole(session, session, session, ColourChoice::Never);
  Request request = MakeRequest(console, options.report);
  request.machine = u"PC-01";
  request.connectionString.clear();
  out << "\n## Statement\n\nWhat `ledgerwick trace --format sql` shows for the example:\n\n```sql\n"
      << ToScript(TraceReport(request), s.info) << "```\n";
}

}  // namespace

void WriteReportPage(std::ostream& out, const Subject& s, const std::string& connection) {
  out << "# " << ToUtf8(s.report.title) << " (`" << ToUtf8(s.info.name) << "`)\n\n"
      << ToUtf8(s.example.answers) << "\n\nThe " << ToUtf8(s.info.report) << ".\n\n";
  for (const auto& [name, text] : Facts(s)) {
    out << "- " << ToUtf8(name) << ": " << Cell(text) << '\n';
  }
  WriteTables(out, s.report);
  const RunOptions options = ExampleOptions(s, connection);
  WriteExample(out, s, options);
  WriteStatement(out, s, options);
  WriteNotes(out, s.report);
}

}  // namespace ledgerwick
