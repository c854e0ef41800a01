#include "inventory/arguments.h"

#include <limits>

#include "frame/error.h"

namespace ledgerwick {
namespace {

constexpr const char16_t* kSource = u"Ledgerwick";

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

Text TextArgument(std::span<const Argument> arguments, std::size_t index) {
  return ArgumentOf<Value>(arguments, index).ToText();
}

std::shared_ptr<Connection> ConnectionArgument(std::span<const Argument> arguments,
                                               std::size_t index) {
  return ArgumentOf<std::shared_ptr<Connection>>(arguments, index);
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

}  // namespace ledgerwick
