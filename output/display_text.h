// Text on a terminal: how wide it is and what of it must not go there as it stands.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace ledgerwick {

// How many columns of a terminal `utf8` takes: two for a Chinese character, none for a combining
// one.
std::size_t DisplayWidth(std::string_view utf8) noexcept;

// `utf8` with control characters, and the characters that turn the direction of writing round,
// written as \n, \t, \x1B or \u202E.
std::string EscapeControls(std::string_view utf8);

// `json` with the characters that EscapeControls escapes, and that JSON lets stand in its strings,
// written as \u009B: the text stays the same JSON.
std::string EscapeControlsInJson(std::string_view json);

}  // namespace ledgerwick
