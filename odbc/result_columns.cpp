#include "odbc/result_columns.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstring>

#include "odbc/diagnostics.h"

namespace ledgerwick::odbc {
namespace {

// Types that drivers for SQL Server have beyond the standard's.
constexpr SQLSMALLINT kVariant = -150;
constexpr SQLSMALLINT kXml = -152;
constexpr SQLSMALLINT kTime = -154;
constexpr SQLSMALLINT kDateTimeOffset = -155;

// Texts and binary values up to here are fetched in blocks; what may be longer, in pieces.
constexpr SQLULEN kLongestInBlock = 8000;

constexpr SQLULEN kMoneyDigits = 19;
constexpr SQLULEN kDateTimeCharacters = 23;  // yyyy-mm-dd hh:mm:ss.fff

constexpr std::size_t kDigitsWidth = 48;  // of a decimal: 38 digits, sign, point, 0
constexpr std::size_t kShortTextWidth = 80;

// What the type is called, with its length where it has one: "varchar(20)".
Text TypeText(Text name, SQLSMALLINT type, SQLULEN size, SQLSMALLINT digits) {
  if (const std::size_t blank = name.find(u' '); blank != Text::npos) {
    name.resize(blank);  // "int identity"
  }
  const auto number = [](auto n) { return Value(static_cast<std::int64_t>(n)).ToText(); };
  switch (type) {
    case SQL_DECIMAL:
    case SQL_NUMERIC:
      // Where null is allowed, drivers call the small ones by the large ones' names.
      if (EqualText(name, u"money")) return size < kMoneyDigits ? u"smallmoney" : name;
      if (EqualText(name, u"smallmoney")) return name;
      return name + u"(" + number(size) + u"," + number(digits) + u")";
    case SQL_CHAR:
    case SQL_VARCHAR:
    case SQL_WCHAR:
    case SQL_WVARCHAR:
    case SQL_BINARY:
    case SQL_VARBINARY:
      if (name.empty() || EqualText(name, u"sysname") || EqualText(name, u"uniqueidentifier")) {
        return name;
      }
      if (size == 0 || size > kLongestInBlock) return name + u"(max)";
      return name + u"(" + number(size) + u")";
    case SQL_TYPE_TIMESTAMP:
      if (EqualText(name, u"datetime2")) return name + u"(" + number(digits) + u")";
      return EqualText(name, u"datetime") && size < kDateTimeCharacters ? u"smalldatetime" : name;
    case SQL_TYPE_TIME:
    case kTime:
      return name + u"(" + number(digits) + u")";
    case SQL_LONGVARCHAR:
    case SQL_WLONGVARCHAR:
    case SQL_LONGVARBINARY:
      return name.find(u"var") == Text::npos ? name : name + u"(max)";
    default:
      return name;
  }
}

void SetText(Column& column, SQLULEN size) {
  column.result.kind = ColumnKind::String;
  column.c_type = SQL_C_WCHAR;
  column.width = size == 0 || size > kLongestInBlock ? 0 : (size + 1) * sizeof(SQLWCHAR);
}

void SetBinary(Column& column, SQLULEN size) {
  column.result.kind = ColumnKind::String;
  column.c_type = SQL_C_BINARY;
  column.width = size == 0 || size > kLongestInBlock ? 0 : size;
  column.is_binary = true;
}

void Set(Column& column, ColumnKind kind, SQLSMALLINT c_type, std::size_t width) {
  column.result.kind = kind;
  column.c_type = c_type;
  column.width = width;
}

void SetType(Column& column, SQLSMALLINT type, SQLULEN size, SQLSMALLINT digits) {
  switch (type) {
    case SQL_BIT:
      return Set(column, ColumnKind::Boolean, SQL_C_SBIGINT, sizeof(SQLBIGINT));
    case SQL_TINYINT:
    case SQL_SMALLINT:
    case SQL_INTEGER:
    case SQL_BIGINT:
      return Set(column, ColumnKind::Integer, SQL_C_SBIGINT, sizeof(SQLBIGINT));
    case SQL_REAL:
      return Set(column, ColumnKind::Float, SQL_C_FLOAT, sizeof(SQLREAL));
    case SQL_FLOAT:
    case SQL_DOUBLE:
      return Set(column, ColumnKind::Float, SQL_C_DOUBLE, sizeof(SQLDOUBLE));
    case SQL_DECIMAL:
    case SQL_NUMERIC:
      column.result.scale = digits;
      return Set(column, ColumnKind::Decimal, SQL_C_CHAR, kDigitsWidth);
    case SQL_DATETIME:
    case SQL_TYPE_TIMESTAMP:
      return Set(column, ColumnKind::DateTime, SQL_C_TYPE_TIMESTAMP, sizeof(SQL_TIMESTAMP_STRUCT));
    case SQL_TYPE_DATE:
    case SQL_TYPE_TIME:
    case SQL_GUID:
    case kTime:
    case kDateTimeOffset:
      return Set(column, ColumnKind::String, SQL_C_WCHAR, kShortTextWidth);
    case SQL_BINARY:
    case SQL_VARBINARY:
      return SetBinary(column, size);
    case SQL_LONGVARBINARY:
      return SetBinary(column, 0);
    case SQL_LONGVARCHAR:
    case SQL_WLONGVARCHAR:
    case kVariant:
    case kXml:
      return SetText(column, 0);
    default:
      return SetText(column, size);
  }
}

Column DescribeColumn(SQLHSTMT statement, SQLUSMALLINT number) {
  char16_t name[300] = {};
  char16_t type_name[300] = {};
  SQLSMALLINT length = 0;
  SQLSMALLINT type = 0;
  SQLULEN size = 0;
  SQLSMALLINT digits = 0;
  SQLSMALLINT nullable = SQL_NULLABLE_UNKNOWN;
  if (!Succeeded(SQLDescribeColW(statement, number, Wide(name), 300, &length, &type, &size, &digits,
                                 &nullable))) {
    const std::vector<Diagnostic> diagnostics = ReadDiagnostics(SQL_HANDLE_STMT, statement);
    throw diagnostics.empty() ? DatabaseError(kErrorFailed, u"ODBC", u"A column has no description")
                              : ToError(diagnostics.front());
  }
  SQLColAttributeW(statement, number, SQL_DESC_TYPE_NAME, type_name, sizeof type_name, &length,
                   nullptr);
  Column column;
  column.result.name = name;
  column.result.nullable = nullable != SQL_NO_NULLS;
  // What has more digits than a date of ours comes as text, as ADO has it.
  const bool is_long = type == SQL_TYPE_TIMESTAMP && EqualText(type_name, u"datetime2");
  SetType(column, is_long ? kDateTimeOffset : type, size, digits);
  column.begins_with_year = is_long || type == SQL_TYPE_DATE;
  column.result.type = TypeText(type_name, type, size, digits);
  return column;
}

// The digits as the contract wants them: a 0 before the point, `scale` digits behind it. Drivers
// leave either out.
Text Digits(TextView digits, std::int32_t scale) {
  const bool negative = digits.starts_with(u'-');
  if (negative) digits.remove_prefix(1);
  const std::size_t point = std::min(digits.find(u'.'), digits.size());
  Text text = negative ? u"-" : u"";
  text += point == 0 ? TextView(u"0") : digits.substr(0, point);
  if (scale <= 0) return text;
  const TextView fraction = point < digits.size() ? digits.substr(point + 1) : TextView();
  text.append(u".").append(fraction);
  const auto wanted = static_cast<std::size_t>(scale);
  if (fraction.size() < wanted) text.append(wanted - fraction.size(), u'0');
  return text;
}

Value ToDateValue(const SQL_TIMESTAMP_STRUCT& stamp) {
  CalendarTime time;
  time.year = stamp.year;
  time.month = stamp.month;
  time.day = stamp.day;
  time.hour = stamp.hour;
  time.minute = stamp.minute;
  time.second = stamp.second;
  time.millisecond = static_cast<int>((stamp.fraction + 500'000) / 1'000'000);
  if (time.millisecond > 999) time.millisecond = 999;
  if (const std::optional<Date> date = FromCalendar(time)) return *date;
  throw DatabaseError(kErrorConversion, u"ODBC",
                      u"A date of the result lies outside the years 100 to 9999.");
}

// The number that a real's own digits say, without the ones that a double would add.
double Widened(float number) {
  std::array<char, 32> digits{};
  const auto [end, error] = std::to_chars(digits.data(), digits.data() + digits.size(), number);
  double wide = number;
  std::from_chars(digits.data(), end, wide);
  return wide;
}

Text Hexadecimal(const char* bytes, std::size_t size) {
  constexpr char16_t kDigits[] = u"0123456789ABCDEF";
  Text text = u"0x";
  for (std::size_t i = 0; i < size; ++i) {
    const auto byte = static_cast<unsigned char>(bytes[i]);
    text += kDigits[byte >> 4];
    text += kDigits[byte & 15];
  }
  return text;
}

template <typename T>
T Read(const char* bytes) {
  T value;
  std::memcpy(&value, bytes, sizeof value);
  return value;
}

}  // namespace

std::vector<Column> DescribeColumns(SQLHSTMT statement) {
  SQLSMALLINT count = 0;
  SQLNumResultCols(statement, &count);
  std::vector<Column> columns;
  for (SQLSMALLINT i = 1; i <= count; ++i) {
    columns.push_back(DescribeColumn(statement, static_cast<SQLUSMALLINT>(i)));
  }
  return columns;
}

Value ToValue(const Column& column, const char* bytes, SQLLEN length) {
  if (length < 0) return Null{};
  const auto size = static_cast<std::size_t>(length);
  switch (column.c_type) {
    case SQL_C_SBIGINT:
      return Value(Read<std::int64_t>(bytes));
    case SQL_C_FLOAT:
      return Value(Widened(Read<float>(bytes)));
    case SQL_C_DOUBLE:
      return Value(Read<double>(bytes));
    case SQL_C_TYPE_TIMESTAMP:
      return ToDateValue(Read<SQL_TIMESTAMP_STRUCT>(bytes));
    case SQL_C_CHAR:
      return Digits(FromUtf8(std::string_view(bytes, size)), column.result.scale);
    case SQL_C_BINARY:
      return Hexadecimal(bytes, size);
    default: {
      Text text(size / sizeof(char16_t), u'\0');
      if (!text.empty()) std::memcpy(text.data(), bytes, text.size() * sizeof(char16_t));
      constexpr std::size_t kYear = 4;
      if (column.begins_with_year && text.find(u'-') < kYear) {
        text.insert(0, kYear - text.find(u'-'), u'0');
      }
      return text;
    }
  }
}

}  // namespace ledgerwick::odbc
