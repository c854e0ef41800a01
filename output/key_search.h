// The columns that tell the rows of two results apart.
#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "output/stored_result.h"

namespace ledgerwick {

// A column that both results have, and its places.
struct CommonColumn {
  std::string name;
  std::size_t first;
  std::size_t second;
};

// The first columns that together tell the rows of both sides apart, texts before whole numbers,
// never a measure, none that is not needed; nothing where no columns do. They are found on some of
// the rows and then tried on all; rows that they do not tell apart join the former.
std::vector<CommonColumn> FindKeys(const StoredResult& first, const StoredResult& second,
                                   const std::vector<CommonColumn>& columns);

// The numbers of rows that follow one another in the order of `columns` and share them: up to
// `most` pairs.
std::vector<std::pair<std::int64_t, std::int64_t>> Twins(const StoredResult& result,
                                                         const std::vector<std::size_t>& columns,
                                                         std::size_t most);

}  // namespace ledgerwick
