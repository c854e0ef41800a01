#include "tsql/syntax/system_variables.h"

#include <algorithm>

namespace ledgerwick::tsql {
namespace {

constexpr Type Int() {
  Type type;
  type.kind = TypeKind::Int;
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

}  // namespace

const SystemVariableName* FindSystemVariable(TextView name) noexcept {
  const auto* const found =
      std::find_if(std::begin(kNames), std::end(kNames),
                   [&](const SystemVariableName& known) { return EqualText(known.name, name); });
  return found == std::end(kNames) ? nullptr : found;
}

}  // namespace ledgerwick::tsql
