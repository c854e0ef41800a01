// SQL scripts.
#pragma once

#include <string_view>
#include <vector>

#include "frame/text.h"

namespace ledgerwick {

// One batch of a script.
struct ScriptBatch {
  Text sql;
  int first_line = 1;  // where it begins in the script
};

// The batches of a script, parted by lines that consist of GO; those without a word in them are
// left out. `utf8` is valid.
std::vector<ScriptBatch> SplitScript(std::string_view utf8);

}  // namespace ledgerwick
