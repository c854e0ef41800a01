// The 18 report classes: what the COM registration, the type library's tests, `ledgerwick list` and
// `ledgerwick describe` read. The only place that knows every report.
#pragma once

#include <memory>
#include <span>

#include "frame/members.h"
#include "frame/text.h"

namespace ledgerwick {

class ReportProvider;
class System;

// Creates a report that uses `system` as long as it lives.
using ReportFactory = std::unique_ptr<ReportProvider> (*)(System& system);

// One report class.
struct ClassInfo {
  TextView name;          // the ProgID without "Ledgerwick."
  TextView report;        // what the report is called in English
  TextView help;          // the class's help text, empty where it has none
  TextView result_table;  // its name without the machine's suffix
  bool has_machine_suffix;
  std::span<const Member> members;  // in interface order
  ReportFactory factory;            // nullptr while this version lacks the report

  // True when the class has that member.
  bool Has(Member member) const noexcept;
};

// All classes, in the order of the type library.
std::span<const ClassInfo> Classes() noexcept;

// The class of that name without regard to case, or nullptr.
const ClassInfo* FindClass(TextView name) noexcept;

}  // namespace ledgerwick
