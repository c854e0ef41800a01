// What the fuzz targets share.
#pragma once

#include <cstddef>
#include <cstdint>

#include "tsql/base/errors.h"

// One input. The fuzzer calls it as often as it can, the replay driver once for each known input.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace ledgerwick {

// Calls `work`; an error of the server's is an answer like any other.
template <typename Work>
void Quietly(Work&& work) {
  try {
    work();
  } catch (const tsql::SqlError&) {
  }
}

}  // namespace ledgerwick
