// What the desk has done in a process of its own: a report, a look at the database. Its job comes
// on the standard input as JSON, and what becomes of it goes to kEventDescriptor, a line of JSON
// each.
#pragma once

#include <atomic>
#include <functional>
#include <istream>
#include <memory>
#include <optional>
#include <string>

#include "host/runner.h"

namespace ledgerwick::desk {

inline constexpr int kEventDescriptor = 3;

// The command that a worker is started with.
inline constexpr const char* kWorkerCommand = "__desk-worker";

// What a database is opened with.
struct DatabaseSettings {
  const std::atomic<bool>* cancel = nullptr;  // stops the running statement
  std::function<void()> on_wait;              // another run holds the table
  std::function<void(const Text&)> note;      // what the user should know of the database
  std::optional<Text> password;               // of a server's user
};

// Opens the database of that connection string. Throws DatabaseError, and std::runtime_error for a
// string that names none.
using DatabaseOpener = std::function<std::unique_ptr<ReportDatabase>(
    const Text& connection_string, const DatabaseSettings& settings)>;

// Does the job that `in` holds until `stop` turns true. Returns the exit code.
int DoJob(std::istream& in, const DatabaseOpener& open, const std::atomic<bool>& stop);

}  // namespace ledgerwick::desk
