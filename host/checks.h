// What is wrong or surprising in a request, before it runs.
#pragma once

#include <string>
#include <vector>

#include "frame/result_sink.h"
#include "host/finding.h"
#include "host/request.h"

namespace ledgerwick {

// What is found in `request` without a database: in its items, by the notes on its report, and in
// the statement that the report would run. Errors come first, then warnings, then notes.
std::vector<Finding> CheckRequest(const Request& request);

// What is found in `request` with the database that `reader` reads: values that occur nowhere, and
// columns that no table has. Nothing is written.
std::vector<Finding> CheckOnDatabase(const Request& request, BatchRunner& reader);

// Puts errors before warnings and warnings before notes, and keeps the order otherwise.
void SortBySeverity(std::vector<Finding>& findings);

// True when a finding is of that severity or worse.
bool HasAtLeast(const std::vector<Finding>& findings, Severity severity);

}  // namespace ledgerwick
