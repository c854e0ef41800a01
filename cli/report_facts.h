// What there is to say of one report, for people: from the class table and the host's tables.
#pragma once

#include <utility>
#include <vector>

#include "component/class_table.h"
#include "host/examples.h"
#include "host/filters.h"

namespace ledgerwick {

// One report, from all tables.
struct Subject {
  const ClassInfo& info;
  const ReportInfo& report;
  const ReportExample& example;
};

// The name by which hosts create the class.
Text ProgId(const ClassInfo& info);

// The result table, with <machine> where the machine's name stands.
Text ResultTable(const ClassInfo& info);

// Who makes a filter's condition.
TextView WordingOf(const FilterInfo& filter);

// The values that a filter knows, or what its kind takes.
Text ValuesOf(const FilterInfo& filter);

// What the report needs besides filters.
TextView InputsOf(const ReportInfo& report);

// What happens without a filter set.
TextView SetOf(const ReportInfo& report);

// What becomes of a filter that the report does not know.
TextView UnknownOf(const ReportInfo& report);

// What stands above the tables: a line's name and its text.
std::vector<std::pair<TextView, Text>> Facts(const Subject& s);

}  // namespace ledgerwick
