// Runs random statements in the embedded database, in every planning mode, and in SQLite itself,
// which reads the same statement in its own words and without its optimizations.
//
//   random_queries [SEED [COUNT [SECONDS]]]
//
// runs COUNT statements from SEED on, or as many as there is time for, and prints the first
// difference as small as it can be made. What does not fit its type or its column is passed over.
#include <sqlite3.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <iostream>
#include <map>
#include <memory>
#include <random>
#include <stdexcept>

#include "frame/error.h"
#include "tests/random/statement.h"
#include "tsql/database.h"

namespace ledgerwick::random_queries {
namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;
using Rows = std::vector<std::string>;

// What a statement gave: rows, or the error that kept it from giving any.
struct Outcome {
  Rows rows;
  std::string error;
  std::int64_t number = 0;  // the server's, of the error
};

std::string ShowReal(double number) {
  std::array<char, 40> buffer;
  constexpr int kDigits = 9;
  return {buffer.data(),
          std::to_chars(buffer.data(), buffer.data() + buffer.size(), number == 0 ? 0.0 : number,
                        std::chars_format::general, kDigits)
              .ptr};
}

// As SQLite's tables hold it: in lower case, without trailing blanks.
std::string ShowText(std::string text) {
  text.erase(text.find_last_not_of(' ') + 1);
  std::transform(text.begin(), text.end(), text.begin(),
                 [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; });
  return "'" + text + "'";
}

// With every digit: decimals are exact.
std::string ShowHundredths(std::int64_t hundredths) {
  const std::int64_t size = std::abs(hundredths);
  return (hundredths < 0 ? "-" : "") + std::to_string(size / 100) + "." +
         std::to_string(100 + size % 100).substr(1);
}

std::string Show(const Value& value) {
  if (const auto* number = value.If<std::int64_t>()) return std::to_string(*number);
  if (const auto* number = value.If<double>()) return ShowReal(*number);
  if (const auto* text = value.If<Text>()) return ShowText(ToUtf8(*text));
  if (const auto* date = value.If<Date>()) {
    const CalendarTime t = ToCalendar(*date);
    std::array<char, 40> buffer;
    std::snprintf(buffer.data(), buffer.size(), "'%04d-%02d-%02d'", t.year, t.month, t.day);
    return buffer.data();
  }
  return "NULL";
}

class Sink : public ResultSink {
 public:
  explicit Sink(Rows& rows) : rows_(rows) {}
  void Columns(std::span<const ResultColumn> columns) override {
    rows_.clear();
    kinds_.clear();
    for (const ResultColumn& column : columns) kinds_.push_back(column.kind);
  }
  void Row(std::span<const Value> values) override {
    std::string row;
    for (std::size_t i = 0; i < values.size(); ++i) {
      const auto* digits = values[i].If<Text>();
      const bool decimal = digits != nullptr && kinds_[i] == ColumnKind::Decimal;
      row += (decimal ? ToUtf8(*digits) : Show(values[i])) + "|";
    }
    rows_.push_back(row);
  }
  void EndRows(std::int64_t) override {}
  void RowsAffected(std::int64_t) override {}
  void Message(const Text&) override {}

 private:
  Rows& rows_;
  std::vector<ColumnKind> kinds_;
};

// --- The two engines

Outcome RunEmbedded(tsql::Database& database, const Statement& statement) {
  Outcome outcome;
  Sink sink(outcome.rows);
  const auto run = [&](const std::string& sql) { database.Run(FromUtf8(sql), sink); };
  try {
    run("BEGIN TRAN " + statement.tables.tsql);
    run("DECLARE @v int SET @v = 2 " + statement.sql.tsql);
    if (!statement.changed.empty()) run("SELECT * FROM " + statement.changed);
  } catch (const DatabaseError& error) {
    outcome.error = std::to_string(error.native) + " " + error.what();
    outcome.number = error.native;
  }
  run("IF @@TRANCOUNT > 0 ROLLBACK");
  return outcome;
}

Outcome RunLite(const Statement& statement) {
  sqlite3* opened = nullptr;
  if (sqlite3_open(":memory:", &opened) != SQLITE_OK) throw std::runtime_error("no memory");
  const std::unique_ptr<sqlite3, int (*)(sqlite3*)> db(opened, sqlite3_close);
  constexpr int kAllOptimizations = -1;
  sqlite3_test_control(SQLITE_TESTCTRL_OPTIMIZATIONS, opened, kAllOptimizations);
  Outcome outcome;
  std::string sql = statement.tables.lite + statement.sql.lite;
  if (!statement.changed.empty()) sql += "; SELECT * FROM " + statement.changed;
  struct Receiver {
    const Statement& statement;
    Rows& rows;
  } receiver{statement, outcome.rows};
  const auto receive = [](void* to, int count, char** values, char**) {
    auto& [said, rows] = *static_cast<Receiver*>(to);
    std::string row;
    for (int i = 0; i < count; ++i) {
      const Kind kind = said.kinds[static_cast<std::size_t>(i)];
      const std::string value = values[i] == nullptr ? "NULL" : values[i];
      row += values[i] == nullptr  ? value
             : kind == Kind::Float ? ShowReal(std::stod(value))
             : kind == Kind::Dec   ? ShowHundredths(std::stoll(value))
             : kind == Kind::Int   ? value
                                   : ShowText(value);
      row += "|";
    }
    rows.push_back(row);
    return 0;
  };
  char* message = nullptr;
  if (sqlite3_exec(opened, sql.c_str(), receive, &receiver, &message) != SQLITE_OK) {
    outcome.error = message;
    sqlite3_free(message);
  }
  return outcome;
}

// --- Comparing

class Comparison {
 public:
  explicit Comparison(const fs::path& directory) {
    for (const tsql::Planning planning :
         {tsql::Planning::Plain, tsql::Planning::Usual, tsql::Planning::Eager}) {
      tsql::DatabaseOptions options;
      options.create = true;
      options.planning = planning;
      const std::string name = std::to_string(databases_.size()) + ".db";
      databases_.push_back(tsql::Database::Open(directory / name, options));
    }
  }

