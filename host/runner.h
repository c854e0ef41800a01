// Runs a report on a real database and reads its table.
#pragma once

#include <memory>
#include <optional>

#include "frame/database.h"
#include "frame/error.h"
#include "frame/result_sink.h"
#include "frame/system.h"
#include "host/request.h"

namespace ledgerwick {

// While it lives, no other process fills or drops the table that it was taken for.
class TableHold {
 public:
  virtual ~TableHold() = default;
};

// The database that a report runs on. Every member throws DatabaseError.
class ReportDatabase {
 public:
  virtual ~ReportDatabase() = default;

  // A connection for the report, not open yet.
  virtual std::shared_ptr<Connection> NewConnection() = 0;

  // Keeps other processes from `table`, so that the rows that are read are those that were filled
  // in. Null where the database has no such means.
  virtual std::unique_ptr<TableHold> Hold(TextView table) = 0;

  // What the host reads the table with. Valid as long as the database.
  virtual BatchRunner& Reader() = 0;
};

// What happens on the way, for the user to see.
class RunListener {
 public:
  virtual ~RunListener() = default;

  // `sql` is about to run.
  virtual void Statement(const Text& sql) = 0;

  // An operation of the report on its connection has failed. The report decides what becomes of it.
  virtual void Failed(const DatabaseError& error) = 0;

  // The report has filled its table; its rows follow. `sub_title` is nothing where the class has
  // none.
  virtual void Filled(const Text& title, const std::optional<Text>& sub_title) = 0;

  virtual void MessageBox(const Text& text, const Text& title) = 0;
  virtual void Beep() = 0;
};

// Has the report of `request` fill its table on `database` and gives the table's rows to `rows`.
// Returns false when the report gives up without an error, mostly after a message box. Throws
// ReportMissing, DatabaseError and whatever `rows` throws.
bool RunReport(const Request& request, ReportDatabase& database, RunListener& listener,
               ResultSink& rows);

}  // namespace ledgerwick
