// The procedures by which clients ask for the catalogue: sp_tables, sp_columns and their like.
#pragma once

#include "frame/text.h"
#include "tsql/storage/catalogue.h"

namespace ledgerwick::tsql {

// The system's procedure of that name, or nullptr. Its text is T-SQL over the system's tables.
const ProcedureText* FindSystemProcedure(TextView name);

}  // namespace ledgerwick::tsql
