// Exact numbers against Boost's integers of any length, which know nothing of how they are kept.
#include "tsql/values/exact.h"

#include <doctest/doctest.h>

#include <boost/multiprecision/cpp_int.hpp>
#include <charconv>
#include <cstdlib>
#include <filesystem>
#include <random>

#include "frame/result_sink.h"
#include "tests/tsql/sql_error.h"
#include "tsql/binder/binder.h"
#include "tsql/database.h"

namespace ledgerwick::tsql {
namespace {

using boost::multiprecision::cpp_int;

cpp_int Power(int exponent) { return boost::multiprecision::pow(cpp_int(10), unsigned(exponent)); }

// `dividend` / `divisor` times 10^scale in whole numbers, cut or rounded half away from zero.
cpp_int Scaled(cpp_int dividend, cpp_int divisor, int scale, bool cut) {
  dividend *= Power(scale);
  const bool negative = (dividend < 0) != (divisor < 0);
  dividend = abs(dividend);
  divisor = abs(divisor);
  const cpp_int units =
      cut ? cpp_int(dividend / divisor) : cpp_int((2 * dividend + divisor) / (2 * divisor));
  return negative ? cpp_int(-units) : units;
}

std::string Shown(const cpp_int& units, int scale) {
  std::string digits = cpp_int(abs(units)).str();
  while (digits.size() <= std::size_t(scale)) digits.insert(digits.begin(), '0');
  if (scale > 0) digits.insert(digits.size() - std::size_t(scale), 1, '.');
  return (units < 0 ? "-" : "") + digits;
}

struct Sample {
  Type type;
  cpp_int units;

  std::string Digits() const { return Shown(units, type.scale); }
  Exact Number() const { return *ParseExact(Digits(), type.scale, "numeric"); }
  std::string Sql() const { return "CAST('" + Digits() + "' AS " + TypeName(type) + ")"; }
};

class Samples {
 public:
  int Below(int limit) { return std::uniform_int_distribution<>(0, limit - 1)(random_); }

  // Of all precisions and scales; every so often the limits, zero, and halves.
  Sample Next() {
    Sample sample;
    sample.type = MakeType(TypeKind::Decimal);
    sample.type.precision = static_cast<std::uint8_t>(1 + Below(kMostDigits));
    sample.type.scale = static_cast<std::uint8_t>(Below(sample.type.precision + 1));
    const int digits = 1 + Below(sample.type.precision);
    const int kind = Below(10);
    for (int i = 0; i < digits; ++i) {
      sample.units = sample.units * 10 + (kind == 0 ? 9 : kind == 1 && i > 0 ? 0 : Below(10));
    }
    if (kind == 2) sample.units = Power(Below(digits)) * 5;
    if (kind == 3 && Below(3) == 0) sample.units = 0;
    if (Below(2) == 0) sample.units = -sample.units;
    return sample;
  }

 private:
  std::mt19937_64 random_{20020301};
};

// What an operation must give: digits, or the number of an error.
std::string Expected(ExprKind kind, const Sample& a, const Sample& b, const Type& type) {
  const cpp_int x = a.units * Power(b.type.scale);
  const cpp_int y = b.units * Power(a.type.scale);
  const cpp_int one = Power(a.type.scale + b.type.scale);
  if (y == 0 && (kind == ExprKind::Divide || kind == ExprKind::Modulo)) return "8134";
  cpp_int units;
  switch (kind) {
    case ExprKind::Add:
      units = Scaled(x + y, one, type.scale, false);
      break;
    case ExprKind::Subtract:
      units = Scaled(x - y, one, type.scale, false);
      break;
    case ExprKind::Multiply:
      units = Scaled(a.units * b.units, one, type.scale, false);
      break;
    case ExprKind::Divide:
      units = Scaled(x, y, type.scale, true);
      break;
    default:
      units = Scaled(x % y, one, type.scale, false);
  }
  return abs(units) >= Power(type.precision) ? "8115" : Shown(units, type.scale);
}

Exact Compute(ExprKind kind, const Exact& a, const Exact& b, ExactSize size) {
  switch (kind) {
    case ExprKind::Add:
      return Add(a, b, size);
    case ExprKind::Subtract:
      return Subtract(a, b, size);
    case ExprKind::Multiply:
      return Multiply(a, b, size);
    case ExprKind::Divide:
      return Divide(a, b, size);
    default:
      return Remainder(a, b, size);
  }
}

template <typename Work>
std::string Outcome(Work&& work) {
  try {
    return work();
  } catch (const SqlError& error) {
    return std::to_string(error.number);
  }
}

// A database that tells a query's one value.
class Engine : public ResultSink {
 public:
  Engine() {
    const auto path = std::filesystem::temp_directory_path() /
                      ("ledgerwick-exact-" + std::to_string(std::random_device()()) + ".db");
    DatabaseOptions options;
    options.create = true;
    database_ = Database::Open(path, options);
    for (const char* end : {"", "-wal", "-shm", ".tempdb", ".tempdb-wal", ".tempdb-shm"}) {
      std::filesystem::remove(path.string() + end);  // the open files stay until they are closed
    }
  }
  std::string Ask(const std::string& expression) {
    try {
      database_->Run(FromUtf8("SELECT " + expression), *this);
    } catch (const DatabaseError& error) {
      return std::to_string(error.native);
    }
    return value_;
  }
  void Columns(std::span<const ResultColumn>) override {}
  void Row(std::span<const Value> values) override { value_ = ToUtf8(values[0].ToText()); }
  void EndRows(std::int64_t) override {}
  void RowsAffected(std::int64_t) override {}
  void Message(const Text&) override {}

