#include "tsql/base/types.h"

#include <doctest/doctest.h>

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
  };
  for (const Type& type : types) {
    CAPTURE(TypeName(type));
    CHECK(ParseTypeName(TypeName(type)) == type);
  }
  CHECK(TypeName({TypeKind::Decimal, 0, 18, 4}) == "decimal(18,4)");
  CHECK(TypeName({TypeKind::NVarChar, kMaxLength}) == "nvarchar(max)");
  for (const std::string text :
       {"", "varchar", "varchar()", "varchar(0)", "varchar(5", "varchar(x)", "int(4)",
        "decimal(18)", "decimal(18,)", "text", "null"}) {
    CAPTURE(text);
    CHECK(ParseTypeName(text).kind == TypeKind::Null);
  }
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
  CHECK(ToDatabaseError({515, 16, "x"}).number == kErrorIntegrity);
  CHECK(ToDatabaseError({1222, 17, "x"}).number == kErrorFailed);
}

}  // namespace
}  // namespace ledgerwick::tsql
