// The 18 report classes: what the COM registration, the type library's tests, `ledgerwick list` and
// `ledgerwick describe` read.
#pragma once

#include <memory>
#include <span>

#include "frame/text.h"

namespace ledgerwick {

class ReportProvider;
class System;

// Every member that some class has.
enum class Member {
  ObjReportManager,
  ReportTitle,
  mConnectionString,
  mconn,
  objLogin,
  strSubTitle,
  TempTablename,
  MoveDataDetail,
  MoveDataDetailAsVariant,  // named MoveDataDetail; one class returns its Boolean in a variant
  GetSubTitle,
  IsBlank,
  SumString,
  GetClassLength,
  GetGoodClass,
  GetInformation,
  GetDigConditionString,
  ExistsFuzzyChar,
  RepForFuzzy,
  RepCharWithChar,
};

// The types that members take and return.
enum class MemberType { String, Boolean, Integer, Variant, Object, Connection };

// An argument of a method; text and connections travel by reference and come back unchanged.
struct MemberArgument {
  TextView name;
  MemberType type;
};

// A member's signature. A property is read and written; one of an object type is set by reference.
struct MemberInfo {
  Member member;
  TextView name;
  bool is_property;
  MemberType type;  // of the property, or what the method returns
  std::span<const MemberArgument> arguments;
};

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

// The signature of `member`.
const MemberInfo& Describe(Member member) noexcept;

}  // namespace ledgerwick
