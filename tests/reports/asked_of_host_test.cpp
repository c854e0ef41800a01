// What reports ask of the host and of the database, class by class: how often, by which arguments,
// and which values they read.
#include <doctest/doctest.h>

#include <algorithm>

#include "double_world.h"
#include "frame/error.h"

namespace ledgerwick {
namespace {

// The number of the error that MoveDataDetail ends with, -1 for False, 0 for True.
std::int32_t EndOf(ReportProvider& report) {
  try {
    return report.MoveDataDetail() ? 0 : -1;
  } catch (const DatabaseError& error) {
    return error.number;
  }
}

struct Asked {
  TextView name;
  int sets;                         // how often the filter set is asked for
  std::string_view recordset;       // cursor location, cursor type, lock type, command type
  std::vector<TextView> read;       // the items, by name or caption, whose varValue is read
  std::vector<TextView> read_both;  // those whose varValue2 is read as well
};

const std::vector<Asked>& EveryClass() {
  static const std::vector<Asked> classes = {
      {u"newclsReportDataSaleTotal",
       3,
       "",
       {u"cWhCode", u"cChecker", u"Inventory.bService"},
       {u"dDate"}},
      {u"newclsReportDataSaleDetail",
       3,
       "",
       {u"cWhCode", u"cChecker", u"Inventory.bService"},
       {u"dDate"}},
      {u"newClsReportDaoSaleInCome", 1, "", {u"复核", u"劳务"}, {}},
      {u"newClsReportDaoSaleCost", 1, "", {}, {}},
      {u"newClsReportDaoConsignment", 3, "", {}, {u"发货日期", u"开票日期", u"收款日期"}},
      {u"newclsReportDaoOut", 2, "", {u"cVerifier", u"cVouchType"}, {u"dDate"}},
      {u"newClsReportDaoOutIncome", 2, "", {u"审核", u"单据类型"}, {}},
      {u"newclsReportDAOSRM", 2, "", {u"cChecker", u"cWhCode"}, {u"dDate"}},
      {u"newclsReportDaotrust", 2, "", {}, {u"dDate"}},
      {u"clsInventroy", 0, "", {}, {}},
      {u"clsRepAQKCYJ", 1, "", {u"def_queryType"}, {}},
      {u"clsRepBzqyj", 1, "", {u"InvType"}, {u"PassDays", u"CloserDays"}},
      {u"clsRepPcch", 1, "", {}, {u"dDate", u"dVeriDate"}},
      {u"clsRepHwhz", 2, "", {u"Warehouse.cWhCode"}, {u"JCQuantity"}},
      {u"clsRepLsz", 1, "", {u"VeriType", u"R.cWhCode", u"R.cRdCode"}, {}},
      {u"clsRepSFC",
       1,
       "334-1",
       {u"RdRecord.cWhCode", u"cInvType", u"cRdCode", u"iAssUnitGrade", u"BusCond", u"DispZeroInv",
        u"ExtAcc", u"VeriType"},
       {u"dDate", u"dVeriDate", u"JCQuantity"}},
      {u"clsRepXCL",
       1,
       "2311",
       {u"I.cBarCode", u"CS.cBatch", u"def_iInvCGrade", u"def_iPosCGrade", u"def_bStop"},
       {u"iNum"}},
  };
  return classes;
}

bool Holds(const std::vector<TextView>& names, const FilterItem& item) {
  return std::any_of(names.begin(), names.end(), [&](TextView name) {
    return EqualText(item.Name, name) || EqualText(item.strcaption, name);
  });
}

}  // namespace

TEST_CASE("the filter set is asked for as often as the steps say, by the title itself") {
  for (const Asked& asked : EveryClass()) {
    CAPTURE(ToUtf8(asked.name));
    DoubleWorld world(*FindClass(asked.name));
    world.title_suffix = u"x";
    const auto report = world.NewReport();
    report->ReportTitle = u"T";
    CHECK(EndOf(*report) == 0);
    CHECK(report->ReportTitle == u"T" + Text(static_cast<std::size_t>(asked.sets), u'x'));
    // A sales report that finds the set gone at a later step goes on without conditions.
    for (int sets = 1; sets < asked.sets && asked.name.starts_with(u"new"); ++sets) {
      DoubleWorld forgetful(*FindClass(asked.name));
      forgetful.sets = sets;
      CHECK(EndOf(*forgetful.NewReport()) == 0);
    }
  }
}

TEST_CASE(
    "connections, statements and recordsets are opened and run with the arguments laid down") {
  for (const Asked& asked : EveryClass()) {
    DoubleWorld world(*FindClass(asked.name));
    CHECK(EndOf(*world.NewReport()) == 0);
    int opened = 0;
    int recordsets = 0;
    for (const DoubleCall& call : world.calls) {
      CAPTURE(ToUtf8(asked.name));
      CAPTURE(call.text);
      if (call.text.starts_with("Execute command"))
        CHECK(call.text.ends_with(" options=-1"));
      else if (call.text.starts_with("Execute"))
        CHECK(call.text.starts_with("Execute options=-1"));
      if (call.text.starts_with("Open ")) {
        CHECK(call.text == "Open cs user= password= options=-1");
        ++opened;
      }
      if (call.text.starts_with("OpenRecordset")) {
        CHECK(call.text.substr(14) == asked.recordset);
        ++recordsets;
      }
    }
    CHECK(opened == 1);
    CHECK((recordsets > 0) == !asked.recordset.empty());
  }
}

TEST_CASE("a value that cannot be read hurts where a step reads it, and comes back as it was") {
  const Value array(std::make_shared<OpaqueValue>());
  for (const Asked& asked : EveryClass()) {
    const std::size_t count = DoubleWorld(*FindClass(asked.name)).items.size();
    std::size_t read = 0;
    for (std::size_t i = 0; i < count; ++i) {
      for (const bool second : {false, true}) {
        DoubleWorld world(*FindClass(asked.name));
        FilterItem& item = world.items[i];
        CAPTURE(ToUtf8(asked.name));
        CAPTURE(ToUtf8(item.Name));
        CAPTURE(second);
        (second ? item.varValue2 : item.varValue) = array;
        const bool is_read = Holds(asked.read_both, item) || (!second && Holds(asked.read, item));
        if (is_read) ++read;
        const std::int32_t end = EndOf(*world.NewReport());
        CHECK((is_read ? end == 13 || end == 1000 || end == -1 : end == 0));
        if (!is_read) CHECK((second ? item.varValue2 : item.varValue) == array);
      }
    }
    CHECK(read >= asked.read.size() + 2 * asked.read_both.size());
  }
}

}  // namespace ledgerwick
