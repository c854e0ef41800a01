#include "tsql/base/types.h"

#include <doctest/doctest.h>

#include "tests/tsql/scratch_database.h"
#include "tsql/base/errors.h"
#include "tsql/values/convert.h"

namespace ledgerwick::tsql {
namespace {

// The catalogue keeps a column's type as its declaration alone.
TEST_CASE("a type is read back from its declaration") {
  const Type types[] = {
      {TypeKind::Char, 5},
      {TypeKind::VarChar, 8000},
      {TypeKind::VarChar, kMaxLength},
      {TypeKind::NChar, 1},
      {TypeKind::NVarChar, kMaxLength},
      {TypeKind::Bit},
      {TypeKind::TinyInt},
      {TypeKind::SmallInt},
      {TypeKind::Int},
      {TypeKind::BigInt},
      {TypeKind::Money, 0, 0, 4},
      {TypeKind::Decimal, 0, 38, 10},
      {TypeKind::Real},
      {TypeKind::Float},
      {TypeKind::SmallDateTime},
      {TypeKind::DateTime},
      {TypeKind::Binary, 8},
      {TypeKind::VarBinary, kMaxLength},
      {TypeKind::UniqueIdentifier},
      {TypeKind::RowVersion},
      {TypeKind::Date},
      {TypeKind::Time, 0, 0, 3},
      {TypeKind::DateTime2, 0, 0, 7},
  };
  for (const Type& type : types) {
    CAPTURE(TypeName(type));
    CHECK(ParseTypeName(TypeName(type)) == type);
  }
  CHECK(TypeName({TypeKind::Decimal, 0, 18, 4}) == "decimal(18,4)");
  CHECK(TypeName({TypeKind::NVarChar, kMaxLength}) == "nvarchar(max)");
  for (const std::string text :
       {"", "varchar", "varchar()", "varchar(0)", "varchar(5", "varchar(x)", "int(4)",
        "decimal(18)", "decimal(18,)", "text", "null", "time", "time(8)", "binary"}) {
    CAPTURE(text);
    CHECK(ParseTypeName(text).kind == TypeKind::Null);
  }
}

TEST_CASE("a table is loaded with what its types are told by") {
  const testing::ScratchDatabase scratch;
  const auto connection = scratch.Connect();
  connection->Execute(
      u"CREATE TABLE l (b binary(3), v varbinary(2), u uniqueidentifier, d date, t time(1), "
      u"m datetime2(0), r rowversion)",
      -1);
  const Text columns[] = {u"b", u"v", u"u", u"d", u"t", u"m"};
  const auto loader = connection->database().Load(u"l", columns);
  const TextView identifier = u"6F9619FF-8B86-D011-B42D-00C04FC964FF";
  loader->Row(std::vector<Value>{u"0x01", u"0x", identifier, u"2002-03-31", u"13:04:05.67",
                                 *ParseDate(u"2002-03-31 13:04:05")});
  loader->Row(std::vector<Value>(6, Null{}));
  for (const Value& bad : {Value(u"01"), Value(u"0x01020304"), Value(std::int64_t{7})}) {
    std::vector<Value> row(6, Null{});
    row[0] = bad;
    CHECK_THROWS_AS(loader->Row(row), DatabaseError);
  }
  loader->Finish();
  CHECK(testing::ScratchDatabase::ScalarOn(
            *connection,
            u"SELECT CONVERT(varchar, b, 1) + CONVERT(varchar, v, 1) + ' ' + CAST(u AS char(37)) + "
            u"CONVERT(varchar, d, 112) + ' ' + CAST(t AS varchar) + ' ' + CAST(m AS varchar) AS x "
            u"FROM l WHERE r > 0 AND b IS NOT NULL") ==
        "0x0100000x 6F9619FF-8B86-D011-B42D-00C04FC964FF 20020331 13:04:05.7 2002-03-31 13:04:05");
}

TEST_CASE("any whole number but 0 is a bit that is set, also one that is loaded") {
  CHECK(ToInteger(std::int64_t{5}, TypeKind::Bit) == 1);
}

TEST_CASE("a server error reaches the component with its number, text, place and result code") {
  const DatabaseError error = ToDatabaseError(errors::InvalidColumn(u"列", {2, 13}));
  CHECK(error.number == kErrorSyntaxOrAccess);
  CHECK(error.native == 207);
  CHECK(error.what() == std::string("Invalid column name '列'."));
  CHECK(error.line == 2);
  CHECK(error.column == 13);
  CHECK(ToDatabaseError(errors::InvalidObject(u"t", {})).number == kErrorNoTable);
  CHECK(ToDatabaseError(errors::DivideByZero()).number == kErrorArithmetic);
  CHECK(ToDatabaseError(errors::Truncated()).number == kErrorArithmetic);
  CHECK(ToDatabaseError(errors::DateConversion()).number == kErrorConversion);
  CHECK(ToDatabaseError(errors::NullNotAllowed(u"c", u"t", true)).number == kErrorIntegrity);
  CHECK(ToDatabaseError(errors::LockTimeout("a", "b", {})).number == kErrorFailed);
}

}  // namespace
}  // namespace ledgerwick::tsql
