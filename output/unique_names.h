// Names under which every column of a result can be told from the others.
#pragma once

#include <span>
#include <string>
#include <vector>

#include "frame/result_sink.h"

namespace ledgerwick {

// The names of `columns` in UTF-8, made unique: a column without a name is "columnN" by its
// position, and a name that stands already gets "_2", "_3", ….
std::vector<std::string> UniqueNames(std::span<const ResultColumn> columns);

}  // namespace ledgerwick
