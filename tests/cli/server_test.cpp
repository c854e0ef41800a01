// What the command does on a server: the lock of a result table, the sample, passwords.
#include <doctest/doctest.h>

#include <cstdlib>

#include "cli/command_line.h"
#include "cli/server_lock.h"
#include "odbc/connection.h"
#include "tests/cli/harness.h"
#include "tests/drivers/served_database.h"
#include "tsql/database.h"

namespace ledgerwick::testing {
namespace {

// A server that answers calls of sp_getapplock with `answers`, and 0 afterwards; with an error
// where there is one.
class LockServer final : public BatchRunner {
 public:
  void Run(TextView batch, ResultSink& sink) override {
    said += ToUtf8(batch) + "\n";
    if (error != 0) {
      DatabaseError refused(kErrorSyntaxOrAccess, u"", u"");
      refused.native = error;
      throw refused;
    }
    const ResultColumn column{u"granted", ColumnKind::Integer, u"int"};
    const Value answer(answers.empty() ? 0 : answers.front());
    if (!answers.empty()) answers.erase(answers.begin());
    sink.Columns({&column, 1});
    sink.Row({&answer, 1});
    sink.EndRows(1);
  }

  std::vector<std::int32_t> answers;
  std::int32_t error = 0;
  std::string said;
};

TEST_CASE("a result table's lock is waited for, given back, or told to be missing") {
  struct Case {
    std::vector<std::int32_t> answers;
    std::int32_t error;
    bool held;
    int waits;
    const char* noted;
  };
  const Case cases[] = {
      {{0}, 0, true, 0, "is replaced on the server"},
      {{-1, 1}, 0, true, 1, "is replaced on the server"},
      {{-1, -3}, 0, false, 1, "grants no lock"},
      {{-999}, 0, false, 0, "grants no lock"},
      {{}, 2812, false, 0, "no sp_getapplock"},
      {{}, 229, false, 0, "no sp_getapplock"},
  };
  for (const Case& c : cases) {
    const auto server = std::make_shared<LockServer>();
    server->answers = c.answers;
    server->error = c.error;
    int waits = 0;
    std::string notes;
    auto hold = HoldOnServer(
        server, u"tempdb..O'Table", [&] { ++waits; },
        [&](const Text& note) { notes += ToUtf8(note) + "\n"; });
    CHECK((hold != nullptr) == c.held);
    CHECK(waits == c.waits);
    CHECK_MESSAGE(notes.find(c.noted) != std::string::npos, notes);
    CHECK(server->said.find("@Resource = 'ledgerwick tempdb..o''table'") != std::string::npos);
    CHECK((server->said.find("@LockTimeout = -1") != std::string::npos) == (waits == 1));
    hold.reset();
    CHECK((server->said.find("sp_releaseapplock") != std::string::npos) == c.held);
  }
  const auto broken = std::make_shared<LockServer>();
  broken->error = 1205;
  CHECK_THROWS_AS(HoldOnServer(broken, u"tempdb..t", {}, {}), DatabaseError);
}

TEST_CASE("of two who want a table on the service the second waits until the first has done") {
  const TemporaryFolder folder;
  tsql::DatabaseOptions options;
  options.create = true;
  tsql::Database::Open(folder / "empty.db", options);
  const ServedDatabase served(folder / "empty.db");
  const auto connect = [&] {
    auto connection = odbc::OdbcConnection::New({});
    connection->Open(served.ConnectionString(), {}, {}, -1);
    return connection;
  };
  const TextView table = u"tempdb..tempAqkcyj";
  int waits = 0;
  auto first = HoldOnServer(connect(), table, [&] { ++waits; }, {});
  const auto other = HoldOnServer(connect(), u"tempdb..other", [&] { ++waits; }, {});
  CHECK((first != nullptr && other != nullptr && waits == 0));
  auto lost = connect();
  auto second = HoldOnServer(lost, table,
                             [&] {
                               ++waits;
                               first.reset();
                             },
                             {});
  CHECK((second != nullptr && waits == 1));
  // What ends the connection ends the lock.
  const auto third = HoldOnServer(connect(), table,
                                  [&] {
                                    ++waits;
                                    second.reset();
                                    lost.reset();
                                  },
                                  {});
  CHECK((third != nullptr && waits == 2));
}

TEST_CASE("the sample on a server is the sample in a file, for a report too") {
  const TemporaryFolder folder;
  tsql::DatabaseOptions options;
  options.create = true;
  tsql::Database::Open(folder / "empty.db", options);
  const ServedDatabase served(folder / "empty.db");
  const Sample sample;
  std::string server = ToUtf8(served.ConnectionString());
  server = server.substr(server.find('=', server.find("Data Source")) + 1);
  server = server.substr(0, server.find(';'));
  Write(folder / "password", "geheim\r\nnot this");
  const auto on_server = [&](Arguments args) {
    args.insert(args.end(), {"-S", server, "-U", "sa", "--password-file", folder / "password"});
    return CallMain(args);
  };
  const Ended created = on_server({"sample", "create", "--lines", "500"});
  CHECK_MESSAGE(created.code == kDone, created.err);
  const Ended again = on_server({"sample", "create"});
  CHECK(again.code == kRefused);
  CHECK(again.err.find("has tables already") != std::string::npos);
  for (const Arguments& args :
       {Arguments{"query", "SELECT * FROM RdRecords ORDER BY AutoID SELECT * FROM Inventory",
                  "--format", "csv"},
        Arguments{"run", "clsRepAQKCYJ", "--format", "csv"},
        Arguments{"run", "newclsReportDaoOut", "--format", "csv"}}) {
    const Ended here = sample.Call(args);
    const Ended there = on_server(args);
    CHECK(there.code == kDone);
    CHECK(there.out == here.out);
    CHECK(here.out.size() > 100);
  }
  setenv("LEDGERWICK_PASSWORD", "wrong", 1);
  const Ended refused = CallMain({"query", "SELECT 1", "-S", server, "-U", "sa"});
  unsetenv("LEDGERWICK_PASSWORD");
  CHECK(refused.code == kRefused);
  CHECK(refused.err.find("Msg 18456: Login failed for user 'sa'.") != std::string::npos);
}

}  // namespace
}  // namespace ledgerwick::testing
