// The members of the classes in the order that hosts have been built against. Written out here: the
// type library is made from the class table, so only a table of its own can tell when that changes.
#include "component/class_table.h"

#include <doctest/doctest.h>

#include <string>

using namespace ledgerwick;

TEST_CASE("every class has its members in the order that hosts know") {
  struct Row {
    TextView name;
    TextView help;
    std::string members;
  };
  const std::string set = "ObjReportManager ReportTitle ";
  const std::string string_first = set + "mConnectionString mconn ";
  const std::string connection_first = set + "mconn mConnectionString ";
  const std::string plain = connection_first + "TempTablename MoveDataDetail ";
  const Row rows[] = {
      {u"newclsReportDataSaleTotal", u"",
       string_first + "strSubTitle TempTablename MoveDataDetail "},
      {u"clsInventroy", u"", string_first + "TempTablename MoveDataDetail GetSubTitle "},
      {u"newClsReportDaoConsignment", u"",
       connection_first + "strSubTitle TempTablename MoveDataDetail:variant "},
      {u"newclsReportDaoOut", u"", connection_first + "strSubTitle TempTablename MoveDataDetail "},
      {u"newClsReportDaoOutIncome", u"",
       string_first + "TempTablename strSubTitle MoveDataDetail "},
      {u"newClsReportDaoSaleCost", u"", string_first + "strSubTitle TempTablename MoveDataDetail "},
      {u"newClsReportDaoSaleInCome", u"",
       string_first + "objLogin TempTablename strSubTitle MoveDataDetail "},
      {u"newClsReportDaoSaleProfit", u"",
       connection_first + "TempTablename strSubTitle MoveDataDetail "},
      {u"newclsReportDAOSRM", u"", string_first + "strSubTitle TempTablename MoveDataDetail "},
      {u"newclsReportDaotrust", u"", string_first + "strSubTitle TempTablename MoveDataDetail "},
      {u"newclsReportDataSaleDetail", u"",
       "ObjReportManager mConnectionString ReportTitle mconn TempTablename strSubTitle "
       "MoveDataDetail "},
      {u"clsRepAQKCYJ", u"安全库存预警", plain},
      {u"clsRepBzqyj", u"保质期预警",
       set + "mconn objLogin mConnectionString TempTablename MoveDataDetail "},
      {u"clsRepHwhz", u"货位汇总表", plain},
      {u"clsRepLsz", u"实现出入库流水帐", plain},
      {u"clsRepPcch", u"实现批次存货汇总表", plain},
      {u"clsRepSFC", u"实现收发存汇总表", plain + "IsBlank:variant SumString:integer "},
      {u"clsRepXCL", u"现存量",
       plain + "GetClassLength:integer GetGoodClass GetInformation GetDigConditionString "
               "ExistsFuzzyChar RepForFuzzy RepCharWithChar "},
  };
  REQUIRE(Classes().size() == std::size(rows));
  for (std::size_t i = 0; i < std::size(rows); ++i) {
    const ClassInfo& info = Classes()[i];
    CHECK(info.name == rows[i].name);
    CHECK(info.help == rows[i].help);
    std::string members;
    for (const Member member : info.members) {
      const MemberInfo& described = Describe(member);
      members += ToUtf8(described.name);
      if (described.type == MemberType::Variant) members += ":variant";
      if (described.type == MemberType::Integer) members += ":integer";
      members += ' ';
    }
    CHECK(members == rows[i].members);
  }
}
