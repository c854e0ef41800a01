// The subtitles of the sales reports.
#pragma once

#include <span>

#include "frame/report_provider.h"
#include "frame/text.h"

namespace ledgerwick {

// How a phrase on a date range begins.
struct PhraseStart {
  TextView from;   // with a start
  TextView until;  // without one
};

// A phrase on the dates of the first item with a caption.
struct CaptionedPhrase {
  TextView caption;
  PhraseStart words;
  bool needs_condition;  // left out while the host has worded none for the item
};

// The phrases in their order, each left out where the item or its dates are; empty without a filter
// set. Throws error 91 without a report manager.
Text CaptionedSubTitle(ReportProvider& report, std::span<const CaptionedPhrase> phrases);

// The phrase on the item ddate, which speaks of an end even where there is no date; empty while the
// host has worded no condition for it, and without a filter set. Throws error 91 without a report
// manager.
Text BuildDateSubTitle(ReportProvider& report);

// Start and end of the item ddate as the user typed them, each where it is given; empty without a
// filter set. Throws error 91 without a report manager.
Text StartEndSubTitle(ReportProvider& report);

}  // namespace ledgerwick
