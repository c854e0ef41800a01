// The subtitles of the sales reports.
#pragma once

#include "frame/report_provider.h"
#include "frame/text.h"
#include "frame/value.h"

namespace ledgerwick {

// How a phrase on a date range begins.
struct PhraseStart {
  TextView from;   // with a start
  TextView until;  // without one
};

// The phrase on the dates from `start` to `end`, either of which may be empty. With neither, it
// speaks of an end that is not there.
Text DatePhrase(const PhraseStart& words, const Value& start, const Value& end);

// The phrase on the item ddate; empty while the host has worded no condition for it, and without a
// filter set. Throws error 91 without a report manager.
Text BuildDateSubTitle(ReportProvider& report);

// Start and end of the item ddate as the user typed them, each where it is given; empty without a
// filter set. Throws error 91 without a report manager.
Text StartEndSubTitle(ReportProvider& report);

}  // namespace ledgerwick
