#include "tds/literal.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstring>

#include "frame/error.h"
#include "tds/bytes.h"

namespace ledgerwick::tds {
namespace {

constexpr int kDaysTo1900 = 693595;  // from 0001-01-01

Text FromAscii(std::string_view text) { return Text(text.begin(), text.end()); }

// 8023: a float that is no number.
DatabaseError NoNumber() {
  DatabaseError error(kErrorSyntaxOrAccess, u"Ledgerwick",
                      u"The supplied value is not a valid instance of data type float. Check the "
                      u"source data for invalid values.");
  error.native = 8023;
  return error;
}

// `units` with `scale` digits behind the point.
Text DecimalLiteral(UInt128 units, bool negative, int scale) {
  std::string digits;
  for (int i = 0; i <= scale || units != 0; ++i, units /= 10) {
    if (i == scale && scale > 0) digits += '.';
    digits += static_cast<char>('0' + static_cast<int>(units % 10));
  }
  if (negative) digits += '-';
  std::reverse(digits.begin(), digits.end());
  return FromAscii(digits);
}

// "20020301", the day that many days after 1900-01-01. One outside the calendar comes out as a text
// that the database refuses.
std::string DayText(std::int64_t days) {
  // From the first of March of the year 0 on, where leap days end years.
  const std::int64_t since = days + 693901;
  const std::int64_t era = (since >= 0 ? since : since - 146096) / 146097;
  const std::int64_t day_of_era = since - era * 146097;
  const std::int64_t year_of_era =
      (day_of_era - day_of_era / 1460 + day_of_era / 36524 - day_of_era / 146096) / 365;
  const std::int64_t day_of_year =
      day_of_era - (365 * year_of_era + year_of_era / 4 - year_of_era / 100);
  const std::int64_t month = (5 * day_of_year + 2) / 153;
  const std::int64_t day = day_of_year - (153 * month + 2) / 5 + 1;
  const std::int64_t year = year_of_era + era * 400 + (month >= 10 ? 1 : 0);
  std::array<char, 64> text;
  const int length =
      std::snprintf(text.data(), text.size(), "%04d%02d%02d", static_cast<int>(year),
                    static_cast<int>(month < 10 ? month + 3 : month - 9), static_cast<int>(day));
  return {text.data(), static_cast<std::size_t>(length)};
}

// "10:11:12.123", the time of day of that many units, `scale` of whose digits are the second's.
std::string TimeText(std::int64_t units, int scale) {
  std::int64_t second = 1;
  for (int i = 0; i < scale; ++i) second *= 10;
  const std::int64_t seconds = units / second;
  std::array<char, 64> text;
  int length =
      std::snprintf(text.data(), text.size(), "%02d:%02d:%02d", static_cast<int>(seconds / 3600),
                    static_cast<int>(seconds / 60 % 60), static_cast<int>(seconds % 60));
  std::string time(text.data(), static_cast<std::size_t>(length));
  if (scale == 0) return time;
  length = std::snprintf(text.data(), text.size(), ".%0*lld", scale,
                         static_cast<long long>(units % second));
  return time.append(text.data(), static_cast<std::size_t>(length));
}

// A datetime, in days from 1900-01-01 and milliseconds.
Text MomentLiteral(std::int64_t days, std::int64_t ms) {
  constexpr std::int64_t kMsPerDay = 86'400'000;
  constexpr int kDigits = 3;
  return FromAscii("'" + DayText(days + ms / kMsPerDay) + " " + TimeText(ms % kMsPerDay, kDigits) +
                   "'");
}

std::int64_t LittleEndian(std::string_view bytes) {
  std::int64_t number = 0;
  for (std::size_t i = bytes.size(); i-- > 0;) {
    number = number << 8 | static_cast<unsigned char>(bytes[i]);
  }
  return number;
}

}  // namespace

Text Literal(TextView text) {
  Text literal = u"'";
  for (const char16_t c : text) {
    if (c == u'\'') literal += u'\'';
    literal += c;
  }
  return literal += u'\'';
}

std::int64_t ReadInteger(std::string_view bytes) {
  ByteReader reader(bytes);
  switch (bytes.size()) {
    case 1:
      return reader.Read<std::uint8_t>();
    case 2:
      return reader.Read<std::int16_t>();
    case 4:
      return reader.Read<std::int32_t>();
    case 8:
      return reader.Read<std::int64_t>();
    default:
      throw ProtocolError("an integer has " + std::to_string(bytes.size()) + " bytes");
  }
}

Text FloatLiteral(std::string_view bytes) {
  double number = 0;
  if (bytes.size() == sizeof(float)) {
    float single = 0;
    std::memcpy(&single, bytes.data(), sizeof single);
    number = single;
  } else if (bytes.size() == sizeof(double)) {
    std::memcpy(&number, bytes.data(), sizeof number);
  } else {
    throw ProtocolError("a float has " + std::to_string(bytes.size()) + " bytes");
  }
  if (!std::isfinite(number)) throw NoNumber();
  std::array<char, 32> digits;
  const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), number,
                                 std::chars_format::scientific)
                       .ptr;
  return FromAscii({digits.data(), end});
}

