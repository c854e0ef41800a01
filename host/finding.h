// What is found in a request.
#pragma once

#include "host/notes.h"

namespace ledgerwick {

struct Finding {
  Text code;
  Severity severity = Severity::Warning;
  Text filter;  // the item's name; empty for the request as a whole
  Text what;    // one sentence: what is found, or what will happen
  Text remedy;  // one sentence: what to do instead
};

// The finding that a note makes; `filter` where the note names none.
Finding FindingOf(const Note& note, TextView filter = {});

// A finding of the general note `code`, told by `what`.
Finding Found(TextView code, TextView filter, Text what);

}  // namespace ledgerwick
