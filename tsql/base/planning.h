// How freely queries are rewritten before they run.
#pragma once

#include <cstdint>

namespace ledgerwick::tsql {

// The rows are the same in all of them. Users have the usual one; the others serve to test that.
enum class Planning : std::uint8_t {
  Plain,  // as written
  Usual,
  Eager  // rewrites wherever the rows stay the same, also where nothing is gained by it
};

}  // namespace ledgerwick::tsql
