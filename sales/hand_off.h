// The course that sales reports have in common: they hand their conditions to a procedure of the
// database, which fills the result table.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "frame/database.h"
#include "frame/error.h"
#include "frame/report_provider.h"
#include "frame/system.h"
#include "frame/text.h"
#include "sales/conditions.h"

namespace ledgerwick {

// In what the size of a general condition is counted.
enum class Measure { Characters, AnsiBytes };

// What every sales report has, and has differently.
struct SalesReport {
  TextView table;           // the result table's name without database and machine's suffix
  TextView procedure = {};  // fills the table
  Measure measure = Measure::AnsiBytes;
  TextView place = {};             // where an error lies, as the report's messages say
  bool has_machine_suffix = true;  // so that two machines never share the table
  bool reads_sub_title = false;  // before the call: an item that cannot be read ends the run there
};

// The name of the report's result table on this machine, without its database: what the procedure
// is told.
Text TableName(const SalesReport& report, System& system);

// The same with its database: what the host is told.
Text ResultTable(const SalesReport& report, System& system);

// The line of a message that says where the error lies.
Text PlaceLine(const SalesReport& report);

// Asks for the filter set and, where there is one, replaces the report's connection by a new one
// and opens it. False without a set: then there is nothing to be done. Throws error 91 without a
// report manager.
bool OpenNewIfFiltered(ReportProvider& provider, System& system);

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
using TextParameters = std::vector<TextParameter>;

// Has `command` call the report's procedure, which may take as long as it needs.
void CallProcedure(Command& command, const SalesReport& report, const TextParameters& parameters,
                   System& system);

// Has the procedure fill the table, over the open connection of `provider`, which it closes at the
// end; an error leaves it open. `collect()` gives the conditions, a value whose member `general` is
// the general one; `word(table, conditions)` the parameters, after the general condition has become
// what the procedure receives. False when that condition is too long. Throws error 91 without a
// connection.
template <typename Collect, typename Word>
bool HandOff(ReportProvider& provider, System& system, const SalesReport& report, Collect collect,
             Word word) {
  const std::unique_ptr<Command> command = Held(provider.mconn)->NewCommand();
  auto conditions = collect();
  if (!HandOverCondition(conditions.general, *command, report, system)) return false;
  if (report.reads_sub_title) provider.strSubTitle();
  const Text table = TableName(report, system);
  CallProcedure(*command, report, word(table, conditions), system);
  Held(provider.mconn)->Close();
  return true;
}

// The same where the conditions are what the items of the filter set come to, which is asked for
// anew: `sort` takes up one item after the other.
template <typename Conditions>
bool HandOff(ReportProvider& provider, System& system, const SalesReport& report,
             void (*sort)(ReportFilter& item, Conditions& conditions),
             TextParameters (*word)(const Text& table, const Conditions& conditions)) {
  return HandOff(
      provider, system, report, [&] { return SortItems(provider, sort); }, word);
}

// The sentence for an error whose own text is not shown. The misprint is the reports' own.
inline constexpr TextView kNetworkConflict = u"网络冲突，稍侯请重新刷新...";

// Ends a run in a message with the number of `error` and that sentence, and false.
bool EndWithNumber(const DatabaseError& error, System& system);

}  // namespace ledgerwick
