// Text as bytes: in the ANSI code page (936) and as UTF-16, and back.
#pragma once

#include <string>
#include <string_view>

namespace ledgerwick::tsql {

// The bytes of UTF-8 text in code page 936; '?' for what that lacks.
std::string ToCodePage(std::string_view utf8);

// The text of bytes in code page 936, in UTF-8; '?' for bytes that are no character.
std::string FromCodePage(std::string_view bytes);

// The UTF-16 of UTF-8 text, the low byte first, and back; half a unit at the end drops out.
std::string ToUtf16Bytes(std::string_view utf8);
std::string FromUtf16Bytes(std::string_view bytes);

}  // namespace ledgerwick::tsql
