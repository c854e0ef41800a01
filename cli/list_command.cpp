// list: what the class table says.
#include "cli/command_line.h"
#include "cli/commands.h"
#include "cli/report_facts.h"
#include "cli/text_table.h"
#include "component/class_table.h"

namespace ledgerwick {
namespace {

TextView YesOrNo(bool yes) { return yes ? u"yes" : u"no"; }

void ListWhole(ResultWriter& writer) {
  TextTable table(writer, {u"ProgID", u"report", u"result table", u"subtitle", u"in this version"});
  for (const ClassInfo& info : Classes()) {
    table.Row({ProgId(info), info.report, ResultTable(info), YesOrNo(info.Has(Member::strSubTitle)),
               YesOrNo(info.factory != nullptr)});
  }
  table.End();
}

// What fits 80 columns; the other formats and `describe` tell the rest.
void ListForReading(ResultOutput& output) {
  TextTable table(output.writer(), {u"class", u"report", u"result table"});
  for (const ClassInfo& info : Classes()) {
    const TextView mark = info.Has(Member::strSubTitle) ? u", subtitled" : u"";
    table.Row({info.name, Text(info.report).append(mark), info.result_table});
  }
  table.End();
  if (!output.console().out_is_terminal) return;
  output.console().err
      << "(hosts put Ledgerwick. before the class; the tables are in tempdb, those "
         "of most\nsales reports with the machine's name behind theirs: see "
         "'ledgerwick describe')\n";
}

}  // namespace

int ListCommand(Console& console, const std::string& format) {
  OutputOptions options;
  options.format = format;
  const OutputFormat& chosen = ChooseFormat(console, options);
  ResultOutput output(console, options, chosen, true);
  if (chosen.name == "table") {
    ListForReading(output);
  } else {
    ListWhole(output.writer());
  }
  output.Finish();
  return kDone;
}

}  // namespace ledgerwick
