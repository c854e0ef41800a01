#include "tsql/values/code_page.h"

#include <iconv.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <new>
#include <stdexcept>

#include "tsql/base/characters.h"

namespace ledgerwick::tsql {
namespace {

constexpr char16_t kEuro = u'\u20AC';
constexpr char kEuroByte = '\x80';  // which the C library's code page 936 lacks

// A conversion of the C library's; one for each thread, since it has a state.
class Converter {
 public:
  Converter(const char* to, const char* from) : handle_(iconv_open(to, from)) {
    // NOLINTNEXTLINE(performance-no-int-to-ptr): how iconv says no
    if (handle_ == reinterpret_cast<iconv_t>(-1)) {
      if (errno == ENOMEM) throw std::bad_alloc();
      throw std::runtime_error("the C library has no GBK converter (code page 936)");
    }
  }
  ~Converter() { iconv_close(handle_); }
  Converter(const Converter&) = delete;
  Converter& operator=(const Converter&) = delete;

  // Converts one character of `from`. Returns the bytes written to `to`, 0 where it is none.
  std::size_t Convert(std::string_view from, std::array<char, 8>& to) {
    char* in = const_cast<char*>(from.data());
    char* out = to.data();
    std::size_t in_left = from.size();
    std::size_t out_left = to.size();
    iconv(handle_, nullptr, nullptr, nullptr, nullptr);
    const std::size_t result = iconv(handle_, &in, &in_left, &out, &out_left);
    return result == 0 && in_left == 0 ? to.size() - out_left : 0;
  }

 private:
  iconv_t handle_;
};

void AppendBeyondAscii(std::string& bytes, char16_t c) {
  thread_local Converter converter("GBK", "UTF-16LE");
  if (c == kEuro) {
    bytes += kEuroByte;
    return;
  }
  const char unit[2] = {static_cast<char>(c & 0xFF), static_cast<char>(c >> 8)};
  std::array<char, 8> converted;
  const std::size_t count = converter.Convert({unit, sizeof unit}, converted);
  if (count == 0) {
    bytes += '?';
  } else {
    bytes.append(converted.data(), count);
  }
}

// The first bytes of double-byte characters.
bool IsLeadByte(char c) noexcept {
  const auto byte = static_cast<unsigned char>(c);
  return byte >= 0x81 && byte <= 0xFE;
}

}  // namespace

bool FitsAnsi(char32_t c) {
  if (c < 0x80 || c == kEuro) return true;
  if (c >= 0x10000) return false;
  // All else that it has beyond ASCII takes two bytes.
  const auto unit = static_cast<char16_t>(c);
  return AnsiLength({&unit, 1}) == 2;
}

bool FitsAnsi(std::string_view text) {
  const char* at = text.data();
  for (const char* const end = at + text.size(); at != end;) {
    if (!FitsAnsi(NextChar(at, end))) return false;
  }
  return true;
}

bool FitsAnsi(TextView text) {
  return std::all_of(text.begin(), text.end(), [](char16_t unit) {
    return !(unit >= 0xD800 && unit < 0xE000) && FitsAnsi(char32_t{unit});
  });
}

std::string ToCodePage(TextView text) {
  std::string bytes;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char16_t c = text[i];
    if (c < 0x80) {
      bytes += static_cast<char>(c);
      continue;
    }
    AppendBeyondAscii(bytes, c);
    // A pair of surrogates is one character that is not there.
    const bool pair = c >= 0xD800 && c < 0xDC00 && i + 1 < text.size();
    if (pair && text[i + 1] >= 0xDC00 && text[i + 1] < 0xE000) ++i;
  }
  return bytes;
}

Text FromCodePage(std::string_view bytes, char16_t replacement) {
  thread_local Converter converter("UTF-16LE", "GBK");
  Text text;
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    const char c = bytes[i];
    if (static_cast<unsigned char>(c) < 0x80) {
      text += static_cast<char16_t>(c);
    } else if (c == kEuroByte) {
      text += kEuro;
    } else if (IsLeadByte(c) && i + 1 < bytes.size()) {
      std::array<char, 8> unit;
      const bool known = converter.Convert(bytes.substr(i++, 2), unit) == 2;
      text += known ? static_cast<char16_t>(static_cast<unsigned char>(unit[0]) |
                                            static_cast<unsigned char>(unit[1]) << 8)
                    : replacement;
    } else {
      text += replacement;
    }
  }
  return text;
}

std::string ToUtf16Bytes(std::string_view utf8) {
  std::string bytes;
  for (const char16_t unit : ToText(utf8)) {
    bytes += static_cast<char>(unit & 0xFF);
    bytes += static_cast<char>(unit >> 8);
  }
  return bytes;
}

std::string FromUtf16Bytes(std::string_view bytes) {
  Text text;
  for (std::size_t i = 0; i + 1 < bytes.size(); i += 2) {
    text += static_cast<char16_t>(static_cast<unsigned char>(bytes[i]) |
                                  static_cast<unsigned char>(bytes[i + 1]) << 8);
  }
  return ToUtf8(text);
}

}  // namespace ledgerwick::tsql
