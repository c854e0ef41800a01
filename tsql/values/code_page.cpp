#include "tsql/values/code_page.h"

#include <iconv.h>

#include <array>
#include <cerrno>
#include <new>
#include <stdexcept>

#include "tsql/base/characters.h"

namespace ledgerwick::tsql {
namespace {

// Converts whole texts; what cannot be converted becomes '?'.
class Converter {
 public:
  Converter(const char* to, const char* from) : converter_(iconv_open(to, from)) {
    // NOLINTNEXTLINE(performance-no-int-to-ptr): how iconv says no
    if (converter_ == reinterpret_cast<iconv_t>(-1)) {
      if (errno == ENOMEM) throw std::bad_alloc();
      throw std::runtime_error("the C library has no GBK converter (code page 936)");
    }
  }
  ~Converter() { iconv_close(converter_); }
  Converter(const Converter&) = delete;
  Converter& operator=(const Converter&) = delete;

  // `skip` tells how many bytes an inconvertible character takes.
  template <typename Skip>
  std::string Run(std::string_view text, Skip skip) {
    std::string in(text);
    std::string out;
    char* from = in.data();
    std::size_t left = in.size();
    iconv(converter_, nullptr, nullptr, nullptr, nullptr);
    while (left > 0) {
      std::array<char, 1024> buffer;
      char* to = buffer.data();
      std::size_t room = buffer.size();
      const bool whole =
          iconv(converter_, &from, &left, &to, &room) != static_cast<std::size_t>(-1);
      out.append(buffer.data(), to);
      if (whole || room < 16) continue;
      out += '?';
      const std::size_t skipped = skip(std::string_view(from, left));
      from += skipped;
      left -= skipped;
    }
    return out;
  }

 private:
  iconv_t converter_;
};

}  // namespace

std::string ToCodePage(std::string_view utf8) {
  thread_local Converter converter("GBK", "UTF-8");
  return converter.Run(utf8, [](std::string_view rest) {
    const char* at = rest.data();
    NextChar(at, rest.data() + rest.size());
    return static_cast<std::size_t>(at - rest.data());
  });
}

std::string FromCodePage(std::string_view bytes) {
  thread_local Converter converter("UTF-8", "GBK");
  return converter.Run(bytes, [](std::string_view) { return std::size_t{1}; });
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
