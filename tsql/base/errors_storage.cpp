// The errors of the database's files and of those who use them at the same time.
#include "tsql/base/error_table.h"

namespace ledgerwick::tsql::errors {
namespace {

std::int64_t Seconds(std::chrono::milliseconds wait) {
  return std::chrono::duration_cast<std::chrono::seconds>(wait).count();
}

}  // namespace

using error_table::Make;

SqlError LockTimeout(const std::string& who, const std::string& what,
                     std::chrono::milliseconds wait) {
  return Make<1222>({}, who, what, Seconds(wait));
}

SqlError HeldAlone(const std::string& file, std::chrono::milliseconds wait) {
  return Make<1222, 1>({}, file, Seconds(wait));
}

SqlError NoSpace(const std::string& file, const std::string& why) {
  return Make<1105>({}, file, why);
}

SqlError DiskFull(const std::string& file) { return NoSpace(file, "its disk is full"); }
SqlError ReadOnly(const std::string& file) { return Make<3906>({}, file); }

SqlError CannotOpen(const char* what, const std::string& file, const std::string& why) {
  return Make<4060>({}, what, file, why);
}

SqlError Damaged(const std::string& file) { return Make<824>({}, file); }
SqlError TempdbDamaged(const std::string& file) { return Make<824, 1>({}, file); }
SqlError NoTextOrder(const std::string& why) { return Make<448>({}, why); }
SqlError OtherTextOrder(const std::string& file) { return Make<1222, 2>({}, file); }
SqlError ReservedName(TextView name, Position at) { return Make<262>(at, name); }
SqlError NameWithNul(TextView name, Position at) { return Make<1055>(at, name); }
SqlError Storage(const std::string& message) { return Make<823>({}, message); }

SqlError DuplicateIndexKey(TextView table, TextView index, const std::string& key) {
  return Make<1505>({}, table, index, key);
}

SqlError DuplicateIndexRow(TextView table, TextView index, const std::string& key) {
  return Make<2601>({}, table, index, key);
}

SqlError DuplicateKey(TextView constraint, TextView table, bool primary, const std::string& key) {
  return primary ? Make<2627>({}, constraint, table, key)
                 : Make<2627, 1>({}, constraint, table, key);
}

SqlError ConstraintViolated() { return Make<2627, 2>({}); }

SqlError NullNotAllowed(TextView column, TextView table, bool insert) {
  return insert ? Make<515>({}, column, table) : Make<515, 1>({}, column, table);
}

}  // namespace ledgerwick::tsql::errors
