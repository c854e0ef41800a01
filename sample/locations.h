// The storage locations: areas, rows and bins of every warehouse that keeps locations.
#pragma once

#include <cstdint>
#include <span>

#include "frame/text.h"

namespace ledgerwick::sample {

struct Location {
  Text code;  // two digits a level; unique over all warehouses
  Text name;
  std::int32_t grade;      // 1 area, 2 row, 3 bin
  bool leaf;               // goods may lie here
  std::int32_t warehouse;  // index into Warehouses()
};

// All locations in the order of their codes. The last row of each area is open floor: a leaf
// without bins.
std::span<const Location> Locations();

}  // namespace ledgerwick::sample
