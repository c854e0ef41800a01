// The databases that a connection string can name.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>

#include "host/runner.h"
#include "tsql/database.h"

namespace ledgerwick {

// What a command wants of whatever database it opens.
struct ConnectionSettings {
  const std::atomic<bool>* cancel = nullptr;  // stops the running statement; outlives the database
  std::function<void()> progress;             // called while a statement runs
  std::function<void()> on_wait;              // called when another process holds the table
  std::function<void(const Text&)> note;      // told what opening the database has mended
  std::optional<std::int64_t> memory_limit;   // of a statement, in bytes; 0 for none
  bool read_only = false;  // the file is not written, and its tempdb is one of this command's own
  bool read_only_if_it_must = false;  // the same where the file or its folder cannot be written
  bool create = false;                // make an empty database where there is no file
};

// The database that `connection_string` names: "embedded:PATH". Throws UsageError for a text that
// names none, DatabaseError when it cannot be opened.
std::unique_ptr<ReportDatabase> OpenReportDatabase(const Text& connection_string,
                                                   const ConnectionSettings& settings);

// `option` if it is given, else `from_request`, else the environment variable
// LEDGERWICK_CONNECTION. Throws UsageError where none says anything.
Text ChooseConnection(const std::string& option, const Text& from_request);

}  // namespace ledgerwick
