#include "tsql/syntax/system_variables.h"

#include <algorithm>

namespace ledgerwick::tsql {
namespace {

constexpr Type OfKind(TypeKind kind) {
  Type type;
  type.kind = kind;
  return type;
}

constexpr Type Int() { return OfKind(TypeKind::Int); }

constexpr Type IdentityNumber() {
  Type type = OfKind(TypeKind::Decimal);
  type.precision = kMostDigits;
  return type;
}

constexpr Type UnicodeText(std::int32_t length) {
  Type type;
  type.kind = TypeKind::NVarChar;
  type.length = length;
  return type;
}

constexpr SystemVariableName kNames[] = {
    {u"@@ROWCOUNT", SystemVariable::RowCount, Int()},
    {u"@@ERROR", SystemVariable::Error, Int()},
    {u"@@TRANCOUNT", SystemVariable::TranCount, Int()},
    {u"@@NESTLEVEL", SystemVariable::NestLevel, Int()},
    {u"ERROR_MESSAGE", SystemVariable::ErrorMessage, UnicodeText(kLongestUnits)},
    {u"ERROR_NUMBER", SystemVariable::ErrorNumber, Int()},
    {u"ERROR_SEVERITY", SystemVariable::ErrorSeverity, Int()},
    {u"ERROR_STATE", SystemVariable::ErrorState, Int()},
    {u"ERROR_PROCEDURE", SystemVariable::ErrorProcedure, UnicodeText(kLongestName)},
    {u"ERROR_LINE", SystemVariable::ErrorLine, Int()},
};
static_assert(std::size(kNames) == kNamedSystemVariables);

constexpr std::int32_t kLongestVersion = 300;

constexpr SessionFactName kFacts[] = {
    {u"@@VERSION", UnicodeText(kLongestVersion)},
    {u"@@SPID", OfKind(TypeKind::SmallInt)},
    {u"@@SERVERNAME", UnicodeText(kLongestName)},
    {u"@@SERVICENAME", UnicodeText(kLongestName)},
    {u"@@LANGUAGE", UnicodeText(kLongestName)},
    {u"@@LANGID", OfKind(TypeKind::SmallInt)},
    {u"@@MAX_PRECISION", OfKind(TypeKind::TinyInt)},
    {u"@@MAX_CONNECTIONS", Int()},
    {u"@@MICROSOFTVERSION", Int()},
    {u"@@DATEFIRST", OfKind(TypeKind::TinyInt)},
    {u"@@TEXTSIZE", Int()},
    {u"@@LOCK_TIMEOUT", Int()},
    {u"@@OPTIONS", Int()},
    {u"@@PROCID", Int()},
    {u"@@IDENTITY", IdentityNumber()},
};

}  // namespace

const SystemVariableName* FindSystemVariable(TextView name) noexcept {
  const auto* const found =
      std::find_if(std::begin(kNames), std::end(kNames),
                   [&](const SystemVariableName& known) { return EqualText(known.name, name); });
  return found == std::end(kNames) ? nullptr : found;
}

const SessionFactName* FindSessionFact(TextView name) noexcept {
  const auto* const found =
      std::find_if(std::begin(kFacts), std::end(kFacts),
                   [&](const SessionFactName& known) { return EqualText(known.name, name); });
  return found == std::end(kFacts) ? nullptr : found;
}

}  // namespace ledgerwick::tsql
