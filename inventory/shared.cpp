#include "inventory/shared.h"

#include <limits>
#include <string>

#include "frame/error.h"

namespace ledgerwick {
namespace {

constexpr const char16_t* kSource = u"Ledgerwick";
constexpr std::size_t kLengthOfAnd = 4;  // "AND "

DatabaseError Overflow() { return {6, kSource, u"Overflow"}; }
DatabaseError WrongArguments() {
  return {450, kSource, u"Wrong number of arguments or invalid property assignment"};
}

template <typename T>
const T& ArgumentOf(std::span<const Argument> arguments, std::size_t index) {
  if (index >= arguments.size()) throw WrongArguments();
  const T* argument = std::get_if<T>(&arguments[index]);
  if (!argument) throw TypeMismatch();
  return *argument;
}

}  // namespace

bool IsNumbered(TextView name, TextView stem, int last) {
  if (!EqualText(name.substr(0, stem.size()), stem)) return false;
  for (int i = 1; i <= last; ++i) {
    const std::string number = std::to_string(i);
    if (EqualText(name.substr(stem.size()), Text(number.begin(), number.end()))) return true;
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

std::int32_t SumDigits(TextView text) {
  std::int32_t sum = 0;
  for (const char16_t c : text) {
    if (c < u'0' || c > u'9') continue;
    const std::int32_t digit = c - u'0';
    if (sum > std::numeric_limits<std::int32_t>::max() - digit) throw Overflow();
    sum += digit;
  }
  return sum;
}

Text ZeroDate() { return Value(Date{}).ToText(); }

Text TextArgument(std::span<const Argument> arguments, std::size_t index) {
  return ArgumentOf<Value>(arguments, index).ToText();
}

std::shared_ptr<Connection> ConnectionArgument(std::span<const Argument> arguments,
                                               std::size_t index) {
  return ArgumentOf<std::shared_ptr<Connection>>(arguments, index);
}

}  // namespace ledgerwick
