// How the sales reports hand their conditions to the procedures that fill their tables.
#pragma once

#include <cstdint>
#include <initializer_list>

#include "frame/database.h"
#include "frame/error.h"
#include "frame/report_provider.h"
#include "frame/system.h"
#include "frame/text.h"

namespace ledgerwick {

// In what the size of a general condition is counted.
enum class Measure { Characters, AnsiBytes };

// What every sales report has, and has differently.
struct SalesReport {
  TextView table;      // the result table's name without database and machine's suffix
  TextView procedure;  // fills the table
  Measure measure;
  TextView place;  // the line of a message that says where the error lies
};

// `table` with its database.
Text InTempdb(TextView table);

// The name of the report's result table on this machine, without its database: what the procedure
// is told.
Text TableOnThisMachine(const SalesReport& report, System& system);

// Makes `condition` what the procedure receives: itself and a blank while it is short; from a size
// of 200, a marker, and the condition goes by `command` into the parameter table. Beyond 600 it
// tells the user that the condition is too long, leaves the database alone and returns false.
bool HandOverCondition(Text& condition, Command& command, const SalesReport& report,
                       System& system);

// A text that a procedure is called with. Its size is its length in bytes of the ANSI code page.
struct TextParameter {
  TextView name;
  std::int32_t type;  // kVarChar or kLongVarChar
  Text value;
};

// Has `command` call `procedure`, which may take as long as it needs.
void CallProcedure(Command& command, TextView procedure,
                   std::initializer_list<TextParameter> parameters, System& system);

// The sentence for an error whose own text is not shown. The misprint is the reports' own.
inline constexpr TextView kNetworkConflict = u"网络冲突，稍侯请重新刷新...";

// Shows the number of `error` with that sentence.
void ShowNumberedConflict(const DatabaseError& error, System& system);

}  // namespace ledgerwick
