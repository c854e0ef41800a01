// What a call throws, as a test's table can name it.
#pragma once

#include <string>

#include "tsql/base/errors.h"

namespace ledgerwick::tsql {

// "number: message" of the SqlError that `call` throws; empty when it throws none.
template <typename Call>
std::string ErrorOf(Call call) {
  try {
    call();
  } catch (const SqlError& error) {
    return std::to_string(error.number) + ": " + error.message;
  }
  return {};
}

}  // namespace ledgerwick::tsql
