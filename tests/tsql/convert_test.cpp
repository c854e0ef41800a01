#include "tsql/values/convert.h"

#include <doctest/doctest.h>

#include <cmath>
#include <limits>

#include "tests/tsql/sql_error.h"

namespace ledgerwick::tsql {
namespace {

TEST_CASE("text to an integer type") {
  struct Case {
    std::string text;
    TypeKind target;
    std::int64_t number;
    std::string error;
  };
  const Case cases[] = {
      {"", TypeKind::Int, 0, ""},
      {"   ", TypeKind::TinyInt, 0, ""},
      {" 12 ", TypeKind::Int, 12, ""},
      {"-2147483648", TypeKind::Int, -2147483648LL, ""},
      {"+7", TypeKind::SmallInt, 7, ""},
      {"9223372036854775807", TypeKind::BigInt, std::numeric_limits<std::int64_t>::max(), ""},
      {"2147483648", TypeKind::Int, 0,
       "248: The conversion of the varchar value '2147483648' overflowed an int column."},
      {"32768", TypeKind::SmallInt, 0,
       "244: The conversion of the varchar value '32768' overflowed an INT2 column. Use a larger "
       "integer column."},
      {"-1", TypeKind::TinyInt, 0,
       "244: The conversion of the varchar value '-1' overflowed an INT1 column. Use a larger "
       "integer column."},
      {"9223372036854775808", TypeKind::BigInt, 0,
       "8115: Arithmetic overflow error converting expression to data type bigint."},
      {"1.5", TypeKind::Int, 0,
       "245: Conversion failed when converting the varchar value '1.5' to data type int."},
      {"中", TypeKind::SmallInt, 0,
       "245: Conversion failed when converting the varchar value '中' to data type smallint."},
      {"1e3", TypeKind::Int, 0,
       "245: Conversion failed when converting the varchar value '1e3' to data type int."},
      {"+-1", TypeKind::Int, 0,
       "245: Conversion failed when converting the varchar value '+-1' to data type int."},
      {"x", TypeKind::BigInt, 0, "8114: Error converting data type varchar to bigint."},
  };
  for (const Case& c : cases) {
    CAPTURE(c.text);
    std::int64_t number = 0;
    CHECK(ErrorOf([&] { number = ParseInteger(c.text, c.target, "varchar"); }) == c.error);
    CHECK(number == c.number);
  }
}

TEST_CASE("text to float, decimal, money and bit") {
  const auto to_float = [](const std::string& text) { return ParseFloat(text, "nvarchar"); };
  const auto to_decimal = [](const std::string& text) {
    return ToDouble(ParseDecimal(text, {6, 2}, "varchar"));
  };
  const auto to_money = [](const std::string& text) { return ToDouble(ParseMoney(text)); };
  const auto to_bit = [](const std::string& text) { return ParseBit(text, "char") ? 1.0 : 0.0; };
  struct Case {
    double (*parse)(const std::string&);
    std::string text;
    double number;
    std::string error;
  };
  const char* const no_float = "8114: Error converting data type nvarchar to float.";
  const char* const no_decimal = "8114: Error converting data type varchar to numeric.";
  const char* const no_money =
      "235: Cannot convert a char value to money. The char value has incorrect syntax.";
  const Case cases[] = {
      {to_float, " ", 0, ""},
      {to_float, " -1.5E-3 ", -0.0015, ""},
      {to_float, "+.5", 0.5, ""},
      {to_float, "5.", 5, ""},
      {to_float, "1e-400", 0, ""},
      {to_float, "1e400", 0,
       "8115: Arithmetic overflow error converting nvarchar to data type float."},
      {to_float, "inf", 0, no_float},
      {to_float, "--1", 0, no_float},
      {to_float, "1,5", 0, no_float},
      {to_float, "0x10", 0, no_float},
      {to_decimal, " 12.345 ", 12.35, ""},
      {to_decimal, "-0.005", -0.01, ""},
      {to_decimal, "9999.994", 9999.99, ""},
      {to_decimal, "0.1", 0.1, ""},
      {to_decimal, "00001234.5", 1234.5, ""},
      {to_decimal, "9999.995", 0,
       "8115: Arithmetic overflow error converting varchar to data type numeric."},
      {to_decimal, "", 0, no_decimal},
      {to_decimal, "1e2", 0, no_decimal},
      {to_decimal, ".", 0, no_decimal},
      {to_money, "", 0, ""},
      {to_money, "-$1,234.56785", -1234.5679, ""},
      {to_money, "￥12", 12, ""},
      {to_money, "12 34", 0, no_money},
      {to_money, "$", 0, ""},
      {to_money, "922337203685478", 0,
       "8115: Arithmetic overflow error converting expression to data type money."},
      {to_bit, "TRUE", 1, ""},
      {to_bit, "false ", 0, ""},
      {to_bit, "-99999999999999999999", 1, ""},
      {to_bit, " ", 0, ""},
      {to_bit, "yes", 0,
       "245: Conversion failed when converting the char value 'yes' to data type bit."},
  };
  for (const Case& c : cases) {
    CAPTURE(c.text);
    double number = 0;
    CHECK(ErrorOf([&] { number = c.parse(c.text); }) == c.error);
    CHECK(number == c.number);
  }
}

TEST_CASE("numbers to an integer type are cut towards zero and checked") {
  CHECK(ToInteger(2.99, TypeKind::Int) == 2);
  CHECK(ToInteger(-2.99, TypeKind::SmallInt) == -2);
  CHECK(ToInteger(-0.5, TypeKind::TinyInt) == 0);
  CHECK(ToInteger(0.1, TypeKind::Bit) == 1);
  struct Case {
    double number;
    TypeKind target;
    std::string error;
  };
  const Case cases[] = {
      {300, TypeKind::TinyInt,
       "220: Arithmetic overflow error for data type tinyint, value = 300."},
      {-32769, TypeKind::SmallInt,
       "220: Arithmetic overflow error for data type smallint, value = -32769."},
      {2147483648.0, TypeKind::Int,
       "8115: Arithmetic overflow error converting expression to data type int."},
      {9223372036854775808.0, TypeKind::BigInt,
       "8115: Arithmetic overflow error converting expression to data type bigint."},
      {std::numeric_limits<double>::quiet_NaN(), TypeKind::Int,
       "8115: Arithmetic overflow error converting expression to data type int."},
  };
  for (const Case& c : cases) {
    CAPTURE(c.number);
    CHECK(ErrorOf([&] { ToInteger(c.number, c.target); }) == c.error);
  }
}

TEST_CASE("decimals are rounded by their digits, half away from zero") {
  struct Case {
    double number;
    int scale;
    double rounded;
    double truncated;
  };
  const Case cases[] = {
      {0.1 + 0.2, 2, 0.3, 0.3},
      {1.005, 2, 1.01, 1.0},
      {-1.005, 2, -1.01, -1.0},
      {2.675, 2, 2.68, 2.67},
      {1.15, 2, 1.15, 1.15},
      {0.285, 2, 0.29, 0.28},
      {9.995, 2, 10, 9.99},
      {0.05, 1, 0.1, 0},
      {0.004, 2, 0, 0},
      {1250, -2, 1300, 1200},
      {49, -2, 0, 0},
      {50, -2, 100, 0},
      {1e300, 4, 1e300, 1e300},
      {123456789012.34565, 4, 123456789012.3457, 123456789012.3456},
      {2251799813685249.5, 0, 2251799813685250, 2251799813685249},
      {5e-324, 10, 0, 0},
  };
  for (const Case& c : cases) {
    CAPTURE(c.number);
    CAPTURE(c.scale);
    CHECK(RoundDecimal(c.number, c.scale) == c.rounded);
    CHECK(TruncateDecimal(c.number, c.scale) == c.truncated);
  }
  CHECK_FALSE(std::signbit(RoundDecimal(-0.001, 2)));
}

TEST_CASE("numbers as text") {
  CHECK(FormatFloat(1e10, 0) == "1e+010");
  CHECK(FormatFloat(123456.789, 0) == "123457");
  CHECK(FormatFloat(1234567, 0) == "1.23457e+006");
  CHECK(FormatFloat(0.00001, 0) == "1e-005");
  CHECK(FormatFloat(-0.5, 0) == "-0.5");
  CHECK(FormatFloat(1e100, 0) == "1e+100");
  CHECK(FormatFloat(1234.5678, 1) == "1.2345678e+003");
  CHECK(FormatFloat(0.1, 2) == "1.000000000000000e-001");
  CHECK(FormatDecimal(12.5, 2) == "12.50");
  CHECK(FormatDecimal(-0.0, 1) == "0.0");
  CHECK(FormatDecimal(123456789012345678.0, 0) == "123456789012345680");
  CHECK(FormatMoney(FromDouble(1234567.895, {kMoneyPrecision, kMoneyScale}), 0) == "1234567.90");
  CHECK(FormatMoney(FromDouble(-1234567.891, {kMoneyPrecision, kMoneyScale}), 1) ==
        "-1,234,567.89");
  CHECK(FormatMoney(FromDouble(-123.4, {kMoneyPrecision, kMoneyScale}), 1) == "-123.40");
  CHECK(FormatMoney(FromDouble(1234.5, {kMoneyPrecision, kMoneyScale}), 2) == "1234.5000");
}

}  // namespace
}  // namespace ledgerwick::tsql
