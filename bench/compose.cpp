// What composing alone costs: each inventory report, and each sales report's hand-off to its
// procedure, with 20 filters on a database that does nothing.
//
//   bench_compose
#include <cstdio>
#include <memory>
#include <vector>

#include "bench/stopwatch.h"
#include "component/class_table.h"
#include "frame/error.h"
#include "frame/report_provider.h"
#include "host/canned_recordset.h"
#include "host/filters.h"
#include "host/reference_host.h"
#include "host/request.h"

namespace {

using namespace ledgerwick;

constexpr std::size_t kFilters = 20;
constexpr int kRounds = 2001;

// The receive/issue types that one report asks for.
std::unique_ptr<Recordset> Types() {
  std::vector<CannedRow> rows;
  for (const char16_t* code : {u"11", u"12", u"13", u"14", u"21", u"22", u"23", u"24"}) {
    rows.push_back({{u"cRdCode", Text(code)},
                    {u"cRdName", u"类别" + Text(code)},
                    {u"iRdGrade", std::int64_t{1}},
                    {u"bRdFlag", std::int64_t{code[0] == u'1'}}});
  }
  return std::make_unique<MemoryRecordset>(std::move(rows));
}

class DeafCommand final : public Command {
 public:
  explicit DeafCommand(std::size_t& characters) : characters_(characters) {}
  void SetCommandText(const Text& text) override { characters_ += text.size(); }
  void SetCommandType(std::int32_t) override {}
  void SetCommandTimeout(std::int32_t) override {}
  void AppendParameter(const Text&, std::int32_t, std::int32_t, const Text& value) override {
    characters_ += value.size();
  }
  void Execute(std::int32_t) override {}

 private:
  std::size_t& characters_;
};

class DeafConnection final : public Connection {
 public:
  void Open(const Text&, const Text&, const Text&, std::int32_t) override {}
  void Execute(const Text& sql, std::int32_t) override { characters += sql.size(); }
  void Close() override {}
  std::unique_ptr<Command> NewCommand() override {
    return std::make_unique<DeafCommand>(characters);
  }
  std::unique_ptr<Recordset> OpenRecordset(const Text& sql, const RecordsetOptions&) override {
    characters += sql.size();
    return Types();
  }

  std::size_t characters = 0;
};

class DeafSystem final : public System {
 public:
  std::shared_ptr<Connection> NewConnection() override { return connection; }
  Text ComputerName() override { return u"PC"; }
  std::size_t AnsiLength(TextView text) override { return ledgerwick::AnsiLength(text); }
  void MessageBox(const Text& text, const Text&, std::int32_t) override {
    throw DatabaseError(kErrorNotImplemented, u"bench", u"refused: " + text);
  }
  void Beep() override {}

  std::shared_ptr<DeafConnection> connection = std::make_shared<DeafConnection>();
};

// The report's own filters over and over, each with a value that its kind takes. Most upper bounds
// of a sales report are left out, as its condition would be refused for its length.
std::vector<FilterItem> Filters(const ReportInfo& report) {
  const bool fits = report.class_name.starts_with(u"cls");
  std::vector<FilterItem> items;
  for (std::size_t i = 0; i < kFilters; ++i) {
    const FilterInfo& filter = report.filters[i % report.filters.size()];
    FilterItem item;
    item.Name = Text(filter.name);
    item.strcaption = Text(filter.caption);
    const bool date = filter.kind == FilterKind::DateRange;
    item.varValue = !filter.values.empty() ? Text(filter.values.front())
                    : date                 ? Text(u"2002-03-01")
                                           : Text(u"1");
    if (IsRange(filter.kind) && (fits || (date && i < report.filters.size())))
      item.varValue2 = date ? Text(u"2002-03-31") : Text(u"9");
    items.push_back(std::move(item));
  }
  return items;
}

void Bench(const ClassInfo& info, const ReportInfo& report) {
  Request request;
  request.report = &info;
  request.filters = Filters(report);
  request.login = LoginMembers{Value(Text(u"2002-03-31")), Value(Text(u"001"))};
  std::vector<double> times;
  std::size_t characters = 0;
  for (int i = 0; i < kRounds; ++i) {
    DeafSystem system;
    system.connection->characters = 0;
    const std::unique_ptr<ReportProvider> provider = info.factory(system);
    Furnish(*provider, request);
    provider->mconn = system.connection;
    times.push_back(Seconds([&] { provider->MoveDataDetail(); }));
    characters = system.connection->characters;
  }
  std::printf("  %-26s %6zu characters %7.1f us\n", ToUtf8(info.name).c_str(), characters,
              Median(times) * 1e6);
}

}  // namespace

int main() {
  std::printf("composing with %zu filters, median of %d\n", kFilters, kRounds);
  try {
    for (const ClassInfo& info : Classes()) {
      const ReportInfo* report = FindReportInfo(info.name);
      if (report->filters.empty() || info.name == u"newClsReportDaoSaleProfit") continue;
      Bench(info, *report);
    }
  } catch (const DatabaseError& error) {
    std::fprintf(stderr, "bench_compose: %s\n", ToUtf8(error.description).c_str());
    return 1;
  }
  return 0;
}
