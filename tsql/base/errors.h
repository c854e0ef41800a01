// The server's errors: one named factory for each. Number, severity, reach, result code and text
// stand in error_table.h.
#pragma once

#include <chrono>
#include <cstdint>
#include <exception>
#include <string>
#include <string_view>

#include "frame/error.h"
#include "frame/text.h"

namespace ledgerwick::tsql {

// Where something stands in a batch: line and column count from 1, the column in characters.
struct Position {
  std::int32_t line = 0;
  std::int32_t column = 0;
};

// How far the effect of an error goes when nothing catches it.
enum class Reach : std::uint8_t {
  Statement,  // the next statement runs
  Frame,      // the procedure or the dynamic text ends, its caller goes on
  Batch,      // everything ends, an open transaction is rolled back
};

struct ErrorRow;  // error_table.h

// An error of the embedded server. The factories below make it.
struct SqlError : std::exception {
  SqlError(const ErrorRow& row, std::string message_utf8, Position where) noexcept;

  std::int32_t number;
  std::int32_t severity;
  Reach reach;
  std::int32_t result;  // the platform's result code
  std::string message;  // UTF-8
  Position position;    // line 0 where unknown
  std::int32_t state = 1;
  std::string procedure;    // that the position is in; empty for none
  bool in_text = false;     // the position is in a text that EXEC ran
  std::int32_t level = -1;  // the nesting of calls where it arose; -1 where unknown
  bool thrown = false;      // by THROW, which ends the batch

