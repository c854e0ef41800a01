// Queries are rewritten before they run; what reports fill in must not show it.
#include <doctest/doctest.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <string>
#include <vector>

#include "frame/error.h"
#include "frame/letter_case.h"
#include "frame/report_provider.h"
#include "host/reference_host.h"
#include "sample/sample.h"
#include "tests/golden.h"
#include "tests/support/case_traces.h"
#include "tsql/connection.h"

namespace ledgerwick::testing {
namespace {

namespace fs = std::filesystem;
using tsql::Planning;

// What a report left behind: its rows without regard to their order, or its error.
struct Outcome {
  std::string error;
  std::vector<std::vector<Value>> rows;
};

// Which spelling of a text stands for a group is open.
Text AnySpelling(const Value& value) {
  Text text = value.ToText();
  text.erase(text.find_last_not_of(u' ') + 1);
  for (char16_t& c : text) c = static_cast<char16_t>(ToLower(c));
  return text;
}

bool SameValue(const Value& a, const Value& b) {
  const auto* x = a.If<double>();
  const auto* y = b.If<double>();
  if (x == nullptr || y == nullptr) {
    return a.IsNull() == b.IsNull() && (a.IsNull() || AnySpelling(a) == AnySpelling(b));
  }
  return std::abs(*x - *y) <= 1e-9 * std::max({1.0, std::abs(*x), std::abs(*y)});
}

// By everything but the numbers, which may differ in their last digits, and then by these.
bool Before(const std::vector<Value>& a, const std::vector<Value>& b) {
  for (std::size_t i = 0; i < a.size(); ++i) {
    if (a[i].If<double>() != nullptr || b[i].If<double>() != nullptr || SameValue(a[i], b[i])) {
      continue;
    }
    return a[i].IsNull() != b[i].IsNull() ? a[i].IsNull() : AnySpelling(a[i]) < AnySpelling(b[i]);
  }
  for (std::size_t i = 0; i < a.size(); ++i) {
    const auto* x = a[i].If<double>();
    const auto* y = b[i].If<double>();
    if ((x == nullptr) != (y == nullptr)) return x == nullptr;
    if (x != nullptr && !SameValue(a[i], b[i])) return *x < *y;
  }
  return false;
}

class Rows final : public ResultSink {
 public:
  explicit Rows(Outcome& outcome) : outcome_(outcome) {}
  void Columns(std::span<const ResultColumn>) override {}
  void Row(std::span<const Value> values) override {
    outcome_.rows.emplace_back(values.begin(), values.end());
  }
  void EndRows(std::int64_t) override {}
  void RowsAffected(std::int64_t) override {}
  void Message(const Text&) override {}

 private:
  Outcome& outcome_;
};

class PlannedSystem final : public System {
 public:
  explicit PlannedSystem(Planning planning) { options_.planning = planning; }
  std::shared_ptr<Connection> NewConnection() override {
    return tsql::EmbeddedConnection::New(options_);
  }
  Text ComputerName() override { return u"PC"; }
  std::size_t AnsiLength(TextView text) override { return ledgerwick::AnsiLength(text); }
  void MessageBox(const Text&, const Text&, std::int32_t) override {}
  void Beep() override {}

 private:
  tsql::DatabaseOptions options_;
};

Outcome Run(Request request, const fs::path& database, Planning planning) {
  request.connectionString = u"embedded:" + FromUtf8(database.string());
  PlannedSystem system(planning);
  const std::unique_ptr<ReportProvider> report = request.report->factory(system);
  Furnish(*report, request);
  report->mconn = system.NewConnection();
  Outcome outcome;
  try {
    if (!report->MoveDataDetail()) return {"refused", {}};
    Rows rows(outcome);
    tsql::Database::Open(database)->Run(u"SELECT * FROM " + report->TempTablename(), rows);
  } catch (const DatabaseError& error) {
    return {std::to_string(error.native) + " " + ToUtf8(error.description), {}};
  }
  std::sort(outcome.rows.begin(), outcome.rows.end(), Before);
  return outcome;
}

bool Same(const Outcome& a, const Outcome& b) {
  return a.error == b.error &&
         std::equal(a.rows.begin(), a.rows.end(), b.rows.begin(), b.rows.end(),
                    [](const std::vector<Value>& x, const std::vector<Value>& y) {
                      return std::equal(x.begin(), x.end(), y.begin(), y.end(), SameValue);
                    });
}

// A sample company with the oddities that a ledger collects.
void CreateOddSample(const fs::path& database, std::uint64_t seed) {
  SampleOptions options;
  options.voucher_lines = 1200;
  options.seed = seed;
  options.force = true;
  CreateSample(database, options);
  Outcome ignored;
  Rows rows(ignored);
  tsql::Database::Open(database)->Run(
      u"UPDATE RdRecords SET cInvCode = cInvCode + ' ' WHERE AutoID % 7 = 0\n"
      u"UPDATE RdRecords SET cBatch = LOWER(cBatch) WHERE AutoID % 5 = 0\n"
      u"UPDATE RdRecords SET iQuantity = NULL WHERE AutoID % 11 = 0\n"
      u"UPDATE InvPosition SET cBatch = LOWER(cBatch) + '  ' WHERE AutoID % 3 = 0\n"
      u"UPDATE InvPosition SET iNum = NULL, iQuantity = NULL WHERE cPosCode LIKE '%1'\n"
      u"UPDATE RdRecord SET cRdCode = NULL WHERE ID % 13 = 0",
      rows);
}

TEST_CASE("reports fill in the same rows however their queries are planned") {
  const fs::path folder =
      fs::temp_directory_path() / ("ledgerwick-planning-" + std::to_string(::getpid()));
  fs::create_directories(folder);
  std::size_t filled = 0;
  for (const std::uint64_t seed : {1U, 77U}) {
    CAPTURE(seed);
    const fs::path database = folder / "odd.db";
    CreateOddSample(database, seed);
    for (const auto& entry :
         fs::directory_iterator(fs::path(LEDGERWICK_TESTS) / "inventory" / "golden")) {
      if (!entry.path().string().ends_with(".cases.json")) continue;
      const std::string file = entry.path().filename().string();
      for (const auto& [name, request] : RequestsOfCases(ReadFile(entry.path()), file)) {
        CAPTURE(file);
        CAPTURE(name);
        const Outcome plain = Run(request, database, Planning::Plain);
        CHECK(Same(plain, Run(request, database, Planning::Usual)));
        CHECK(Same(plain, Run(request, database, Planning::Eager)));
        if (!plain.rows.empty()) ++filled;
      }
    }
  }
  CHECK(filled > 100);  // most cases let rows through
  fs::remove_all(folder);
}

}  // namespace
}  // namespace ledgerwick::testing
