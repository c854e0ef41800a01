#include "tsql/functions/function_signature.h"

#include "tsql/base/name_map.h"

namespace ledgerwick::tsql {
namespace {

using Id = FunctionId;

constexpr int kMany = 1000;

constexpr FunctionSignature kChoices[] = {
    {u"count", Id::Count, 1, 1},
    {u"sum", Id::Sum, 1, 1},
    {u"min", Id::Min, 1, 1},
    {u"max", Id::Max, 1, 1},
    {u"avg", Id::Avg, 1, 1},
    {u"isnull", Id::IsNull, 2, 2},
    {u"coalesce", Id::Coalesce, 2, kMany},
    {u"nullif", Id::NullIf, 2, 2},
};

}  // namespace

std::span<const FunctionSignature> ChoiceFunctions() { return kChoices; }

const FunctionSignature* FindFunction(TextView name) {
  static const auto kByName = [] {
    NameMap<const FunctionSignature*, TextView> by_name;
    for (const auto table :
         {CheckFunctions(), ChoiceFunctions(), ConversionFunctions(), DateFunctions(),
          NumberFunctions(), SessionFunctions(), TextFunctions()}) {
      for (const FunctionSignature& function : table) {
        by_name.emplace(function.name, &function);
      }
    }
    return by_name;
  }();
  const auto found = kByName.find(name);
  return found == kByName.end() ? nullptr : found->second;
}

}  // namespace ledgerwick::tsql