  const char* what() const noexcept override { return message.c_str(); }
};

// The error as the component sees it: the platform's result code with the server's text, its number
// in `native`.
DatabaseError ToDatabaseError(const SqlError& error);

namespace errors {

SqlError IncorrectSyntax(TextView near, Position at);            // 102
SqlError UnclosedQuote(TextView text, Position at);              // 105
SqlError MissingEndComment(Position at);                         // 113
SqlError IncorrectSyntaxKeyword(TextView keyword, Position at);  // 156
SqlError InvalidColumn(TextView name, Position at);              // 207
SqlError InvalidObject(TextView name, Position at);              // 208
SqlError AmbiguousColumn(TextView name, Position at);            // 209
SqlError DateConversion();                                       // 241
// A value of `source` that `target` ("datetime") cannot hold: 242
SqlError DateOutOfRange(const char* source = "varchar", const char* target = "datetime");
SqlError Overflow(TextView target);                             // 8115
SqlError OverflowFrom(const char* source, const char* target);  // 8115
SqlError ConvertDataType(TextView source, TextView target);     // 8114
SqlError DivideByZero();                                        // 8134
SqlError Truncated();                                           // 8152

// What values do.
SqlError ConversionFailed(std::string_view source, std::string_view text,
                          const char* target);  // 245
// The text is a number beyond `column`: "int", "INT1", "INT2".
SqlError IntegerColumnOverflow(std::string_view source, std::string_view text,
                               std::string_view column);                           // 244, 248
SqlError ValueOverflow(std::string_view target, const std::string& number);        // 220
SqlError FloatAsTextOverflow(std::string_view target, const std::string& number);  // 232
SqlError NoRoomForMoney(std::string_view target);                                  // 234
SqlError BadMoney();                                                               // 235
SqlError BadDateStyle(std::int32_t style, const char* source);                     // 281
SqlError BadEscape(std::string_view escape);                                       // 506
SqlError DateAddOverflow(const char* type);                                        // 517
SqlError DateDiffOverflow();                                                       // 535
SqlError InvalidLength(const char* function);                                      // 536
SqlError InvalidSubstringLength();                                                 // 537
SqlError InvalidFloatOperation();                                                  // 3623
SqlError FormatArgumentKind(std::size_t argument);                                 // 2786
SqlError FormatPlace(std::string_view place);                                      // 2787

// What the parser, the binder and the interpreter find.
SqlError NestedTooDeeply(Position at);                                                       // 191
SqlError ConditionExpected(TextView near, Position at);                                      // 4145
SqlError UnknownType(TextView name, Position at);                                            // 2715
SqlError TypeLength(TextView type, std::int64_t length, std::int64_t longest, Position at);  // 131
SqlError DuplicateExposedName(TextView name, Position at);                                   // 1013
SqlError ColumnNameMissing(std::size_t column, Position at);                                 // 1038
SqlError DerivedColumnNameMissing(std::size_t column, TextView table, Position at);          // 8155
SqlError ViewColumnNameMissing(std::size_t column, Position at);                             // 4511
SqlError DuplicateColumn(TextView column, TextView table, Position at);                      // 2705
SqlError DuplicateDerivedColumn(TextView column, TextView table, Position at);               // 8156
SqlError ColumnListLength(TextView table, bool more, Position at);                   // 8158, 8159
SqlError ObjectExists(TextView name, Position at);                                   // 2714
SqlError IndexExists(TextView index, TextView table, Position at);                   // 1913
SqlError CannotDrop(TextView what, TextView name, Position at);                      // 3701
SqlError WrongKindToDrop(TextView what, TextView name, TextView kind, Position at);  // 3705
SqlError CannotAlter(TextView name, Position at);                                    // 4909
SqlError NewColumnNotNull(TextView column, TextView table, Position at);             // 4901
SqlError CannotTruncate(TextView name, Position at);                                 // 4701
SqlError MultiPartUnbound(TextView name, Position at);                               // 4104
SqlError PrefixUnmatched(TextView prefix, Position at);                              // 107
SqlError NotGrouped(TextView column, bool in_having, bool in_order,
                    Position at);                                    // 8120, 8121, 8127
SqlError GroupByWithoutColumn(Position at);                          // 164
SqlError AggregateInGroupBy(Position at);                            // 144
SqlError AggregateInWhere(Position at);                              // 147
SqlError NestedAggregate(Position at);                               // 130
SqlError InvalidOperand(TextView type, TextView what, Position at);  // 8117
SqlError IncompatibleTypes(TextView left, TextView right, TextView what, Position at);  // 402
SqlError InvalidArgument(TextView type, int argument, TextView function, Position at);  // 8116
SqlError ArgumentCount(TextView function, int least, int most, Position at);            // 174, 189
SqlError UnknownFunction(TextView name, Position at);                                   // 195
SqlError UnknownDatePart(TextView name, TextView function, Position at);                // 155
SqlError UnionColumnCount(Position at);                                                 // 205
SqlError OrderByNotInUnion(Position at);                                                // 104
SqlError OrderByNotInDistinct(Position at);                                             // 145
SqlError OrderByOrdinal(std::int64_t ordinal, Position at);                             // 108
SqlError ConstantInOrderBy(std::int64_t item, Position at);                             // 408
SqlError VariableInOrderBy(std::int64_t item, Position at);                             // 1008
SqlError OrderByInSubquery(Position at);                                                // 1033
SqlError OneExpressionInSubquery(Position at);                                          // 116
SqlError MoreThanOneRow();                                                              // 512
SqlError MustDeclare(TextView variable, Position at);                                   // 137
SqlError DeclaredTwice(TextView variable, Position at);                                 // 134
SqlError TextVariable(Position at);                                                     // 2739
SqlError AssignmentWithRows(Position at);                                               // 141
SqlError OutsideLoop(bool is_break, Position at);                                       // 135, 136
SqlError ReturnWithValue(Position at);                                                  // 178
SqlError NotFirstInBatch(Position at);                                                  // 111
SqlError OutputOfConstant(Position at);                                                 // 179
SqlError NoProcedure(TextView name, Position at);                                       // 2812
SqlError ParameterMissing(TextView procedure, TextView parameter);                      // 201
SqlError TooManyArguments(TextView procedure);                                          // 8144
SqlError NoSuchParameter(TextView parameter, TextView procedure);                       // 8145
SqlError ParameterTwice(TextView parameter, TextView procedure);                        // 8143
SqlError PositionalAfterNamed(std::size_t argument, Position at);                       // 119
SqlError NotOutput(TextView parameter);                                                 // 8162
SqlError CallsTooDeep();                                                                // 217
SqlError NoTransaction(bool commit);                                 // 3902, 3903
SqlError OutsideTransaction();                                       // 3918
SqlError SaveOutsideTransaction();                                   // 628
SqlError NoSavePoint(std::string_view name);                         // 6401
SqlError TransactionCount(std::int64_t before, std::int64_t after);  // 266
SqlError Raised(std::int32_t number, std::int32_t severity, std::int32_t state,
                std::string message);
SqlError Information(std::int32_t number, std::string message);  // no error: severity 0
SqlError NoSuchMessage(std::int32_t number, std::int32_t severity, std::int32_t state);  // 18054
SqlError TooManyRaiseArguments(Position at);                                             // 2747
SqlError SeverityWithoutLog(Position at);                                                // 2754
// `option` is what was set ("ANSI_NULLS OFF"), `usual` what holds ("ANSI_NULLS ON").
SqlError OptionNotSupported(const Text& option, const Text& usual, Position at);  // 40517
SqlError ViewOfTemporary(Position at);                                            // 4508
SqlError ThrowOutsideCatch();                                                     // 10704
SqlError ThrowNumber(std::int64_t number);                                        // 35100
SqlError InsertCount(bool more_columns, Position at);                             // 109, 110
SqlError InsertSelectCount(bool more_items, Position at);                         // 120, 121
SqlError TableValueCount(Position at);                                            // 213
SqlError ColumnTwice(TextView column, Position at);                               // 264
SqlError NullNotAllowed(TextView column, TextView table, bool insert);            // 515
// `key` is the value as messages have it: "(1, <NULL>)".
SqlError DuplicateIndexKey(TextView table, TextView index, const std::string& key);  // 1505
SqlError DuplicateIndexRow(TextView table, TextView index, const std::string& key);  // 2601
SqlError DuplicateKey(TextView constraint, TextView table, bool primary,
                      const std::string& key);             // 2627
SqlError ConstraintViolated();                             // 2627, where nobody knows which and why
SqlError SeveralPrimaryKeys(TextView table, Position at);  // 8110
// What tables are declared with (errors_tables.cpp).
SqlError NotSupported(const Text& what, Position at);                        // 40517
SqlError IndexOptionUnknown(TextView option, Position at);                   // 155
SqlError CollationUnknown(TextView collation, Position at);                  // 448
SqlError IdentityGiven(TextView table, Position at);                         // 544
SqlError IdentityNotGiven(TextView table, Position at);                      // 545
SqlError IdentityWithoutColumns(TextView table, Position at);                // 8101
SqlError IdentityUpdated(TextView column, Position at);                      // 8102
SqlError SeveralIdentities(TextView table, Position at);                     // 2744
SqlError IdentityType(TextView column, Position at);                         // 2749
SqlError IdentityNullable(TextView column, TextView table, Position at);     // 8147
SqlError DefaultOnIdentity(TextView table, TextView column, Position at);    // 1754
SqlError DefaultOnRowVersion(TextView table, TextView column, Position at);  // 1755
SqlError NoIdentity(TextView table, Position at);                            // 7997
SqlError NoIdentityToSet(TextView table, Position at);                       // 8106
SqlError IdentityInsertOn(TextView other, TextView table, Position at);      // 8107
// `statement` is its first word, `kind` "CHECK", "FOREIGN KEY", "REFERENCE" and their like;
// `column` is empty where several are concerned.
SqlError Conflict(std::string_view statement, std::string_view kind, TextView constraint,
                  TextView database, TextView table, TextView column);   // 547
SqlError ReferenceAcrossDatabases(TextView key, Position at);            // 1763
SqlError ReferenceToNoTable(TextView key, TextView table, Position at);  // 1767
SqlError ReferenceColumn(TextView key, TextView column, TextView table, bool referenced,
                         Position at);                                        // 1769, 1770
SqlError NoPrimaryKeyToReference(TextView key, TextView table, Position at);  // 1773
SqlError NoKeyToReference(TextView table, TextView key, Position at);         // 1776
// Columns as "table.column".
SqlError ReferenceTypes(TextView referenced_table, TextView referenced, TextView table,
                        TextView column, TextView key, Position at);                    // 1778
SqlError ReferenceCount(TextView table, Position at);                                   // 8139
SqlError CascadeCycle(TextView key, TextView table, Position at);                       // 1785
SqlError PrimaryKeyExists(TextView table, Position at);                                 // 1779
SqlError KeyOnNullable(TextView table, Position at);                                    // 8111
SqlError DefaultExists(Position at);                                                    // 1781
SqlError KeyReferenced(TextView key, TextView table, TextView reference, Position at);  // 3725
SqlError TableReferenced(TextView table, Position at);                                  // 3726
SqlError TruncatedReferenced(TextView table, Position at);                              // 4712
SqlError NotConstraint(TextView name, Position at);                                     // 3728
SqlError NoConstraint(TextView name, Position at);                                      // 4917
// `what` is "DROP COLUMN" or "ALTER COLUMN".
SqlError ColumnInUse(TextView what, TextView column, TextView object, Position at);     // 4922
SqlError NoColumnToAlter(TextView what, TextView column, TextView table, Position at);  // 4924
SqlError CannotAlterColumn(TextView column, TextView kind, Position at);                // 4928
SqlError ComputedChanged(TextView column, Position at);                                 // 271
SqlError SubqueryNotAllowed(Position at);                                               // 1046
SqlError StarWithoutFrom(Position at);                                                  // 263
SqlError NotUpdatable(TextView view, Position at);                                      // 4405
SqlError FloatOutOfRange(TextView literal, Position at);                                // 168
SqlError NumberOutOfRange(TextView literal, Position at);                               // 1007
SqlError AmbiguousTarget(TextView table, Position at);                                  // 8154
SqlError CaseOfNulls(Position at);                                                      // 8133
SqlError ImplicitConversion(TextView source, TextView target, Position at);             // 257
SqlError ExplicitConversion(TextView source, TextView target, Position at);             // 529
SqlError TypeClash(TextView source, TextView target, Position at);                      // 206
SqlError NullIfOfNull(Position at);                                                     // 4151
SqlError ScaleTooLarge(std::int64_t scale, Position at);                                // 1002
SqlError DatePartUnsupported(TextView part, TextView function, TextView type,
                             Position at);                                // 9810, 9806
SqlError ExplicitRowVersion(Position at);                                 // 273
SqlError RowVersionUpdated(Position at);                                  // 272
SqlError SecondRowVersion(TextView table, TextView column, Position at);  // 2738
SqlError DateOrderInvalid(TextView order);                                // 2741
SqlError LanguageUnknown(TextView language);                              // 2740
SqlError FirstDayOutOfRange(std::int64_t day);                            // 2742
SqlError NoUniqueIdentifier();                                            // 8169
SqlError NoRoomForUniqueIdentifier();                                     // 8170
// `who` has had `what`, a file or a table in quotes, for all of `wait`.
SqlError LockTimeout(const std::string& who, const std::string& what,
                     std::chrono::milliseconds wait);                    // 1222
SqlError ApplicationLockNotHeld(TextView principal, TextView resource);  // 1223
// What of it was wrong.
enum class LockArgument : std::uint8_t { Resource, Mode, Owner, Wait, Principal };
SqlError BadApplicationLock(LockArgument argument, TextView procedure);       // 1224 to 1230
SqlError HeldAlone(const std::string& file, std::chrono::milliseconds wait);  // 1222
SqlError NoSpace(const std::string& file, const std::string& why);            // 1105
SqlError DiskFull(const std::string& file);                                   // 1105
SqlError ReadOnly(const std::string& file);                                   // 3906
// `what`: "open" or "upgrade"; `why` is a sentence of its own.
SqlError CannotOpen(const char* what, const std::string& file, const std::string& why);  // 4060
SqlError Damaged(const std::string& file);                                               // 824
SqlError TempdbDamaged(const std::string& file);                                         // 824
// Why ICU has no order of text.
SqlError NoTextOrder(const std::string& why);  // 448
// `file` is in use by those who order text in another way than this process.
SqlError OtherTextOrder(const std::string& file);              // 1222
SqlError ReservedName(TextView name, Position at);             // 262
SqlError NameWithNul(TextView name, Position at);              // 1055
SqlError NoDatabase(TextView name, Position at);               // 911
SqlError Cancelled();                                          // 0
SqlError OutOfMemory();                                        // 701
SqlError Internal(const std::string& what);                    // 8624, what nobody has foreseen
SqlError VariableNotAllowed(TextView statement, Position at);  // 112
SqlError Storage(const std::string& message);  // 823, anything that SQLite alone knows
SqlError TooComplex(const std::string& message, Position at);  // 8631

}  // namespace errors
}  // namespace ledgerwick::tsql
