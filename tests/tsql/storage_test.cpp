// The files of a database: what is refused, damaged, kept from others, given back.
#include <sys/stat.h>

#include <functional>

#include "tests/tsql/scratch_database.h"
#include "tsql/storage/sqlite.h"
#include "tsql/values/collation.h"

namespace ledgerwick::tsql {
namespace {

namespace fs = std::filesystem;
using testing::ErrorOf;
using testing::ModeOf;
using testing::Overwrite;
using testing::ScratchDatabase;

constexpr std::streamoff kTempdbPage = 16384;
constexpr std::streamoff kMainPage = 4096;

std::string Zeros(std::streamoff size) { return std::string(static_cast<std::size_t>(size), '\0'); }

// What opening notes.
std::string NoteOf(const ScratchDatabase& database) {
  std::string note;
  DatabaseOptions options;
  options.note = [&](const Text& text) { note += ToUtf8(text); };
  database.Connect(options);
  return note;
}

TEST_CASE("a tempdb that cannot be trusted is made anew when nobody uses the database") {
  const struct {
    const char* name;
    std::function<void(const ScratchDatabase&)> spoil;
    bool told;
  } kCases[] = {
      {"zeros", [](const auto& d) { Overwrite(d.path(".tempdb"), 0, Zeros(2 * kTempdbPage)); },
       true},
      {"text", [](const auto& d) { std::ofstream(d.path(".tempdb")) << std::string(5000, 'x'); },
       true},
      {"cut off", [](const auto& d) { fs::resize_file(d.path(".tempdb"), kTempdbPage); }, true},
      {"removed", [](const auto& d) { fs::remove(d.path(".tempdb")); }, false},
      {"empty", [](const auto& d) { fs::resize_file(d.path(".tempdb"), 0); }, false},
      {"of an earlier start of the machine",
       [](const auto& d) { Overwrite(d.path(".tempdb.lock"), 30, std::string(90, 'x')); }, false},
  };
  for (const auto& c : kCases) {
    CAPTURE(std::string(c.name));
    const ScratchDatabase database;
    database.Run(u"CREATE TABLE t (a int) INSERT INTO t VALUES (7) SELECT a INTO tempdb..w FROM t");
    REQUIRE(fs::file_size(database.path(".tempdb")) > kTempdbPage);
    c.spoil(database);
    CHECK((NoteOf(database).find("made anew") != std::string::npos) == c.told);
    CHECK(NoteOf(database).empty());
    CHECK(database.Scalar(u"SELECT a AS x FROM t") == "7");
    CHECK(ErrorOf([&] { database.Run(u"SELECT a INTO tempdb..w FROM t"); }).empty());
  }
}

TEST_CASE("damage is told of the file that has it; tempdb's is mended when its users have gone") {
  const ScratchDatabase database;
  database.Run(
      u"CREATE TABLE t (a int, b varchar(8000)) INSERT INTO t VALUES (7, 'b')"
      u" SELECT REPLICATE('x', 8000) AS a, REPLICATE('y', 8000) AS b, b AS c INTO tempdb..w FROM t"
      u" INSERT INTO tempdb..w SELECT * FROM tempdb..w INSERT INTO tempdb..w SELECT * FROM "
      u"tempdb..w");
  // The table's own pages; the head stays whole.
  const auto size = static_cast<std::streamoff>(fs::file_size(database.path(".tempdb")));
  Overwrite(database.path(".tempdb"), 3 * kTempdbPage,
            std::string(static_cast<std::size_t>(size - 3 * kTempdbPage), '\xFF'));
  {
    const auto user = database.Connect();
    const std::string error = ErrorOf(
        [&] { user->Execute(u"SELECT COUNT(DISTINCT a) AS x INTO tempdb..v FROM tempdb..w", -1); });
    CHECK_MESSAGE(error.starts_with("824: The tempdb"), error);
    CHECK(error.find(database.path(".tempdb").string()) != std::string::npos);
    const std::string opening = ErrorOf([&] { database.Connect(testing::Hasty()); });
    CHECK_MESSAGE(opening.find("itself is not concerned") != std::string::npos, opening);
    CHECK(ScratchDatabase::ScalarOn(*user, u"SELECT a AS x FROM t") == "7");
  }
  CHECK(NoteOf(database).find("made anew") != std::string::npos);

  // The books' second page holds the texts of views and procedures: not to be found is not the same
  // as not there, whoever looks.
  database.Run(u"CREATE VIEW v AS SELECT a FROM t");
  database.Run(u"CREATE PROCEDURE p AS SELECT 1 AS x");
  Overwrite(database.path(), kMainPage, Zeros(kMainPage));
  for (const TextView statement :
       {TextView(u"SELECT * FROM v"), TextView(u"EXEC p"), TextView(u"SELECT OBJECT_ID('p') AS x"),
        TextView(u"DECLARE @p varchar(9) SET @p = 'p' EXEC @p"),
        TextView(u"IF OBJECT_ID('v') IS NULL PRINT 'none'"), TextView(u"DROP VIEW v"),
        TextView(u"CREATE TABLE v (a int)"), TextView(u"SELECT COUNT(*) FROM sysobjects"),
        TextView(u"BEGIN TRY EXEC p END TRY BEGIN CATCH THROW END CATCH")}) {
    const std::string error = ErrorOf([&] { database.Run(Text(statement)); });
    CAPTURE(ToUtf8(statement));
    CHECK_MESSAGE(error.starts_with("824: The database file '" + database.path().string() + "'"),
                  error);
  }
  CHECK(NoteOf(database).empty());
}

// Does in the file of `database` what a version would that orders text by its bytes.
void RunInOrderOfBytes(const ScratchDatabase& database, const std::string& sql) {
  sqlite3* opened = nullptr;
  REQUIRE(sqlite3_open(database.path().c_str(), &opened) == SQLITE_OK);
  const SqliteHandle db(opened);
  const auto compare = [](void*, int size_a, const void* a, int size_b, const void* b) {
    return std::string_view(static_cast<const char*>(a), static_cast<std::size_t>(size_a))
        .compare({static_cast<const char*>(b), static_cast<std::size_t>(size_b)});
  };
  sqlite3_create_collation(opened, kCollation, SQLITE_UTF8, nullptr, compare);
  CHECK_MESSAGE(sqlite3_exec(opened, sql.c_str(), nullptr, nullptr, nullptr) == SQLITE_OK,
                sqlite3_errmsg(opened));
}

TEST_CASE(
    "indexes in another order of text are rebuilt before use, when nobody uses the database") {
  for (const char* noted : {"DROP VIEW ledgerwick_collation; PRAGMA user_version = 1;",
                            "DROP VIEW ledgerwick_collation; CREATE VIEW ledgerwick_collation "
                            "(version) AS SELECT 'ICU 1.0'"}) {
    CAPTURE(std::string(noted));
    const ScratchDatabase database;
    database.Run(
        u"CREATE TABLE t (n nvarchar(9) NOT NULL PRIMARY KEY, c varchar(9)) "
        u"CREATE INDEX c ON t (c) SELECT 1 AS a INTO tempdb..w");
    RunInOrderOfBytes(database,
                      "INSERT INTO t WITH n(i) AS (VALUES (0x4E00) UNION ALL SELECT i + 1 FROM n "
                      "LIMIT 5000) SELECT char(i), char(i) || 'x' FROM n; REINDEX;");
    {
      const auto user = database.Connect();
      RunInOrderOfBytes(database, noted);
      const std::string refusal = ErrorOf([&] { database.Connect(testing::Hasty()); });
      CHECK_MESSAGE(refusal.find("rebuilt when nobody else uses") != std::string::npos, refusal);
    }
    CHECK(NoteOf(database).find("indexes on text have been rebuilt") != std::string::npos);
    CHECK(NoteOf(database).empty());
    CHECK(database.Scalar(u"SELECT COUNT(*) AS x FROM t a WHERE EXISTS (SELECT 1 FROM t b WHERE "
                          u"b.n = a.n) AND EXISTS (SELECT 1 FROM t b WHERE b.c = a.c)") == "5000");
    CHECK(ErrorOf([&] { database.Run(u"SELECT 1 AS a INTO tempdb..w"); }).starts_with("2714"));
  }
}

TEST_CASE("every file of a database has its mode") {
  const ScratchDatabase database;
  for (const mode_t mode : {0600U, 0664U}) {
    fs::remove(database.path(".tempdb"));
    fs::remove(database.path(".tempdb.lock"));
    fs::permissions(database.path(), fs::perms(mode));
    const auto connection = database.Connect();
    connection->Execute(u"CREATE TABLE t" + FromUtf8(std::to_string(mode)) + u" (a int)", -1);
    for (const char* suffix :
         {"-wal", "-shm", ".tempdb", ".tempdb-wal", ".tempdb-shm", ".tempdb.lock"}) {
      CAPTURE(std::string(suffix));
      CHECK(ModeOf(database.path(suffix)) == mode);
    }
  }
  // What becomes of the books' rights becomes of the others' when they are opened next.
  for (const mode_t mode : {0600U, 0660U}) {
    fs::permissions(database.path(), fs::perms(mode));
    database.Connect();
    CHECK(ModeOf(database.path(".tempdb")) == mode);
    CHECK(ModeOf(database.path(".tempdb.lock")) == mode);
  }
}

TEST_CASE("what is no file of a database is refused at once and stays as it was") {
  struct Case {
    const char* name;
    std::string suffix;  // of the file in whose place it is
    std::function<void(const fs::path&)> put;
    const char* reason;
  };
  const auto fifo = [](const fs::path& path) { REQUIRE(mkfifo(path.c_str(), 0666) == 0); };
  const auto folder = [](const fs::path& path) { fs::create_directory(path); };
  const auto link = [](const fs::path& path) { fs::create_symlink("precious", path); };
  const auto text = [](const fs::path& path) { std::ofstream(path) << "somebody's"; };
  std::vector<Case> cases = {
      {"device", "", [](const fs::path& path) { fs::create_symlink("/dev/zero", path); },
       "a device"},
      {"other text", ".tempdb.lock", text, "not a lock file"}};
  for (const char* suffix : {"", ".tempdb", ".tempdb.lock"}) {
    cases.push_back({"pipe", suffix, fifo, "a named pipe"});
    cases.push_back({"folder", suffix, folder, "a directory"});
    if (*suffix != '\0') cases.push_back({"link", suffix, link, "a symbolic link"});
  }
  for (const Case& c : cases) {
    CAPTURE(std::string(c.name) + " " + c.suffix);
    const ScratchDatabase database;
    std::ofstream(database.folder() / "precious") << "precious";
    fs::remove(database.path(c.suffix));
    c.put(database.path(c.suffix));
    const std::string error = ErrorOf([&] { database.Connect(); });
    CHECK_MESSAGE(error.starts_with("4060: "), error);
    CHECK_MESSAGE(error.find(c.reason) != std::string::npos, error);
    std::string kept;
    std::ifstream(database.folder() / "precious") >> kept;
    CHECK(kept == "precious");
  }
  const ScratchDatabase database;
  const auto connection = EmbeddedConnection::New({});
  const Text with_nul = u"embedded:" + FromUtf8(database.path().string()) + Text(u"\0x", 2);
  CHECK(ErrorOf([&] { connection->Open(with_nul, {}, {}, -1); }).find("NUL") != std::string::npos);
  // Whoever passed that over is told it again.
  CHECK(ErrorOf([&] { connection->Execute(u"SELECT 1", -1); }).find("NUL") != std::string::npos);
}

TEST_CASE("a database is one however it is called") {
  const ScratchDatabase database;
  database.Run(u"SELECT 7 AS a INTO tempdb..w");
  const fs::path link = database.folder() / "link.db";
  fs::create_symlink(database.path(), link);
  const auto connection = EmbeddedConnection::New({});
  connection->Open(u"embedded:" + FromUtf8(link.string()), {}, {}, -1);
  CHECK(ScratchDatabase::ScalarOn(*connection, u"SELECT a AS x FROM tempdb..w") == "7");
  CHECK_FALSE(fs::exists(database.folder() / "link.db.tempdb"));
}

TEST_CASE("tempdb gives back what it no longer needs") {
  const ScratchDatabase database;
  database.Run(
      u"CREATE TABLE n (a int) INSERT INTO n VALUES (1), (2), (3), (4), (5), (6), (7), (8), (9), "
      u"(10)");
  database.Run(
      u"SELECT REPLICATE('x', 8000) AS a, REPLICATE('y', 7000) AS b INTO tempdb..w FROM n x, n y, "
      u"n z, n v WHERE v.a < 4");
  constexpr std::uintmax_t kMegabyte = 1 << 20;
  CHECK(fs::file_size(database.path(".tempdb")) > 40 * kMegabyte);
  database.Run(u"DROP TABLE tempdb..w");
  CHECK(fs::file_size(database.path(".tempdb")) < kMegabyte);
}

TEST_CASE("names that are the database's own or end early are refused") {
  const ScratchDatabase database;
  const auto connection = database.Connect();
  const std::string nul(1, '\0');
  for (const char* sql :
       {"CREATE TABLE Ledgerwick_x (a int)", "SELECT 1 AS a INTO tempdb..ledgerwick_x",
        "CREATE VIEW ledgerwick_v AS SELECT 1 AS a", "CREATE TABLE sqlite_x (a int)",
        "CREATE PROCEDURE ledgerwick_p AS SELECT 1"}) {
    CAPTURE(std::string(sql));
    CHECK(ErrorOf([&] { connection->Execute(FromUtf8(sql), -1); }).starts_with("262: "));
  }
  for (const Text& sql :
       {Text(u"CREATE TABLE [t\0u] (a int)", 26), Text(u"SELECT 1 AS \"a\0b\"", 17)}) {
    CHECK(ErrorOf([&] { connection->Execute(sql, -1); }).starts_with("1055: "));
  }
  connection->Execute(Text(u"CREATE PROCEDURE p AS SELECT LEN('a\0b') AS x", 44), -1);
  CHECK(ScratchDatabase::ScalarOn(*connection, u"EXEC p") == "3");
}

}  // namespace
}  // namespace ledgerwick::tsql
