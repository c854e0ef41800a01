#include "sales/hand_off.h"

#include <cstddef>
#include <string>

#include "frame/mod_report_public.h"

namespace ledgerwick {
namespace {

// The sizes from which a condition goes through the parameter table, and up to which it does.
constexpr std::size_t kFirstStored = 200;
constexpr std::size_t kLastStored = 600;

constexpr TextView kPlace = u"\r\n错误位于模块：";
constexpr const char16_t* kTooLong = u"查询条件超过上限，系统不能处理...";

// All users of the server share the table: each hand-off empties it and writes its one row.
constexpr const char16_t* kEmptyParameterTable =
    u"if exists( select * from tempdb..sysobjects where name='newReportParameter') "
    u" begin  Delete from tempdb..newReportParameter  end   "
    u" else begin  Create table tempdb..newReportParameter (name varchar(1000) null ) end ";
constexpr TextView kInsert = u"Insert into  tempdb..newReportParameter (name) values('";
constexpr TextView kInsertEnd = u"')";
// Tells the procedure to read the condition from the table.
constexpr TextView kMarker = u"newReport_ParameterFromTempTable";

std::size_t SizeOf(TextView condition, Measure measure, System& system) {
  return measure == Measure::Characters ? condition.size() : system.AnsiLength(condition);
}

void ExecuteText(Command& command, const Text& sql) {
  command.SetCommandText(sql);
  command.SetCommandType(kCommandText);
  command.Execute(kOptionUnspecified);
}

}  // namespace

Text TableName(const SalesReport& report, System& system) {
  const Text table(report.table);
  return report.has_machine_suffix ? table + modReportPublic::MachineTableSuffix(system) : table;
}

Text ResultTable(const SalesReport& report, System& system) {
  return u"tempdb.." + TableName(report, system);
}

Text PlaceLine(const SalesReport& report) { return Text(kPlace).append(report.place); }

bool OpenNewIfFiltered(ReportProvider& provider, System& system) {
  if (!FindFilterSet(provider)) return false;
  OpenNew(provider, system);
  return true;
}

bool HandOverCondition(Text& condition, Command& command, const SalesReport& report,
                       System& system) {
  const std::size_t size = SizeOf(condition, report.measure, system);
  if (size > kLastStored) {
    system.Beep();
    system.MessageBox(kTooLong + PlaceLine(report), u"", kInformation);
    return false;
  }
  if (size < kFirstStored) {
    condition += u' ';
    return true;
  }
  const Text escaped = modReportPublic::ReplaceCharUnlessPresent(condition, u'\'', u"''");
  ExecuteText(command, kEmptyParameterTable);
  ExecuteText(command, Text(kInsert).append(escaped).append(kInsertEnd));
  condition = kMarker;
  return true;
}

void CallProcedure(Command& command, const SalesReport& report, const TextParameters& parameters,
                   System& system) {
  for (const TextParameter& p : parameters) {
    const auto size = static_cast<std::int32_t>(system.AnsiLength(p.value));
    command.AppendParameter(Text(p.name), p.type, size, p.value);
  }
  command.SetCommandText(Text(report.procedure));
  command.SetCommandType(kCommandStoredProcedure);
  command.SetCommandTimeout(0);
  command.Execute(kOptionUnspecified);
}

bool EndWithNumber(const DatabaseError& error, System& system) {
  const std::string number = std::to_string(error.number);
  system.MessageBox(Text(number.begin(), number.end()).append(kNetworkConflict), u"", kInformation);
  return false;
}

}  // namespace ledgerwick
