// The ANSI code page away from Windows is 936, so that a condition measures the same everywhere.
#include <iconv.h>

#include <bitset>
#include <cerrno>
#include <memory>
#include <stdexcept>

#include "frame/text.h"

namespace ledgerwick {
namespace {

using WideChars = std::bitset<0x10000>;

// Which UTF-16 units take two bytes in code page 936.
std::unique_ptr<const WideChars> LoadWideChars() {
  const iconv_t converter = iconv_open("GBK", "UTF-16LE");
  // NOLINTNEXTLINE(performance-no-int-to-ptr): how iconv says no
  if (converter == reinterpret_cast<iconv_t>(-1)) {
    throw std::runtime_error("the C library has no GBK converter (code page 936)");
  }
  auto wide = std::make_unique<WideChars>();
  for (unsigned c = 0x80; c < 0x10000; ++c) {
    if (c >= 0xE000 &&
        c <= 0xE765) {  // the user-defined characters, which the C library leaves out
      wide->set(c);
      continue;
    }
    char in[2] = {static_cast<char>(c & 0xFF), static_cast<char>(c >> 8)};
    char out[8];
    char* from = in;
    char* to = out;
    std::size_t in_left = sizeof in;
    std::size_t out_left = sizeof out;
    iconv(converter, nullptr, nullptr, nullptr, nullptr);
    const bool known = iconv(converter, &from, &in_left, &to, &out_left) == 0;
    if (known && to - out == 2) wide->set(c);
  }
  iconv_close(converter);
  return wide;
}

}  // namespace

std::size_t AnsiLength(TextView text) {
  static const std::unique_ptr<const WideChars> wide = LoadWideChars();
  std::size_t length = 0;
  for (const char16_t c : text) {
    if (c == 0) break;
    length += c >= 0x80 && wide->test(c) ? 2U : 1U;
  }
  return length;
}

}  // namespace ledgerwick
