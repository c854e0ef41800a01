// The errors of what tables are declared with: identity, constraints, computed columns.
#include "tsql/base/error_table.h"

namespace ledgerwick::tsql::errors {

using error_table::Make;

SqlError NotSupported(const Text& what, Position at) { return Make<40517, 1>(at, what); }

SqlError IndexOptionUnknown(TextView option, Position at) {
  return Make<155>(at, option, "CREATE INDEX");
}

SqlError CollationUnknown(TextView collation, Position at) { return Make<448, 1>(at, collation); }
SqlError IdentityGiven(TextView table, Position at) { return Make<544>(at, table); }
SqlError IdentityNotGiven(TextView table, Position at) { return Make<545>(at, table); }
SqlError IdentityWithoutColumns(TextView table, Position at) { return Make<8101>(at, table); }
SqlError IdentityUpdated(TextView column, Position at) { return Make<8102>(at, column); }
SqlError SeveralIdentities(TextView table, Position at) { return Make<2744>(at, table); }
SqlError IdentityType(TextView column, Position at) { return Make<2749>(at, column); }

SqlError IdentityNullable(TextView column, TextView table, Position at) {
  return Make<8147>(at, column, table);
}

SqlError DefaultOnIdentity(TextView table, TextView column, Position at) {
  return Make<1754>(at, table, column);
}

SqlError DefaultOnRowVersion(TextView table, TextView column, Position at) {
  return Make<1755>(at, table, column);
}

SqlError NoIdentity(TextView table, Position at) { return Make<7997>(at, table); }
SqlError NoIdentityToSet(TextView table, Position at) { return Make<8106>(at, table); }

SqlError IdentityInsertOn(TextView other, TextView table, Position at) {
  return Make<8107>(at, other, table);
}

SqlError Conflict(std::string_view statement, std::string_view kind, TextView constraint,
                  TextView database, TextView table, TextView column) {
  if (column.empty()) return Make<547, 1>({}, statement, kind, constraint, database, table);
  return Make<547>({}, statement, kind, constraint, database, table, column);
}

SqlError ReferenceAcrossDatabases(TextView key, Position at) { return Make<1763>(at, key); }

SqlError ReferenceToNoTable(TextView key, TextView table, Position at) {
  return Make<1767>(at, key, table);
}

SqlError ReferenceColumn(TextView key, TextView column, TextView table, bool referenced,
                         Position at) {
  return referenced ? Make<1770>(at, key, column, table) : Make<1769>(at, key, column, table);
}

SqlError NoPrimaryKeyToReference(TextView key, TextView table, Position at) {
  return Make<1773>(at, key, table);
}

SqlError NoKeyToReference(TextView table, TextView key, Position at) {
  return Make<1776>(at, table, key);
}

SqlError ReferenceTypes(TextView referenced_table, TextView referenced, TextView table,
                        TextView column, TextView key, Position at) {
  return Make<1778>(at, referenced_table, referenced, table, column, key);
}

SqlError ReferenceCount(TextView table, Position at) { return Make<8139>(at, table); }

SqlError CascadeCycle(TextView key, TextView table, Position at) {
  return Make<1785>(at, key, table);
}

SqlError PrimaryKeyExists(TextView table, Position at) { return Make<1779>(at, table); }
SqlError KeyOnNullable(TextView table, Position at) { return Make<8111>(at, table); }
SqlError DefaultExists(Position at) { return Make<1781>(at); }

SqlError KeyReferenced(TextView key, TextView table, TextView reference, Position at) {
  return Make<3725>(at, key, table, reference);
}

SqlError TableReferenced(TextView table, Position at) { return Make<3726>(at, table); }
SqlError TruncatedReferenced(TextView table, Position at) { return Make<4712>(at, table); }
SqlError NotConstraint(TextView name, Position at) { return Make<3728>(at, name); }
SqlError NoConstraint(TextView name, Position at) { return Make<4917>(at, name); }

SqlError ColumnInUse(TextView what, TextView column, TextView object, Position at) {
  return Make<4922>(at, what, column, object);
}

SqlError NoColumnToAlter(TextView what, TextView column, TextView table, Position at) {
  return Make<4924>(at, what, column, table);
}

SqlError CannotAlterColumn(TextView column, TextView kind, Position at) {
  return Make<4928>(at, column, kind);
}

SqlError ComputedChanged(TextView column, Position at) { return Make<271>(at, column); }

SqlError SubqueryNotAllowed(Position at) { return Make<1046>(at); }

}  // namespace ledgerwick::tsql::errors
