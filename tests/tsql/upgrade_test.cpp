// Files of the format that had decimals and money as floats.
#include "tsql/upgrade.h"

#include <doctest/doctest.h>
#include <sqlite3.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <iterator>

#include "frame/error.h"
#include "tsql/storage/catalogue.h"
#include "tsql/storage/register_functions.h"
#include "tsql/storage/sqlite.h"

namespace ledgerwick::tsql {
namespace {

namespace fs = std::filesystem;

// What the old format's own statements have left, and a tempdb with a table of it.
constexpr const char* kOldSchema = R"sql(
PRAGMA journal_mode = WAL;
CREATE TABLE ledgerwick_modules (name TEXT NOT NULL, kind TEXT NOT NULL, definition TEXT NOT NULL);
CREATE TABLE "t" ("id" INTEGER PRIMARY KEY NOT NULL, "d" "decimal(18,4)" NOT NULL DEFAULT (t_to_dec((- 1.5), 18, 4)),
  "l" "decimal(28,2)" UNIQUE DEFAULT (t_str_to_dec('2.345', 28, 2, 'varchar')), "m" "money" DEFAULT (t_to_money(3)),
  "r" "real", "f" "float", "v" "varchar(9)" COLLATE CHINESE_PRC_CI_AS DEFAULT ('x, DEFAULT (3)'));
CREATE UNIQUE INDEX "t.by d" ON "t"("d" DESC, "v");
INSERT INTO t VALUES(7, 1.25, 99999999999.99, 922337203685477.5, 0.1, 0.1, 'a'),
    (3, -12, NULL, -0.0001, NULL, NULL, NULL);
INSERT INTO ledgerwick_modules VALUES('w', 'V', 'CREATE VIEW w AS SELECT d * 2 AS dd FROM t');
PRAGMA application_id = 1281713255;
)sql";

SqliteHandle OpenPlain(const fs::path& path) {
  sqlite3* db = nullptr;
  REQUIRE(sqlite3_open(path.c_str(), &db) == SQLITE_OK);
  SqliteHandle handle(db);
  static FunctionState state;
  RegisterFunctions(db, state);
  return handle;
}

void Run(const SqliteHandle& db, const std::string& sql) {
  CHECK_MESSAGE(sqlite3_exec(db.get(), sql.c_str(), nullptr, nullptr, nullptr) == SQLITE_OK,
                sqlite3_errmsg(db.get()));
}

class OldDatabase {
 public:
  OldDatabase()
      : path_(fs::temp_directory_path() / ("ledgerwick-old-" + std::to_string(getpid()))) {
    fs::remove_all(path_);
    fs::create_directory(path_);
    Run(OpenPlain(File()), kOldSchema);
    Run(OpenPlain(File() += ".tempdb"), kOldSchema);
  }
  ~OldDatabase() { fs::remove_all(path_); }

  fs::path File() const { return path_ / "books.db"; }

  std::vector<std::string> Files() const {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(path_)) {
      names.push_back(entry.path().filename().string());
    }
    std::sort(names.begin(), names.end());
    return names;
  }

 private:
  fs::path path_;
};

class Cells final : public ResultSink {
 public:
  void Columns(std::span<const ResultColumn>) override {}
  void Row(std::span<const Value> values) override {
    for (const Value& value : values)
      text += ToUtf8(value.IsNull() ? u"NULL" : value.ToText()) + "|";
    text += "\n";
  }
  void EndRows(std::int64_t) override {}
  void RowsAffected(std::int64_t) override {}
  void Message(const Text&) override {}
  std::string text;
};

std::string Ask(const fs::path& path, TextView sql) {
  Cells cells;
  try {
    Database::Open(path)->Run(sql, cells);
  } catch (const DatabaseError& error) {
    return ToUtf8(error.description);
  }
  return cells.text;
}

