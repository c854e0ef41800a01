#include "tsql/values/format_message.h"

#include <algorithm>
#include <array>
#include <charconv>

#include "tsql/base/characters.h"
#include "tsql/base/errors.h"

namespace ledgerwick::tsql {
namespace {

// How one place of the format shows its argument: "%-5s".
struct Place {
  bool left = false;
  bool zeros = false;
  bool sign = false;    // also before what is not negative
  bool blank = false;   // where a minus would stand
  bool prefix = false;  // 0x before hexadecimal, 0 before octal
  std::size_t width = 0;
  std::size_t precision = std::string_view::npos;
};

Place ReadPlace(std::string_view flags) {
  constexpr std::size_t kWidest = 2047;  // a message's length
  Place place;
  std::size_t* number = nullptr;
  for (const char c : flags) {
    if (c == '-') place.left = true;
    if (c == '+') place.sign = true;
    if (c == ' ') place.blank = true;
    if (c == '#') place.prefix = true;
    if (c == '0' && number == nullptr) place.zeros = true;
    if (c == '.') {
      number = &place.precision;
      *number = 0;
    } else if (c >= '0' && c <= '9' && (number != nullptr || c != '0')) {
      if (number == nullptr) number = &place.width;
      *number = std::min(*number * 10 + static_cast<std::size_t>(c - '0'), kWidest);
    }
  }
  return place;
}

std::string Padded(const Place& place, std::string shown, std::size_t characters) {
  if (characters >= place.width) return shown;
  shown.insert(place.left ? shown.size() : 0, place.width - characters, ' ');
  return shown;
}

std::string FormatNumber(const Place& place, char kind, std::int64_t number) {
  std::array<char, 24> buffer;
  char* const last = buffer.data() + buffer.size();
  const bool decimal = kind == 'd' || kind == 'i';
  const int base = kind == 'o' ? 8 : kind == 'u' || decimal ? 10 : 16;
  // An int as the server keeps it: what is negative shows its 32 bits.
  const auto bits = static_cast<std::uint32_t>(number);
  const auto end = decimal ? std::to_chars(buffer.data(), last, number).ptr
                           : std::to_chars(buffer.data(), last, bits, base).ptr;
  std::string digits(buffer.data(), end);
  if (kind == 'X') {
    for (char& c : digits) c = c >= 'a' ? static_cast<char>(c - 0x20) : c;
  }
  std::string before;
  if (digits.front() == '-') {
    before = "-";
    digits.erase(0, 1);
  } else if (decimal && (place.sign || place.blank)) {
    before = place.sign ? "+" : " ";
  } else if (place.prefix && bits != 0 && base != 10) {
    before = base == 8 ? "0" : kind == 'X' ? "0X" : "0x";
  }
  // A precision is the least number of digits; zeros stand behind the sign.
  std::size_t least = place.precision == std::string_view::npos ? 0 : place.precision;
  if (place.zeros && !place.left && place.precision == std::string_view::npos) {
    least = place.width - std::min(place.width, before.size());
  }
  if (digits.size() < least) digits.insert(0, least - digits.size(), '0');
  const std::size_t size = before.size() + digits.size();
  return Padded(place, before + digits, size);
}

std::string FormatText(const Place& place, std::string_view text) {
  std::string shown;
  std::size_t characters = 0;
  for (const char c : text) {
    const bool lead = (static_cast<unsigned char>(c) & 0xC0U) != 0x80U;
    if (lead && characters == place.precision) break;
    characters += lead;
    shown += c;
  }
  return Padded(place, std::move(shown), characters);
}

}  // namespace

std::string FormatMessage(std::string_view format, std::span<const MessageArgument> arguments) {
  std::string message;
  std::size_t used = 0;
  for (std::size_t at = 0; at < format.size(); ++at) {
    if (format[at] != '%') {
      message += format[at];
      continue;
    }
    const std::size_t kind_at = format.find_first_not_of("-+0123456789.# hl", at + 1);
    if (kind_at == std::string_view::npos) throw errors::FormatPlace(format.substr(at));
    const char kind = format[kind_at];
    const char* end = format.data() + kind_at;
    NextChar(end, format.data() + format.size());  // it may be any character
    const auto written_size = static_cast<std::size_t>(end - format.data()) - at;
    const std::string_view written = format.substr(at, written_size);
    const Place place = ReadPlace(format.substr(at + 1, kind_at - at - 1));
    at = kind_at;
    if (written == "%%") {
      message += '%';
      continue;
    }
    const bool is_text = kind == 's';
    if (!is_text && std::string_view("diuxXo").find(kind) == std::string_view::npos) {
      throw errors::FormatPlace(written);
    }
    const MessageArgument argument = used < arguments.size() ? arguments[used] : MessageArgument();
    ++used;
    const auto* text = std::get_if<std::string_view>(&argument);
    const auto* number = std::get_if<std::int64_t>(&argument);
    if (text == nullptr && number == nullptr) {
      message += "(null)";
    } else if (is_text != (text != nullptr)) {
      throw errors::FormatArgumentKind(used);
    } else {
      message += is_text ? FormatText(place, *text) : FormatNumber(place, kind, *number);
    }
  }
  return message;
}

}  // namespace ledgerwick::tsql
