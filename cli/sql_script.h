// SQL scripts.
#pragma once

#include <string>
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
// left out. `name` stands in messages. Throws FileError with the position of invalid UTF-8.
std::vector<ScriptBatch> SplitScript(std::string_view utf8, const std::string& name);

}  // namespace ledgerwick
