// What an embedded database is opened with.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <filesystem>
#include <functional>

#include "frame/text.h"
#include "tsql/base/planning.h"

namespace ledgerwick::tsql {

// What the embedded server says it is.
inline constexpr int kServerMajor = 11;
inline constexpr int kServerMinor = 0;
inline constexpr int kServerBuild = 2100;

// Who a connection is for, as functions such as SUSER_SNAME() tell it.
struct SessionIdentity {
  std::int32_t number = 51;  // @@SPID
  Text user = u"sa";
  Text host;
  Text application;
};

struct DatabaseOptions {
  // Makes a new, empty database; the file must not exist. Otherwise the file must exist.
  bool create = false;

  // Of a new database: the file whose mode and owner its files get, where there is one; empty for
  // those that the process gives.
  std::filesystem::path rights_of;

  // Where it is not empty, the database's file is only read, and its tempdb and locks lie in this
  // folder, which is the caller's, instead of beside the file. Connections that share the folder
  // share the tempdb. Whatever would write to the books is error 3906.
  std::filesystem::path read_only_with;

  // How long a statement waits for another that writes, before it fails: since it began to wait or
  // the writer last changed.
  std::chrono::milliseconds lock_wait = std::chrono::seconds(60);

  // Refuses what would change the books with 3906; tempdb stays open to changes.
  bool read_only = false;

  // When it turns true, the running statement stops, leaves nothing half done and fails. May be
  // set from a signal handler. Outlives the database.
  const std::atomic<bool>* cancel = nullptr;

  // Called every so often while a statement runs; may be empty.
  std::function<void()> progress;

  // Told in a sentence what opening the database has mended; may be empty.
  std::function<void(const Text& text)> note;

  // The bytes that a batch may use while it is prepared and run, SQLite's share and the pages that
  // it reads included; 0 for no limit. Beyond it the statement fails with 701 and the batch ends.
  std::int64_t memory_limit = std::int64_t{1} << 30;

  SessionIdentity session;

  // How freely queries are rewritten.
  Planning planning = Planning::Usual;
};

}  // namespace ledgerwick::tsql
