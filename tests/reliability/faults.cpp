#include <algorithm>
#include <cerrno>
#include <cstring>

#include "books.h"
#include "calls.h"

namespace ledgerwick::reliability {
namespace {

namespace fs = std::filesystem;

// The server's numbers; read-only is what may be opened for reading alone.
enum Number : std::int32_t {
  kNoMemory = 701,
  kStorage = 823,
  kNoSpace = 1105,
  kTimeOut = 1222,
  kReadOnly = 3906,
  kCannotOpen = 4060
};

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

// What a user does, step by step; every step's error is told. A database that did not open is
// opened again once.
void UseBooks(const fs::path& path, Shared& shared) {
  // Steps hold two references at most: more would need memory outside of Try.
  std::unique_ptr<tsql::Database> database;
  const auto open = [&] {
    tsql::DatabaseOptions hasty;
    hasty.lock_wait = std::chrono::milliseconds(30);
    database = tsql::Database::Open(path, hasty);
  };
  if (!shared.Try("open", open) && !shared.Try("open", open)) return;
  shared.Try("post 0", [&] { Post(*database, shared, 0, 1); });
  shared.Try("report", [&] { Report(*database, shared); });
  shared.Try("post 1", [&] { Post(*database, shared, 1, 1); });
  const bool created = shared.Try(
      "create", [&] { Answer(*database, "CREATE TABLE t (a int NULL, b varchar(9) NULL)"); });
  const auto fill = [&] {
    const std::vector<Text> columns = {u"a", u"b"};
    const auto loader = database->Load(u"t", columns);
    for (std::int64_t i = 0; i < 50; ++i) loader->Row(std::vector<Value>{i, Text(u"x")});
    loader->Finish();
  };
  if (created) shared.Try("fill", fill);
  shared.Try("compact", [&] { database->Compact(); });
  if (created) shared.Try("drop", [&] { Answer(*database, "DROP TABLE t"); });
  shared.Try("post 2", [&] { Post(*database, shared, 2, 1); });
  database.reset();
  shared.Try("open", open);
}

// The error must tell its cause.
void Judge(const Told& told, const Cause& cause) {
  const std::string text = told.text;
  const std::string step = told.step;
  const auto has = [&](const char* words) { return text.find(words) != std::string::npos; };
  const bool own_words = told.number == 0 && step == "replace";
  const bool read_only = told.number == kReadOnly && cause.call == Call::Open;
  const bool opening = told.number == kCannotOpen && (step == "open" || step == "replace");
  Require(own_words || opening || read_only || told.number == cause.number,
          step + " ended with another number: " + std::to_string(told.number) + ", " + text);
  // Where the system's reason is lost on the way through SQLite, its own words say as much.
  const bool says_why = has(cause.words) || has(std::strerror(cause.error)) ||
                        (cause.error != ENOSPC && has("disk I/O error"));
  Require(says_why && !has("Success") && !has("not an error"), step + " does not say why: " + text);
}

// A kind of work, and how its result is checked.
struct Work {
  std::string name;
  void (*prepare)(const fs::path&);
  void (*run)(const fs::path&, Shared&);
  void (*check)(const fs::path&, Shared&);
};

const Work kWorks[] = {
    {"books", &CreateBooks, &UseBooks,
     [](const fs::path& path, Shared& shared) {
       // An error means that the statement has had no effect.
       for (const Told& told : shared.told) {
         const std::string step = told.step;
         if (step.starts_with("post ")) --shared.begun[step.back() - '0'];
       }
       CheckBooks(path, shared);
     }},
    {"sample", [](const fs::path& path) { MakeSample(path, 0, *NewShared()); },
     [](const fs::path& path, Shared& shared) { MakeSample(path, 1, shared); },
     [](const fs::path& path, Shared&) { CheckSample(path); }},
};

// One kind of work, done again and again with another fault.
class Series {
 public:
  explicit Series(const Work& work) : work_(work) { work.prepare(start_.path / "books.db"); }

  // With `cause` for null nothing fails.
  void Once(const Fault& fault, const Cause* cause) {
    folder_.Clear();
    fs::copy(start_.path, folder_.path);
    shared = NewShared();
    const fs::path path = folder_.path / "books.db";
    const int process = Start([&] {
      Watch(folder_.path);
      Arm(fault);
      work_.run(path, *shared);
      Disarm();
      for (std::size_t i = 0; i < kCalls; ++i) shared->counts[i] = Counts()[i];
    });
    Wait({process});
    for (std::size_t i = 0; i < shared->told_count; ++i) {
      Require(cause != nullptr, shared->told[i].text);
      Judge(shared->told[i], *cause);
    }
    work_.check(path, *shared);
  }

  std::shared_ptr<Shared> shared;  // of the last one

 private:
  const Work& work_;
  Folder start_;
  Folder folder_;
};

}  // namespace

void Faults(Verdict& verdict, std::uint64_t seed, std::int64_t amount) {
  for (const Work& work : kWorks) {
    Series series(work);
    verdict.Round(work.name + ", nothing fails", [&] { series.Once({}, nullptr); });
    const std::shared_ptr<Shared> plain = series.shared;
    for (const Cause& cause : kCauses) {
      const auto call = static_cast<std::size_t>(cause.call);
      const std::int64_t count = plain->counts[call];
      // Every call or, where fewer are wanted, as many spread over them from a random start.
      const std::int64_t stride = amount == 0 ? 1 : std::max<std::int64_t>(1, count / amount);
      for (const bool for_good : {false, true}) {
        if (for_good && !cause.can_last) continue;
        Random random(seed);
        for (std::int64_t at = Draw(random, 1, stride); at <= count; at += stride) {
          verdict.Round(work.name + ", " + cause.name + ", call " + std::to_string(at) + " of " +
                            std::to_string(count) + (for_good ? " and all later" : ""),
                        [&] {
                          series.Once({cause.call, at, for_good, cause.error}, &cause);
                        });
          if (series.shared->counts[call] >= at) ++verdict.counted;
        }
      }
    }
  }
}

}  // namespace ledgerwick::reliability
