// Bound trees for people to read.
#pragma once

#include <string>

#include "tsql/binder/bound_tree.h"

namespace ledgerwick::tsql {

// The tree in lines (UTF-8): sources by their numbers (s1, s2, …) with what they stand for, every
// expression with its type, and the conversions that nobody wrote as convert(…).
std::string PrintBound(const BoundQuery& query);
std::string PrintBound(const BoundModification& modification);

}  // namespace ledgerwick::tsql
