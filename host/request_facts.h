// What can be asked of a request without performing it.
#pragma once

#include <vector>

#include "host/request.h"

namespace ledgerwick {

// The value as text without the blanks around it; empty for one that no report can read.
Text ReadableText(const Value& value);

// True when `text` reads as a number.
bool IsNumber(const Text& text);

// True when either value of `item` holds anything.
bool IsSet(const FilterItem& item);

// The condition that stands for `item`: its own, or else the one that the reference host words.
Text FragmentOf(const FilterItem& item);

// A request as the conditions of notes look at it. Names are compared as reports compare them.
class RequestFacts {
 public:
  // `request` outlives the facts.
  explicit RequestFacts(const Request& request) : request_(request) {}

  const Request& request() const noexcept { return request_; }

  // The items of the filter set; none without a set.
  const std::vector<FilterItem>& Items() const noexcept;

  // The first item of that name that is set, or nullptr.
  const FilterItem* Find(TextView name) const;
  bool IsSet(TextView name) const { return Find(name) != nullptr; }

  // The first value of that item with the blanks around it, as reports that do not trim read it.
  Text Untrimmed(TextView name) const;

  // The first and the second value of that item as text; empty without one.
  Text First(TextView name) const;
  Text Second(TextView name) const;

  // True when the first value is a list of several, parted by commas.
  bool HasSeveral(TextView name) const;

  // True when both values are numbers and their order as texts is not that of the numbers.
  bool TextOrderMisleads(TextView name) const;

 private:
  const Request& request_;
};

}  // namespace ledgerwick
