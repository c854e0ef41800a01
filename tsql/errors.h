// The server's errors: one named factory for each, with the server's number, severity and text.
#pragma once

#include <cstdint>
#include <exception>
#include <string>

#include "frame/error.h"
#include "frame/text.h"

namespace ledgerwick::tsql {

// Where something stands in a batch: line and column count from 1, the column in characters.
struct Position {
  std::int32_t line = 0;
  std::int32_t column = 0;
};

// An error of the embedded server.
struct SqlError : std::exception {
  SqlError(std::int32_t error_number, std::int32_t error_severity, std::string message_utf8,
           Position where = {})
      : number(error_number),
        severity(error_severity),
        message(std::move(message_utf8)),
        position(where) {}

  std::int32_t number;
  std::int32_t severity;
  std::string message;  // UTF-8
  Position position;    // line 0 where unknown

  const char* what() const noexcept override { return message.c_str(); }
};

// The error as the component sees it: the platform's result code with the server's text, its number
// in `native`.
DatabaseError ToDatabaseError(const SqlError& error);

namespace errors {

SqlError IncorrectSyntax(TextView near, Position at);                       // 102
SqlError UnclosedQuote(TextView text, Position at);                         // 105
SqlError MissingEndComment(Position at);                                    // 113
SqlError IncorrectSyntaxKeyword(TextView keyword, Position at);             // 156
SqlError InvalidColumn(TextView name, Position at);                         // 207
SqlError InvalidObject(TextView name, Position at);                         // 208
SqlError AmbiguousColumn(TextView name, Position at);                       // 209
SqlError DateConversion();                                                  // 241
SqlError DateOutOfRange();                                                  // 242
SqlError TextToInteger(TextView type, TextView value, TextView target);     // 245
SqlError Overflow(TextView target);                                         // 8115
SqlError ConvertDataType(TextView source, TextView target);                 // 8114
SqlError DivideByZero();                                                    // 8134
SqlError Truncated();                                                       // 8152

}  // namespace errors
}  // namespace ledgerwick::tsql
