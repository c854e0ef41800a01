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
};

// The database that `connection_string` names: "embedded:PATH". Throws UsageError for a text that
// names none, DatabaseError when it cannot be opened.
std::unique_ptr<ReportDatabase> OpenReportDatabase(const Text& connection_string,
                                                   const ConnectionSettings& settings);

// `option` if it is given, else `from_request`, else the environment variable
// LEDGERWICK_CONNECTION. Throws UsageError where none says anything.
Text ChooseConnection(const std::string& option, const Text& from_request);

}  // namespace ledgerwick
