#include "frame/mod_report_public.h"

namespace ledgerwick::modReportPublic {
namespace {

constexpr std::size_t kNameBuffer = 128;
constexpr std::size_t kSuffixLength = 10;
constexpr TextView kSpecialChars = u"-%#';`|\\/+*,\" ";

}  // namespace

Text GetMachineName(System& system) {
  // A fixed buffer of blanks, into which the platform writes the name and a NUL.
  Text buffer(kNameBuffer, u' ');
  const Text name = system.ComputerName().substr(0, kNameBuffer - 1);
  buffer.replace(0, name.size() + 1, name + u'\0');
  return TrimAtNul(buffer);
}

Text TrimAtNul(TextView text) {
  const std::size_t nul = text.find(u'\0');
  return nul == TextView::npos ? Text() : Text(text.substr(0, nul));
}

Text RemoveSpecialChars(TextView text) {
  Text kept;
  for (const char16_t c : text) {
    if (kSpecialChars.find(c) == TextView::npos) kept += c;
  }
  return kept;
}

Text MachineTableSuffix(System& system) {
  return RemoveSpecialChars(u"_" + GetMachineName(system).substr(0, kSuffixLength));
}

Text ReplaceCharUnlessPresent(TextView text, char16_t ch, TextView replacement) {
  Text result;
  for (std::size_t i = 1; i <= text.size();) {
    const TextView rest = text.substr(i - 1);
    // Meant: a replacement that stands within its own length of the end is not recognised.
    const bool far_from_end = text.size() - i > replacement.size();
    if (far_from_end && EqualText(rest.substr(0, replacement.size()), replacement)) {
      result += rest.substr(0, replacement.size());
      i += replacement.size();
      continue;
    }
    if (FoldChar(rest.front()) == FoldChar(ch)) {
      result += replacement;
    } else {
      result += rest.front();
    }
    ++i;
  }
  return result;
}

}  // namespace ledgerwick::modReportPublic
