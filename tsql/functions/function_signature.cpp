#include "tsql/functions/function_signature.h"

#include <unordered_map>

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

// Names without regard to case.
struct NameHash {
  std::size_t operator()(TextView name) const noexcept {
    std::size_t hash = 0;
    for (const char16_t c : name) hash = hash * 31 + FoldChar(c);
    return hash;
  }
};
struct SameName {
  bool operator()(TextView a, TextView b) const noexcept { return EqualText(a, b); }
};

}  // namespace

std::span<const FunctionSignature> ChoiceFunctions() { return kChoices; }

const FunctionSignature* FindFunction(TextView name) {
  static const auto kByName = [] {
    std::unordered_map<TextView, const FunctionSignature*, NameHash, SameName> by_name;
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
