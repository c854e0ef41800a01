// What differs between two runs, as rows.
#pragma once

#include <string>
#include <vector>

#include "desk/row_store.h"

namespace ledgerwick::desk {

// Gives `sink` a row for each row of either store that the other lacks or has with other values:
// "±" says which, and a changed cell holds both values with an arrow between them. Rows are told
// apart by `keys`, or by what is found to do so. A column that only one side has does not count; it
// is filled in the rows of that side alone. Throws KeyError for keys that do not tell rows apart,
// and OutputError where there is no room to compare.
void WriteDifferences(RowStore& first, RowStore& second, const std::vector<std::string>& keys,
                      ResultSink& sink);

}  // namespace ledgerwick::desk
