// What a report costs through COM beside the same report called directly, with doubles for the host
// and the database on both sides, in one run. Through COM means all that a host pays: creating the
// object, setting its properties by name, both methods, and every call back to the host and to ADO.
//
//   bench_com [RUNS]     (2,000 of each report unless told)
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>

#include "frame/report_provider.h"
#include "host/canned_recordset.h"
#include "host/reference_host.h"
#include "tests/com/component.h"
#include "tests/com/fake_world.h"
#include "tests/com/requests.h"

namespace ledgerwick::com::testing {
namespace {

constexpr TextView kReports[] = {u"clsInventroy", u"clsRepAQKCYJ", u"clsRepBzqyj", u"clsRepXCL",
                                 u"clsRepHwhz",   u"clsRepPcch",   u"clsRepLsz",   u"clsRepSFC"};
constexpr int kRounds = 10;

// What a run sent to the database, for a look at whether both sides did the same.
using Statements = std::vector<Text>;

// A database without tables that answers with the request's recordsets.
class DirectConnection final : public Connection {
 public:
  DirectConnection(const Request& request, Statements& statements)
      : request_(request), statements_(statements) {}

  void Open(const Text&, const Text&, const Text&, std::int32_t) override {}
  void Execute(const Text& sql, std::int32_t) override { statements_.push_back(sql); }
  void Close() override {}
  std::unique_ptr<Command> NewCommand() override { return nullptr; }
  std::unique_ptr<Recordset> OpenRecordset(const Text& sql, const RecordsetOptions&) override {
    std::vector<CannedRow> rows;
    for (const CannedRecordset& canned : request_.recordsets) {
      if (sql.find(canned.match) != Text::npos) rows = canned.rows;
    }
    return std::make_unique<MemoryRecordset>(std::move(rows));
  }

 private:
  const Request& request_;
  Statements& statements_;
};

class DirectSystem final : public System {
 public:
  DirectSystem(const Request& request, Statements& statements)
      : request_(request), statements_(statements) {}

  std::shared_ptr<Connection> NewConnection() override {
    return std::make_shared<DirectConnection>(request_, statements_);
  }
  Text ComputerName() override { return u"BENCH"; }
  std::size_t AnsiLength(TextView text) override { return text.size(); }
  void MessageBox(const Text&, const Text&, std::int32_t) override {}
  void Beep() override {}

 private:
  const Request& request_;
  Statements& statements_;
};

Statements RunDirectly(const Request& request) {
  Statements statements;
  DirectSystem system(request, statements);
  const std::unique_ptr<ReportProvider> report = request.report->factory(system);
  Furnish(*report, request);
  report->TempTablename();
  report->MoveDataDetail();
  return statements;
}

void RunThroughCom(FakeWorld& world, const ClassInfo& info) {
  world.statements.clear();
  world.script.log.clear();
  DispatchObject report(world.NewReport(info));
  report.Call(L"TempTablename");
  report.Call(L"MoveDataDetail");
}

// The microseconds that each of `runs` runs of `work` takes, in the best of several rounds.
double Microseconds(int runs, const std::function<void()>& work) {
  using Clock = std::chrono::steady_clock;
  double best = 1e9;
  for (int round = 0; round < kRounds; ++round) {
    const auto start = Clock::now();
    for (int i = 0; i < runs / kRounds; ++i) work();
    const std::chrono::duration<double, std::micro> took = Clock::now() - start;
    best = std::min(best, took.count() / (runs / kRounds));
  }
  return best;
}

// Measures one report; false when the two sides sent the database different statements.
bool Bench(const ClassInfo& info, int runs) {
  const Request request = RequestFor(info);
  FakeWorld world(request);
  world.NewReport(info);  // loads the component
  RunThroughCom(world, info);
  const std::size_t calls = world.script.log.size();
  const bool same = RunDirectly(request) == world.statements;
  const double direct = Microseconds(runs, [&] { RunDirectly(request); });
  const double through_com = Microseconds(runs, [&] { RunThroughCom(world, info); });
  std::printf("%-14s %10.1f us %10.1f us  ratio %6.1f  %3zu calls out%s\n",
              ToUtf8(info.name).c_str(), direct, through_com, through_com / direct, calls,
              same ? "" : "  STATEMENTS DIFFER");
  std::fflush(stdout);
  return same;
}

}  // namespace
}  // namespace ledgerwick::com::testing

int main(int argc, char** argv) {
  using namespace ledgerwick::com::testing;
  const int runs = std::max(kRounds, argc > 1 ? std::atoi(argv[1]) : 2000);
  CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
  bool same = UseManifest(L"Ledgerwick.manifest");
  if (!same) std::puts("bench_com: Ledgerwick.manifest is missing beside the program");
  if (same) std::printf("%-14s %13s %13s\n", "report", "directly", "through COM");
  if (same) {
    const double creating = Microseconds(runs, [] {
      ledgerwick::com::ComPtr<IDispatch> object;
      Create(*ledgerwick::FindClass(kReports[0]), object);
    });
    std::printf("%-28s %10.1f us\n", "creating an object alone", creating);
  }
  for (const auto name : kReports) same = same && Bench(*ledgerwick::FindClass(name), runs);
  CoUninitialize();
  return same ? 0 : 1;
}
