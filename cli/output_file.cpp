#include "cli/output_file.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <system_error>

#include "output/result_writer.h"
#include "tsql/storage/database_lock.h"

namespace ledgerwick {
namespace {

namespace fs = std::filesystem;

[[noreturn]] void CannotWrite(const fs::path& path, int reason) {
  throw OutputError("cannot write " + path.string() + ": " + std::strerror(reason));
}

}  // namespace

OutputTarget::OutputTarget(std::ostream& standard, const std::string& path)
    : standard_(standard), to_file_(!path.empty()), path_(path) {
  if (!to_file_) return;
  std::error_code ignored;
  // A link keeps its place: the file that it names is the one that is replaced.
  if (fs::is_symlink(path_, ignored)) {
    const fs::path target = fs::weakly_canonical(path_, ignored);
    if (!ignored) path_ = target;
  }
  const fs::path database = tsql::DatabaseWithFile(path_);
  if (!database.empty()) {
    throw OutputError("cannot write " + path_.string() + ": it is a file of the database " +
                      database.string() + ", which no result replaces");
  }
  errno = 0;
  const fs::file_status status = fs::status(path_, ignored);
  if (fs::is_directory(status)) CannotWrite(path_, EISDIR);
  if (fs::exists(status) && !fs::is_regular_file(status)) {
    file_.open(path_, std::ios::binary);
    if (!file_) CannotWrite(path_, errno);
    return;
  }
  CreateTemporary();
  if (fs::exists(status)) fs::permissions(temporary_, status.permissions(), ignored);
}

OutputTarget::~OutputTarget() {
  if (temporary_.empty()) return;
  std::error_code ignored;
  fs::remove(temporary_, ignored);
}

void OutputTarget::CreateTemporary() {
  for (int attempt = 0;; ++attempt) {
    fs::path candidate = path_;
    candidate += "." + std::to_string(getpid()) + "-" + std::to_string(attempt) + ".part";
    const int descriptor = open(candidate.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC,
                                S_IRUSR | S_IWUSR | S_IRGRP | S_IWGRP | S_IROTH | S_IWOTH);
    if (descriptor < 0 && errno == EEXIST) continue;
    if (descriptor < 0) CannotWrite(path_, errno);
    close(descriptor);
    temporary_ = candidate;
    break;
  }
  file_.open(temporary_, std::ios::binary);
  if (!file_) CannotWrite(path_, errno);
}

void OutputTarget::Commit() {
  stream().flush();
  CheckWritten(stream());
  if (!to_file_) return;
  errno = 0;
  file_.close();
  if (!file_) CannotWrite(path_, errno);
  if (temporary_.empty()) return;
  std::error_code error;
  fs::rename(temporary_, path_, error);
  if (error) CannotWrite(path_, error.value());
  temporary_.clear();
}

}  // namespace ledgerwick
