// The border of the database's interface: what may leave it.
#pragma once

#include <exception>
#include <new>

#include "tsql/base/callers_exception.h"
#include "tsql/base/errors.h"

namespace ledgerwick::tsql {

// Throws the DatabaseError 701, which needs no memory any more.
[[noreturn]] void ThrowOutOfMemory();

// Throws the DatabaseError of a fault that nobody has foreseen.
[[noreturn]] void ThrowInternal(const std::exception& fault);

// Calls `work`. A DatabaseError leaves it, whatever went wrong inside, or what a callback of the
// caller's threw.
template <typename Work>
auto AtBorder(Work&& work) {
  try {
    try {
      return work();
    } catch (const SqlError& error) {
      throw ToDatabaseError(error);
    }
  } catch (const CallersException& callers) {
    std::rethrow_exception(callers.exception);
  } catch (const DatabaseError&) {
    throw;
  } catch (const std::bad_alloc&) {
    ThrowOutOfMemory();
  } catch (const std::exception& fault) {
    ThrowInternal(fault);
  }
}

}  // namespace ledgerwick::tsql
