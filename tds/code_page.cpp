#include "tds/code_page.h"

#include <iconv.h>

#include <algorithm>
#include <array>
#include <stdexcept>

namespace ledgerwick::tds {
namespace {

constexpr char16_t kEuro = u'\u20AC';
constexpr char kEuroByte = '\x80';  // which the C library's code page 936 lacks
constexpr char16_t kReplacement = u'\uFFFD';

// A conversion of the C library's; one for each thread, since it has a state.
class Converter {
 public:
  Converter(const char* to, const char* from) : handle_(iconv_open(to, from)) {
    // NOLINTNEXTLINE(performance-no-int-to-ptr): how iconv says no
    if (handle_ == reinterpret_cast<iconv_t>(-1)) {
      throw std::runtime_error(std::string("the C library has no converter from ") + from);
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

char16_t FirstUnit(Converter& converter, std::string_view character) {
  std::array<char, 8> converted;
  if (converter.Convert(character, converted) != 2) return kReplacement;
  return static_cast<char16_t>(static_cast<unsigned char>(converted[0]) |
                               static_cast<unsigned char>(converted[1]) << 8);
}

Text DecodeChinese(std::string_view bytes) {
  thread_local Converter converter("UTF-16LE", "GBK");
  Text text;
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    const char c = bytes[i];
    if (static_cast<unsigned char>(c) < 0x80) {
      text += static_cast<char16_t>(c);
    } else if (c == kEuroByte) {
      text += kEuro;
    } else if (IsLeadByte(c) && i + 1 < bytes.size()) {
      text += FirstUnit(converter, bytes.substr(i, 2));
      ++i;
    } else {
      text += kReplacement;
    }
  }
  return text;
}

Text DecodeWestern(std::string_view bytes) {
  thread_local Converter converter("UTF-16LE", "CP1252");
  Text text;
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    text += FirstUnit(converter, bytes.substr(i, 1));
  }
  return text;
}

bool IsWestern(std::string_view collation) noexcept {
  // Danish, German, English, Spanish, Finnish, French, Italian, Dutch, Norwegian, Portuguese,
  // Swedish.
  constexpr std::array<unsigned char, 11> kLanguages = {0x06, 0x07, 0x09, 0x0A, 0x0B, 0x0C,
                                                        0x10, 0x13, 0x14, 0x16, 0x1D};
  return std::find(kLanguages.begin(), kLanguages.end(),
                   static_cast<unsigned char>(collation[0])) != kLanguages.end();
}

}  // namespace

void AppendAnsi(std::string& bytes, TextView text) {
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
}

Text DecodeAnsi(std::string_view bytes, std::string_view collation) {
  if (std::all_of(bytes.begin(), bytes.end(),
                  [](char c) { return static_cast<unsigned char>(c) < 0x80; })) {
    return Text(bytes.begin(), bytes.end());
  }
  return IsWestern(collation) ? DecodeWestern(bytes) : DecodeChinese(bytes);
}

}  // namespace ledgerwick::tds
