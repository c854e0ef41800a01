// The errors that the parser, the binder and the interpreter find.
#include "tsql/base/error_text.h"
#include "tsql/base/errors.h"
#include "tsql/base/types.h"

namespace ledgerwick::tsql::errors {

SqlError NestedTooDeeply(Position at) {
  return {191, kSyntax,
          "Some part of your SQL statement is nested too deeply. Rewrite the query or break it up "
          "into smaller queries.",
          at};
}

SqlError ConditionExpected(TextView near, Position at) {
  return {4145, kSyntax,
          "An expression of non-boolean type specified in a context where a condition is expected, "
          "near " +
              Q(near) + ".",
          at};
}

SqlError UnknownType(TextView name, Position at) {
  return {2715, kUser, "Cannot find data type " + U(name) + ".", at};
}

SqlError TypeLength(TextView type, std::int64_t length, std::int64_t longest, Position at) {
  return {131, kSyntax,
          "The size (" + N(length) + ") given to the type " + Q(type) +
              " exceeds the maximum allowed for any data type (" + N(longest) + ").",
          at};
}

SqlError DuplicateExposedName(TextView name, Position at) {
  return {1013, kUser,
          "The objects \"" + U(name) + "\" and \"" + U(name) +
              "\" in the FROM clause have the same exposed names. Use correlation names to "
              "distinguish them.",
          at};
}

SqlError ColumnNameMissing(std::size_t column, Position at) {
  return {1038, kSyntax,
          "An object or column name is missing or empty. For SELECT INTO statements, verify each "
          "column has a name (column " +
              std::to_string(column) +
              " has none). For other statements, look for empty alias names. Aliases defined as "
              "\"\" or [] are not allowed. Change the alias to a valid name.",
          at};
}

SqlError DerivedColumnNameMissing(std::size_t column, TextView table, Position at) {
  return {
      8155, kUser,
      "No column name was specified for column " + std::to_string(column) + " of " + Q(table) + ".",
      at};
}

SqlError ViewColumnNameMissing(std::size_t column, Position at) {
  return {4511, kUser,
          "Create View or Function failed because no column name was specified for column " +
              std::to_string(column) + ".",
          at};
}

SqlError DuplicateColumn(TextView column, TextView table, Position at) {
  return {2705, kUser,
          "Column names in each table must be unique. Column name " + Q(column) + " in table " +
              Q(table) + " is specified more than once.",
          at};
}

SqlError DuplicateDerivedColumn(TextView column, TextView table, Position at) {
  return {8156, kUser,
          "The column " + Q(column) + " was specified multiple times for " + Q(table) + ".", at};
}

SqlError ColumnListLength(TextView table, bool more, Position at) {
  if (more)
    return {8159, kUser, Q(table) + " has fewer columns than were specified in the column list.",
            at};
  return {8158, kUser, Q(table) + " has more columns than were specified in the column list.", at};
}

SqlError ObjectExists(TextView name, Position at) {
  return {2714, kUser, "There is already an object named " + Q(name) + " in the database.", at};
}

SqlError IndexExists(TextView index, TextView table, Position at) {
  return {1913, kUser,
          "The operation failed because an index or statistics with name " + Q(index) +
              " already exists on table " + Q(table) + ".",
          at};
}

SqlError CannotDrop(TextView what, TextView name, Position at) {
  return {3701, 11,
          "Cannot drop the " + U(what) + " " + Q(name) +
              ", because it does not exist or you do not have permission.",
          at};
}

SqlError WrongKindToDrop(TextView what, TextView name, TextView kind, Position at) {
  Text upper(kind);
  for (char16_t& c : upper) c = static_cast<char16_t>(c - 0x20);
  Text dropped(what);
  for (char16_t& c : dropped) c = static_cast<char16_t>(c - 0x20);
  return {3705, kUser,
          "Cannot use DROP " + U(dropped) + " with " + Q(name) + " because " + Q(name) + " is a " +
              U(kind) + ". Use DROP " + U(upper) + ".",
          at};
}

SqlError CannotAlter(TextView name, Position at) {
  return {4909, kUser, "Cannot alter " + Q(name) + " because it is not a table.", at};
}

SqlError NewColumnNotNull(TextView column, TextView table, Position at) {
  return {4901, kUser,
          "ALTER TABLE only allows columns to be added that can contain nulls, or have a DEFAULT "
          "definition specified. Column " +
              Q(column) + " cannot be added to table " + Q(table) +
              " because it does not satisfy these conditions.",
          at};
}

SqlError CannotTruncate(TextView name, Position at) {
  return {4701, kUser,
          "Cannot find the object \"" + U(name) +
              "\" because it does not exist or you do not have permissions.",
          at};
}

SqlError MultiPartUnbound(TextView name, Position at) {
  return {4104, kUser, "The multi-part identifier \"" + U(name) + "\" could not be bound.", at};
}

SqlError PrefixUnmatched(TextView prefix, Position at) {
  return {107, kSyntax,
          "The column prefix " + Q(prefix) +
              " does not match with a table name or alias name used in the query.",
          at};
}

SqlError NotGrouped(TextView column, bool in_having, bool in_order, Position at) {
  const std::string start = "Column " + Q(column) + " is invalid in the ";
  const std::string end =
      " because it is not contained in either an aggregate function or the GROUP BY clause.";
  if (in_having) return {8121, kUser, start + "HAVING clause" + end, at};
  if (in_order) return {8127, kUser, start + "ORDER BY clause" + end, at};
  return {8120, kUser, start + "select list" + end, at};
}

SqlError GroupByWithoutColumn(Position at) {
  return {164, kSyntax,
          "Each GROUP BY expression must contain at least one column that is not an outer "
          "reference.",
          at};
}

SqlError AggregateInGroupBy(Position at) {
  return {144, kSyntax,
          "Cannot use an aggregate or a subquery in an expression used for the group by list of a "
          "GROUP BY clause.",
          at};
}

SqlError AggregateInWhere(Position at) {
  return {147, kSyntax,
          "An aggregate may not appear in the WHERE clause unless it is in a subquery contained in "
          "a HAVING clause or a select list, and the column being aggregated is an outer "
          "reference.",
          at};
}

SqlError NestedAggregate(Position at) {
  return {130, kUser,
          "Cannot perform an aggregate function on an expression containing an aggregate or a "
          "subquery.",
          at};
}

SqlError InvalidOperand(TextView type, TextView what, Position at) {
  return {8117, kUser, "Operand data type " + U(type) + " is invalid for " + U(what) + " operator.",
          at};
}

SqlError IncompatibleTypes(TextView left, TextView right, TextView what, Position at) {
  return {402, kUser,
          "The data types " + U(left) + " and " + U(right) + " are incompatible in the " + U(what) +
              " operator.",
          at};
}

SqlError InvalidArgument(TextView type, int argument, TextView function, Position at) {
  return {8116, kUser,
          "Argument data type " + U(type) + " is invalid for argument " + N(argument) + " of " +
              U(function) + " function.",
          at};
}

SqlError ArgumentCount(TextView function, int least, int most, Position at) {
  if (least == most) {
    return {174, kSyntax, "The " + U(function) + " function requires " + N(least) + " argument(s).",
            at};
  }
  return {
      189, kSyntax,
      "The " + U(function) + " function requires " + N(least) + " to " + N(most) + " arguments.",
      at};
}

SqlError UnknownFunction(TextView name, Position at) {
  return {195, kSyntax, Q(name) + " is not a recognized built-in function name.", at};
}

SqlError UnknownDatePart(TextView name, TextView function, Position at) {
  return {155, kSyntax, Q(name) + " is not a recognized " + U(function) + " option.", at};
}

SqlError UnionColumnCount(Position at) {
  return {205, kUser,
          "All queries combined using a UNION, INTERSECT or EXCEPT operator must have an equal "
          "number of expressions in their target lists.",
          at};
}

SqlError OrderByNotInUnion(Position at) {
  return {104, kUser,
          "ORDER BY items must appear in the select list if the statement contains a UNION, "
          "INTERSECT or EXCEPT operator.",
          at};
}

SqlError OrderByNotInDistinct(Position at) {
  return {145, kSyntax,
          "ORDER BY items must appear in the select list if SELECT DISTINCT is specified.", at};
}

SqlError OrderByOrdinal(std::int64_t ordinal, Position at) {
  return {108, kSyntax,
          "The ORDER BY position number " + N(ordinal) +
              " is out of range of the number of items in the select list.",
          at};
}

SqlError ConstantInOrderBy(std::int64_t item, Position at) {
  return {408, kUser,
          "A constant expression was encountered in the ORDER BY list, position " + N(item) + ".",
          at};
}

SqlError VariableInOrderBy(std::int64_t item, Position at) {
  return {1008, kUser,
          "The SELECT item identified by the ORDER BY number " + N(item) +
              " contains a variable as part of the expression identifying a column position. "
              "Variables are only allowed when ordering by an expression referencing a column "
              "name.",
          at};
}

SqlError OrderByInSubquery(Position at) {
  return {1033, kSyntax,
          "The ORDER BY clause is invalid in views, inline functions, derived tables, subqueries, "
          "and common table expressions, unless TOP, OFFSET or FOR XML is also specified.",
          at};
}

SqlError OneExpressionInSubquery(Position at) {
  return {116, kUser,
          "Only one expression can be specified in the select list when the subquery is not "
          "introduced with EXISTS.",
          at};
}

SqlError MoreThanOneRow() {
  return {512, kUser,
          "Subquery returned more than 1 value. This is not permitted when the subquery follows =, "
          "!=, <, <= , >, >= or when the subquery is used as an expression."};
}

SqlError MustDeclare(TextView variable, Position at) {
  return {137, kSyntax, "Must declare the scalar variable \"" + U(variable) + "\".", at};
}

SqlError DeclaredTwice(TextView variable, Position at) {
  return {134, kSyntax,
          "The variable name " + Q(variable) +
              " has already been declared. Variable names must be unique within a query batch or "
              "stored procedure.",
          at};
}

SqlError AssignmentWithRows(Position at) {
  return {141, kSyntax,
          "A SELECT statement that assigns a value to a variable must not be combined with "
          "data-retrieval operations.",
          at};
}

SqlError InsertCount(bool more_columns, Position at) {
  if (more_columns) {
    return {109, kSyntax,
            "There are more columns in the INSERT statement than values specified in the VALUES "
            "clause. The number of values in the VALUES clause must match the number of columns "
            "specified in the INSERT statement.",
            at};
  }
  return {110, kSyntax,
          "There are fewer columns in the INSERT statement than values specified in the VALUES "
          "clause. The number of values in the VALUES clause must match the number of columns "
          "specified in the INSERT statement.",
          at};
}

SqlError InsertSelectCount(bool more_items, Position at) {
  if (more_items) {
    return {121, kSyntax,
            "The select list for the INSERT statement contains more items than the insert list. "
            "The number of SELECT values must match the number of INSERT columns.",
            at};
  }
  return {120, kSyntax,
          "The select list for the INSERT statement contains fewer items than the insert list. The "
          "number of SELECT values must match the number of INSERT columns.",
          at};
}

SqlError TableValueCount(Position at) {
  return {213, kUser, "Column name or number of supplied values does not match table definition.",
          at};
}

SqlError ColumnTwice(TextView column, Position at) {
  return {264, kUser,
          "The column name " + Q(column) +
              " is specified more than once in the SET clause or column list of an INSERT. A "
              "column cannot be assigned more than one value in the same clause.",
          at};
}

SqlError NullNotAllowed(TextView column, TextView table, bool insert) {
  return {515, kUser,
          "Cannot insert the value NULL into column " + Q(column) + ", table " + Q(table) +
              "; column does not allow nulls. " + (insert ? "INSERT" : "UPDATE") + " fails."};
}

SqlError DuplicateKey(TextView table, bool primary) {
  return {2627, 14,
          std::string("Violation of ") + (primary ? "PRIMARY" : "UNIQUE") +
              " KEY constraint. Cannot insert duplicate key in object " + Q(table) + "."};
}

SqlError DuplicateIndexKey(TextView table, TextView index) {
  return {1505, kUser,
          "The CREATE UNIQUE INDEX statement terminated because a duplicate key was found for the "
          "object name " +
              Q(table) + " and the index name " + Q(index) + "."};
}

SqlError StarWithoutFrom(Position at) {
  return {263, kUser, "Must specify table to select from.", at};
}

SqlError NotUpdatable(TextView view, Position at) {
  return {4405, kUser, "View or function " + Q(view) + " is not updatable.", at};
}

SqlError FloatOutOfRange(TextView literal, Position at) {
  return {168, kSyntax,
          "The floating point value " + Q(literal) +
              " is out of the range of computer representation (8 bytes).",
          at};
}

SqlError NumberOutOfRange(TextView literal, Position at) {
  return {1007, kSyntax,
          "The number " + Q(literal) +
              " is out of the range for numeric representation (maximum precision " +
              N(kMostDigits) + ").",
          at};
}

SqlError AmbiguousTarget(TextView table, Position at) {
  return {8154, kSyntax, "The table " + Q(table) + " is ambiguous.", at};
}

SqlError CaseOfNulls(Position at) {
  return {8133, kUser,
          "At least one of the result expressions in a CASE specification must be an expression "
          "other than the NULL constant.",
          at};
}

SqlError ImplicitConversion(TextView source, TextView target, Position at) {
  return {257, kUser,
          "Implicit conversion from data type " + U(source) + " to " + U(target) +
              " is not allowed. Use the CONVERT function to run this query.",
          at};
}

SqlError TypeClash(TextView source, TextView target, Position at) {
  return {206, kUser, "Operand type clash: " + U(source) + " is incompatible with " + U(target),
          at};
}

SqlError NullIfOfNull(Position at) {
  return {4151, kUser,
          "The type of the first argument to NULLIF cannot be the NULL constant because the type "
          "of the first argument has to be known.",
          at};
}

SqlError ScaleTooLarge(std::int64_t scale, Position at) {
  return {1002, kSyntax, "Line " + N(at.line) + ": Specified scale " + N(scale) + " is invalid.",
          at};
}

SqlError DatePartUnsupported(TextView part, TextView function, TextView type, Position at) {
  const bool difference = function == u"datediff";
  return {difference ? 9806 : 9810, kUser,
          "The datepart " + U(part) + " is not supported by date function " + U(function) +
              (difference ? "." : " for data type " + U(type) + "."),
          at};
}

SqlError ExplicitRowVersion(Position at) {
  return {273, kUser,
          "Cannot insert an explicit value into a timestamp column. Use INSERT with a column list "
          "to exclude the timestamp column, or insert a DEFAULT into the timestamp column.",
          at};
}

SqlError RowVersionUpdated(Position at) {
  return {272, kUser, "Cannot update a timestamp column.", at};
}

SqlError SecondRowVersion(TextView table, TextView column, Position at) {
  return {2738, kUser,
          "A table can only have one timestamp column. Because table " + Q(table) +
              " already has one, the column " + Q(column) + " cannot be added.",
          at};
}

SqlError ExplicitConversion(TextView source, TextView target, Position at) {
  return {
      529, kUser,
      "Explicit conversion from data type " + U(source) + " to " + U(target) + " is not allowed.",
      at};
}

SqlError Cancelled() { return {0, 11, "Operation cancelled by user."}; }

SqlError OutOfMemory() {
  return {701, 17, "There is insufficient system memory to run this query."};
}

SqlError Internal(const std::string& what) {
  return {8624, kUser, "Internal error of the embedded database: " + what + "."};
}

SqlError VariableNotAllowed(TextView statement, Position at) {
  return {112, kSyntax, "Variables are not allowed in the " + U(statement) + " statement.", at};
}

SqlError TooComplex(const std::string& message, Position at) {
  return {8631, 17, "The statement is too complex for the embedded database: " + message + ".", at};
}

}  // namespace ledgerwick::tsql::errors
