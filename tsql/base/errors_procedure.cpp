// The errors of variables, control flow, procedures and transactions.
#include "tsql/base/error_text.h"
#include "tsql/base/errors.h"

namespace ledgerwick::tsql::errors {

SqlError TextVariable(Position at) {
  return {2739, kUser,
          "The text, ntext, and image data types are invalid for local variables. Use varchar(max) "
          "or nvarchar(max).",
          at};
}

SqlError OutsideLoop(bool is_break, Position at) {
  return {is_break ? 135 : 136, kSyntax,
          std::string("Cannot use a ") + (is_break ? "BREAK" : "CONTINUE") +
              " statement outside the scope of a WHILE statement.",
          at};
}

SqlError ReturnWithValue(Position at) {
  return {178, kSyntax, "A RETURN statement with a return value cannot be used in this context.",
          at};
}

SqlError NotFirstInBatch(Position at) {
  return {111, kSyntax,
          "'CREATE/ALTER PROCEDURE' must be the first statement in a query batch. Put GO before "
          "it.",
          at};
}

SqlError OutputOfConstant(Position at) {
  return {179, kSyntax,
          "Cannot use the OUTPUT option when passing a constant to a stored procedure.", at};
}

SqlError NoProcedure(TextView name, Position at) {
  return {2812, kUser, "Could not find stored procedure " + Q(name) + ".", at};
}

SqlError ParameterMissing(TextView procedure, TextView parameter) {
  return {201, kUser,
          "Procedure or function " + Q(procedure) + " expects parameter " + Q(parameter) +
              ", which was not supplied."};
}

SqlError TooManyArguments(TextView procedure) {
  return {8144, kUser,
          "Procedure or function " + U(procedure) + " has too many arguments specified."};
}

SqlError NoSuchParameter(TextView parameter, TextView procedure) {
  return {8145, kUser, U(parameter) + " is not a parameter for procedure " + U(procedure) + "."};
}

SqlError ParameterTwice(TextView parameter, TextView procedure) {
  return {8143, kUser,
          "Parameter " + Q(parameter) + " was supplied multiple times for procedure " +
              U(procedure) + "."};
}

SqlError PositionalAfterNamed(std::size_t argument, Position at) {
  return {119, kSyntax,
          "Must pass parameter number " + N(static_cast<std::int64_t>(argument)) +
              " and subsequent parameters as '@name = value'. After the form '@name = value' has "
              "been used, all subsequent parameters must be passed in the form '@name = value'.",
          at};
}

SqlError NotOutput(TextView parameter) {
  return {8162, kUser,
          "The formal parameter \"" + U(parameter) +
              "\" was not declared as an OUTPUT parameter, but the actual parameter passed in "
              "requested output."};
}

SqlError CallsTooDeep() {
  return {217, kUser,
          "Maximum stored procedure, function, trigger, or view nesting level exceeded (limit "
          "32)."};
}

SqlError NoTransaction(bool commit) {
  return {commit ? 3902 : 3903, kUser,
          std::string("The ") + (commit ? "COMMIT" : "ROLLBACK") +
              " TRANSACTION request has no corresponding BEGIN TRANSACTION."};
}

SqlError TransactionCount(std::int64_t before, std::int64_t after) {
  return {266, kUser,
          "Transaction count after EXECUTE indicates a mismatching number of BEGIN and COMMIT "
          "statements. Previous count = " +
              N(before) + ", current count = " + N(after) + "."};
}

SqlError Raised(std::int32_t number, std::int32_t severity, std::int32_t state,
                std::string message) {
  SqlError error(number, severity, std::move(message));
  error.state = state;
  return error;
}

SqlError NoSuchMessage(std::int32_t number, std::int32_t severity, std::int32_t state) {
  return {18054, kUser,
          "Error " + N(number) + ", severity " + N(severity) + ", state " + N(state) +
              " was raised, but no message with that error number was found in sys.messages."};
}

SqlError ThrowOutsideCatch() {
  return {10704, kSyntax,
          "To rethrow an error, a THROW statement must be used inside a CATCH block. Insert the "
          "THROW statement inside a CATCH block, or add error parameters to the THROW statement."};
}

SqlError ThrowNumber(std::int64_t number) {
  return {35100, kUser,
          "Error number " + N(number) +
              " in the THROW statement is outside the valid range. Specify an error number in the "
              "valid range of 50000 to 2147483647."};
}

}  // namespace ledgerwick::tsql::errors
