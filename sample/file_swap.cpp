#include "sample/file_swap.h"

#include <unistd.h>

#include <array>
#include <stdexcept>
#include <string>
#include <system_error>

#include "tsql/database.h"

namespace ledgerwick::sample {
namespace {

namespace fs = std::filesystem;

// What the storage may put beside a database while it is open.
constexpr std::array<const char*, 3> kCompanions = {"-wal", "-shm", "-journal"};

fs::path With(fs::path path, const std::string& suffix) {
  path += suffix;
  return path;
}

void RemoveQuietly(const fs::path& path) noexcept {
  std::error_code ignored;  // what is not there need not go
  fs::remove(path, ignored);
}

void RemoveCompanions(const fs::path& database) {
  for (const char* suffix : kCompanions) RemoveQuietly(With(database, suffix));
}

void CheckTarget(const fs::path& target, bool force) {
  std::error_code ignored;
  const std::string name = target.string();
  if (fs::exists(target, ignored)) {
    if (!fs::is_regular_file(target, ignored)) {
      throw std::runtime_error(name + " is not a file; name a file for the sample database");
    }
    if (!force) {
      throw std::runtime_error(name +
                               " exists already; choose another name, or replace it with --force");
    }
  }
  const fs::path directory = fs::absolute(target).parent_path();
  if (!fs::is_directory(directory, ignored)) {
    throw std::runtime_error("there is no directory " + directory.string() + " for " + name +
                             "; create it first");
  }
}

}  // namespace

FileSwap::FileSwap(fs::path target, bool force) : target_(std::move(target)) {
  CheckTarget(target_, force);
  working_ = With(target_, ".partial-" + std::to_string(::getpid()));
  RemoveWorkingFiles();  // of a process of that number that was killed
}

FileSwap::~FileSwap() { RemoveWorkingFiles(); }

void FileSwap::Commit() {
  const fs::path old_tempdb = tsql::Database::TempdbPath(target_);
  const fs::path new_tempdb = tsql::Database::TempdbPath(working_);
  std::error_code failure;
  fs::rename(working_, target_, failure);
  if (failure) {
    throw std::runtime_error("the complete sample database could not be moved to " +
                             target_.string() + ": " + failure.message());
  }
  // From here on the new database stands. Neither a log nor results of the old one may meet it.
  RemoveCompanions(target_);
  RemoveCompanions(old_tempdb);
  RemoveQuietly(old_tempdb);
  fs::rename(new_tempdb, old_tempdb, failure);  // there need not be one: it is made when needed
}

void FileSwap::RemoveWorkingFiles() const noexcept {
  const fs::path tempdb = tsql::Database::TempdbPath(working_);
  for (const fs::path& database : {working_, tempdb}) {
    RemoveQuietly(database);
    RemoveCompanions(database);
  }
}

}  // namespace ledgerwick::sample
