// The members that a host finds on report classes, and their signatures. Which class has which of
// them the class table says.
#pragma once

#include <span>

#include "frame/text.h"

namespace ledgerwick {

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

// The signature of `member`.
const MemberInfo& Describe(Member member) noexcept;

}  // namespace ledgerwick
