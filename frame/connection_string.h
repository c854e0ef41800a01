// The parts of a connection string: KEY=VALUE, parted by semicolons.
#pragma once

#include <cstddef>
#include <vector>

#include "frame/text.h"

namespace ledgerwick {

// A KEY=VALUE. A value may stand in braces (a closing one doubled) or, as ADO has it, in quotes of
// either kind (doubled within); both are how a value holds a semicolon.
struct ConnectionAttribute {
  Text key;                // without blanks around it
  Text value;              // without its quotes
  bool has_value = false;  // false where there is no "="
  std::size_t begin = 0;   // where the value stands in the string, quotes included
  std::size_t length = 0;
};

// The attributes of `text` in their order; empty parts are left out. Never fails.
std::vector<ConnectionAttribute> ParseConnectionString(TextView text);

// `value` as it has to stand behind "=": in braces where it holds what parts attributes.
Text QuotedAttribute(TextView value);

// True for the key of a password.
bool IsPasswordKey(TextView key) noexcept;

// `connection_string` with *** in place of each password, also of one in "scheme://user:password@".
// Everything else stays to the character.
Text WithoutPasswords(TextView connection_string);

}  // namespace ledgerwick
