// Runs random statements in the embedded database, in every planning mode, and in SQLite itself,
// which reads the same statement in its own words and without its optimizations.
//
//   random_queries [SEED [COUNT [SECONDS]]]
//
// runs COUNT statements from SEED on, or as many as there is time for, and prints the first
// difference as small as it can be made. What does not fit its type, its column or SQLite's parser,
// or takes too long, is passed over.
#include <sqlite3.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <charconv>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <iostream>
#include <memory>
#include <random>
#include <stdexcept>
#include <utility>

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
  bool is_passed_over = false;  // the error is none of the embedded database's
};

// What takes more steps in either engine is passed over: about a second.
constexpr int kMostSteps = 2'000;
constexpr int kInstructionsPerStep = 20'000;  // as the embedded database counts them

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
    columns_.assign(columns.begin(), columns.end());
  }
  void Row(std::span<const Value> values) override {
    std::string& row = rows_.emplace_back();
    for (std::size_t i = 0; i < values.size(); ++i) {
      const auto* digits = values[i].If<Text>();
      const bool decimal = digits != nullptr && columns_[i].kind == ColumnKind::Decimal;
      row += (decimal ? ToUtf8(*digits) : Show(values[i])) + "|";
    }
  }
  void EndRows(std::int64_t) override {}
  void RowsAffected(std::int64_t) override {}
  void Message(const Text&) override {}

 private:
  Rows& rows_;
  std::vector<ResultColumn> columns_;
};

// --- The two engines

class Embedded {
 public:
  Embedded(const fs::path& path, tsql::Planning planning) {
    tsql::DatabaseOptions options;
    options.create = true;
    options.planning = planning;
    options.cancel = &too_long_;
    options.progress = [this] { too_long_ = ++steps_ > kMostSteps; };
    database_ = tsql::Database::Open(path, options);
  }

  Outcome Run(const Statement& statement) {
    Outcome outcome;
    Sink sink(outcome.rows);
    steps_ = 0;
    const auto run = [&](const std::string& sql) { database_->Run(FromUtf8(sql), sink); };
    try {
      run("BEGIN TRAN " + statement.tables.tsql);
      run("DECLARE @v int SET @v = 2 " + statement.sql.tsql);
      if (!statement.changed.empty()) run("SELECT * FROM " + statement.changed);
    } catch (const DatabaseError& error) {
      constexpr std::array kPassedOver = {220, 515, 8115, 8152};
      outcome.error = too_long_ ? "too long" : std::to_string(error.native) + " " + error.what();
      outcome.is_passed_over =
          too_long_ || std::count(kPassedOver.begin(), kPassedOver.end(), error.native) > 0;
    }
    too_long_ = false;
    steps_ = 0;
    run("IF @@TRANCOUNT > 0 ROLLBACK");
    return outcome;
  }

 private:
  std::atomic<bool> too_long_ = false;
  int steps_ = 0;
  std::unique_ptr<tsql::Database> database_;
};

// SQLite's text as the embedded database's value is shown.
std::string Show(Kind kind, const char* value) {
  if (value == nullptr) return "NULL";
  if (kind == Kind::Float) return ShowReal(std::stod(value));
  if (kind == Kind::Dec) return ShowHundredths(std::stoll(value));
  return kind == Kind::Int ? value : ShowText(value);
}

Outcome RunLite(const Statement& statement) {
  sqlite3* opened = nullptr;
  if (sqlite3_open(":memory:", &opened) != SQLITE_OK) throw std::runtime_error("no memory");
  const std::unique_ptr<sqlite3, int (*)(sqlite3*)> db(opened, sqlite3_close);
  constexpr int kAllOptimizations = -1;
  sqlite3_test_control(SQLITE_TESTCTRL_OPTIMIZATIONS, opened, kAllOptimizations);
  int steps = 0;
  const auto is_late = [](void* count) { return ++*static_cast<int*>(count) > kMostSteps ? 1 : 0; };
  sqlite3_progress_handler(opened, kInstructionsPerStep, is_late, &steps);
  std::string sql = statement.tables.lite + statement.sql.lite;
  if (!statement.changed.empty()) sql += "; SELECT * FROM " + statement.changed;
  Outcome outcome;
  std::pair<const Statement&, Rows&> receiver{statement, outcome.rows};
  const auto receive = [](void* to, int count, char** values, char**) {
    const auto& [said, rows] = *static_cast<decltype(receiver)*>(to);
    std::string& row = rows.emplace_back();
    for (int i = 0; i < count; ++i) {
      row += Show(said.kinds[static_cast<std::size_t>(i)], values[i]) + "|";
    }
    return 0;
  };
  const int result = sqlite3_exec(opened, sql.c_str(), receive, &receiver, nullptr);
  if (result != SQLITE_OK) {
    outcome.error = result == SQLITE_INTERRUPT ? "too long" : sqlite3_errmsg(opened);
    outcome.is_passed_over = result == SQLITE_INTERRUPT || outcome.error == "integer overflow" ||
                             outcome.error == "parser stack overflow";
  }
  return outcome;
}

