// Lists of codes and names to choose a filter's value from.
#pragma once

#include <span>
#include <string_view>
#include <utility>
#include <vector>

#include "frame/result_sink.h"

namespace ledgerwick::desk {

// Where a list stands in the suite's tables.
struct PickList {
  std::string_view kind;  // as the interface names it
  TextView columns;       // of filters that take the codes, parted by blanks, without their table
  TextView query;         // gives codes and names
};

// Null where there is none of that kind.
const PickList* FindPickList(std::string_view kind) noexcept;

// The list for the filter of that name, or null.
const PickList* PickListOf(TextView filter_name) noexcept;

// Codes and names. Throws DatabaseError.
std::vector<std::pair<Text, Text>> ReadPickList(const PickList& list, BatchRunner& reader);

}  // namespace ledgerwick::desk