Text MoneyLiteral(std::string_view bytes) {
  constexpr int kScale = 4;
  ByteReader reader(bytes);
  std::int64_t units = 0;
  if (bytes.size() == 8) {
    const std::uint64_t high = reader.U32();
    units = static_cast<std::int64_t>(high << 32 | reader.U32());
  } else if (bytes.size() == 4) {
    units = reader.Read<std::int32_t>();
  } else {
    throw ProtocolError("an amount of money has " + std::to_string(bytes.size()) + " bytes");
  }
  const auto size = static_cast<std::uint64_t>(units);
  return DecimalLiteral(units < 0 ? 0 - size : size, units < 0, kScale);
}

Text UnscaledLiteral(std::string_view bytes, int scale) {
  constexpr std::size_t kMost = 17;
  if (bytes.size() < 2 || bytes.size() > kMost) throw ProtocolError("a decimal has a wrong length");
  UInt128 units = 0;
  for (std::size_t i = bytes.size(); i-- > 1;) {
    units = units << 8 | static_cast<unsigned char>(bytes[i]);
  }
  return DecimalLiteral(units, bytes[0] == 0, scale);
}

Text DateTimeLiteral(std::string_view bytes) {
  ByteReader reader(bytes);
  if (bytes.size() == 4) {
    const std::int64_t days = reader.U16();
    return MomentLiteral(days, std::int64_t{reader.U16()} * 60'000);
  }
  if (bytes.size() != 8) throw ProtocolError("a datetime has a wrong length");
  const std::int64_t days = reader.Read<std::int32_t>();
  return MomentLiteral(days, (std::int64_t{reader.U32()} * 10 + 1) / 3);
}

Text NewMomentLiteral(std::string_view bytes, MomentParts parts, int scale) {
  constexpr std::size_t kDays = 3;
  constexpr std::size_t kZone = 2;
  const std::size_t day_size = parts.day ? kDays : 0;
  const std::size_t tail = day_size + (parts.zone ? kZone : 0);
  const std::size_t time_size = !parts.time ? 0 : scale <= 2 ? 3 : scale <= 4 ? 4 : 5;
  if (bytes.size() != tail + time_size) throw ProtocolError("a time has a wrong length");
  std::int64_t time = LittleEndian(bytes.substr(0, time_size));
  std::int64_t days = 0;
  if (day_size != 0) days = LittleEndian(bytes.substr(time_size, kDays)) - kDaysTo1900;
  if (parts.zone) {
    const auto minutes =
        static_cast<std::int16_t>(LittleEndian(bytes.substr(time_size + kDays, kZone)));
    // The clock of the zone, on which the day may be another.
    std::int64_t minute = 60;
    for (int i = 0; i < scale; ++i) minute *= 10;
    constexpr std::int64_t kMinutesPerDay = 1440;
    time += minutes * minute;
    days += time < 0 ? -1 : time / (minute * kMinutesPerDay);
    time = (time + minute * kMinutesPerDay) % (minute * kMinutesPerDay);
  }
  std::string text = "'";
  if (day_size != 0) text += DayText(days);
  if (day_size != 0 && time_size != 0) text += ' ';
  if (time_size != 0) text += TimeText(time, scale);
  return FromAscii(text + "'");
}

Text BytesLiteral(std::string_view bytes) {
  Text text = u"0x";
  for (const char c : bytes) {
    const auto byte = static_cast<unsigned char>(c);
    text += u"0123456789ABCDEF"[byte >> 4];
    text += u"0123456789ABCDEF"[byte & 0xF];
  }
  return text;
}

Text GuidLiteral(std::string_view bytes) {
  constexpr std::size_t kSize = 16;
  if (bytes.size() != kSize) throw ProtocolError("an identifier has a wrong length");
  constexpr std::array<std::size_t, kSize> kOrder = {3, 2, 1,  0,  5,  4,  7,  6,
                                                     8, 9, 10, 11, 12, 13, 14, 15};
  Text text = u"'";
  for (std::size_t i = 0; i < kSize; ++i) {
    if (i == 4 || i == 6 || i == 8 || i == 10) text += u'-';
    const auto byte = static_cast<unsigned char>(bytes[kOrder[i]]);
    text += u"0123456789ABCDEF"[byte >> 4];
    text += u"0123456789ABCDEF"[byte & 0xF];
  }
  return text += u'\'';
}

Text NationalLiteral(TextView text) { return u"N" + Literal(text); }

}  // namespace ledgerwick::tds
