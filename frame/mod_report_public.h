// modReportPublic: helpers that several report classes share.
#pragma once

#include "frame/system.h"
#include "frame/text.h"

namespace ledgerwick::modReportPublic {

// The computer's name.
Text GetMachineName(System& system);

// The part of `text` before its first NUL; empty when it has none (callers rely on the platform
// having written one).
Text TrimAtNul(TextView text);

// `text` without the characters that would need quoting in a table's name.
Text RemoveSpecialChars(TextView text);

// What the sales classes append to their result tables' names, so that two machines never share
// one: "_" and up to 10 characters of the machine's name.
Text MachineTableSuffix(System& system);

// `text` with each `ch` replaced by `replacement`, where a `replacement` that already stands is
// kept, except near the end of the text.
Text ReplaceCharUnlessPresent(TextView text, char16_t ch, TextView replacement);

}  // namespace ledgerwick::modReportPublic
