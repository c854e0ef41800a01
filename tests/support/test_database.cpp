#include "tests/support/test_database.h"

#include <unistd.h>

#include <algorithm>

#include "frame/report_provider.h"
#include "host/reference_host.h"
#include "sample/sample.h"
#include "tests/golden.h"
#include "tsql/connection.h"
#include "tsql/database.h"
#include "tsql/script.h"

namespace ledgerwick::testing {
namespace {

class RowSink final : public ResultSink {
 public:
  void Columns(std::span<const ResultColumn> columns) override {
    names_.clear();
    decimal_.clear();
    for (const ResultColumn& column : columns) {
      names_.push_back(ToUtf8(column.name));
      decimal_.push_back(column.kind == ColumnKind::Decimal);
    }
  }
  void Row(std::span<const Value> values) override {
    ResultRow& row = rows.emplace_back();
    for (std::size_t i = 0; i < values.size(); ++i) {
      if (values[i].IsNull()) continue;
      row[names_[i]] = decimal_[i] ? NumberText(ToNumber(values[i])) : ToUtf8(values[i].ToText());
    }
  }
  void EndRows(std::int64_t) override {}
  void RowsAffected(std::int64_t) override {}
  void Message(const Text&) override {}

  std::vector<ResultRow> rows;

 private:
  std::vector<std::string> names_;
  std::vector<bool> decimal_;
};

class EmbeddedSystem final : public System {
 public:
  EmbeddedSystem(Text machine, tsql::Planning planning, std::string& message)
      : message_(message), machine_(std::move(machine)) {
    options_.planning = planning;
  }

  std::shared_ptr<Connection> NewConnection() override {
    return tsql::EmbeddedConnection::New(options_);
  }
  Text ComputerName() override { return machine_; }
  std::size_t AnsiLength(TextView text) override { return ledgerwick::AnsiLength(text); }
  void MessageBox(const Text& text, const Text&, std::int32_t) override { message_ = ToUtf8(text); }
  void Beep() override {}

 private:
  std::string& message_;
  Text machine_;
  tsql::DatabaseOptions options_;
};

std::vector<ResultRow> RowsOf(const std::filesystem::path& path, const Text& sql) {
  RowSink sink;
  tsql::Database::Open(path)->Run(sql, sink);
  return std::move(sink.rows);
}

std::filesystem::path ScratchPath() {
  static int count = 0;
  return std::filesystem::temp_directory_path() /
         ("ledgerwick-figures-" + std::to_string(::getpid()) + "-" + std::to_string(++count) +
          ".db");
}

}  // namespace

std::string NumberText(double number) { return ToUtf8(Value(number).ToText()); }

FilterItem Filter(const char16_t* name, const char16_t* value, const char16_t* upper) {
  return {name, {}, Value(value), Value(upper), std::nullopt};
}

std::vector<ResultRow> RunReport(Request request, const std::filesystem::path& path,
                                 std::string& message, const char16_t* machine,
                                 tsql::Planning planning) {
  request.connectionString = Text(tsql::kEmbeddedPrefix) + FromUtf8(path.string());
  EmbeddedSystem system(machine, planning, message);
  const auto report = request.report->factory(system);
  Furnish(*report, request);
  report->mconn = system.NewConnection();
  if (!report->MoveDataDetail()) return {};
  return RowsOf(path, u"SELECT * FROM " + report->TempTablename());
}

TestDatabase::TestDatabase() : path_(ScratchPath()) {
  tsql::DatabaseOptions options;
  options.create = true;
  tsql::Database::Open(path_, options);
}

TestDatabase::TestDatabase(std::int64_t lines, std::uint64_t seed) : path_(ScratchPath()) {
  SampleOptions options;
  options.voucher_lines = lines;
  options.seed = seed;
  CreateSample(path_, options);
}

TestDatabase::~TestDatabase() {
  std::error_code ignored;
  const std::string name = path_.filename().string();
  for (const auto& entry : std::filesystem::directory_iterator(path_.parent_path())) {
    if (entry.path().filename().string().starts_with(name)) {
      std::filesystem::remove(entry.path(), ignored);
    }
  }
}

std::vector<ResultRow> TestDatabase::Report(const std::string& class_name,
                                            const std::vector<FilterItem>& filters,
                                            const char16_t* machine) {
  Request request;
  request.report = FindClass(FromUtf8(class_name));
  request.filters = filters;
  request.login = LoginMembers{Value(u"2002-03-31"), Value(u"001")};
  std::vector<ResultRow> rows = RunReport(std::move(request), path_, message_, machine);
  std::sort(rows.begin(), rows.end());
  return rows;
}

std::vector<ResultRow> TestDatabase::Rows(const std::string& sql) {
  return RowsOf(path_, FromUtf8(sql));
}

void TestDatabase::RunScript(const std::string& name) {
  const std::string script = ReadFile(std::filesystem::path(LEDGERWICK_SOURCE) / "sample" / name);
  for (const std::string_view batch : tsql::SplitBatches(script)) Run(std::string(batch));
}

}  // namespace ledgerwick::testing
