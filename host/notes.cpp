#include "host/notes.h"

#include <algorithm>
#include <stdexcept>

#include "host/general_notes.h"

namespace ledgerwick {

using general_notes::kGeneralNotes;

std::span<const Note> GeneralNotes() noexcept { return kGeneralNotes; }

const Note& GeneralNote(TextView code) {
  const auto* found = std::find_if(kGeneralNotes.begin(), kGeneralNotes.end(),
                                   [&](const Note& n) { return n.code == code; });
  if (found == kGeneralNotes.end()) throw std::out_of_range("no note " + ToUtf8(code));
  return *found;
}

}  // namespace ledgerwick
