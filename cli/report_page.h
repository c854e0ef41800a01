// A report's page in Markdown.
#pragma once

#include <ostream>
#include <string>

#include "cli/report_facts.h"

namespace ledgerwick {

// Writes what the report answers, its filters, columns, example, statement and notes. The example
// runs on the database of `connection`, which it leaves as it is; without one it is a command
// without rows. Throws what the command line's `run` throws.
void WriteReportPage(std::ostream& out, const Subject& s, const std::string& connection);

}  // namespace ledgerwick
