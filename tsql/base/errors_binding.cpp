// The errors that the parser, the binder and the interpreter find.
#include "tsql/base/error_table.h"

namespace ledgerwick::tsql::errors {
namespace {

std::string InCapitals(TextView keyword) {
  std::string capitals = ToUtf8(keyword);
  for (char& c : capitals) c = static_cast<char>(c - 0x20);
  return capitals;
}

}  // namespace

using error_table::Make;

SqlError NestedTooDeeply(Position at) { return Make<191>(at); }
SqlError ConditionExpected(TextView near, Position at) { return Make<4145>(at, near); }
SqlError UnknownType(TextView name, Position at) { return Make<2715>(at, name); }

SqlError TypeLength(TextView type, std::int64_t length, std::int64_t longest, Position at) {
  return Make<131>(at, length, type, longest);
}

SqlError DuplicateExposedName(TextView name, Position at) { return Make<1013>(at, name); }
SqlError ColumnNameMissing(std::size_t column, Position at) { return Make<1038>(at, column); }

SqlError DerivedColumnNameMissing(std::size_t column, TextView table, Position at) {
  return Make<8155>(at, column, table);
}

SqlError ViewColumnNameMissing(std::size_t column, Position at) { return Make<4511>(at, column); }
SqlError ViewOfTemporary(Position at) { return Make<4508>(at); }

SqlError DuplicateColumn(TextView column, TextView table, Position at) {
  return Make<2705>(at, column, table);
}

SqlError DuplicateDerivedColumn(TextView column, TextView table, Position at) {
  return Make<8156>(at, column, table);
}

SqlError ColumnListLength(TextView table, bool more, Position at) {
  return more ? Make<8159>(at, table) : Make<8158>(at, table);
}

SqlError ObjectExists(TextView name, Position at) { return Make<2714>(at, name); }

SqlError IndexExists(TextView index, TextView table, Position at) {
  return Make<1913>(at, index, table);
}

SqlError SeveralPrimaryKeys(TextView table, Position at) { return Make<8110>(at, table); }

SqlError CannotDrop(TextView what, TextView name, Position at) {
  return Make<3701>(at, what, name);
}

SqlError WrongKindToDrop(TextView what, TextView name, TextView kind, Position at) {
  return Make<3705>(at, InCapitals(what), name, kind, InCapitals(kind));
}

SqlError CannotAlter(TextView name, Position at) { return Make<4909>(at, name); }

SqlError NewColumnNotNull(TextView column, TextView table, Position at) {
  return Make<4901>(at, column, table);
}

SqlError CannotTruncate(TextView name, Position at) { return Make<4701>(at, name); }
SqlError MultiPartUnbound(TextView name, Position at) { return Make<4104>(at, name); }
SqlError PrefixUnmatched(TextView prefix, Position at) { return Make<107>(at, prefix); }

SqlError NotGrouped(TextView column, bool in_having, bool in_order, Position at) {
  if (in_having) return Make<8121>(at, column);
  return in_order ? Make<8127>(at, column) : Make<8120>(at, column);
}

SqlError GroupByWithoutColumn(Position at) { return Make<164>(at); }
SqlError AggregateInGroupBy(Position at) { return Make<144>(at); }
SqlError AggregateInWhere(Position at) { return Make<147>(at); }
SqlError NestedAggregate(Position at) { return Make<130>(at); }

SqlError InvalidOperand(TextView type, TextView what, Position at) {
  return Make<8117>(at, type, what);
}

SqlError IncompatibleTypes(TextView left, TextView right, TextView what, Position at) {
  return Make<402>(at, left, right, what);
}

SqlError InvalidArgument(TextView type, int argument, TextView function, Position at) {
  return Make<8116>(at, type, argument, function);
}

SqlError ArgumentCount(TextView function, int least, int most, Position at) {
  if (least == most) return Make<174>(at, function, least);
  return Make<189>(at, function, least, most);
}

SqlError UnknownFunction(TextView name, Position at) { return Make<195>(at, name); }

SqlError UnknownDatePart(TextView name, TextView function, Position at) {
  return Make<155>(at, name, function);
}

SqlError UnionColumnCount(Position at) { return Make<205>(at); }
SqlError OrderByNotInUnion(Position at) { return Make<104>(at); }
SqlError OrderByNotInDistinct(Position at) { return Make<145>(at); }
SqlError OrderByOrdinal(std::int64_t ordinal, Position at) { return Make<108>(at, ordinal); }
SqlError ConstantInOrderBy(std::int64_t item, Position at) { return Make<408>(at, item); }
SqlError VariableInOrderBy(std::int64_t item, Position at) { return Make<1008>(at, item); }
SqlError OrderByInSubquery(Position at) { return Make<1033>(at); }
SqlError OneExpressionInSubquery(Position at) { return Make<116>(at); }
SqlError MoreThanOneRow() { return Make<512>({}); }
SqlError MustDeclare(TextView variable, Position at) { return Make<137>(at, variable); }
SqlError DeclaredTwice(TextView variable, Position at) { return Make<134>(at, variable); }
SqlError AssignmentWithRows(Position at) { return Make<141>(at); }

SqlError InsertCount(bool more_columns, Position at) {
  return more_columns ? Make<109>(at) : Make<110>(at);
}

SqlError InsertSelectCount(bool more_items, Position at) {
  return more_items ? Make<121>(at) : Make<120>(at);
}

SqlError TableValueCount(Position at) { return Make<213>(at); }
SqlError ColumnTwice(TextView column, Position at) { return Make<264>(at, column); }
SqlError StarWithoutFrom(Position at) { return Make<263>(at); }
SqlError NotUpdatable(TextView view, Position at) { return Make<4405>(at, view); }
SqlError FloatOutOfRange(TextView literal, Position at) { return Make<168>(at, literal); }
SqlError NumberOutOfRange(TextView literal, Position at) { return Make<1007>(at, literal); }
SqlError AmbiguousTarget(TextView table, Position at) { return Make<8154>(at, table); }
SqlError CaseOfNulls(Position at) { return Make<8133>(at); }

SqlError ImplicitConversion(TextView source, TextView target, Position at) {
  return Make<257>(at, source, target);
}

SqlError TypeClash(TextView source, TextView target, Position at) {
  return Make<206>(at, source, target);
}

SqlError NullIfOfNull(Position at) { return Make<4151>(at); }
SqlError ScaleTooLarge(std::int64_t scale, Position at) { return Make<1002>(at, at.line, scale); }

SqlError DatePartUnsupported(TextView part, TextView function, TextView type, Position at) {
  return function == u"datediff" ? Make<9806>(at, part, function)
                                 : Make<9810>(at, part, function, type);
}

SqlError ExplicitRowVersion(Position at) { return Make<273>(at); }
SqlError RowVersionUpdated(Position at) { return Make<272>(at); }

SqlError SecondRowVersion(TextView table, TextView column, Position at) {
  return Make<2738>(at, table, column);
}

SqlError ExplicitConversion(TextView source, TextView target, Position at) {
  return Make<529>(at, source, target);
}

SqlError VariableNotAllowed(TextView statement, Position at) { return Make<112>(at, statement); }
SqlError Cancelled() { return Make<0>({}); }
SqlError OutOfMemory() { return Make<701>({}); }
SqlError Internal(const std::string& what) { return Make<8624>({}, what); }
SqlError TooComplex(const std::string& message, Position at) { return Make<8631>(at, message); }

}  // namespace ledgerwick::tsql::errors
