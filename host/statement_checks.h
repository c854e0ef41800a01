// What is found in the statements that a report would run.
#pragma once

#include <vector>

#include "host/finding.h"
#include "host/trace.h"

namespace ledgerwick {

// True when every quote of `sql` is closed, and every bracket outside quotes.
bool IsBalanced(TextView sql);

// True when AND stands where a condition belongs: behind another AND, or at the end.
bool HasDanglingAnd(TextView sql);

// What is found in the operations of `trace`, which `request` has led to.
std::vector<Finding> CheckStatements(const Request& request, const Trace& trace);

}  // namespace ledgerwick
