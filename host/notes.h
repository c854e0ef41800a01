// Notes: what reports do that their users do not expect.
#pragma once

#include <span>

#include "frame/text.h"

namespace ledgerwick {

class RequestFacts;

// How bad it is.
enum class Severity {
  Info,     // good to know
  Warning,  // the result is there and misleads
  Error,    // there will be no result
};

// What `check` calls it.
constexpr TextView SeverityName(Severity severity) noexcept {
  if (severity == Severity::Info) return u"note";
  return severity == Severity::Warning ? u"warning" : u"error";
}

// One oddity: of a report, with the condition under which it applies, or of requests in general.
struct Note {
  TextView code;  // "LW" and three digits, for good
  Severity severity = Severity::Warning;
  TextView filter;  // what it is about; empty for the report as a whole
  TextView does;    // one sentence: what happens
  TextView remedy;  // one sentence: what to do instead
  // True when the note applies to the request. Never null in a report's table; null for what is
  // found otherwise.
  bool (*applies)(const RequestFacts& request) = nullptr;
};

// The notes on requests in general.
std::span<const Note> GeneralNotes() noexcept;

// The general note of that code. Throws std::out_of_range for a code that is none.
const Note& GeneralNote(TextView code);

// A note's two sentences in Chinese.
struct ChineseNote {
  TextView code;
  TextView does;
  TextView remedy;
};

// The Chinese of a note of the tables: every one has it. Throws std::out_of_range for another code.
const ChineseNote& ChineseOf(const Note& note);

}  // namespace ledgerwick
