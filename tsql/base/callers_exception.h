// What a callback of the caller's throws on its way through the interpreter and SQLite.
#pragma once

#include <exception>

namespace ledgerwick::tsql {

// Carries an exception of the caller's own (of a sink, of `progress`) to the database's interface,
// which throws it on as it was. No SqlError, so that no CATCH of a batch gets it.
struct CallersException {
  std::exception_ptr exception;
};

// Calls `callback`; throws CallersException when it throws.
template <typename Callback>
auto CallBack(Callback&& callback) {
  try {
    return callback();
  } catch (...) {
    throw CallersException{std::current_exception()};
  }
}

}  // namespace ledgerwick::tsql
