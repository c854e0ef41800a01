// A report on a database, for a command.
#pragma once

#include <cstdint>
#include <optional>

#include "cli/console.h"
#include "cli/result_output.h"
#include "cli/server_options.h"
#include "host/request.h"

namespace ledgerwick {

struct RunSettings {
  std::optional<std::int64_t> memory_limit;  // of a statement, in bytes
  std::int64_t limit = kNoLimit;             // of the rows that are written
  bool show_sql = false;                     // tell each statement before it runs
  bool read_only = false;                    // leave the database's file as it is
  ServerOptions server;                      // says where its user's password is
};

// Has the report of `request` fill its table on the database that its connection string names, and
// gives titles and rows to `writer`. What happens on the way, errors included, is told on the
// error stream. Returns how many rows the table has, or nothing when the report or the database
// said no. Throws UsageError, Interrupted, ReportMissing and what the writer throws.
std::optional<std::int64_t> RunReportInto(Console& console, ResultWriter& writer,
                                          const Request& request, const RunSettings& options);

}  // namespace ledgerwick
