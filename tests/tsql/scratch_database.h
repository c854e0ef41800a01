// A new database in a folder of its own, both gone with the object.
#pragma once

#include <doctest/doctest.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>

#include "frame/error.h"
#include "frame/null_sink.h"
#include "tests/temporary_folder.h"
#include "tsql/connection.h"

namespace ledgerwick::tsql::testing {

using ledgerwick::testing::TemporaryFolder;

class ScratchDatabase {
 public:
  ScratchDatabase() {
    DatabaseOptions create;
    create.create = true;
    Database::Open(path(), create);
  }

  const std::filesystem::path& folder() const { return folder_.path(); }
  std::filesystem::path path(const std::string& suffix = {}) const {
    return folder_ / ("x.db" + suffix);
  }

  std::shared_ptr<EmbeddedConnection> Connect(const DatabaseOptions& options = {}) const {
    auto connection = EmbeddedConnection::New(options);
    connection->Open(u"embedded:" + FromUtf8(path().string()), {}, {}, -1);
    return connection;
  }

  // On a connection of its own.
  void Run(const Text& sql) const { Connect()->Execute(sql, -1); }
  std::string Scalar(const Text& sql) const { return ScalarOn(*Connect(), sql); }

  // The value of the column x.
  static std::string ScalarOn(Connection& connection, const Text& sql) {
    return ToUtf8(connection.OpenRecordset(sql, {})->Field(u"x").ToText());
  }

 private:
  TemporaryFolder folder_;
};

// A connection that waits for nobody.
inline DatabaseOptions Hasty() {
  DatabaseOptions options;
  options.lock_wait = {};
  return options;
}

// "number: text" of the error that `work` ends with; empty without one.
template <typename Work>
std::string ErrorOf(Work work) {
  try {
    work();
    return {};
  } catch (const DatabaseError& error) {
    const std::int32_t number = error.native != 0 ? error.native : error.number;
    return std::to_string(number) + ": " + ToUtf8(error.description);
  }
}

// The server's number of the error that `batch` ends with, and its line; 0 without one.
struct Ending {
  std::int32_t number = 0;
  int line = 0;
};
inline Ending EndingOf(Database& database, TextView batch) {
  NullSink sink;
  try {
    database.Run(batch, sink);
    return {};
  } catch (const DatabaseError& error) {
    return {error.native, error.line};
  }
}

inline mode_t ModeOf(const std::filesystem::path& path) {
  struct stat status {};
  REQUIRE(lstat(path.c_str(), &status) == 0);
  return status.st_mode & 07777;
}

// Overwrites `text.size()` bytes from `offset` on.
inline void Overwrite(const std::filesystem::path& path, std::streamoff offset,
                      const std::string& text) {
  std::fstream file(path, std::ios::in | std::ios::out | std::ios::binary);
  file.seekp(offset);
  file << text;
}

}  // namespace ledgerwick::tsql::testing
