// What outlives a statement: how deep calls are nested, what the last statement did, what a CATCH
// has caught. The state of one connection.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "tsql/base/errors.h"
#include "tsql/run/variables.h"
#include "tsql/storage/catalogue.h"

namespace ledgerwick::tsql {

// The server's limit of nested calls, dynamic texts included.
inline constexpr std::int32_t kDeepestCall = 32;

class StatementCache;

// A batch, a call of a procedure or a dynamic text while it runs.
struct Frame {
  TextView text;                                   // that the statements' offsets count in
  std::string procedure;                           // its name; empty for a batch and a dynamic text
  bool is_text = false;                            // of EXEC ('…')
  StatementCache* kept = nullptr;                  // where its statements may run more than once
  std::int32_t level = 0;                          // 0 for the batch
  std::int64_t result = 0;                         // of RETURN
  NativeProcedure native = NativeProcedure::None;  // what runs in place of statements
  DatabaseId database = DatabaseId::Session;       // that a native one was called in; else master
  Variables variables;
  std::optional<std::int64_t> identity;  // SCOPE_IDENTITY()
  std::vector<std::string> temporaries;  // what drops the session's tables that it made

  // The line in `text` on which `offset` stands. Counted on from the line that was asked for last,
  // since a batch may print a message for each of very many statements.
  std::int32_t LineAt(std::size_t offset);

 private:
  std::size_t counted_to_ = 0;
  std::int32_t line_there_ = 1;
};

// The session's state. It knows no statement.
struct Session {
  std::int64_t row_count = 0;
  std::int32_t last_error = 0;  // of the last statement; 0 for none
  std::int64_t transactions = 0;
  std::optional<std::int64_t> identity;        // @@IDENTITY
  std::optional<std::int64_t> batch_identity;  // SCOPE_IDENTITY() of the last batch
  std::string transaction_name;                // of the outermost; empty for none
  std::vector<std::string> save_points;  // of the open transaction, in the order of their making
  bool no_count = false;
  bool xact_abort = false;
  bool implicit_transactions = false;  // a statement that reads or writes begins one
  bool format_only = false;            // results are described, nothing else happens
  std::int64_t row_limit = 0;          // of what a SELECT gives; 0 for none
  std::string text_size = "2147483647";
  std::string lock_timeout = "-1";

  // Of the running batch.
  Frame* frame = nullptr;
  std::int32_t tries = 0;  // TRY blocks that run, of all frames
  std::vector<SqlError> caught;
  std::optional<SqlError> first_error;

  // Where a new batch begins.
  void BeginBatch();

  // How far `error` goes.
  Reach ReachOf(const SqlError& error) const noexcept;

  // True for an error that no CATCH of the frame at `level` gets: a cancelled batch, and what was
  // wrong with the frame's own text.
  bool PassesCatch(const SqlError& error, std::int32_t level) const noexcept;

  // Binds the system's variables that `statement` reads, then the frame's.
  void Bind(sqlite3_stmt* statement) const;
};

}  // namespace ledgerwick::tsql
