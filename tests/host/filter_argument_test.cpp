// --filter arguments, and the table of filters behind them.
#include "host/filter_argument.h"

#include <doctest/doctest.h>

#include <set>

#include "host/filters.h"
#include "host/reference_host.h"

namespace ledgerwick {

TEST_CASE("a filter argument becomes an item that the host words") {
  struct Case {
    const char16_t* argument;
    const char16_t* name;
    const char16_t* value;
    const char16_t* upper;
    const char16_t* sql;
  };
  const Case cases[] = {
      {u"I.cInvCode=0101", u"I.cInvCode", u"0101", u"", u"I.cInvCode = '0101'"},
      {u"存货编码=01..02", u"I.cInvCode", u"01", u"02",
       u"I.cInvCode >= '01' And I.cInvCode <= '02'"},
      {u" i.cinvcode =01..", u"I.cInvCode", u"01", u"", u"I.cInvCode >= '01'"},
      {u"存货编码=..02", u"I.cInvCode", u"", u"02", u"I.cInvCode <= '02'"},
      {u"存货编码=", u"I.cInvCode", u"", u"", u""},
      {u"安全库存量=-1.5..+20", u"I.iSafeNum", u"-1.5", u"+20",
       u"I.iSafeNum >= '-1.5' And I.iSafeNum <= '+20'"},
      {u"存货名称=a..b", u"I.cInvName", u"a..b", u"", u"I.cInvName = 'a..b'"},
      {u"仓库名称=x=y", u"W.cWhName", u"x=y", u"", u"W.cWhName = 'x=y'"},
      {u"查询类型=高于安全库存量存货", u"def_queryType", u"高于安全库存量存货", u"",
       u"def_queryType = '高于安全库存量存货'"},
      {u"def_queryType=什么", u"def_queryType", u"什么", u"", u"def_queryType = '什么'"},
      {u"nosuch=1..2", u"nosuch", u"1", u"2", u"nosuch >= '1' And nosuch <= '2'"},
      {u"nosuch=O'N..", u"nosuch", u"O'N", u"", u"nosuch >= 'O''N'"},
  };
  for (const Case& c : cases) {
    CAPTURE(ToUtf8(c.argument));
    Request request;
    request.report = FindClass(u"clsRepAQKCYJ");
    ApplyFilterArgument(request, c.argument);
    REQUIRE(request.filters->size() == 1);
    ReferenceFilter filter(request.filters->front());
    CHECK(ToUtf8(filter.Name()) == ToUtf8(c.name));
    CHECK(ToUtf8(filter.varValue().ToText()) == ToUtf8(c.value));
    CHECK(ToUtf8(filter.varValue2().ToText()) == ToUtf8(c.upper));
    CHECK(ToUtf8(filter.strSqlString()) == ToUtf8(c.sql));
  }
}

TEST_CASE("the last of several filter arguments for an item counts, in a set that is there then") {
  Request request;
  request.report = FindClass(u"clsRepAQKCYJ");
  request.filters.reset();
  const std::vector<Text> arguments = {u"存货编码=01", u"new=1", u"i.cinvcode=02", u"NEW=2"};
  const std::vector<Finding> repeated = ApplyFilterArguments(request, arguments);
  REQUIRE(repeated.size() == 2);
  CHECK(ToUtf8(repeated[0].what) ==
        "--filter '存货编码=01' and --filter 'i.cinvcode=02' are both for I.cInvCode; the last one "
        "counts.");
  CHECK(ToUtf8(repeated[1].what) ==
        "--filter 'new=1' and --filter 'NEW=2' are both for NEW; the last one counts.");
  REQUIRE(request.filters.has_value());
  REQUIRE(request.filters->size() == 2);
  CHECK(request.filters->front().varValue.ToText() == u"02");
}

TEST_CASE("a filter argument that cannot be meant is refused") {
  for (const char16_t* argument :
       {u"x", u"=1", u" =1", u"", u"安全库存量=many", u"I.iSafeNum=1..b"}) {
    CAPTURE(ToUtf8(argument));
    Request request;
    request.report = FindClass(u"clsRepAQKCYJ");
    CHECK_THROWS_AS(ApplyFilterArgument(request, argument), FilterError);
  }
}

TEST_CASE("the table of filters names each filter and column once and every class exists") {
  for (const ReportInfo& report : ReportInfos()) {
    CAPTURE(ToUtf8(report.class_name));
    CHECK(FindClass(report.class_name) != nullptr);
    CHECK((!report.columns.empty() || !report.columns_note.empty()));
    std::set<Text> names;
    for (const FilterInfo& filter : report.filters) {
      CHECK(names.insert(FoldText(filter.name)).second);
      CHECK(names.insert(FoldText(filter.caption)).second);
      CHECK(filter.values.empty() == (filter.kind != FilterKind::Option));
    }
    std::set<Text> columns;
    for (const ResultColumnInfo& column : report.columns) {
      CHECK(columns.insert(FoldText(column.name)).second);
    }
  }
}

}  // namespace ledgerwick
