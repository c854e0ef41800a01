#include "frame/database.h"

#include "frame/error.h"

namespace ledgerwick {

void Connection::ExecuteIgnoringErrors(const Text& sql, std::int32_t options) {
  // The contract: a result table that is not there, or cannot be dropped, is no failure here. The
  // statement that creates it afterwards tells.
  Trapped([&] { Execute(sql, options); }, [] {});
}

}  // namespace ledgerwick
