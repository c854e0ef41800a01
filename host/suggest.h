// "Did you mean …?"
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace ledgerwick {

// The one of `known` that takes the fewest insertions, deletions and replacements to become `name`,
// letter case aside, or that begins with it; empty when none is near enough to be meant.
std::string Nearest(std::string_view name, const std::vector<std::string>& known);

}  // namespace ledgerwick
