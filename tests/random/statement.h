// Random statements in two dialects: T-SQL, and SQLite's own SQL for tables of the same meaning.
//
// SQLite's tables hold texts in lower case without trailing blanks, and decimals as hundredths, so
// that its own comparisons are those of T-SQL; so do the texts of its statements.
#pragma once

#include <cstddef>
#include <cstdint>
#include <random>
#include <string>
#include <vector>

namespace ledgerwick::random_queries {

// The choices that a statement is made by: drawn at random and kept, or played again. A statement
// is made smaller by taking choices away, or by smaller ones: 0 is the simplest everywhere.
class Tape {
 public:
  explicit Tape(std::uint64_t seed) : random_(seed), is_random_(true) {}
  explicit Tape(std::vector<unsigned> choices) : choices_(std::move(choices)) {}

  // A number below `n`; 0 behind the end of a tape that is played again.
  unsigned Draw(unsigned n);

  // True once in `n` times.
  bool Once(unsigned n) { return Draw(n) == n - 1; }

  // What was drawn so far.
  const std::vector<unsigned>& drawn() const noexcept { return drawn_; }

 private:
  std::mt19937_64 random_;
  bool is_random_ = false;
  std::vector<unsigned> choices_;
  std::vector<unsigned> drawn_;
};

// The same in both dialects.
struct Sql {
  std::string tsql;
  std::string lite = {};
};

// Numbers stand in rising precedence. Decimals have two digits behind the point.
enum class Kind : std::uint8_t { Int, Dec, Float, Text, Date };

// Tables with rows and one statement on them.
struct Statement {
  Sql tables;               // creates and fills them
  Sql sql;                  // a query, or one that changes `changed`
  std::vector<Kind> kinds;  // of the columns of the query, or of `changed`
  std::string changed;      // the table that is to be compared; empty for a query
  bool ordered = false;     // the order of the rows counts
};

// Makes a statement by the choices of `tape`.
Statement MakeStatement(Tape& tape);

}  // namespace ledgerwick::random_queries
