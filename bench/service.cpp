// What it costs to reach the embedded database through its service, all of it on one machine in one
// run: rows, whole reports, many connections.
//
//   bench_service [ROWS [VOUCHER_LINES]]     (1,000,000 and 100,000 unless told)
//
// Serves by the `ledgerwick` beside it. Fails where what comes through is not what is in the file.
#include <unistd.h>

#include <algorithm>
#include <barrier>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "bench/served_process.h"
#include "bench/stopwatch.h"
#include "cli/connections.h"
#include "frame/error.h"
#include "frame/null_sink.h"
#include "host/request.h"
#include "host/runner.h"
#include "sample/sample.h"
#include "tds/result_stream.h"

namespace {

using namespace ledgerwick;
namespace fs = std::filesystem;

// 20 columns of the types that books have, some of them mostly null.
constexpr TextView kWideTable =
    u"CREATE TABLE wide (id int NOT NULL, line smallint, kind tinyint, done bit, big bigint, "
    u"quantity decimal(18,4), pieces decimal(28,6), cost money, price money, rate float, factor "
    u"real, day datetime, made datetime, code varchar(12), store varchar(10), batch varchar(20), "
    u"name nvarchar(40), unit nvarchar(8), maker nvarchar(20), note varchar(60))";
constexpr TextView kFill =
    u"INSERT INTO wide SELECT i, i % 100, i % 200, i % 2, i * CAST(1000003 AS bigint), i / 7.0, "
    u"CASE WHEN i % 3 = 0 THEN i / 11.0 END, i / 13.0, i * 1.25, i / 3.0E0, i / 5.0E0, "
    u"DATEADD(minute, i, '2002-01-01'), CASE WHEN i % 4 = 0 THEN DATEADD(day, i % 700, "
    u"'2001-01-01') END, 'C' + RIGHT('00000000' + CAST(i AS varchar(12)), 8), 'W' + CAST(i % 90 AS "
    u"varchar(4)), CASE WHEN i % 5 = 0 THEN 'B' + CAST(i AS varchar(12)) END, N'不锈钢螺栓 M' + "
    u"CAST(i % 40 AS nvarchar(4)), N'盒', CASE i % 2 WHEN 0 THEN N'张三' ELSE N'李四' END, NULL "
    u"FROM numbers WHERE i < ";

// Looks at every value, and keeps what tells two results apart.
class Reading final : public NullSink {
 public:
  void Row(std::span<const Value> values) override {
    for (const Value& value : values) {
      if (const auto* text = value.If<Text>()) {
        sum_ += std::hash<TextView>()(*text);
      } else if (const auto* number = value.If<double>()) {
        sum_ += std::hash<double>()(*number);
      } else if (const auto* date = value.If<Date>()) {
        sum_ += std::hash<double>()(date->serial);
      } else if (const auto* whole = value.If<std::int64_t>()) {
        sum_ += static_cast<std::uint64_t>(*whole);
      }
    }
    ++rows;
  }
  std::uint64_t sum() const noexcept { return sum_; }

  std::int64_t rows = 0;

 private:
  std::uint64_t sum_ = 0;
};

// Has the driver fetch everything and makes no values of it.
class Counting final : public NullSink {
 public:
  bool WantsRow() override { return false; }
  void EndRows(std::int64_t count) override { rows = count; }

  std::int64_t rows = 0;
};

// A client that takes everything at once.
class Nobody final : public tds::Channel {
 public:
  std::size_t Read(char*, std::size_t) override { return 0; }
  void Write(std::string_view packets) override { bytes += packets.size(); }
  bool Ready() override { return false; }

