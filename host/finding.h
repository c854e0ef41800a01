// What is found in a request.
#pragma once

#include <initializer_list>
#include <stdexcept>

#include "host/notes.h"

namespace ledgerwick {

struct Finding {
  Text code;
  Severity severity = Severity::Warning;
  Text filter;   // the item's name; empty for the request as a whole
  Text what;     // one sentence: what is found, or what will happen
  Text remedy;   // one sentence: what to do instead
  Text what_zh;  // both in Chinese
  Text remedy_zh;
};

// One sentence in both languages, in which {1} to {9} stand for values; both have the same ones.
struct Sentence {
  consteval Sentence(TextView en, TextView zh) : english(en), chinese(zh) {
    if (Places(en) != Places(zh)) throw std::logic_error("a value stands in one language alone");
  }

  TextView english;
  TextView chinese;

 private:
  // A bit for each place of a value.
  static constexpr unsigned Places(TextView text) {
    unsigned places = 0;
    for (std::size_t at = text.find(u'{'); at != TextView::npos; at = text.find(u'{', at + 1)) {
      if (text.at(at + 2) != u'}') throw std::logic_error("no place of a value");
      places |= 1U << static_cast<unsigned>(text[at + 1] - u'0');
    }
    return places;
  }
};

// The finding that a note makes; `filter` where the note names none.
Finding FindingOf(const Note& note, TextView filter = {});

// A finding of the general note `code`, told by `what` with `values` in the places of {1}, {2} ….
// Throws std::out_of_range where a place has no value.
Finding Found(TextView code, TextView filter, const Sentence& what,
              std::initializer_list<TextView> values = {});

}  // namespace ledgerwick
