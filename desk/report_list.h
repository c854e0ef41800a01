// The reports, as the interface tells them.
#pragma once

#include "desk/json.h"

namespace ledgerwick::desk {

// {"reports": […]}: titles, filters, columns, notes and pictures of all classes.
Json ReportsJson();

}  // namespace ledgerwick::desk
