// --filter NAME=VALUE and NAME=FROM..TO.
#pragma once

#include <span>
#include <stdexcept>
#include <string>
#include <vector>

#include "host/finding.h"
#include "host/request.h"

namespace ledgerwick {

// A --filter that cannot be meant: without a name, or with a value that its kind does not take.
class FilterError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// The filters of the class's dialogue before the user fills it in: all that the host knows of,
// without values. A report may rely on an item of its dialogue being there.
std::vector<FilterItem> DialogueFilters(const ClassInfo& report);

// Puts the filter that `argument` describes into `request`: in place of the item of that name, else
// behind the last. NAME is a filter's name or caption. A bound may be left open ("..TO", "FROM..");
// a range without ".." means that one value. A name that the report does not know is passed on as
// it stands. Throws FilterError.
void ApplyFilterArgument(Request& request, TextView argument);

// Does so for each argument in turn. Returns a finding for every two arguments that are for the
// same item, of which the last counts.
std::vector<Finding> ApplyFilterArguments(Request& request, std::span<const Text> arguments);

// True when the item's condition is one that the host itself words from its values: none of its
// own, the shared wording, that of a range open above, or that of a list.
bool IsHostWording(const FilterItem& item);

}  // namespace ledgerwick