  // What differs; empty when nothing does.
  std::string Run(const std::vector<unsigned>& tape) {
    Tape again(tape);
    return Run(MakeStatement(again));
  }

  std::string Run(const Statement& statement) {
    Outcome lite = RunLite(statement);
    ++outcomes[statement.changed.empty() ? "queries" : "changes"];
    if (!statement.ordered) std::sort(lite.rows.begin(), lite.rows.end());
    bool passed_over = !lite.error.empty();
    if (passed_over) ++outcomes["SQLite: " + lite.error];
    if (passed_over && lite.error != "integer overflow") return lite.error;
    for (std::size_t i = 0; i < databases_.size(); ++i) {
      Outcome seen = RunEmbedded(*databases_[i], statement);
      if (!seen.error.empty()) {
        ++outcomes["error " + std::to_string(seen.number)];
        constexpr std::array kPassedOver = {220, 515, 8115, 8152};
        if (std::find(kPassedOver.begin(), kPassedOver.end(), seen.number) == kPassedOver.end()) {
          return "planning " + std::to_string(i) + ": " + seen.error + "\n";
        }
        passed_over = true;
        continue;
      }
      if (!statement.ordered) std::sort(seen.rows.begin(), seen.rows.end());
      if (!passed_over && seen.rows != lite.rows) {
        return "planning " + std::to_string(i) + " gives\n" + Lines(seen.rows) + "SQLite gives\n" +
               Lines(lite.rows);
      }
    }
    with_rows += lite.rows.empty() ? 0 : 1;
    return {};
  }

  std::map<std::string, std::int64_t> outcomes;
  std::int64_t with_rows = 0;

 private:
  static std::string Lines(const Rows& rows) {
    std::string lines;
    for (const std::string& row : rows) lines += "  " + row + "\n";
    return lines;
  }

  std::vector<std::unique_ptr<tsql::Database>> databases_;
};

// Takes choices away, and makes them smaller, as long as there is a difference.
std::vector<unsigned> Shrink(std::vector<unsigned> tape, Comparison& comparison) {
  const auto deadline = Clock::now() + std::chrono::seconds(30);
  const auto differs = [&](const std::vector<unsigned>& smaller) {
    return Clock::now() < deadline && !comparison.Run(smaller).empty();
  };
  for (bool changed = true; changed;) {
    changed = false;
    for (std::size_t size = 32; size > 0; size /= 2) {
      for (std::size_t at = 0; at + size <= tape.size();) {
        const auto from = tape.begin() + static_cast<std::ptrdiff_t>(at);
        const auto to = from + static_cast<std::ptrdiff_t>(size);
        std::vector<unsigned> shorter(tape.begin(), from);
        shorter.insert(shorter.end(), to, tape.end());
        std::vector<unsigned> lower = tape;
        std::fill_n(lower.begin() + static_cast<std::ptrdiff_t>(at), size, 0U);
        if (differs(shorter)) {
          tape = shorter;
          changed = true;
        } else if (lower != tape && differs(lower)) {
          tape = lower;
          changed = true;
        } else {
          ++at;
        }
      }
    }
  }
  return tape;
}

int Main(std::uint64_t seed, std::int64_t count, std::chrono::seconds limit,
         const fs::path& directory) {
  Comparison comparison(directory);
  const auto end = Clock::now() + limit;
  std::int64_t done = 0;
  for (; done < count && Clock::now() < end; ++done) {
    Tape tape(seed + static_cast<std::uint64_t>(done));
    if (comparison.Run(MakeStatement(tape)).empty()) continue;
    std::cout << "seed " << seed + static_cast<std::uint64_t>(done) << ":\n";
    const std::vector<unsigned> smallest = Shrink(tape.drawn(), comparison);
    Tape again(smallest);
    const Statement statement = MakeStatement(again);
    std::cout << statement.tables.tsql << statement.sql.tsql << "\nfor SQLite:\n"
              << statement.sql.lite << "\n"
              << comparison.Run(smallest);
    return 1;
  }
  std::cout << done << " statements from seed " << seed << ", " << comparison.with_rows
            << " gave rows that were compared\n";
  for (const auto& [outcome, times] : comparison.outcomes) {
    std::cout << "  " << times << " " << outcome << "\n";
  }
  return 0;
}

}  // namespace
}  // namespace ledgerwick::random_queries

int main(int argc, char** argv) {
  const auto argument = [&](int i, std::int64_t usual) {
    return argc > i ? std::stoll(argv[i]) : usual;
  };
  std::random_device random;
  const auto directory =
      std::filesystem::temp_directory_path() / ("ledgerwick-random-" + std::to_string(random()));
  std::filesystem::create_directory(directory);
  const int result = ledgerwick::random_queries::Main(
      static_cast<std::uint64_t>(argument(1, 1)), argument(2, 1000),
      std::chrono::seconds(argument(3, 1'000'000)), directory);
  std::filesystem::remove_all(directory);
  return result;
}
