// Which expressions give a value for every row.
#pragma once

#include "tsql/binder/bound_tree.h"

namespace ledgerwick::tsql {

// True when evaluating `expr` can raise no error, whatever the row, so that it may be evaluated for
// rows that the statement as written would not have reached. False for what is not known.
bool CannotFail(const BoundExpr& expr);

}  // namespace ledgerwick::tsql
