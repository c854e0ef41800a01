#include "cli/script_text.h"

#include "cli/console.h"
#include "host/json_document.h"
#include "tsql/values/code_page.h"

namespace ledgerwick {
namespace {

constexpr std::string_view kUtf8Mark = "\xEF\xBB\xBF";
constexpr std::string_view kLowByteFirst = "\xFF\xFE";
constexpr std::string_view kHighByteFirst = "\xFE\xFF";
constexpr char16_t kNoCharacter = 0xFFFD;

bool IsHigh(char16_t unit) { return unit >= 0xD800 && unit < 0xDC00; }
bool IsLow(char16_t unit) { return unit >= 0xDC00 && unit < 0xE000; }

std::string_view EncodingOfMark(std::string_view bytes) {
  if (bytes.starts_with(kUtf8Mark)) return "utf-8";
  if (bytes.starts_with(kLowByteFirst) || bytes.starts_with(kHighByteFirst)) return "utf-16";
  return {};
}

class Decoder {
 public:
  Decoder(std::string_view bytes, const std::string& name) : bytes_(bytes), name_(name) {}

  std::string Utf8() const {
    std::string_view text = bytes_;
    if (text.starts_with(kUtf8Mark)) text.remove_prefix(kUtf8Mark.size());
    if (const std::size_t bad = FindInvalidUtf8(text); bad != std::string_view::npos) {
      Fail(text.substr(0, bad), "invalid UTF-8 at byte " + std::to_string(bad) +
                                    "; a script in code page 936 takes --encoding gbk");
    }
    if (const std::size_t bad = text.find('\0'); bad != std::string_view::npos) {
      Fail(text.substr(0, bad),
           "a NUL byte; a script in UTF-16 without a byte-order mark takes --encoding utf-16");
    }
    return std::string(text);
  }

  std::string Utf16() const {
    std::string_view rest = bytes_;
    const bool swapped = rest.starts_with(kHighByteFirst);
    if (swapped || rest.starts_with(kLowByteFirst)) rest.remove_prefix(2);
    Text text;
    for (std::size_t i = 0; i + 1 < rest.size(); i += 2) {
      const auto first = static_cast<unsigned char>(rest[i]);
      const auto second = static_cast<unsigned char>(rest[i + 1]);
      text += static_cast<char16_t>(swapped ? first << 8 | second : second << 8 | first);
    }
    for (std::size_t i = 0; i < text.size(); ++i) {
      const bool pair = IsHigh(text[i]) && i + 1 < text.size() && IsLow(text[i + 1]);
      if (!pair && (IsHigh(text[i]) || IsLow(text[i]) || text[i] == 0)) {
        Fail(ToUtf8(text.substr(0, i)),
             "no UTF-16: " + std::string(text[i] == 0 ? "a NUL character" : "half a character"));
      }
      if (pair) ++i;
    }
    if (rest.size() % 2 != 0) Fail(ToUtf8(text), "no UTF-16: half a character at the end");
    return ToUtf8(text);
  }

  std::string Gbk() const {
    const Text text = tsql::FromCodePage(bytes_, kNoCharacter);
    if (const std::size_t bad = text.find(kNoCharacter); bad != Text::npos) {
      const Text before = text.substr(0, bad);
      Fail(ToUtf8(before), "no character of code page 936 at byte " +
                               std::to_string(tsql::ToCodePage(before).size()));
    }
    return ToUtf8(text);
  }

 private:
  [[noreturn]] void Fail(std::string_view before, const std::string& message) const {
    throw FileError(name_, PositionAt(before, before.size()), message);
  }

  std::string_view bytes_;
  const std::string& name_;
};

}  // namespace

std::string DecodeScript(std::string_view bytes, const std::string& encoding,
                         const std::string& name) {
  const std::string_view marked = EncodingOfMark(bytes);
  if (!encoding.empty() && !marked.empty() && marked != encoding) {
    throw UsageError(name + " begins with the byte-order mark of " + std::string(marked) +
                     "; it is not --encoding " + encoding);
  }
  const std::string_view chosen = encoding.empty() ? marked : std::string_view(encoding);
  const Decoder decoder(bytes, name);
  if (chosen == "gbk") return decoder.Gbk();
  return chosen == "utf-16" ? decoder.Utf16() : decoder.Utf8();
}

}  // namespace ledgerwick
