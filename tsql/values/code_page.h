// Code page 936, the database's: which characters char and varchar can hold, and their bytes. Also
// the bytes of UTF-16.
#pragma once

#include <string>
#include <string_view>

#include "frame/text.h"

namespace ledgerwick::tsql {

// True when the code page has `c`, or all of `text`, which is UTF-8 or UTF-16. Throws where the C
// library does not know the code page, as all here do.
bool FitsAnsi(char32_t c);
bool FitsAnsi(std::string_view text);
bool FitsAnsi(TextView text);

// The bytes of `text` in the code page; '?' for what that lacks.
std::string ToCodePage(TextView text);

// The text of bytes in the code page; `replacement` for bytes that are no character.
Text FromCodePage(std::string_view bytes, char16_t replacement = u'?');

// The UTF-16 of UTF-8 text, the low byte first, and back; half a unit at the end drops out.
std::string ToUtf16Bytes(std::string_view utf8);
std::string FromUtf16Bytes(std::string_view bytes);

}  // namespace ledgerwick::tsql
