#include "inventory/steps.h"

namespace ledgerwick {

std::shared_ptr<ReportFilterSet> RequireFilterSet(ReportProvider& report) {
  return Held(FindFilterSet(report));
}

void DropIgnoringErrors(const std::shared_ptr<Connection>& connection, const Text& sql) {
  // A missing connection fails the statement that follows.
  if (connection) Held(connection)->ExecuteIgnoringErrors(sql, kOptionUnspecified);
}

void DropResultTable(const std::shared_ptr<Connection>& connection, TextView table) {
  DropIgnoringErrors(connection, u"drop table " + Text(table));
}

}  // namespace ledgerwick
