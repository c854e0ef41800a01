// The words that several inventory reports put together alike.
#pragma once

#include "frame/text.h"
#include "frame/value.h"

namespace ledgerwick {

// True when `name` is `stem` and a number from 1 to `last` ("cFree1" to "cFree10").
bool IsNumbered(TextView name, TextView stem, int last);

// One equality for each code of the comma-separated list `codes`: `before`, the code, `after`,
// which ends in "AND "; the last "AND " is cut off. Several warehouses are joined with AND: reports
// rely on it. Empty for an empty list.
Text EveryCode(const Value& codes, TextView before, TextView after);

// " AND " and `condition` when the condition holds more than blanks, else nothing.
Text AndCondition(TextView condition);

// The user-defined item fields cInvDefine1 to cInvDefine16, each behind `qualifier`, as the
// reports write them: ten, a blank, and six with a comma at the end.
Text InventoryDefineColumns(TextView qualifier);

// The zero date as text, which the server reads as the first day of its calendar.
Text ZeroDate();

}  // namespace ledgerwick
