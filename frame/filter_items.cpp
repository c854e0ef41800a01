#include "frame/filter_items.h"

namespace ledgerwick {

Text TrimmedText(const Value& value) { return Text(Trim(value.ToText())); }

bool HasFragment(ReportFilter& item) { return !Trim(item.strSqlString()).empty(); }

}  // namespace ledgerwick
