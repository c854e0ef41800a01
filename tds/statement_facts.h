// What a client's statement is, before it runs.
#pragma once

#include <cstddef>

#include "frame/text.h"

namespace ledgerwick::tds {

struct StatementFacts {
  std::size_t parameters = 0;  // that its declarations declare
  bool is_query = false;       // one SELECT that gives rows, and nothing else
  bool is_call = false;        // one call of a procedure, and nothing else
};

// Of `statement` with the parameters that `declarations` ("@a int, @b money") declares. Throws
// DatabaseError for a text that cannot be read.
StatementFacts FactsOf(TextView statement, TextView declarations);

}  // namespace ledgerwick::tds
