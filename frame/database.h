// The database as a report sees it, in ADO's shape. Implementations: ADO on Windows, the embedded
// database, a server through ODBC, and the recorder. Every operation throws DatabaseError.
#pragma once

#include <cstdint>
#include <memory>

#include "frame/text.h"
#include "frame/value.h"

namespace ledgerwick {

// ADO's numbers, which stand in traces and go to ADO as they are.
inline constexpr std::int32_t kOptionUnspecified = -1;
inline constexpr std::int32_t kCommandText = 1;
inline constexpr std::int32_t kCommandStoredProcedure = 4;
inline constexpr std::int32_t kVarChar = 200;
inline constexpr std::int32_t kLongVarChar = 201;
inline constexpr std::int32_t kParameterInput = 1;
inline constexpr std::int32_t kUseServer = 2;
inline constexpr std::int32_t kUseClient = 3;
inline constexpr std::int32_t kOpenStatic = 3;
inline constexpr std::int32_t kLockReadOnly = 1;
inline constexpr std::int32_t kLockBatchOptimistic = 4;

// The rows that a query gave, with a cursor that stands on the first row after opening.
class Recordset {
 public:
  virtual ~Recordset() = default;

  // Keeps only the rows that meet `criteria` ("column = value"; an empty text keeps all again) and
  // moves to the first of them. RowSet (frame/row_set.h) tells what a value may be.
  virtual void SetFilter(const Text& criteria) = 0;

  virtual std::int32_t RecordCount() = 0;
  virtual bool AtEnd() = 0;
  virtual void MoveNext() = 0;

  // The value of a column of the current row.
  virtual Value Field(const Text& name) = 0;

  virtual void Close() = 0;
};

// How a recordset is opened: ADO's cursor location, cursor type, lock type and command type.
struct RecordsetOptions {
  std::int32_t cursor_location = kUseServer;
  std::int32_t cursor_type = kOpenStatic;
  std::int32_t lock_type = kLockReadOnly;
  std::int32_t command_type = kOptionUnspecified;
};

// A stored procedure's or a statement's call with parameters.
class Command {
 public:
  virtual ~Command() = default;

  virtual void SetCommandText(const Text& text) = 0;
  virtual void SetCommandType(std::int32_t type) = 0;

  // In seconds; 0 waits without limit.
  virtual void SetCommandTimeout(std::int32_t seconds) = 0;

  // Creates an input parameter and appends it. `size` counts bytes of the ANSI code page.
  virtual void AppendParameter(const Text& name, std::int32_t type, std::int32_t size,
                               const Text& value) = 0;

  virtual void Execute(std::int32_t options) = 0;
};

// A connection to the suite's database.
class Connection : public std::enable_shared_from_this<Connection> {
 public:
  virtual ~Connection() = default;

  virtual void Open(const Text& connection_string, const Text& user, const Text& password,
                    std::int32_t options) = 0;
  virtual void Execute(const Text& sql, std::int32_t options) = 0;
  virtual void Close() = 0;

  // A command whose active connection is this one. It keeps the connection alive.
  virtual std::unique_ptr<Command> NewCommand() = 0;

  // The rows of `sql`. The recordset keeps the connection alive.
  virtual std::unique_ptr<Recordset> OpenRecordset(const Text& sql,
                                                   const RecordsetOptions& options) = 0;

  // As Execute, with a failure passed over: dropping a table that need not exist. The recorder
  // notes that errors were ignored.
  virtual void ExecuteIgnoringErrors(const Text& sql, std::int32_t options);
};

}  // namespace ledgerwick