 private:
  std::unique_ptr<Database> database_;
  std::string value_;
};

// LEDGERWICK_RANDOM_CASES asks for more of them than every day.
int RandomCases() {
  constexpr int kUsual = 20'000;
  const char* const asked = std::getenv("LEDGERWICK_RANDOM_CASES");
  return asked == nullptr ? kUsual : std::atoi(asked);
}

TEST_CASE("sums, products, quotients and comparisons of random decimals are exact") {
  constexpr std::pair<ExprKind, const char*> kOperators[] = {{ExprKind::Add, " + "},
                                                             {ExprKind::Subtract, " - "},
                                                             {ExprKind::Multiply, " * "},
                                                             {ExprKind::Divide, " / "},
                                                             {ExprKind::Modulo, " % "}};
  constexpr int kSqlEvery = 20;
  Samples samples;
  Engine engine;
  for (int i = 0; i < RandomCases(); ++i) {
    const Sample a = samples.Next();
    const Sample b = samples.Next();
    const Exact x = a.Number();
    const Exact y = b.Number();
    const bool ask = i % kSqlEvery == 0;
    for (const auto& [kind, op] : kOperators) {
      const Type type = ArithmeticType(kind, a.type, b.type);
      const std::string expected = Expected(kind, a, b, type);
      const std::string got =
          Outcome([&, k = kind] { return FormatExact(Compute(k, x, y, SizeOf(type))); });
      const std::string sql = a.Sql() + op + b.Sql();
      if (got != expected) FAIL(sql, " is ", got, ", not ", expected);
      const std::string told = ask ? engine.Ask(sql) : expected;
      if (told != expected) FAIL("SELECT ", sql, " is ", told, ", not ", expected);
    }
    const cpp_int left = a.units * Power(b.type.scale);
    const cpp_int right = b.units * Power(a.type.scale);
    const int scale = std::max(x.scale, y.scale);
    CHECK((ToWideBytes(x, scale) < ToWideBytes(y, scale)) == (left < right));
    CHECK((ToBytes(x.units) < ToBytes(y.units)) == (a.units < b.units));
    CHECK(FromBytes(ToBytes(x.units).data()) == x.units);
    if (!ask) continue;
    const std::string order = left < right ? "-1" : left > right ? "1" : "0";
    CHECK(engine.Ask("CASE WHEN " + a.Sql() + " < " + b.Sql() + " THEN -1 WHEN " + a.Sql() + " = " +
                     b.Sql() + " THEN 0 ELSE 1 END") == order);
  }
}

TEST_CASE("conversions and roundings of random decimals are exact") {
  constexpr int kSqlEvery = 20;
  Samples samples;
  Engine engine;
  for (int i = 0; i < RandomCases(); ++i) {
    const Sample a = samples.Next();
    const Type type = samples.Next().type;
    const Exact x = a.Number();
    const auto fits = [&](const cpp_int& units, const Type& to) {
      return abs(units) >= Power(to.precision) ? "8115" : Shown(units, to.scale);
    };
    const int digits = samples.Below(2 * kMostDigits) - kMostDigits;
    const std::string converted =
        fits(Scaled(a.units, Power(a.type.scale), type.scale, false), type);
    CHECK(Outcome([&] { return FormatExact(Convert(x, SizeOf(type))); }) == converted);
    for (const bool cut : {false, true}) {
      const int dropped = std::max(a.type.scale - digits, 0);
      const cpp_int units = Scaled(a.units, Power(dropped), 0, cut) * Power(dropped);
      const std::string rounded = fits(units, a.type);
      CHECK(Outcome([&] {
              return FormatExact(RoundTo(x, digits, cut ? Rest::Cut : Rest::Round, SizeOf(a.type)));
            }) == rounded);
      if (i % kSqlEvery == 0) {
        CHECK(engine.Ask("ROUND(" + a.Sql() + ", " + std::to_string(digits) +
                         (cut ? ", 1)" : ")")) == rounded);
      }
    }
    double nearest = 0;
    const std::string text = a.Digits();
    std::from_chars(text.data(), text.data() + text.size(), nearest);
    CHECK(ToDouble(x) == nearest);
    if (i % kSqlEvery != 0) continue;
    CHECK(engine.Ask("CAST(" + a.Sql() + " AS " + TypeName(type) + ")") == converted);
    CHECK(engine.Ask("CAST('" + text + "' AS " + TypeName(type) + ")") == converted);
    // SQLite itself does not read longer literals to the last bit.
    if (a.type.precision > 15) continue;
    CHECK(engine.Ask("CASE WHEN CAST(" + a.Sql() + " AS float) = " + text + "e0 THEN 1 END") ==
          "1");
  }
}

TEST_CASE("a float becomes the decimal that its digits say") {
  struct Case {
    double number;
    ExactSize size;
    std::string digits;
  };
  const Case cases[] = {
      {1.005, {5, 2}, "1.01"},
      {-2.675, {5, 2}, "-2.68"},
      {0.285, {38, 2}, "0.29"},
      {999.995, {5, 2}, "8115"},
      {1e30, {38, 0}, "1000000000000000019884624838656"},
      {1e38, {38, 0}, "8115"},
      {922337203685477.5, {kMoneyPrecision, kMoneyScale}, "922337203685477.5000"},
      {214748.3648, {kSmallMoneyPrecision, kMoneyScale}, "8115"},
      {5e-324, {38, 38}, "0.00000000000000000000000000000000000000"},
  };
  for (const Case& c : cases) {
    CHECK(Outcome([&] { return FormatExact(FromDouble(c.number, c.size)); }) == c.digits);
  }
}

}  // namespace
}  // namespace ledgerwick::tsql
