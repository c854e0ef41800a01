#include "cli/server_sample.h"

#include <array>
#include <charconv>

#include "cli/console.h"
#include "frame/row_set.h"
#include "host/reference_host.h"

namespace ledgerwick {
namespace {

// A statement takes up to 1000 rows on a server; beyond some hundreds there is nothing to win.
constexpr int kRowsOfStatement = 200;

Text Bracketed(TextView name) {
  Text text = u"[";
  for (const char16_t c : name) text.append(c == u']' ? 2 : 1, c);
  return text += u']';
}

Text FloatLiteral(double number) {
  std::array<char, 32> digits{};
  const auto [end, error] = std::to_chars(digits.data(), digits.data() + digits.size(), number);
  return {digits.data(), end};
}

Text DateLiteral(Date date) {
  const CalendarTime time = ToCalendar(date);
  std::array<char, 40> text{};
  // The one form that no language of the login reads otherwise.
  std::snprintf(text.data(), text.size(), "'%04d-%02d-%02dT%02d:%02d:%02d.%03d'", time.year,
                time.month, time.day, time.hour, time.minute, time.second, time.millisecond);
  return FromUtf8(text.data());
}

Text LiteralOf(const Value& value) {
  if (value.IsNull() || value.IsEmpty()) return u"NULL";
  if (const bool* truth = value.If<bool>()) return *truth ? u"1" : u"0";
  if (const auto* whole = value.If<std::int64_t>()) return Value(*whole).ToText();
  if (const double* number = value.If<double>()) return FloatLiteral(*number);
  if (const Date* date = value.If<Date>()) return DateLiteral(*date);
  return u"N" + Quoted(value.ToText());
}

// Takes the sample by statements: several rows in each, a table in a transaction.
class ServerTarget final : public SampleTarget {
 public:
  explicit ServerTarget(odbc::OdbcConnection& connection) : connection_(connection) {}

  void Run(TextView batch) override {
    NullSink sink;  // the scripts yield no results
    connection_.Run(batch, sink);
    changed_ = true;
  }
  void BeginTable(TextView table, std::span<const Text> columns) override {
    head_ = u"INSERT INTO " + Bracketed(table) + u" (";
    for (const Text& column : columns) {
      head_.append(&column == columns.data() ? u"" : u", ").append(Bracketed(column));
    }
    head_ += u") VALUES ";
    Run(u"BEGIN TRANSACTION");
  }
  void Row(std::span<const Value> values) override {
    statement_ += statement_.empty() ? head_ + u"(" : Text(u",\n(");
    for (const Value& value : values) {
      statement_.append(&value == values.data() ? u"" : u", ").append(LiteralOf(value));
    }
    statement_ += u')';
    if (++rows_ == kRowsOfStatement) Send();
  }
  void EndTable() override {
    Send();
    Run(u"COMMIT");
  }

  // True once something is there.
  bool changed() const noexcept { return changed_; }

 private:
  void Send() {
    if (!statement_.empty()) Run(statement_);
    statement_.clear();
    rows_ = 0;
  }

  odbc::OdbcConnection& connection_;
  Text head_;
  Text statement_;
  int rows_ = 0;
  bool changed_ = false;
};

void RequireEmpty(odbc::OdbcConnection& connection) {
  RowCollector tables;
  connection.Run(
      u"SELECT COUNT(*) AS tables FROM INFORMATION_SCHEMA.TABLES WHERE TABLE_TYPE = 'BASE TABLE'",
      tables);
  if (ToNumber(tables.Take()->Field(u"tables")) == 0) return;
  throw std::runtime_error(
      "the database has tables already, and nothing of them is replaced: make an empty one "
      "(CREATE DATABASE) and name it");
}

}  // namespace

void CreateSampleOnServer(const Text& connection_string, const ConnectionSettings& settings,
                          const SampleOptions& options, const std::function<void()>& partly) {
  if (options.force) throw UsageError("--force replaces files alone: make an empty database");
  const auto connection = OpenServer(connection_string, settings);
  RequireEmpty(*connection);
  ServerTarget target(*connection);
  try {
    FillSample(target, options);
  } catch (...) {
    // Whatever stopped it, the user shall know what is left.
    if (target.changed()) partly();
    throw;
  }
}

}  // namespace ledgerwick
