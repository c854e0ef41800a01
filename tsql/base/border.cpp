#include "tsql/base/border.h"

namespace ledgerwick::tsql {
namespace {

// Made while there is memory.
const std::exception_ptr kOutOfMemory =
    std::make_exception_ptr(ToDatabaseError(errors::OutOfMemory()));

}  // namespace

void ThrowOutOfMemory() { std::rethrow_exception(kOutOfMemory); }

void ThrowInternal(const std::exception& fault) {
  try {
    throw ToDatabaseError(errors::Internal(fault.what()));
  } catch (const std::bad_alloc&) {
    ThrowOutOfMemory();
  }
}

}  // namespace ledgerwick::tsql