  std::size_t bytes = 0;
};

std::shared_ptr<odbc::OdbcConnection> Connect(const ServedProcess& served) {
  return OpenServer(served.connection_string(), {});
}

void MakeWideTable(tsql::Database& database, std::int64_t rows) {
  NullSink sink;
  database.Run(kWideTable, sink);
  database.Run(
      u"CREATE TABLE numbers (i int) INSERT INTO numbers VALUES (0) DECLARE @n int SET @n = 1 "
      u"WHILE @n < " +
          FromUtf8(std::to_string(rows)) +
          u" BEGIN INSERT INTO numbers SELECT i + @n FROM numbers SET @n = @n * 2 END",
      sink);
  database.Run(Text(kFill) + FromUtf8(std::to_string(rows)), sink);
  database.Run(u"DROP TABLE numbers", sink);
}

// A way to the rows, and the best that it has taken.
struct Way {
  const char* name;
  std::function<std::int64_t()> read;  // returns how many rows there were
  double seconds = 1e9;
  double served = 0;  // of the processor, in the service
  double own = 0;     // and here
};

// False when a way gives other rows.
bool BenchRows(const fs::path& database, const ServedProcess& served, std::int64_t rows) {
  constexpr int kRounds = 3;
  const Text query = u"SELECT * FROM wide";
  const auto embedded = tsql::Database::Open(database);
  const auto server = Connect(served);
  Reading here;
  Reading there;
  const auto run = [&](BatchRunner& runner, auto& sink) {
    runner.Run(query, sink);
    return sink.rows;
  };
  std::size_t bytes = 0;
  Way ways[] = {
      {"embedded", [&] { return run(*embedded, here = {}); }},
      {"embedded, into packets",
       [&] {
         Nobody nobody;
         tds::PacketStream packets(nobody, 0);
         tds::ResultStream stream(packets, tds::Version::V74, tds::DoneKind::Statement, [] {});
         embedded->Run(query, stream);
         bytes = nobody.bytes;
         return rows;
       }},
      {"served, values not looked at",
       [&] {
         Counting counting;
         return run(*server, counting);
       }},
      {"served, through ODBC", [&] { return run(*server, there = {}); }},
  };
  bool agree = true;
  for (int i = 0; i < kRounds; ++i) {
    for (Way& way : ways) {
      const double served_before = served.processor_seconds();
      const double own_before = ProcessorSeconds(getpid());
      std::int64_t count = 0;
      const double seconds = Seconds([&] { count = way.read(); });
      agree = agree && count == rows;
      if (seconds >= way.seconds) continue;
      way.seconds = seconds;
      way.served = served.processor_seconds() - served_before;
      way.own = ProcessorSeconds(getpid()) - own_before;
    }
  }
  agree = agree && here.sum() == there.sum();
  std::printf("%lld rows of 20 columns, %.0f bytes each on the wire, the best of %d in turn\n",
              static_cast<long long>(rows), static_cast<double>(bytes) / static_cast<double>(rows),
              kRounds);
  for (const Way& way : ways) {
    std::printf("  %-30s %9.0f rows/s  ratio %.2f  processor: service %.2f s, client %.2f s\n",
                way.name, static_cast<double>(rows) / way.seconds, way.seconds / ways[0].seconds,
                way.served, way.own);
  }
  if (!agree) std::fprintf(stderr, "bench_service: the rows differ\n");
  return agree;
}

class Silent final : public RunListener {
 public:
  void Statement(const Text&) override {}
  void Failed(const DatabaseError&) override {}
  void Filled(const Text&, const std::optional<Text>&) override {}
  void MessageBox(const Text&, const Text&) override {}
  void Beep() override {}
};

// A run as the command does it: from opening the database to the last row. Returns its seconds.
double TimeReport(const char* name, const Text& connection, Reading& rows) {
  return Seconds([&] {
    Request request;
    request.report = FindClass(FromUtf8(name));
    request.connectionString = connection;
    request.machine = u"PC";
    Silent silent;
    const auto database = OpenReportDatabase(connection, {});
    RunReport(request, *database, silent, rows);
  });
}

// False when a report's rows differ.
bool BenchReports(const fs::path& database, const ServedProcess& served) {
  constexpr int kRounds = 9;
  const Text embedded = u"embedded:" + FromUtf8(database.string());
  bool agree = true;
  std::printf("reports, from opening the database to the last row, the best of %d in turn\n",
              kRounds);
  for (const char* name : {"clsRepAQKCYJ", "clsRepXCL", "clsRepLsz", "newclsReportDaoOut"}) {
    double here = 1e9;
    double there = 1e9;
    double first = 0;
    Reading rows;
    for (int i = 0; i < kRounds; ++i) {
      rows = {};
      here = std::min(here, TimeReport(name, embedded, rows));
      Reading through;
      const double seconds = TimeReport(name, served.connection_string(), through);
      if (i == 0) first = seconds;
      there = std::min(there, seconds);
      agree = agree && rows.sum() == through.sum();
    }
    std::printf("  %-20s %8lld rows %9.1f ms embedded %9.1f ms served  ratio %.2f  (first %.1f)\n",
                name, static_cast<long long>(rows.rows), here * 1e3, there * 1e3, there / here,
                first * 1e3);
  }
  if (!agree) std::fprintf(stderr, "bench_service: a report's rows differ\n");
  return agree;
}

// Many clients at once: all connect, and when all are there, all read.
bool BenchCrowd(const ServedProcess& served) {
  constexpr int kClients = 100;
  constexpr std::int64_t kRows = 1000;
  std::barrier begin(kClients + 1);
  std::barrier connected(kClients + 1);
  std::atomic<int> right = 0;
  std::vector<std::thread> clients;
  for (int i = 0; i < kClients; ++i) {
    clients.emplace_back([&] {
      Counting rows;
      std::shared_ptr<odbc::OdbcConnection> connection;
      begin.arrive_and_wait();
      try {
        connection = Connect(served);
      } catch (const std::exception& error) {
        std::fprintf(stderr, "bench_service: %s\n", error.what());
      }
      connected.arrive_and_wait();
      if (connection) connection->Run(u"SELECT TOP 1000 * FROM wide", rows);
      if (rows.rows == kRows) ++right;
    });
  }
  begin.arrive_and_wait();
  const double connecting = Seconds([&] { connected.arrive_and_wait(); });
  const double reading = Seconds([&] {
    for (std::thread& client : clients) client.join();
  });
  std::printf("%d connections at once: %.0f ms until all are there, %.0f ms for %lld rows each\n",
              kClients, connecting * 1e3, reading * 1e3, static_cast<long long>(kRows));
  return right == kClients;
}

// What the service needs for connections that wait: new ones, such as have just read, and such as
// have been quiet since.
void BenchMemory(const ServedProcess& served) {
  constexpr int kConnections = 100;
  constexpr int kUsed = 10;
  std::vector<std::shared_ptr<odbc::OdbcConnection>> connections;
  for (int i = 0; i < 5; ++i) Connect(served);  // what the first ones leave is no matter of theirs
  const std::int64_t none = served.Memory();
  for (int i = 0; i < kConnections; ++i) connections.push_back(Connect(served));
  const std::int64_t idle = served.Memory();
  for (int i = 0; i < kUsed; ++i) {
    Counting rows;
    connections[static_cast<std::size_t>(i)]->Run(u"SELECT * FROM RdRecords ORDER BY cInvCode",
                                                  rows);
  }
  const std::int64_t used = served.Memory();
  std::this_thread::sleep_for(std::chrono::seconds(3));
  const std::int64_t quiet = served.Memory();
  const auto kilobytes = [&](std::int64_t memory, int count) {
    return static_cast<double>(memory) / count / 1024;
  };
  std::printf(
      "memory of the service: %.1f MB, for each idle connection %.0f kB; one that has just sorted "
      "the voucher lines %.0f kB more, when quiet %.0f kB more\n",
      kilobytes(none, 1024), kilobytes(idle - none, kConnections), kilobytes(used - idle, kUsed),
      kilobytes(quiet - idle, kUsed));
}

}  // namespace

int main(int argc, char** argv) {
  const fs::path folder =
      fs::temp_directory_path() / ("ledgerwick-bench-" + std::to_string(getpid()));
  fs::create_directories(folder);
  bool agree = false;
  try {
    const std::int64_t rows = argc > 1 ? std::atoll(argv[1]) : 1'000'000;
    SampleOptions options;
    options.voucher_lines = argc > 2 ? std::atoll(argv[2]) : 100'000;
    const fs::path database = folder / "bench.db";
    CreateSample(database, options);
    MakeWideTable(*tsql::Database::Open(database), rows);
    const ServedProcess served(fs::read_symlink("/proc/self/exe").parent_path() / "ledgerwick",
                               database);
    agree = BenchReports(database, served);
    agree = BenchRows(database, served, rows) && agree;
    BenchMemory(served);
    agree = BenchCrowd(served) && agree;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "bench_service: %s\n", error.what());
  }
  std::error_code ignored;
  fs::remove_all(folder, ignored);
  return agree ? 0 : 1;
}
