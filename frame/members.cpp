#include "frame/members.h"

#include <cstddef>
#include <iterator>

namespace ledgerwick {
namespace {

using enum Member;

constexpr MemberArgument kStrString[] = {{u"strString", MemberType::String}};
constexpr MemberArgument kStrX[] = {{u"strX", MemberType::String}};
constexpr MemberArgument kCodingStr[] = {{u"codingStr", MemberType::String}};
constexpr MemberArgument kCon[] = {{u"con", MemberType::Connection}};
constexpr MemberArgument kInformation[] = {{u"cSysId", MemberType::String},
                                           {u"cName", MemberType::String},
                                           {u"con", MemberType::Connection}};
constexpr MemberArgument kDigCondition[] = {{u"sFieldName", MemberType::String},
                                            {u"text1", MemberType::String},
                                            {u"text2", MemberType::String}};
constexpr MemberArgument kToken[] = {{u"sToken", MemberType::String}};
constexpr MemberArgument kReplace[] = {
    {u"sToken", MemberType::String}, {u"cCh", MemberType::String}, {u"cCh2", MemberType::String}};

// In the order of the enumeration.
constexpr MemberInfo kMembers[] = {
    {ObjReportManager, u"ObjReportManager", true, MemberType::Object, {}},
    {ReportTitle, u"ReportTitle", true, MemberType::String, {}},
    {mConnectionString, u"mConnectionString", true, MemberType::String, {}},
    {mconn, u"mconn", true, MemberType::Connection, {}},
    {objLogin, u"objLogin", true, MemberType::Object, {}},
    {strSubTitle, u"strSubTitle", false, MemberType::String, {}},
    {TempTablename, u"TempTablename", false, MemberType::String, {}},
    {MoveDataDetail, u"MoveDataDetail", false, MemberType::Boolean, {}},
    {MoveDataDetailAsVariant, u"MoveDataDetail", false, MemberType::Variant, {}},
    {GetSubTitle, u"GetSubTitle", false, MemberType::String, {}},
    {IsBlank, u"IsBlank", false, MemberType::Variant, kStrString},
    {SumString, u"SumString", false, MemberType::Integer, kStrX},
    {GetClassLength, u"GetClassLength", false, MemberType::Integer, kCodingStr},
    {GetGoodClass, u"GetGoodClass", false, MemberType::String, kCon},
    {GetInformation, u"GetInformation", false, MemberType::String, kInformation},
    {GetDigConditionString, u"GetDigConditionString", false, MemberType::String, kDigCondition},
    {ExistsFuzzyChar, u"ExistsFuzzyChar", false, MemberType::Boolean, kToken},
    {RepForFuzzy, u"RepForFuzzy", false, MemberType::String, kToken},
    {RepCharWithChar, u"RepCharWithChar", false, MemberType::String, kReplace},
};

constexpr bool MembersStandInOrder() {
  for (std::size_t i = 0; i < std::size(kMembers); ++i) {
    if (static_cast<std::size_t>(kMembers[i].member) != i) return false;
  }
  return true;
}
static_assert(MembersStandInOrder());

}  // namespace

const MemberInfo& Describe(Member member) noexcept {
  return kMembers[static_cast<std::size_t>(member)];
}

}  // namespace ledgerwick
