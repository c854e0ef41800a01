// Copies of syntax trees. Binding changes a tree, so whatever runs more than once is copied first.
#pragma once

#include "tsql/base/arena.h"
#include "tsql/syntax/syntax_tree.h"

namespace ledgerwick::tsql {

// A copy, as the parser left it, of a statement that holds no other statements. Texts stay where
// they are.
Statement* Clone(const Statement& statement, Arena& arena);

// A copy of an expression that is not bound.
Expr* Clone(const Expr* expr, Arena& arena);

}  // namespace ledgerwick::tsql
