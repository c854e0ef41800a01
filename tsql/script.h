// T-SQL scripts: batches parted by lines that read GO.
#pragma once

#include <string_view>
#include <vector>

namespace ledgerwick::tsql {

// The batches of `script` (UTF-8) in order, without those that hold nothing but white space. A line
// parts batches when it holds GO alone, in any letter case, with blanks around it. The views point
// into `script`.
std::vector<std::string_view> SplitBatches(std::string_view script);

}  // namespace ledgerwick::tsql