// --- Comparing

class Comparison {
 public:
  explicit Comparison(const fs::path& directory)
      : databases_{{{directory / "plain.db", tsql::Planning::Plain},
                    {directory / "usual.db", tsql::Planning::Usual},
                    {directory / "eager.db", tsql::Planning::Eager}}} {}

  // What differs; empty when nothing does.
  std::string Run(const std::vector<unsigned>& tape) {
    Tape again(tape);
    return Run(MakeStatement(again));
  }

  std::string Run(const Statement& statement) {
    Outcome lite = RunLite(statement);
    if (!statement.ordered) std::sort(lite.rows.begin(), lite.rows.end());
    if (!lite.error.empty() && !lite.is_passed_over) return lite.error;
    std::string passed_over = lite.error;
    for (std::size_t i = 0; i < databases_.size(); ++i) {
      Outcome seen = databases_[i].Run(statement);
      const std::string planning = "planning " + std::to_string(i);
      if (!statement.ordered) std::sort(seen.rows.begin(), seen.rows.end());
      if (!seen.error.empty() && !seen.is_passed_over) return planning + ": " + seen.error + "\n";
      if (!seen.error.empty()) passed_over = seen.error;
      if (passed_over.empty() && seen.rows != lite.rows) {
        return planning + " gives\n" + Lines(seen.rows) + "SQLite gives\n" + Lines(lite.rows);
      }
    }
    if (passed_over == "too long") ++too_long;
    if (passed_over.empty() && !lite.rows.empty()) ++with_rows;
    return {};
  }

  std::int64_t with_rows = 0;
  std::int64_t too_long = 0;

 private:
  static std::string Lines(const Rows& rows) {
    std::string lines;
    for (const std::string& row : rows) lines += "  " + row + "\n";
    return lines;
  }

  std::array<Embedded, 3> databases_;
};

// Takes choices away, and makes them 0, as long as there is a difference.
std::vector<unsigned> Shrink(std::vector<unsigned> tape, Comparison& comparison) {
  const auto deadline = Clock::now() + std::chrono::seconds(30);
  const auto differs = [&](const std::vector<unsigned>& smaller) {
    return smaller != tape && Clock::now() < deadline && !comparison.Run(smaller).empty();
  };
  for (bool changed = true; std::exchange(changed, false);) {
    for (std::ptrdiff_t size = 32; size > 0; size /= 2) {
      for (std::ptrdiff_t at = 0; at + size <= std::ssize(tape);) {
        std::vector<unsigned> shorter = tape;
        shorter.erase(shorter.begin() + at, shorter.begin() + at + size);
        std::vector<unsigned> lower = tape;
        std::fill_n(lower.begin() + at, size, 0U);
        const bool shortens = differs(shorter);
        if (shortens || differs(lower)) {
          tape = shortens ? shorter : lower;
          changed = true;
        } else {
          ++at;
        }
      }
    }
  }
  return tape;
}

int Main(std::uint64_t seed, std::uint64_t count, std::chrono::seconds limit,
         const fs::path& directory) {
  Comparison comparison(directory);
  const auto end = Clock::now() + limit;
  std::uint64_t done = 0;
  for (; done < count && Clock::now() < end; ++done) {
    Tape tape(seed + done);
    if (comparison.Run(MakeStatement(tape)).empty()) continue;
    const std::vector<unsigned> smallest = Shrink(tape.drawn(), comparison);
    Tape again(smallest);
    const Statement statement = MakeStatement(again);
    std::cout << "seed " << seed + done << ":\n"
              << statement.tables.tsql << statement.sql.tsql << "\nfor SQLite:\n"
              << statement.sql.lite << "\n"
              << comparison.Run(smallest);
    return 1;
  }
  std::cout << done << " statements from seed " << seed << ", " << comparison.with_rows
            << " gave rows that were compared, " << comparison.too_long << " took too long\n";
  return 0;
}

}  // namespace
}  // namespace ledgerwick::random_queries

int main(int argc, char** argv) {
  const auto argument = [&](int i, std::uint64_t usual) {
    return argc > i ? std::stoull(argv[i]) : usual;
  };
  std::random_device random;
  const auto directory =
      std::filesystem::temp_directory_path() / ("ledgerwick-random-" + std::to_string(random()));
  std::filesystem::create_directory(directory);
  const int result = ledgerwick::random_queries::Main(
      argument(1, 1), argument(2, 1000),
      std::chrono::seconds(std::stoll(argc > 3 ? argv[3] : "1000000")), directory);
  std::filesystem::remove_all(directory);
  return result;
}
