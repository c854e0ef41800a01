// Values as they stand in a message, turned into T-SQL's literals. A value of a length that its
// type does not have is a ProtocolError.
#pragma once

#include <cstdint>
#include <string_view>

#include "frame/text.h"

namespace ledgerwick::tds {

// `text` as a literal of varchar and of nvarchar.
Text Literal(TextView text);
Text NationalLiteral(TextView text);

// An integer of one (without a sign), two, four or eight bytes.
std::int64_t ReadInteger(std::string_view bytes);

// A float or a real. Throws DatabaseError 8023 for one that is no number.
Text FloatLiteral(std::string_view bytes);

// money and smallmoney.
Text MoneyLiteral(std::string_view bytes);

// A decimal: its sign, and its units with the lowest byte first.
Text UnscaledLiteral(std::string_view bytes, int scale);

// datetime and smalldatetime. One outside the calendar comes out as a text that the database
// refuses, here and below.
Text DateTimeLiteral(std::string_view bytes);

// What there is of a date, a time, a datetime2 or a datetimeoffset.
struct MomentParts {
  bool day = true;
  bool time = true;
  bool zone = false;
};

// A time in units of 10^-scale seconds, then days since 0001-01-01, then minutes from Greenwich, by
// whose zone's clock it is told.
Text NewMomentLiteral(std::string_view bytes, MomentParts parts, int scale);

Text BytesLiteral(std::string_view bytes);
Text GuidLiteral(std::string_view bytes);

}  // namespace ledgerwick::tds
