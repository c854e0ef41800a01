// Where the results of a batch go, row by row, so that memory does not grow with a table.
#pragma once

#include <cstdint>
#include <span>

#include "frame/error.h"
#include "frame/text.h"
#include "frame/value.h"

namespace ledgerwick {

enum class ColumnKind { Boolean, Integer, Float, Decimal, DateTime, String };

// A column of a result.
struct ResultColumn {
  Text name;  // empty where the query names none
  ColumnKind kind = ColumnKind::String;
  Text type;               // as the server writes it, for instance "varchar(20)"
  std::int32_t scale = 0;  // digits behind the point of a Decimal
  bool nullable = true;    // false where no value is ever null
  bool identity = false;   // known to be a table's column that numbers its rows
};

// Receives what a batch gives, in order. The calls of one result set are Columns, Row…, EndRows.
class ResultSink {
 public:
  virtual ~ResultSink() = default;

  virtual void Columns(std::span<const ResultColumn> columns) = 0;

  // One value for each column; the values live until the call returns. A Boolean and an Integer
  // column hold std::int64_t, Float double, DateTime Date, String Text; any may be null. A Decimal
  // is a Text of its digits, `scale` of them behind the point, since a double has not room for all.
  virtual void Row(std::span<const Value> values) = 0;

  // False when the rows that follow need only be counted. A connection may then pass Row over, and
  // asks again for the next one.
  virtual bool WantsRow() { return true; }

  // `count` rows were there, the ones that nobody wanted included.
  virtual void EndRows(std::int64_t count) = 0;

  // As EndRows; an error keeps further rows away and follows.
  virtual void BreakRows(std::int64_t count) { EndRows(count); }

  // A statement without a result set changed that many rows.
  virtual void RowsAffected(std::int64_t count) = 0;

  // A PRINT or a warning of the server.
  virtual void Message(const Text& text) = 0;

  // The same with its number, severity, state and line.
  virtual void Information(const DatabaseError& message) { Message(message.description); }

  // The batch's first error, as it happens; Run throws it in the end all the same. An error that
  // lets nothing of the batch run is thrown alone.
  virtual void FirstError(const DatabaseError&) {}

  // A further error of a batch that went on after its first, which Run throws in the end.
  virtual void Error(const DatabaseError& error) { Message(error.description); }
};

// A connection that gives results to a sink: the embedded database, a server through ODBC.
class BatchRunner {
 public:
  virtual ~BatchRunner() = default;

  // Runs one batch. Throws DatabaseError; what came before the failing statement has gone to the
  // sink and, outside a transaction, stays done.
  virtual void Run(TextView batch, ResultSink& sink) = 0;
};

}  // namespace ledgerwick
