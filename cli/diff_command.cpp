// diff: what differs between two results.
#include <algorithm>

#include "cli/command_line.h"
#include "cli/commands.h"
#include "cli/connections.h"
#include "cli/findings.h"
#include "cli/interrupt.h"
#include "cli/report_options.h"
#include "cli/report_run.h"
#include "output/column_selection.h"
#include "output/comparison.h"
#include "output/result_reader.h"

namespace ledgerwick {
namespace {

ResultTable ReadFile(Console& console, const std::string& path) {
  const OutputFormat* format = FormatOfFile(path);
  if (format == nullptr) {
    throw UsageError(path +
                     ": its ending tells no format; results are compared in csv, tsv, json "
                     "and jsonl");
  }
  return ReadResult(ReadInput(console, path), format->name, path);
}

// The request on `connection`.
Request RequestOn(Console& console, const DiffOptions& options, const std::string& connection) {
  ReportOptions report = options.report;
  report.report = options.operands.front();
  report.connection = connection;
  Request request = MakeRequest(console, report);
  request.connectionString = ChooseConnection(connection, {}, request.connectionString);
  return request;
}

// The report's table, or nothing when something said no.
std::optional<ResultTable> RunToCompare(Console& console, const DiffOptions& options,
                                        const Request& request) {
  ResultCollector collector;
  RunSettings settings;
  settings.memory_limit = options.memory_limit;
  if (!RunReportInto(console, collector, request, settings)) return std::nullopt;
  InterruptGuard::Check();
  return std::move(collector.table());
}

ResultColumn TextColumn(const std::string& name) {
  return {FromUtf8(name), ColumnKind::String, {}, 0};
}

// Writes a comparison as a result of its own.
class DifferenceWriter {
 public:
  DifferenceWriter(ResultWriter& writer, const ResultTable& first, const ResultTable& second,
                   const Comparison& comparison, const ComparisonOptions& options,
                   std::int64_t limit)
      : writer_(writer),
        first_(first),
        second_(second),
        comparison_(comparison),
        ordered_(options.ordered),
        limit_(limit) {}

  // A row for each difference: of what kind it is, whose row, and the two values.
  void Write() {
    const std::vector<std::string>& shown =
        comparison_.keys.empty() ? comparison_.common : comparison_.keys;
    std::vector<ResultColumn> columns = {TextColumn("difference")};
    if (ordered_) {
      columns.push_back(TextColumn("row"));
    } else {
      for (const std::string& name : shown) columns.push_back(TextColumn(name));
    }
    for (const char* name : {"column", "first", "second"}) columns.push_back(TextColumn(name));
    keys_ = ordered_ ? std::vector<std::string>{} : shown;
    width_ = columns.size();
    writer_.Columns(columns);
    for (const std::string& name : comparison_.only_in_first)
      WriteColumn(u"column only in first", name);
    for (const std::string& name : comparison_.only_in_second) {
      WriteColumn(u"column only in second", name);
    }
    for (const Difference& difference : comparison_.differences) WriteDifference(difference);
    writer_.EndRows(written_);
  }

 private:
  void WriteColumn(TextView kind, const std::string& name) {
    std::vector<Value> row(width_, Value(Null{}));
    row.front() = kind;
    row[width_ - 3] = FromUtf8(name);
    WriteRow(row);
  }

  void WriteDifference(const Difference& difference) {
    const ResultTable& table = difference.first ? first_ : second_;
    const std::size_t at = difference.first ? *difference.first : *difference.second;
    std::vector<Value> row;
    row.emplace_back(!difference.second  ? u"only in first"
                     : !difference.first ? u"only in second"
                                         : u"changed");
    if (ordered_) row.emplace_back(FromUtf8(std::to_string(at + 1)));
    for (const std::string& name : keys_) row.push_back(Cell(table, at, name));
    row.resize(width_, Value(Null{}));
    if (difference.column) {
      row[width_ - 3] = FromUtf8(*difference.column);
      row[width_ - 2] = Cell(first_, *difference.first, *difference.column);
      row[width_ - 1] = Cell(second_, *difference.second, *difference.column);
    }
    WriteRow(row);
  }

