// T-SQL batches on a small database. What a batch does is taken back, and every so often the
// database is made anew. A batch that goes on and on is cancelled after so many instructions, so
// that an input always takes the same way.
#include <filesystem>
#include <memory>
#include <random>
#include <string>

#include "frame/error.h"
#include "frame/null_sink.h"
#include "fuzz/target.h"
#include "tsql/base/characters.h"
#include "tsql/database.h"

namespace {

using namespace ledgerwick;
namespace fs = std::filesystem;

constexpr std::u16string_view kSetUp[] = {
    u"CREATE TABLE t (a int PRIMARY KEY, b varchar(10), c decimal(18,4), d datetime, e float, f "
    u"money, g bit, h nvarchar(20)) CREATE INDEX t_b ON t (b) INSERT INTO t VALUES (1, 'one', 1.5, "
    u"'2002-03-01', 1e3, 2.5, 1, N'甲'), (2, NULL, -3, NULL, 0, 0, 0, NULL) SELECT * INTO u FROM t",
    u"CREATE VIEW v AS SELECT a, UPPER(b) AS b, SUM(c) AS c FROM t GROUP BY a, b",
    u"CREATE PROCEDURE p @x int, @y varchar(20) = 'def', @z int = NULL OUTPUT AS SET @z = @x * 2 "
    u"SELECT * FROM t WHERE a = @x OR b = @y RETURN 3",
};

class Bench {
 public:
  Bench() {
    std::random_device random;
    const fs::path memory = "/dev/shm";
    const fs::path root = fs::exists(memory) ? memory : fs::temp_directory_path();
    directory_ = root / ("ledgerwick-fuzz-" + std::to_string(random()));
    fs::create_directory(directory_);
    options_.cancel = &cancel_;
    options_.progress = [this] {
      constexpr int kMostCalls = 100;
      if (++calls_ > kMostCalls) cancel_ = true;
    };
    options_.memory_limit = std::int64_t{64} << 20;
    options_.create = true;
  }
  ~Bench() {
    database_.reset();
    std::error_code ignored;
    fs::remove_all(directory_, ignored);
  }
  Bench(const Bench&) = delete;
  Bench& operator=(const Bench&) = delete;

  void Try(TextView batch) {
    constexpr int kRunsOfADatabase = 500;
    if (runs_++ % kRunsOfADatabase == 0) Renew();
    Run(u"BEGIN TRAN");
    Run(batch);
    Run(u"IF @@TRANCOUNT > 0 ROLLBACK");
  }

 private:
  void Renew() {
    database_.reset();
    for (const auto& entry : fs::directory_iterator(directory_)) fs::remove(entry);
    database_ = tsql::Database::Open(directory_ / "fuzz.db", options_);
    for (const TextView batch : kSetUp) Run(batch);
  }

  // Whatever leaves Run and is no DatabaseError ends the process.
  void Run(TextView batch) {
    constexpr std::int32_t kInternal = 8624;
    cancel_ = false;
    calls_ = 0;
    NullSink sink;
    try {
      database_->Run(batch, sink);
    } catch (const DatabaseError& error) {
      if (error.native == kInternal) throw;
    }
  }

  fs::path directory_;
  tsql::DatabaseOptions options_;
  std::unique_ptr<tsql::Database> database_;
  std::atomic<bool> cancel_ = false;
  int calls_ = 0;
  int runs_ = 0;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static Bench bench;
  bench.Try(tsql::ToText({reinterpret_cast<const char*>(data), size}));
  return 0;
}
