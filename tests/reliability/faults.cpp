#include <cerrno>
#include <cstring>
#include <iostream>
#include <set>

#include "books.h"
#include "calls.h"
#include "harnesses.h"

namespace ledgerwick::reliability {
namespace {

namespace fs = std::filesystem;

// The server's numbers.
constexpr std::int32_t kCannotOpen = 4060;
constexpr std::int32_t kNoSpace = 1105;
constexpr std::int32_t kNoMemory = 701;
constexpr std::int32_t kStorage = 823;
constexpr std::int32_t kTimeOut = 1222;
constexpr std::int32_t kReadOnly = 3906;  // what may be opened for reading alone

// A cause, and how the work that it stops may tell of it.
struct Cause {
  const char* name;
  Call call;
  int error;
  std::int32_t number;  // or kCannotOpen while the database is being opened
  const char* words;    // that stand in the text
  bool can_last = true;
};

constexpr Cause kCauses[] = {
    {"open: no permission", Call::Open, EACCES, kStorage, ""},
    {"read: broken disk", Call::Read, EIO, kStorage, "Input/output error"},
    {"write: full disk", Call::Write, ENOSPC, kNoSpace, "full"},
    {"write: size limit", Call::Write, EFBIG, kNoSpace, ""},
    {"write: broken disk", Call::Write, EIO, kStorage, "Input/output error"},
    {"sync: broken disk", Call::Sync, EIO, kStorage, "Input/output error"},
    {"truncate: broken disk", Call::Truncate, EIO, kStorage, "Input/output error"},
    {"lock: broken disk", Call::Lock, EIO, kStorage, ""},
    {"lock: someone else's", Call::Lock, EAGAIN, kTimeOut, "", false},
    {"map: no memory", Call::Map, ENOMEM, kStorage, ""},
    {"rename: no permission", Call::Rename, EACCES, kStorage, "Permission denied"},
    {"unlink: no permission", Call::Unlink, EACCES, kStorage, "Permission denied"},
    {"memory: none", Call::Memory, ENOMEM, kNoMemory, "memory"},
};

tsql::DatabaseOptions Hasty() {
  tsql::DatabaseOptions options;
  options.lock_wait = std::chrono::milliseconds(30);
  return options;
}

// What a user does, step by step; every step's error is told. A database that did not open is
// opened again once.
void UseBooks(const fs::path& path, Shared& shared) {
  std::unique_ptr<tsql::Database> database;
  const auto open = [&] { database = tsql::Database::Open(path, Hasty()); };
  if (!Try(shared, "open", open) && !Try(shared, "open", open)) return;
  Try(shared, "post 0", [&] { Post(*database, shared, 0, 1); });
  Try(shared, "report", [&] { Report(*database); });
  Try(shared, "post 1", [&] { Post(*database, shared, 1, 1); });
  const bool created = Try(shared, "create", [&] {
    Answer(*database, "CREATE TABLE t (a int NULL, b varchar(9) NULL)");
  });
  const auto fill = [&] {
    const std::vector<Text> columns = {u"a", u"b"};
    const auto loader = database->Load(u"t", columns);
    for (std::int64_t i = 0; i < 50; ++i) loader->Row(std::vector<Value>{i, Text(u"x")});
    loader->Finish();
  };
  if (created) Try(shared, "fill", fill);
  Try(shared, "compact", [&] { database->Compact(); });
  if (created) Try(shared, "drop", [&] { Answer(*database, "DROP TABLE t"); });
  Try(shared, "post 2", [&] { Post(*database, shared, 2, 1); });
  database.reset();
  Try(shared, "open", open);
}

void ReplaceSample(const fs::path& path, Shared& shared) { MakeSample(path, 1, shared); }

// "" if the error tells its cause.
std::string Judge(const Told& told, const Cause& cause) {
  const std::string text = told.text;
  const std::string step = told.what;
  const auto has = [&](const char* words) { return text.find(words) != std::string::npos; };
  const bool own_words = told.number == 0 && step == "replace";
  const bool read_only = told.number == kReadOnly && cause.call == Call::Open;
  const bool opening = told.number == kCannotOpen && (step == "open" || step == "replace");
  if (!own_words && !opening && !read_only && told.number != cause.number) {
    return step + " ended with another number: " + std::to_string(told.number) + ", " + text;
  }
  // Where the system's reason is lost on the way through SQLite, its own words say as much.
  const bool says_why = has(cause.words) || has(std::strerror(cause.error)) ||
                        (cause.error != ENOSPC && has("disk I/O error"));
  if (!says_why || has("Success") || has("not an error")) {
    return step + " does not say why: " + text;
  }
  return {};
}

// A kind of work, and how its result is checked.
struct Work {
  const char* name;
  void (*prepare)(const fs::path&);
  void (*run)(const fs::path&, Shared&);
  std::string (*check)(const fs::path&, Shared&);
};

std::string CheckBooks(const fs::path& path, Shared& shared) {
  std::string fault = Compare(Examine(path), shared);
  for (int i = 0; fault.empty() && i < shared.told_count; ++i) {
    // An error means that the statement has had no effect.
    const std::string step = shared.told[i].what;
    if (step.starts_with("post ")) --shared.begun[step.back() - '0'];
  }
  if (fault.empty()) fault = Compare(Examine(path), shared);
  return fault.empty() ? UseAgain(path, shared) : fault;
}

void PrepareSample(const fs::path& path) {
  SharedMemory shared;
  MakeSample(path, 0, *shared);
}

std::string CheckReplaced(const fs::path& path, Shared&) {
  const std::string fault = CheckSample(path);
  return fault.empty() ? ReplaceAgain(path) : fault;
}

constexpr Work kWorks[] = {
    {"books", &CreateBooks, &UseBooks, &CheckBooks},
    {"sample", &PrepareSample, &ReplaceSample, &CheckReplaced},
};

// One kind of work with every fault.
class Series {
 public:
  Series(const Work& work, const Settings& settings, Verdict& verdict)
      : work_(work), settings_(settings), verdict_(verdict) {
    work.prepare(start_ / kName);
  }