  static Value Cell(const ResultTable& table, std::size_t row, const std::string& name) {
    const auto column = std::find_if(table.columns.begin(), table.columns.end(),
                                     [&](const auto& c) { return c.name == name; });
    const auto& cell = table.rows[row][static_cast<std::size_t>(column - table.columns.begin())];
    return cell ? Value(FromUtf8(*cell)) : Value(Null{});
  }

  void WriteRow(const std::vector<Value>& row) {
    if (written_ == limit_) return;
    ++written_;
    writer_.Row(row);
  }

  ResultWriter& writer_;
  const ResultTable& first_;
  const ResultTable& second_;
  const Comparison& comparison_;
  bool ordered_;
  std::int64_t limit_;
  std::vector<std::string> keys_;
  std::size_t width_ = 0;
  std::int64_t written_ = 0;
};

std::string Joined(const std::vector<std::string>& names) {
  std::string text;
  for (const std::string& name : names) text.append(text.empty() ? "" : ", ").append(name);
  return text;
}

void Summarize(Console& console, const ResultTable& first, const ResultTable& second,
               const Comparison& comparison, bool ordered) {
  std::size_t only_first = 0;
  std::size_t only_second = 0;
  std::size_t cells = 0;
  for (const Difference& difference : comparison.differences) {
    if (!difference.second) ++only_first;
    if (!difference.first) ++only_second;
    if (difference.column) ++cells;
  }
  console.err << first.rows.size() << " and " << second.rows.size() << " rows, "
              << (ordered                   ? std::string("compared in their order")
                  : comparison.keys.empty() ? std::string("compared as a whole")
                                            : "told apart by " + SafeLines(Joined(comparison.keys)))
              << ": ";
  if (comparison.Equal()) {
    console.err << "equal\n";
    return;
  }
  console.err << only_first << " only in the first, " << only_second << " only in the second, "
              << cells << " changed " << (cells == 1 ? "cell" : "cells");
  const std::size_t columns = comparison.only_in_first.size() + comparison.only_in_second.size();
  if (columns > 0) console.err << ", " << columns << " columns that one of them lacks";
  console.err << '\n';
}

int CompareAndTell(Console& terminal, const DiffOptions& options, ResultTable first,
                   ResultTable second) {
  const OutputFormat& format = ChooseFormat(terminal, options.output);
  const ComparisonOptions how{options.keys, options.ordered};
  const Comparison comparison = Compare(first, second, how);
  if (!comparison.Equal()) {
    ResultOutput output(terminal, options.output, format, true);
    DifferenceWriter(output.writer(), first, second, comparison, how, options.output.limit).Write();
    output.Finish();
  }
  Summarize(terminal, first, second, comparison, options.ordered);
  return comparison.Equal() ? kDone : kDifferent;
}

}  // namespace

int DiffCommand(Console& console, const DiffOptions& options) {
  ChooseFormat(console, options.output);
  if (options.with.empty() == (options.operands.size() == 1)) {
    throw UsageError("give two files, or one report or request and --with CONNECTION");
  }
  try {
    if (options.with.empty()) {
      ResultTable before = ReadFile(console, options.operands[0]);
      ResultTable after = ReadFile(console, options.operands[1]);
      return CompareAndTell(console, options, std::move(before), std::move(after));
    }
    const Request here = RequestOn(console, options, options.report.connection);
    const Request there = RequestOn(console, options, options.with);
    if (!TellFindings(console, here, options.report.strict)) return kTrouble;
    const InterruptGuard guard;
    auto first = RunToCompare(console, options, here);
    if (!first) return kTrouble;
    auto second = RunToCompare(console, options, there);
    if (!second) return kTrouble;
    return CompareAndTell(console, options, *std::move(first), *std::move(second));
  } catch (const ReaderGone&) {
    throw;
  } catch (const MissingColumn&) {
    throw;
  } catch (const KeyError& error) {
    PrintError(console, std::string("--key: ") + error.what());
  } catch (const std::exception& error) {
    // Whatever it is, the results have not been found to differ.
    PrintError(console, error.what());
  }
  return kTrouble;
}

}  // namespace ledgerwick
