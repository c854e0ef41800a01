// The steps that several inventory reports take alike on their way to a filled table.
#pragma once

#include <memory>

#include "frame/report_provider.h"
#include "frame/text.h"

namespace ledgerwick {

// The report's filter set. Throws error 91 when there is no report manager or it has no such set.
std::shared_ptr<ReportFilterSet> RequireFilterSet(ReportProvider& report);

// Has `connection` run `sql`, which drops a table that need not exist, with every error passed
// over, a missing connection's and exhausted memory's too.
void DropIgnoringErrors(const std::shared_ptr<Connection>& connection, const Text& sql);

// Has `connection` drop the result table of an earlier run in that way.
void DropResultTable(const std::shared_ptr<Connection>& connection, TextView table);

}  // namespace ledgerwick
