#include "tsql/base/errors.h"

#include <utility>

#include "tsql/base/characters.h"
#include "tsql/base/error_text.h"

namespace ledgerwick::tsql {
namespace {

constexpr std::int32_t kLeastResourceSeverity = 17;

// The result code that ADO gives for the server's error.
std::int32_t ResultCode(const SqlError& error) {
  switch (error.number) {
    case 208:
    case 3701:
      return kErrorNoTable;
    case 220:
    case 232:
    case 244:
    case 248:
    case 517:
    case 535:
    case 3623:
    case 8115:
    case 8134:
    case 8152:
      return kErrorArithmetic;
    case 234:
    case 235:
    case 241:
    case 242:
    case 245:
    case 8114:
      return kErrorConversion;
    case 515:
    case 547:
    case 2601:
    case 2627:
      return kErrorIntegrity;
    default:
      return error.severity >= kLeastResourceSeverity ? kErrorFailed : kErrorSyntaxOrAccess;
  }
}

}  // namespace

DatabaseError ToDatabaseError(const SqlError& error) {
  DatabaseError result(ResultCode(error), u"Ledgerwick", ToText(error.message));
  result.native = error.number;
  result.procedure = ToText(error.procedure);
  result.in_text = error.in_text;
  result.line = error.position.line;
  result.column = error.position.column;
  return result;
}

namespace errors {

SqlError IncorrectSyntax(TextView near, Position at) {
  return {102, kSyntax, "Incorrect syntax near " + Q(near) + ".", at};
}

SqlError UnclosedQuote(TextView text, Position at) {
  return {105, kSyntax, "Unclosed quotation mark after the character string " + Q(text) + ".", at};
}

SqlError MissingEndComment(Position at) {
  return {113, kSyntax, "Missing end comment mark '*/'.", at};
}

SqlError IncorrectSyntaxKeyword(TextView keyword, Position at) {
  return {156, kSyntax, "Incorrect syntax near the keyword " + Q(keyword) + ".", at};
}

SqlError InvalidColumn(TextView name, Position at) {
  return {207, kUser, "Invalid column name " + Q(name) + ".", at};
}

SqlError InvalidObject(TextView name, Position at) {
  return {208, kUser, "Invalid object name " + Q(name) + ".", at};
}

SqlError AmbiguousColumn(TextView name, Position at) {
  return {209, kUser, "Ambiguous column name " + Q(name) + ".", at};
}

SqlError DateConversion() {
  return {241, kUser, "Conversion failed when converting date and/or time from character string."};
}

SqlError DateOutOfRange() {
  return {242, kUser,
          "The conversion of a varchar data type to a datetime data type resulted in an "
          "out-of-range value."};
}

SqlError MomentOutOfRange(const char* source, const char* target) {
  return {242, kUser,
          std::string("The conversion of a ") + source + " data type to a " + target +
              " data type resulted in an out-of-range value."};
}

SqlError DateAddOverflow(const char* type) {
  return {517, kUser, std::string("Adding a value to a '") + type + "' column caused an overflow."};
}

SqlError InvalidStyle(int style, const char* source) {
  return {281, kUser,
          N(style) + " is not a valid style number when converting from " + source +
              " to a character string."};
}

SqlError NoUniqueIdentifier() {
  return {8169, kUser,
          "Conversion failed when converting from a character string to "
          "uniqueidentifier."};
}

SqlError NoRoomForUniqueIdentifier() {
  return {8170, kUser, "Insufficient result space to convert uniqueidentifier value to char."};
}

SqlError DateOrderInvalid(TextView order) {
  return {2741, kUser, "SET DATEFORMAT date order " + Q(order) + " is invalid."};
}

SqlError LanguageUnknown(TextView language) {
  return {2740, kUser,
          "SET LANGUAGE failed because " + Q(language) +
              " is not an official name or a language alias on this SQL Server."};
}

SqlError FirstDayOutOfRange(std::int64_t day) {
  return {2742, kUser, "SET DATEFIRST " + N(day) + " is out of range."};
}

SqlError Overflow(TextView target) {
  return {8115, kUser,
          "Arithmetic overflow error converting expression to data type " + ToUtf8(target) + "."};
}

SqlError OverflowFrom(const char* source, const char* target) {
  return {8115, kUser,
          std::string("Arithmetic overflow error converting ") + source + " to data type " +
              target + "."};
}

SqlError ConvertDataType(TextView source, TextView target) {
  return {8114, kUser,
          "Error converting data type " + ToUtf8(source) + " to " + ToUtf8(target) + "."};
}

SqlError DivideByZero() { return {8134, kUser, "Divide by zero error encountered."}; }

SqlError Truncated() { return {8152, kUser, "String or binary data would be truncated."}; }

}  // namespace errors
}  // namespace ledgerwick::tsql
