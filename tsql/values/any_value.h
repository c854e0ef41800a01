// Conversions to and from the types whose values consist of bytes (binary, varbinary,
// uniqueidentifier, rowversion) and the dates and times beside datetime, from and to every type.
// Conversions among the other types are convert.h's and datetime.h's.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <variant>

#include "tsql/base/types.h"
#include "tsql/values/datetime.h"

namespace ledgerwick::tsql {

// A value that is not NULL as the storage keeps it: text in UTF-8, bytes as they are.
using AnyValue = std::variant<std::int64_t, double, std::string>;

// How a value is converted. `style` is CONVERT's, -1 where none is written; `stores` refuses with
// 8152 what does not fit, where a cast would cut it off.
struct Manners {
  int style = -1;
  bool stores = false;
  DateOptions dates;
};

// `value` of `source` as a value of `target`, one of which IsConvertedAsAny. The binder has passed
// the pair (ConversionOf). Throws the server's errors: 241, 242, 8114, 8115, 8152, 8169, 8170.
AnyValue ConvertAny(const AnyValue& value, const Type& source, const Type& target,
                    const Manners& manners);

// A value of such a type as it is shown: 0x and digits, upper-case groups, ISO dates and times with
// a fraction where there is one.
std::string ShowAny(const AnyValue& value, const Type& type);

// Bytes as hexadecimal digits in capitals, and back; half a byte at the front of an odd number of
// digits has a 0 before it. Throws 8114 "varchar to varbinary" for other characters.
std::string HexDigits(std::string_view bytes);
std::string BytesOfHex(std::string_view digits);

// How a uniqueidentifier is kept: its bytes in the order in which the server compares them.
std::string OrderedBytes(std::string_view identifier);
std::string IdentifierBytes(std::string_view ordered);

// A new uniqueidentifier, random, as it is kept.
std::string NewIdentifier();

// The bytes that the server keeps a value of `type`, one of a fixed length, in.
std::int32_t StoredLength(const Type& type) noexcept;

}  // namespace ledgerwick::tsql
