// The one table of the server's errors: number, severity, reach, the platform's result code, text.
// The factories of errors.h are made from it; nothing else builds an error.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <string>
#include <string_view>

#include "frame/error.h"
#include "tsql/base/errors.h"

namespace ledgerwick::tsql {

// One text of an error. Several texts of one number stand one behind the other.
struct ErrorRow {
  std::int32_t number;
  std::int32_t severity;  // mistakes in the text are 15, all else that a user can mend 16
  Reach reach;            // where nothing catches the error
  std::int32_t result;    // what ADO gives for it
  std::string_view text;  // with %1 to %9 for what the factory fills in
};

namespace error_table {

using enum Reach;
constexpr std::int32_t kSyntax = kErrorSyntaxOrAccess;

// A row is a line, or its text goes on below it.
// clang-format off
inline constexpr ErrorRow kErrors[] = {
    {0, 11, Batch, kSyntax, "Operation cancelled by user."},
    {102, 15, Frame, kSyntax, "Incorrect syntax near '%1'."},
    {104, 16, Frame, kSyntax,
     "ORDER BY items must appear in the select list if the statement contains a UNION, INTERSECT "
     "or EXCEPT operator."},
    {105, 15, Frame, kSyntax, "Unclosed quotation mark after the character string '%1'."},
    {107, 15, Frame, kSyntax,
     "The column prefix '%1' does not match with a table name or alias name used in the query."},
    {108, 15, Frame, kSyntax,
     "The ORDER BY position number %1 is out of range of the number of items in the select list."},
    {109, 15, Frame, kSyntax,
     "There are more columns in the INSERT statement than values specified in the VALUES clause. "
     "The number of values in the VALUES clause must match the number of columns specified in "
     "the INSERT statement."},
    {110, 15, Frame, kSyntax,
     "There are fewer columns in the INSERT statement than values specified in the VALUES "
     "clause. The number of values in the VALUES clause must match the number of columns "
     "specified in the INSERT statement."},
    {111, 15, Frame, kSyntax,
     "'CREATE/ALTER PROCEDURE' must be the first statement in a query batch. Put GO before it."},
    {112, 15, Frame, kSyntax, "Variables are not allowed in the %1 statement."},
    {113, 15, Frame, kSyntax, "Missing end comment mark '*/'."},
    {116, 16, Frame, kSyntax,
     "Only one expression can be specified in the select list when the subquery is not "
     "introduced with EXISTS."},
    {119, 15, Frame, kSyntax,
     "Must pass parameter number %1 and subsequent parameters as '@name = value'. After the form "
     "'@name = value' has been used, all subsequent parameters must be passed in the form '@name "
     "= value'."},
    {120, 15, Frame, kSyntax,
     "The select list for the INSERT statement contains fewer items than the insert list. The "
     "number of SELECT values must match the number of INSERT columns."},
    {121, 15, Frame, kSyntax,
     "The select list for the INSERT statement contains more items than the insert list. The "
     "number of SELECT values must match the number of INSERT columns."},
    {130, 16, Frame, kSyntax,
     "Cannot perform an aggregate function on an expression containing an aggregate or a "
     "subquery."},
    {131, 15, Frame, kSyntax,
     "The size (%1) given to the type '%2' exceeds the maximum allowed for any data type (%3)."},
    {134, 15, Frame, kSyntax,
     "The variable name '%1' has already been declared. Variable names must be unique within a "
     "query batch or stored procedure."},
    {135, 15, Frame, kSyntax,
     "Cannot use a BREAK statement outside the scope of a WHILE statement."},
    {136, 15, Frame, kSyntax,
     "Cannot use a CONTINUE statement outside the scope of a WHILE statement."},
    {137, 15, Frame, kSyntax, "Must declare the scalar variable \"%1\"."},
    {141, 15, Frame, kSyntax,
     "A SELECT statement that assigns a value to a variable must not be combined with "
     "data-retrieval operations."},
    {144, 15, Frame, kSyntax,
     "Cannot use an aggregate or a subquery in an expression used for the group by list of a "
     "GROUP BY clause."},
    {145, 15, Frame, kSyntax,
     "ORDER BY items must appear in the select list if SELECT DISTINCT is specified."},
    {147, 15, Frame, kSyntax,
     "An aggregate may not appear in the WHERE clause unless it is in a subquery contained in a "
     "HAVING clause or a select list, and the column being aggregated is an outer reference."},
    {155, 15, Frame, kSyntax, "'%1' is not a recognized %2 option."},
    {156, 15, Frame, kSyntax, "Incorrect syntax near the keyword '%1'."},
    {164, 15, Frame, kSyntax,
     "Each GROUP BY expression must contain at least one column that is not an outer reference."},
    {168, 15, Frame, kSyntax,
     "The floating point value '%1' is out of the range of computer representation (8 bytes)."},
    {174, 15, Frame, kSyntax, "The %1 function requires %2 argument(s)."},
    {178, 15, Frame, kSyntax,
     "A RETURN statement with a return value cannot be used in this context."},
    {179, 15, Frame, kSyntax,
     "Cannot use the OUTPUT option when passing a constant to a stored procedure."},
    {189, 15, Frame, kSyntax, "The %1 function requires %2 to %3 arguments."},
    {191, 15, Frame, kSyntax,
     "Some part of your SQL statement is nested too deeply. Rewrite the query or break it up "
     "into smaller queries."},
    {195, 15, Frame, kSyntax, "'%1' is not a recognized built-in function name."},
    {201, 16, Statement, kSyntax,
     "Procedure or function '%1' expects parameter '%2', which was not supplied."},
    {205, 16, Frame, kSyntax,
     "All queries combined using a UNION, INTERSECT or EXCEPT operator must have an equal number "
     "of expressions in their target lists."},
    {206, 16, Frame, kSyntax, "Operand type clash: %1 is incompatible with %2"},
    {207, 16, Frame, kSyntax, "Invalid column name '%1'."},
    {208, 16, Frame, kErrorNoTable, "Invalid object name '%1'."},
    {209, 16, Frame, kSyntax, "Ambiguous column name '%1'."},
    {213, 16, Frame, kSyntax,
     "Column name or number of supplied values does not match table definition."},
    {217, 16, Batch, kSyntax,
     "Maximum stored procedure, function, trigger, or view nesting level exceeded (limit 32)."},
    {220, 16, Statement, kErrorArithmetic,
     "Arithmetic overflow error for data type %1, value = %2."},
    {232, 16, Statement, kErrorArithmetic, "Arithmetic overflow error for type %1, value = %2."},
    {234, 16, Batch, kErrorConversion,
     "There is insufficient result space to convert a money value to %1."},
    {235, 16, Batch, kErrorConversion,
     "Cannot convert a char value to money. The char value has incorrect syntax."},
    {241, 16, Batch, kErrorConversion,
     "Conversion failed when converting date and/or time from character string."},
    {242, 16, Batch, kErrorConversion,
     "The conversion of a %1 data type to a %2 data type resulted in an out-of-range value."},
    {244, 16, Batch, kErrorArithmetic,
     "The conversion of the %1 value '%2' overflowed an %3 column. Use a larger integer column."},
    {245, 16, Batch, kErrorConversion,
     "Conversion failed when converting the %1 value '%2' to data type %3."},
    {248, 16, Batch, kErrorArithmetic,
     "The conversion of the %1 value '%2' overflowed an int column."},
    {257, 16, Frame, kSyntax,
     "Implicit conversion from data type %1 to %2 is not allowed. Use the CONVERT function to "
     "run this query."},
    {262, 14, Frame, kSyntax,
     "CREATE permission denied for '%1': names that begin with ledgerwick_ or sqlite_ are the "
     "database's own."},
    {263, 16, Frame, kSyntax, "Must specify table to select from."},
    {264, 16, Frame, kSyntax,
     "The column name '%1' is specified more than once in the SET clause or column list of an "
     "INSERT. A column cannot be assigned more than one value in the same clause."},
    {266, 16, Statement, kSyntax,
     "Transaction count after EXECUTE indicates a mismatching number of BEGIN and COMMIT "
     "statements. Previous count = %1, current count = %2."},
    {271, 16, Frame, kSyntax,
     "The column \"%1\" cannot be modified because it is either a computed column or is the "
     "result of a UNION operator."},
    {272, 16, Frame, kSyntax, "Cannot update a timestamp column."},
    {273, 16, Frame, kSyntax,
     "Cannot insert an explicit value into a timestamp column. Use INSERT with a column list to "
     "exclude the timestamp column, or insert a DEFAULT into the timestamp column."},
    {281, 16, Statement, kSyntax,
     "%1 is not a valid style number when converting from %2 to a character string."},
    {402, 16, Frame, kSyntax, "The data types %1 and %2 are incompatible in the %3 operator."},
    {408, 16, Frame, kSyntax,
     "A constant expression was encountered in the ORDER BY list, position %1."},
    {448, 16, Frame, kSyntax,
     "Invalid collation 'Chinese_PRC_CI_AS': ICU cannot order Chinese text (%1). Check that ICU "
     "is installed with its data, and that ICU_DATA is not set."},
    {448, 16, Frame, kSyntax,
     "Invalid collation '%1'. Texts of the embedded database compare by Chinese_PRC_CI_AS: name it, "
     "database_default or another collation that ends in _CI_AS."},
    {506, 16, Frame, kSyntax,
     "The invalid escape character \"%1\" was specified in a LIKE predicate."},
    {512, 16, Statement, kSyntax,
     "Subquery returned more than 1 value. This is not permitted when the subquery follows =, "
     "!=, <, <= , >, >= or when the subquery is used as an expression."},
    {515, 16, Statement, kErrorIntegrity,
     "Cannot insert the value NULL into column '%1', table '%2'; column does not allow nulls. "
     "INSERT fails."},
    {515, 16, Statement, kErrorIntegrity,
     "Cannot insert the value NULL into column '%1', table '%2'; column does not allow nulls. "
     "UPDATE fails."},
    {517, 16, Statement, kErrorArithmetic, "Adding a value to a '%1' column caused an overflow."},
    {529, 16, Frame, kSyntax, "Explicit conversion from data type %1 to %2 is not allowed."},
    {535, 16, Statement, kErrorArithmetic,
     "The datediff function resulted in an overflow. The number of dateparts separating two "
     "date/time instances is too large. Try to use datediff with a less precise datepart."},
    {536, 16, Statement, kSyntax, "Invalid length parameter passed to the %1 function."},
    {537, 16, Statement, kSyntax,
     "Invalid length parameter passed to the LEFT or SUBSTRING function."},
    {544, 16, Statement, kErrorIntegrity,
     "Cannot insert explicit value for identity column in table '%1' when IDENTITY_INSERT is set "
     "to OFF."},
    {545, 16, Statement, kErrorIntegrity,
     "Explicit value must be specified for identity column in table '%1' either when "
     "IDENTITY_INSERT is set to ON or when a replication user is inserting into a NOT FOR "
     "REPLICATION identity column."},
    {547, 16, Statement, kErrorIntegrity,
     "The %1 statement conflicted with the %2 constraint \"%3\". The conflict occurred in database "
     "\"%4\", table \"dbo.%5\", column '%6'."},
    {547, 16, Statement, kErrorIntegrity,
     "The %1 statement conflicted with the %2 constraint \"%3\". The conflict occurred in database "
     "\"%4\", table \"dbo.%5\"."},
    {628, 16, Statement, kSyntax,
     "Cannot issue SAVE TRANSACTION when there is no active transaction."},
    {701, 17, Batch, kErrorFailed, "There is insufficient system memory to run this query."},
    {823, 24, Batch, kErrorFailed, "The storage failed: %1."},
    {824, 24, Batch, kErrorFailed,
     "The database file '%1' is damaged. Nothing has been changed in it; restore it from a "
     "backup."},
    {824, 24, Batch, kErrorFailed,
     "The tempdb '%1' is damaged; the database itself is not concerned. Tempdb is made anew when "
     "nobody else uses the database: end what uses it and try again."},
    {911, 16, Frame, kSyntax,
     "Database '%1' does not exist. Make sure that the name is entered correctly."},
    {1002, 15, Frame, kSyntax, "Line %1: Specified scale %2 is invalid."},
    {1007, 15, Frame, kSyntax,
     "The number '%1' is out of the range for numeric representation (maximum precision 38)."},
    {1008, 16, Frame, kSyntax,
     "The SELECT item identified by the ORDER BY number %1 contains a variable as part of the "
     "expression identifying a column position. Variables are only allowed when ordering by an "
     "expression referencing a column name."},
    {1013, 16, Frame, kSyntax,
     "The objects \"%1\" and \"%1\" in the FROM clause have the same exposed names. Use "
     "correlation names to distinguish them."},
    {1033, 15, Frame, kSyntax,
     "The ORDER BY clause is invalid in views, inline functions, derived tables, subqueries, and "
     "common table expressions, unless TOP, OFFSET or FOR XML is also specified."},
    {1038, 15, Frame, kSyntax,
     "An object or column name is missing or empty. For SELECT INTO statements, verify each "
     "column has a name (column %1 has none). For other statements, look for empty alias names. "
     "Aliases defined as \"\" or [] are not allowed. Change the alias to a valid name."},
    {1046, 15, Frame, kSyntax,
     "Subqueries are not allowed in this context. Only scalar expressions are allowed."},
    {1055, 15, Frame, kSyntax,
     "'%1' is an invalid name because it contains a NULL character or an invalid unicode "
     "character."},
    {1105, 17, Batch, kErrorFailed,
     "Could not allocate space in '%1' because %2. The statement has had no effect; free some "
     "space and try again."},
    {1222, 16, Batch, kErrorFailed,
     "Lock request time out period exceeded. %1 has been writing to %2 for more than %3 seconds; "
     "try again when it has finished."},
    {1222, 16, Batch, kErrorFailed,
     "Lock request time out period exceeded. Another process has been replacing '%1' or its "
     "tempdb for more than %2 seconds; try again when it has finished."},
    {1222, 16, Batch, kErrorFailed,
     "The indexes of '%1' have text in the order of another version, and are rebuilt when nobody "
     "else uses the database. End what uses it and try again."},
    {1223, 16, Statement, kSyntax,
     "Cannot release the application lock (Database Principal: '%1', Resource: '%2') because it is "
     "not currently held."},
    {1224, 16, Statement, kSyntax, "An invalid application lock resource was passed to %1."},
    {1225, 16, Statement, kSyntax, "An invalid application lock mode was passed to %1."},
    {1226, 16, Statement, kSyntax, "An invalid application lock owner was passed to %1."},
    {1227, 16, Statement, kSyntax, "An invalid application lock time-out was passed to %1."},
    {1230, 16, Statement, kSyntax, "An invalid database principal was passed to %1."},
    {1505, 16, Statement, kSyntax,
     "The CREATE UNIQUE INDEX statement terminated because a duplicate key was found for the "
     "object name 'dbo.%1' and the index name '%2'. The duplicate key value is %3."},
    {1754, 16, Frame, kSyntax,
     "Defaults cannot be created on columns with an IDENTITY attribute. Table '%1', column '%2'."},
    {1755, 16, Frame, kSyntax,
     "Defaults cannot be created on columns of data type timestamp. Table '%1', column '%2'."},
    {1763, 16, Frame, kSyntax,
     "Cross-database foreign key references are not supported. Foreign key '%1'."},
    {1767, 16, Frame, kSyntax, "Foreign key '%1' references invalid table '%2'."},
    {1769, 16, Frame, kSyntax,
     "Foreign key '%1' references invalid column '%2' in referencing table '%3'."},
    {1770, 16, Frame, kSyntax,
     "Foreign key '%1' references invalid column '%2' in referenced table '%3'."},
    {1773, 16, Frame, kSyntax,
     "Foreign key '%1' has implicit reference to object '%2' which does not have a primary key "
     "defined on it."},
    {1776, 16, Frame, kSyntax,
     "There are no primary or candidate keys in the referenced table '%1' that match the "
     "referencing column list in the foreign key '%2'."},
    {1778, 16, Frame, kSyntax,
     "Column '%1.%2' is not the same data type as referencing column '%3.%4' in foreign key "
     "'%5'."},
    {1779, 16, Frame, kSyntax, "Table '%1' already has a primary key defined on it."},
    {1781, 16, Frame, kSyntax, "Column already has a DEFAULT bound to it."},
    {1785, 16, Frame, kSyntax,
     "Introducing FOREIGN KEY constraint '%1' on table '%2' may cause cycles or multiple cascade "
     "paths. Specify ON DELETE NO ACTION or ON UPDATE NO ACTION, or modify other FOREIGN KEY "
     "constraints."},
    {1913, 16, Frame, kSyntax,
     "The operation failed because an index or statistics with name '%1' already exists on table "
     "'%2'."},
    {2601, 14, Statement, kErrorIntegrity,
     "Cannot insert duplicate key row in object 'dbo.%1' with unique index '%2'. The duplicate "
     "key value is %3."},
    {2627, 14, Statement, kErrorIntegrity,
     "Violation of PRIMARY KEY constraint '%1'. Cannot insert duplicate key in object 'dbo.%2'. "
     "The duplicate key value is %3."},
    {2627, 14, Statement, kErrorIntegrity,
     "Violation of UNIQUE KEY constraint '%1'. Cannot insert duplicate key in object 'dbo.%2'. "
     "The duplicate key value is %3."},
    {2627, 14, Statement, kErrorIntegrity, "Violation of a constraint of the storage's."},
    {2705, 16, Frame, kSyntax,
     "Column names in each table must be unique. Column name '%1' in table '%2' is specified "
     "more than once."},
    {2714, 16, Frame, kSyntax, "There is already an object named '%1' in the database."},
    {2715, 16, Frame, kSyntax, "Cannot find data type %1."},
    {2738, 16, Frame, kSyntax,
     "A table can only have one timestamp column. Because table '%1' already has one, the column "
     "'%2' cannot be added."},
    {2739, 16, Frame, kSyntax,
     "The text, ntext, and image data types are invalid for local variables. Use varchar(max) or "
     "nvarchar(max)."},
    {2740, 16, Frame, kSyntax,
     "SET LANGUAGE failed because '%1' is not an official name or a language alias on this SQL "
     "Server."},
    {2741, 16, Frame, kSyntax, "SET DATEFORMAT date order '%1' is invalid."},
    {2742, 16, Frame, kSyntax, "SET DATEFIRST %1 is out of range."},
    {2744, 16, Frame, kSyntax,
     "Multiple identity columns specified for table '%1'. Only one identity column per table is "
     "allowed."},
    {2747, 16, Frame, kSyntax,
     "Too many substitution parameters for RAISERROR. Cannot exceed 20 substitution parameters."},
    {2749, 16, Frame, kSyntax,
     "Identity column '%1' must be of data type int, bigint, smallint, tinyint, or decimal or "
     "numeric with a scale of 0, unencrypted, and constrained to be nonnullable."},
    {2754, 16, Statement, kSyntax,
     "Error severity levels greater than 18 can only be specified by members of the sysadmin "
     "role, using the WITH LOG option."},
    {2786, 16, Frame, kSyntax,
     "The data type of substitution parameter %1 does not match the expected type of the format "
     "specification."},
    {2787, 16, Frame, kSyntax, "Invalid format specification: '%1'."},
    {2812, 16, Statement, kSyntax, "Could not find stored procedure '%1'."},
    {3623, 16, Statement, kErrorArithmetic, "An invalid floating point operation occurred."},
    {3701, 11, Statement, kErrorNoTable,
     "Cannot drop the %1 '%2', because it does not exist or you do not have permission."},
    {3705, 16, Statement, kSyntax,
     "Cannot use DROP %1 with '%2' because '%2' is a %3. Use DROP %4."},
    {3725, 16, Frame, kSyntax,
     "The constraint '%1' is being referenced by table '%2', foreign key constraint '%3'."},
    {3726, 16, Frame, kSyntax,
     "Could not drop object '%1' because it is referenced by a FOREIGN KEY constraint."},
    {3728, 16, Frame, kSyntax, "'%1' is not a constraint."},
    {3902, 16, Statement, kSyntax,
     "The COMMIT TRANSACTION request has no corresponding BEGIN TRANSACTION."},
    {3903, 16, Statement, kSyntax,
     "The ROLLBACK TRANSACTION request has no corresponding BEGIN TRANSACTION."},
    {3906, 16, Batch, kSyntax, "Failed to update database '%1' because the database is read-only."},
    {3918, 16, Statement, kSyntax,
     "The statement or function must be executed in the context of a user transaction."},
    {4060, 11, Batch, kErrorFailed, "Cannot %1 database '%2': %3"},
    {4104, 16, Frame, kSyntax, "The multi-part identifier \"%1\" could not be bound."},
    {4145, 15, Frame, kSyntax,
     "An expression of non-boolean type specified in a context where a condition is expected, "
     "near '%1'."},
    {4151, 16, Frame, kSyntax,
     "The type of the first argument to NULLIF cannot be the NULL constant because the type of "
     "the first argument has to be known."},
    {4405, 16, Frame, kSyntax, "View or function '%1' is not updatable."},
    {4508, 16, Frame, kSyntax,
     "Views or functions are not allowed on temporary tables. Table names that begin with '#' "
     "denote temporary tables."},
    {4511, 16, Frame, kSyntax,
     "Create View or Function failed because no column name was specified for column %1."},
    {4701, 16, Frame, kSyntax,
     "Cannot find the object \"%1\" because it does not exist or you do not have permissions."},
    {4712, 16, Frame, kSyntax,
     "Cannot truncate table '%1' because it is being referenced by a FOREIGN KEY constraint."},
    {4901, 16, Frame, kSyntax,
     "ALTER TABLE only allows columns to be added that can contain nulls, or have a DEFAULT "
     "definition specified. Column '%1' cannot be added to table '%2' because it does not "
     "satisfy these conditions."},
    {4909, 16, Frame, kSyntax, "Cannot alter '%1' because it is not a table."},
    {4917, 16, Frame, kSyntax, "Constraint '%1' does not exist."},
    {4922, 16, Frame, kSyntax,
     "The object '%3' is dependent on column '%2'. ALTER TABLE %1 %2 failed because one or more "
     "objects access this column."},
    {4924, 16, Frame, kSyntax,
     "ALTER TABLE %1 failed because column '%2' does not exist in table '%3'."},
    {4928, 16, Frame, kSyntax, "Cannot alter column '%1' because it is '%2'."},
    {6401, 16, Statement, kSyntax,
     "Cannot roll back %1. No transaction or savepoint of that name was found."},
    {7997, 16, Frame, kSyntax, "'%1' does not contain an identity column."},
    {8101, 16, Frame, kSyntax,
     "An explicit value for the identity column in table '%1' can only be specified when a column "
     "list is used and IDENTITY_INSERT is ON."},
    {8102, 16, Frame, kSyntax, "Cannot update identity column '%1'."},
    {8106, 16, Frame, kSyntax,
     "Table '%1' does not have the identity property. Cannot perform SET operation."},
    {8107, 16, Frame, kSyntax,
     "IDENTITY_INSERT is already ON for table '%1'. Cannot perform SET operation for table "
     "'%2'."},
    {8110, 16, Frame, kSyntax, "Cannot add multiple PRIMARY KEY constraints to table '%1'."},
    {8111, 16, Frame, kSyntax,
     "Cannot define PRIMARY KEY constraint on nullable column in table '%1'."},
    {8114, 16, Batch, kErrorConversion, "Error converting data type %1 to %2."},
    {8115, 16, Statement, kErrorArithmetic,
     "Arithmetic overflow error converting %1 to data type %2."},
    {8116, 16, Frame, kSyntax, "Argument data type %1 is invalid for argument %2 of %3 function."},
    {8117, 16, Frame, kSyntax, "Operand data type %1 is invalid for %2 operator."},
    {8120, 16, Frame, kSyntax,
     "Column '%1' is invalid in the select list because it is not contained in either an "
     "aggregate function or the GROUP BY clause."},
    {8121, 16, Frame, kSyntax,
     "Column '%1' is invalid in the HAVING clause because it is not contained in either an "
     "aggregate function or the GROUP BY clause."},
    {8127, 16, Frame, kSyntax,
     "Column '%1' is invalid in the ORDER BY clause because it is not contained in either an "
     "aggregate function or the GROUP BY clause."},
    {8133, 16, Frame, kSyntax,
     "At least one of the result expressions in a CASE specification must be an expression other "
     "than the NULL constant."},
    {8134, 16, Statement, kErrorArithmetic, "Divide by zero error encountered."},
    {8139, 16, Frame, kSyntax,
     "Number of referencing columns in foreign key differs from number of referenced columns, "
     "table '%1'."},
    {8143, 16, Statement, kSyntax, "Parameter '%1' was supplied multiple times for procedure %2."},
    {8144, 16, Statement, kSyntax, "Procedure or function %1 has too many arguments specified."},
    {8145, 16, Statement, kSyntax, "%1 is not a parameter for procedure %2."},
    {8147, 16, Frame, kSyntax,
     "Could not create IDENTITY attribute on nullable column '%1', table '%2'."},
    {8152, 16, Statement, kErrorArithmetic, "String or binary data would be truncated."},
    {8154, 15, Frame, kSyntax, "The table '%1' is ambiguous."},
    {8155, 16, Frame, kSyntax, "No column name was specified for column %1 of '%2'."},
    {8156, 16, Frame, kSyntax, "The column '%1' was specified multiple times for '%2'."},
    {8158, 16, Frame, kSyntax, "'%1' has more columns than were specified in the column list."},
    {8159, 16, Frame, kSyntax, "'%1' has fewer columns than were specified in the column list."},
    {8162, 16, Statement, kSyntax,
     "The formal parameter \"%1\" was not declared as an OUTPUT parameter, but the actual "
     "parameter passed in requested output."},
    {8169, 16, Batch, kErrorConversion,
     "Conversion failed when converting from a character string to uniqueidentifier."},
    {8170, 16, Batch, kSyntax,
     "Insufficient result space to convert uniqueidentifier value to char."},
    {8624, 16, Frame, kSyntax, "Internal error of the embedded database: %1."},
    {8631, 17, Batch, kErrorFailed, "The statement is too complex for the embedded database: %1."},
    {9806, 16, Frame, kSyntax, "The datepart %1 is not supported by date function %2."},
    {9810, 16, Frame, kSyntax,
     "The datepart %1 is not supported by date function %2 for data type %3."},
    {10704, 15, Batch, kSyntax,
     "To rethrow an error, a THROW statement must be used inside a CATCH block. Insert the THROW "
     "statement inside a CATCH block, or add error parameters to the THROW statement."},
    {18054, 16, Statement, kSyntax,
     "Error %1, severity %2, state %3 was raised, but no message with that error number was "
     "found in sys.messages."},
    {35100, 16, Batch, kSyntax,
     "Error number %1 in the THROW statement is outside the valid range. Specify an error number "
     "in the valid range of 50000 to 2147483647."},
    {40517, 16, Frame, kSyntax,
     "Keyword or statement option '%1' is not supported. The embedded database behaves as after "
     "SET %2."},
    {40517, 16, Frame, kSyntax, "Keyword or statement option '%1' is not supported."},
    {50000, 16, Statement, kSyntax, "%1"},
};
// clang-format on

// The row of the `variant`-th text of `number`; a number that the table lacks does not compile.
constexpr std::size_t Find(std::int32_t number, std::size_t variant) {
  std::size_t row = 0;
  while (row < std::size(kErrors) && kErrors[row].number != number) ++row;
  row += variant;
  return row < std::size(kErrors) && kErrors[row].number == number ? row : throw "no such error";
}

// How many parts `text` is filled with.
constexpr std::size_t PartsOf(std::string_view text) {
  std::size_t parts = 0;
  for (std::size_t at = text.find('%'); at != std::string_view::npos; at = text.find('%', at + 1)) {
    parts = std::max(parts, static_cast<std::size_t>(text.at(at + 1) - '0'));
  }
  return parts;
}

// True when the numbers ascend and the texts of one number differ in nothing else.
constexpr bool IsSound() {
  for (std::size_t i = 1; i < std::size(kErrors); ++i) {
    const ErrorRow& a = kErrors[i - 1];
    const ErrorRow& b = kErrors[i];
    if (a.number > b.number) return false;
    const bool alike = a.severity == b.severity && a.reach == b.reach && a.result == b.result;
    if (a.number == b.number && !alike) return false;
  }
  return true;
}
static_assert(IsSound());

// The parts in UTF-8: names, texts and numbers.
inline std::string Part(TextView text) { return ToUtf8(text); }
inline std::string Part(const Text& text) { return ToUtf8(text); }
inline std::string Part(std::string_view text) { return std::string(text); }
inline std::string Part(const std::string& text) { return text; }
inline std::string Part(const char* text) { return text; }
inline std::string Part(std::int64_t number) { return std::to_string(number); }
inline std::string Part(std::int32_t number) { return std::to_string(number); }
inline std::string Part(std::size_t number) { return std::to_string(number); }

// `text` with its places filled.
inline std::string Fill(std::string_view text, const std::string* parts) {
  std::string filled;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '%') {
      filled += parts[text[++i] - '1'];
    } else {
      filled += text[i];
    }
  }
  return filled;
}

// The error of that number whose text is filled with `parts`.
template <std::int32_t kNumber, std::size_t kVariant = 0, typename... Parts>
SqlError Make(Position at, const Parts&... parts) {
  constexpr const ErrorRow& kRow = kErrors[Find(kNumber, kVariant)];
  static_assert(PartsOf(kRow.text) == sizeof...(Parts));
  const std::array<std::string, sizeof...(Parts) + 1> filled{Part(parts)...};
  return {kRow, Fill(kRow.text, filled.data()), at};
}

}  // namespace error_table
}  // namespace ledgerwick::tsql