std::string Content(const fs::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

TEST_CASE("a database of the old format is refused, and one that is upgraded has the same values") {
  const OldDatabase old;
  CHECK(Ask(old.File(), u"SELECT 1").find("`ledgerwick upgrade " + old.File().string() + "`") !=
        std::string::npos);
  fs::permissions(old.File(), fs::perms::owner_read | fs::perms::owner_write);
  CHECK(UpgradeDatabase(old.File()));
  CHECK_FALSE(UpgradeDatabase(old.File()));
  CHECK(fs::status(old.File()).permissions() == (fs::perms::owner_read | fs::perms::owner_write));
  CHECK(Ask(old.File(),
            u"SELECT id, d, l, m, r, f, v FROM t ORDER BY d SELECT SUM(dd) FROM w "
            u"SELECT COUNT(*) FROM tempdb..sysobjects") ==
        "3|-12.0000|NULL|-0.0001|NULL|NULL|NULL|\n"
        "7|1.2500|99999999999.99|922337203685477.5000|0.1|0.1|a|\n-21.5000|\n0|\n");
  CHECK(Ask(old.File(),
            u"INSERT INTO t (id) VALUES (1) SELECT d, l, m, v FROM t WHERE d = -1.5 "
            u"INSERT INTO t (id, l) VALUES (2, 2.35)")
            .starts_with("Violation of UNIQUE KEY constraint"));
  CHECK(Ask(old.File(), u"SELECT d, l, m, v FROM t WHERE d = -1.5") ==
        "-1.5000|2.35|3.0000|x, DEFAULT (3)|\n");
  // Its UNIQUE takes any number of NULLs still.
  CHECK(Ask(old.File(),
            u"INSERT INTO t (id, d, l) VALUES (11, 0, NULL) UPDATE t SET id = id + 4"
            u" SELECT COUNT(*), MAX(id) FROM t WHERE l IS NULL") == "2|15|\n");
  CHECK(Ask(old.File(), u"DROP INDEX t.[by d]").empty());
}

TEST_CASE("a file of a newer version is neither opened nor converted") {
  const OldDatabase old;
  Run(OpenPlain(old.File()), "PRAGMA user_version = 99");
  const std::string before = Content(old.File());
  std::string upgrading;
  try {
    UpgradeDatabase(old.File());
  } catch (const DatabaseError& error) {
    upgrading = ToUtf8(error.description);
  }
  for (const std::string& text : {Ask(old.File(), u"SELECT 1"), upgrading}) {
    CHECK_MESSAGE(text.find("made by a newer version of Ledgerwick") != std::string::npos, text);
  }
  CHECK(Content(old.File()) == before);
}

TEST_CASE("a file has the newer format from its first constraint on, which older programs refuse") {
  const OldDatabase old;
  UpgradeDatabase(old.File());
  const auto format = [&] {
    const SqliteHandle db = OpenPlain(old.File());
    sqlite3_stmt* prepared = nullptr;
    sqlite3_prepare_v2(db.get(), "PRAGMA user_version", -1, &prepared, nullptr);
    const SqliteStatement version(prepared);
    return sqlite3_step(prepared) == SQLITE_ROW ? sqlite3_column_int(prepared, 0) : -1;
  };
  CHECK(Ask(old.File(), u"CREATE TABLE plain (id int PRIMARY KEY, a int UNIQUE)").empty());
  CHECK(format() == 2);
  CHECK(Ask(old.File(), u"ALTER TABLE plain ADD CHECK (a > 0)").empty());
  CHECK(format() == 3);
  CHECK(
      Ask(old.File(), u"INSERT INTO plain VALUES (1, 0)").starts_with("The INSERT statement conf"));
  CHECK_FALSE(UpgradeDatabase(old.File()));
}

TEST_CASE("an upgrade that cannot be finished leaves the database as it was") {
  const OldDatabase old;
  const std::vector<std::string> files = old.Files();
  const auto refusal = [&](const DatabaseOptions& options) -> std::string {
    try {
      UpgradeDatabase(old.File(), options);
      return "upgraded";
    } catch (const DatabaseError& error) {
      return ToUtf8(error.description);
    }
  };
  DatabaseOptions options;
  options.lock_wait = std::chrono::milliseconds(10);
  SUBCASE("while somebody uses it") {
    const SqliteHandle reader = OpenPlain(old.File());
    Run(reader, "BEGIN; SELECT count(*) FROM t");
    CHECK(refusal(options).find("it is in use") != std::string::npos);
  }
  SUBCASE("where a value does not fit") {
    Run(OpenPlain(old.File()), "UPDATE t SET d = 1e15 WHERE id = 3");
    const std::string before = Content(old.File());
    CHECK(refusal(options).find("Arithmetic overflow") != std::string::npos);
    CHECK(Content(old.File()).size() == before.size());
  }
  SUBCASE("where it is cancelled") {
    std::atomic<bool> cancel = false;
    options.cancel = &cancel;
    options.progress = [&] { cancel = true; };
    Run(OpenPlain(old.File()),
        "WITH RECURSIVE n(i) AS (VALUES (10) UNION ALL SELECT i + 1 FROM n LIMIT 20000) INSERT "
        "INTO "
        "t (id, d, l, m) SELECT i, i, i, i FROM n");
    CHECK(refusal(options).find("cancelled") != std::string::npos);
  }
  const SqliteHandle db = OpenPlain(old.File());
  Run(db, "PRAGMA user_version = 0; UPDATE t SET d = 1 WHERE d = 1.25");
  CHECK(sqlite3_changes(db.get()) == 1);
  CHECK_FALSE(fs::exists(old.File() += ".upgrade"));
}

}  // namespace
}  // namespace ledgerwick::tsql
