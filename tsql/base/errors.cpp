// The errors of values and names, and what all errors have in common.
#include "tsql/base/errors.h"

#include <utility>

#include "tsql/base/characters.h"
#include "tsql/base/error_table.h"

namespace ledgerwick::tsql {

SqlError::SqlError(const ErrorRow& row, std::string message_utf8, Position where) noexcept
    : number(row.number),
      severity(row.severity),
      reach(row.reach),
      result(row.result),
      message(std::move(message_utf8)),
      position(where) {}

DatabaseError ToDatabaseError(const SqlError& error) {
  DatabaseError result(error.result, u"Ledgerwick", ToText(error.message));
  result.native = error.number;
  result.severity = error.severity;
  result.state = error.state;
  result.procedure = ToText(error.procedure);
  result.in_text = error.in_text;
  result.line = error.position.line;
  result.column = error.position.column;
  return result;
}

namespace errors {

using error_table::Make;

SqlError IncorrectSyntax(TextView near, Position at) { return Make<102>(at, near); }
SqlError UnclosedQuote(TextView text, Position at) { return Make<105>(at, text); }
SqlError MissingEndComment(Position at) { return Make<113>(at); }
SqlError IncorrectSyntaxKeyword(TextView keyword, Position at) { return Make<156>(at, keyword); }
SqlError InvalidColumn(TextView name, Position at) { return Make<207>(at, name); }
SqlError InvalidObject(TextView name, Position at) { return Make<208>(at, name); }
SqlError AmbiguousColumn(TextView name, Position at) { return Make<209>(at, name); }
SqlError DateConversion() { return Make<241>({}); }

SqlError DateOutOfRange(const char* source, const char* target) {
  return Make<242>({}, source, target);
}

SqlError NoUniqueIdentifier() { return Make<8169>({}); }
SqlError NoRoomForUniqueIdentifier() { return Make<8170>({}); }
SqlError DateOrderInvalid(TextView order) { return Make<2741>({}, order); }
SqlError LanguageUnknown(TextView language) { return Make<2740>({}, language); }
SqlError FirstDayOutOfRange(std::int64_t day) { return Make<2742>({}, day); }
SqlError Overflow(TextView target) { return Make<8115>({}, "expression", target); }

SqlError OverflowFrom(const char* source, const char* target) {
  return Make<8115>({}, source, target);
}

SqlError ConvertDataType(TextView source, TextView target) {
  return Make<8114>({}, source, target);
}

SqlError DivideByZero() { return Make<8134>({}); }
SqlError Truncated() { return Make<8152>({}); }

SqlError ConversionFailed(std::string_view source, std::string_view text, const char* target) {
  return Make<245>({}, source, text, target);
}

SqlError IntegerColumnOverflow(std::string_view source, std::string_view text,
                               std::string_view column) {
  if (column == "int") return Make<248>({}, source, text);
  return Make<244>({}, source, text, column);
}

SqlError ValueOverflow(std::string_view target, const std::string& number) {
  return Make<220>({}, target, number);
}

SqlError FloatAsTextOverflow(std::string_view target, const std::string& number) {
  return Make<232>({}, target, number);
}

SqlError NoRoomForMoney(std::string_view target) { return Make<234>({}, target); }
SqlError BadMoney() { return Make<235>({}); }

SqlError BadDateStyle(std::int32_t style, const char* source) {
  return Make<281>({}, style, source);
}

SqlError BadEscape(std::string_view escape) { return Make<506>({}, escape); }
SqlError DateAddOverflow(const char* type) { return Make<517>({}, type); }
SqlError DateDiffOverflow() { return Make<535>({}); }
SqlError InvalidLength(const char* function) { return Make<536>({}, function); }
SqlError InvalidSubstringLength() { return Make<537>({}); }
SqlError InvalidFloatOperation() { return Make<3623>({}); }
SqlError FormatArgumentKind(std::size_t argument) { return Make<2786>({}, argument); }
SqlError FormatPlace(std::string_view place) { return Make<2787>({}, place); }

}  // namespace errors
}  // namespace ledgerwick::tsql