  void Run() {
    const Result plain = Once({});
    verdict_.Round(std::string(work_.name) + ", nothing fails", plain.fault);
    for (const Cause& cause : kCauses) {
      const std::int64_t count = plain.counts[static_cast<std::size_t>(cause.call)];
      RunCause(cause, count, false);
      if (cause.can_last) RunCause(cause, count, true);
    }
  }
  std::int64_t failed() const { return failed_; }

 private:
  static constexpr const char* kName = "books.db";
  struct Result {
    std::array<std::int64_t, kCalls> counts{};
    std::string fault;
    bool failed = false;
  };

  // Every call or, where the settings want fewer, as many spread over them from a random start.
  void RunCause(const Cause& cause, std::int64_t count, bool for_good) {
    Random random(settings_.seed);
    const std::int64_t stride =
        settings_.rounds == 0 ? 1 : std::max<std::int64_t>(1, count / settings_.rounds);
    for (std::int64_t at = Draw(random, 1, stride); at <= count; at += stride) {
      const Result result = Once({cause.call, at, for_good, cause.error}, &cause);
      if (result.failed) ++failed_;
      verdict_.Round(std::string(work_.name) + ", " + cause.name + ", call " + std::to_string(at) +
                         " of " + std::to_string(count) + (for_good ? " and all later" : ""),
                     result.fault);
    }
  }

  Result Once(const Fault& fault, const Cause* cause = nullptr) {
    folder_.Become(start_);
    shared_.Clear();
    const fs::path path = folder_ / kName;
    const int process = Start([&] {
      Watch(folder_.path());
      Arm(fault);
      work_.run(path, *shared_);
      Disarm();
      for (std::size_t i = 0; i < kCalls; ++i) shared_->counts[i] = Counts()[i];
      shared_->failed = HasFailed();
    });
    Result result;
    result.fault = Wait(process);
    for (std::size_t i = 0; i < kCalls; ++i) result.counts[i] = shared_->counts[i];
    result.failed = shared_->failed;
    for (int i = 0; result.fault.empty() && i < shared_->told_count; ++i) {
      result.fault = cause == nullptr ? shared_->told[i].text : Judge(shared_->told[i], *cause);
    }
    if (result.fault.empty()) result.fault = work_.check(path, *shared_);
    return result;
  }

  const Work& work_;
  const Settings& settings_;
  Verdict& verdict_;
  Folder start_;
  Folder folder_;
  SharedMemory shared_;
  std::int64_t failed_ = 0;
};

}  // namespace

int Faults(const Settings& settings) {
  Verdict verdict("faults", settings.seed);
  std::int64_t failed = 0;
  for (const Work& work : kWorks) {
    Series series(work, settings, verdict);
    series.Run();
    failed += series.failed();
  }
  return verdict.End(std::to_string(failed) + " of them with a failure");
}

}  // namespace ledgerwick::reliability
