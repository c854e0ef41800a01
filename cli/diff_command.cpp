// diff: what differs between two results.
#include <cerrno>
#include <cstring>
#include <fstream>

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
#include "tsql/storage/sqlite.h"

namespace ledgerwick {
namespace {

void ReadFile(const std::string& path, StoredResult& result) {
  const OutputFormat* format = FormatOfFile(path);
  if (format == nullptr) {
    throw UsageError(path +
                     ": its ending tells no format; results are compared in csv, tsv, json "
                     "and jsonl");
  }
  errno = 0;
  std::ifstream file(path, std::ios::binary);
  if (file) file.peek();
  if (!file.is_open() || file.bad()) {
    throw UsageError("cannot read " + path + ": " + std::strerror(errno));
  }
  ReadResult(file, format->name, path, result);
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

// Fills `result` with the report's table. False when something said no.
bool RunToCompare(Console& console, const DiffOptions& options, const Request& request,
                  StoredResult& result) {
  ResultCollector collector(result);
  RunSettings settings;
  settings.memory_limit = options.memory_limit;
  if (!RunReportInto(console, collector, request, settings)) return false;
  InterruptGuard::Check();
  return true;
}

ResultColumn TextColumn(const std::string& name) {
  return {FromUtf8(name), ColumnKind::String, {}, 0};
}

TextView KindName(DifferenceKind kind) {
  switch (kind) {
    case DifferenceKind::OnlyInFirst:
      return u"only in first";
    case DifferenceKind::OnlyInSecond:
      return u"only in second";
    case DifferenceKind::Changed:
      break;
  }
  return u"changed";
}

Value ValueOf(const StoredResult::Cell& cell) {
  return cell ? Value(FromUtf8(*cell)) : Value(Null{});
}

// Writes a comparison as a result of its own.
class DifferenceWriter {
 public:
  DifferenceWriter(ResultWriter& writer, const Comparison& comparison, bool ordered,
                   std::int64_t limit)
      : writer_(writer), comparison_(comparison), ordered_(ordered), limit_(limit) {}

  // A row for each difference: of what kind it is, whose row, and the two values.
  void Write() {
    std::vector<ResultColumn> columns = {TextColumn("difference")};
    if (ordered_) columns.push_back(TextColumn("row"));
    for (const std::string& name : comparison_.shown) columns.push_back(TextColumn(name));
    for (const char* name : {"column", "first", "second"}) columns.push_back(TextColumn(name));
    width_ = columns.size();
    writer_.Columns(columns);
    for (const std::string& name : comparison_.only_in_first) {
      WriteColumn(u"column only in first", name);
    }
    for (const std::string& name : comparison_.only_in_second) {
      WriteColumn(u"column only in second", name);
    }
    comparison_.ForEachDifference([this](const Difference& difference) {
      WriteDifference(difference);
      return written_ < limit_;
    });
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
    std::vector<Value> row = {Value(KindName(difference.kind))};
    if (ordered_) row.emplace_back(FromUtf8(std::to_string(difference.row)));
    for (const StoredResult::Cell& cell : difference.shown) row.push_back(ValueOf(cell));
    row.resize(width_, Value(Null{}));
    if (difference.kind == DifferenceKind::Changed) {
      row[width_ - 3] = FromUtf8(difference.column);
      row[width_ - 2] = ValueOf(difference.first);
      row[width_ - 1] = ValueOf(difference.second);
    }
    WriteRow(row);
  }

  void WriteRow(const std::vector<Value>& row) {
    if (written_ == limit_) return;
    ++written_;
    writer_.Row(row);
  }

  ResultWriter& writer_;
  const Comparison& comparison_;
  bool ordered_;
  std::int64_t limit_;
  std::size_t width_ = 0;
  std::int64_t written_ = 0;
};

std::string Joined(const std::vector<std::string>& names) {
  std::string text;
  for (const std::string& name : names) text.append(text.empty() ? "" : ", ").append(name);
  return text;
}

void Summarize(Console& console, const StoredResult& first, const StoredResult& second,
               const Comparison& comparison, bool ordered) {
  console.err << first.size() << " and " << second.size() << " rows, "
              << (ordered                   ? std::string("compared in their order")
                  : comparison.keys.empty() ? std::string("compared as a whole")
                                            : "told apart by " + SafeLines(Joined(comparison.keys)))
              << ": ";
  if (comparison.Equal()) {
    console.err << "equal\n";
    return;
  }
  console.err << comparison.rows_only_in_first << " only in the first, "
              << comparison.rows_only_in_second << " only in the second, "
              << comparison.changed_cells << " changed "
              << (comparison.changed_cells == 1 ? "cell" : "cells");
  const std::size_t columns = comparison.only_in_first.size() + comparison.only_in_second.size();
  if (columns > 0) console.err << ", " << columns << " columns that one of them lacks";
  console.err << '\n';
}

int CompareAndTell(Console& terminal, const DiffOptions& options, StoredResult& first,
                   StoredResult& second) {
  const OutputFormat& format = ChooseFormat(terminal, options.output);
  const Comparison comparison = Compare(first, second, {options.keys, options.ordered});
  if (!comparison.Equal()) {
    ResultOutput output(terminal, options.output, format, true);
    DifferenceWriter(output.writer(), comparison, options.ordered, options.output.limit).Write();
    output.Finish();
  }
  Summarize(terminal, first, second, comparison, options.ordered);
  return comparison.Equal() ? kDone : kDifferent;
}

// Fills both results. False when something said no, which is told.
bool RunBoth(Console& console, const DiffOptions& options, StoredResult& first,
             StoredResult& second) {
  const Request here = RequestOn(console, options, options.report.connection);
  const Request there = RequestOn(console, options, options.with);
  if (!TellFindings(console, here, options.report.strict)) return false;
  const InterruptGuard guard;
  return RunToCompare(console, options, here, first) &&
         RunToCompare(console, options, there, second);
}

}  // namespace

int DiffCommand(Console& console, const DiffOptions& options) {
  ChooseFormat(console, options.output);
  if (options.with.empty() == (options.operands.size() == 1)) {
    throw UsageError("give two files, or one report or request and --with CONNECTION");
  }
  try {
    // Before anything else uses SQLite, so that --memory-limit binds what runs.
    tsql::ConfigureSqlite();
    StoredResult first;
    StoredResult second;
    if (options.with.empty()) {
      ReadFile(options.operands[0], first);
      ReadFile(options.operands[1], second);
    } else if (!RunBoth(console, options, first, second)) {
      return kTrouble;
    }
    return CompareAndTell(console, options, first, second);
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
