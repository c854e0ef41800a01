// The errors of the database's files and of those who use them at the same time.
#include "tsql/base/error_text.h"
#include "tsql/base/errors.h"

namespace ledgerwick::tsql::errors {
namespace {

std::string Quoted(const std::string& file) { return "'" + file + "'"; }

std::string Seconds(std::chrono::milliseconds wait) {
  return N(std::chrono::duration_cast<std::chrono::seconds>(wait).count()) + " seconds";
}

}  // namespace

SqlError LockTimeout(const std::string& who, const std::string& what,
                     std::chrono::milliseconds wait) {
  return {1222, kUser,
          "Lock request time out period exceeded. " + who + " has been writing to " + what +
              " for more than " + Seconds(wait) + "; try again when it has finished."};
}

SqlError HeldAlone(const std::string& file, std::chrono::milliseconds wait) {
  return {1222, kUser,
          "Lock request time out period exceeded. Another process has been replacing " +
              Quoted(file) + " or its tempdb for more than " + Seconds(wait) +
              "; try again when it has finished."};
}

SqlError NoSpace(const std::string& file, const std::string& why) {
  return {1105, 17,
          "Could not allocate space in " + Quoted(file) + " because " + why +
              ". The statement has had no effect; free some space and try again."};
}

SqlError DiskFull(const std::string& file) { return NoSpace(file, "its disk is full"); }

SqlError ReadOnly(const std::string& file) {
  return {3906, kUser,
          "Failed to update database " + Quoted(file) + " because the database is read-only."};
}

SqlError Damaged(const std::string& file) {
  return {824, 24,
          "The database file " + Quoted(file) +
              " is damaged. Nothing has been changed in it; restore it from a backup."};
}

SqlError TempdbDamaged(const std::string& file) {
  return {824, 24,
          "The tempdb " + Quoted(file) +
              " is damaged; the database itself is not concerned. Tempdb is made anew when "
              "nobody else uses the database: end what uses it and try again."};
}

SqlError NoTextOrder(const std::string& why) {
  return {448, kUser,
          "Invalid collation 'Chinese_PRC_CI_AS': ICU cannot order Chinese text (" + why +
              "). Check that ICU is installed with its data, and that ICU_DATA is not set."};
}

SqlError OtherTextOrder(const std::string& file) {
  return {1222, kUser,
          "The indexes of " + Quoted(file) +
              " have text in the order of another version, and are rebuilt when nobody else uses "
              "the database. End what uses it and try again."};
}

SqlError ReservedName(TextView name, Position at) {
  return {262, 14,
          "CREATE permission denied for " + Q(name) +
              ": names that begin with ledgerwick_ or sqlite_ are the database's own.",
          at};
}

SqlError NameWithNul(TextView name, Position at) {
  return {1055, kSyntax,
          Q(name) +
              " is an invalid name because it contains a NULL character or an invalid unicode "
              "character.",
          at};
}

SqlError Storage(const std::string& message) {
  return {823, 24, "The storage failed: " + message + "."};
}

}  // namespace ledgerwick::tsql::errors
