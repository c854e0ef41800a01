#include "inventory/wording.h"

#include <cstddef>
#include <string>

namespace ledgerwick {
namespace {

constexpr std::size_t kLengthOfAnd = 4;  // "AND "

Text Digits(int number) {
  const std::string digits = std::to_string(number);
  return {digits.begin(), digits.end()};
}

}  // namespace

bool IsNumbered(TextView name, TextView stem, int last) {
  if (!EqualText(name.substr(0, stem.size()), stem)) return false;
  for (int i = 1; i <= last; ++i) {
    if (EqualText(name.substr(stem.size()), Digits(i))) return true;
  }
  return false;
}

Text EveryCode(const Value& codes, TextView before, TextView after) {
  Text joined;
  for (const Text& code : Split(codes.ToText(), u',')) {
    joined.append(before).append(code).append(after);
  }
  if (!joined.empty()) joined.resize(joined.size() - kLengthOfAnd);
  return joined;
}

Text AndCondition(TextView condition) {
  if (Trim(condition).empty()) return {};
  return u" AND " + Text(condition);
}

Text InventoryDefineColumns(TextView qualifier) {
  constexpr int kFirstLine = 10;
  constexpr int kCount = 16;
  Text columns = u" ";
  for (int i = 1; i <= kCount; ++i) {
    columns.append(qualifier).append(u"cInvDefine").append(Digits(i)) += u',';
    if (i == kFirstLine) columns += u"  ";
  }
  return columns;
}

Text ZeroDate() { return Value(Date{}).ToText(); }

}  // namespace ledgerwick
