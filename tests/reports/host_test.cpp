// What reports ask of the host and of the database, class by class; and what a host may do while a
// report calls it: every class, every call, every deed.
#include <doctest/doctest.h>

#include <algorithm>
#include <new>

#include "double_world.h"
#include "frame/error.h"

namespace ledgerwick {
namespace {

// Whose connection the report uses: a new one in mconn, which it leaves open or closes, or the
// host's, which it opens.
enum class Uses { Open, Closed, Hosts };
using enum Uses;

// What becomes of errors.
enum class Reaction { Raised, Again, Silent, Conflict, Numbered };
using enum Reaction;

struct Ways {
  TextView name;
  Uses connection;
  Reaction reaction;
  int sets;                         // how often the filter set is asked for
  TextView read = u"";              // the items, by name or caption, whose varValue is read
  TextView read_both = u"";         // those whose varValue2 is read as well
  std::string_view recordset = "";  // cursor location, cursor type, lock type, command type
};
constexpr Ways kWays[] = {
    {u"newclsReportDataSaleTotal", Closed, Raised, 3, u"cWhCode cChecker Inventory.bService",
     u"dDate"},
    {u"newclsReportDataSaleDetail", Closed, Again, 3, u"cWhCode cChecker Inventory.bService",
     u"dDate"},
    {u"newClsReportDaoSaleInCome", Hosts, Silent, 1, u"复核 劳务"},
    {u"newClsReportDaoSaleCost", Hosts, Conflict, 1},
    {u"newClsReportDaoConsignment", Closed, Raised, 3, u"", u"发货日期 开票日期 收款日期"},
    {u"newclsReportDaoOut", Closed, Raised, 2, u"cVerifier cVouchType", u"dDate"},
    {u"newClsReportDaoOutIncome", Closed, Numbered, 2, u"审核 单据类型"},
    {u"newclsReportDAOSRM", Closed, Raised, 2, u"cChecker cWhCode", u"dDate"},
    {u"newclsReportDaotrust", Closed, Numbered, 2, u"", u"dDate"},
    {u"clsInventroy", Closed, Raised, 0},
    {u"clsRepAQKCYJ", Closed, Raised, 1, u"def_queryType"},
    {u"clsRepBzqyj", Closed, Raised, 1, u"InvType", u"PassDays CloserDays"},
    {u"clsRepPcch", Closed, Raised, 1, u"", u"dDate dVeriDate"},
    {u"clsRepHwhz", Open, Raised, 2, u"Warehouse.cWhCode", u"JCQuantity"},
    {u"clsRepLsz", Open, Raised, 1, u"VeriType R.cWhCode R.cRdCode"},
    {u"clsRepSFC", Open, Raised, 1,
     u"RdRecord.cWhCode cInvType cRdCode iAssUnitGrade BusCond DispZeroInv ExtAcc VeriType",
     u"dDate dVeriDate JCQuantity", "334-1"},
    {u"clsRepXCL", Open, Raised, 1, u"I.cBarCode CS.cBatch def_iInvCGrade def_iPosCGrade def_bStop",
     u"iNum", "2311"},
};
static_assert(std::size(kWays) == 17);  // all but the sales profit

constexpr TextView kPlace = u"\r\n错误位于模块：newclsReportDataSaleDetail.MoveSaleDetail()";

std::string Told(const DatabaseError& error, TextView source, TextView help_file) {
  return "error " + std::to_string(error.number) + ' ' + ToUtf8(error.description) + " of " +
         ToUtf8(source) + ", help " + ToUtf8(help_file);
}

// How MoveDataDetail ends, with what it shows the user.
std::string EndOf(DoubleWorld& world, ReportProvider& report) {
  const std::string shown_before = world.shown;
  world.shown.clear();
  std::string end;
  try {
    end = report.MoveDataDetail() ? "True" : "False";
  } catch (const DatabaseError& error) {
    end = Told(error, error.source, error.help_file);
  } catch (const std::bad_alloc&) {
    end = "no memory";
  }
  end += world.shown;
  world.shown = shown_before;
  return end;
}

// How it ends when `error` comes up in a step.
std::string EndWith(const Ways& ways, const DatabaseError& error) {
  const std::string number = std::to_string(error.number);
  switch (ways.reaction) {
    case Silent:
      return "False";
    case Conflict:
      return "False beep box 网络冲突，稍侯请重新刷新...";
    case Numbered:
      return "False box " + number + "网络冲突，稍侯请重新刷新...";
    case Again:
      return Told({1000, {}, error.description + Text(kPlace)}, u"", u"64");
    case Raised:
      break;
  }
  return Told(error, error.source, u"");
}

// True for the calls whose failure the class passes over.
bool IsPassedOver(const Ways& ways, const DoubleCall& call) {
  if (call.text.find("drop table") != std::string::npos ||
      call.text.find(" IF EXISTS") != std::string::npos) {
    return true;
  }
  const auto is = [&](const char* name) { return call.text.starts_with(name); };
  if (ways.name == u"clsRepLsz") return is("NewConnection") || is("Open ");
  if (ways.name == u"clsRepXCL") return is("OpenRecordset") || is("RecordCount") || is("Field");
  return false;
}

std::vector<DoubleCall> UndisturbedCalls(const Ways& ways) {
  DoubleWorld world(*FindClass(ways.name));
  const auto report = world.NewReport();
  CHECK(EndOf(world, *report) == "True");
  return world.calls;
}

// The call that makes the report's own connection; behind the last if there is none.
std::ptrdiff_t Made(const std::vector<DoubleCall>& calls) {
  const auto makes = [](const DoubleCall& call) { return call.text == "NewConnection"; };
  return std::find_if(calls.begin(), calls.end(), makes) - calls.begin();
}

// A run of the class whose call at `k` the test disturbs.
struct Disturbed {
  const Ways& ways;
  const std::vector<DoubleCall>& calls;  // undisturbed
  std::size_t k;
  DoubleWorld world{*FindClass(ways.name)};
  std::unique_ptr<ReportProvider> report = world.NewReport();

  void CheckEnd(const std::string& end) { CHECK(EndOf(world, *report) == end); }

  // Whether after that call comes a call through `member` that
  // the class does not pass over. A connection that is exchanged before the report puts its own
  // into mconn makes no difference, nor does any for the report that keeps its own apart.
  bool Needs(Through member) const {
    const bool own = ways.name == u"clsRepSFC";
    const std::ptrdiff_t made = Made(calls);
    const bool is_replaced = made < std::ssize(calls) && made >= static_cast<std::ptrdiff_t>(k);
    if (member == Through::mconn && (own || is_replaced)) return false;
    const auto first = calls.begin() + static_cast<std::ptrdiff_t>(k) + 1;
    return std::any_of(first, calls.end(), [&](const DoubleCall& c) {
      return c.through == member && !IsPassedOver(ways, c);
    });
  }
};

// Has `test` disturb every call of every class.
void ForEachCall(const std::function<void(Disturbed&)>& test) {
  for (const Ways& ways : kWays) {
    const std::vector<DoubleCall> calls = UndisturbedCalls(ways);
    for (std::size_t k = 0; k < calls.size(); ++k) {
      CAPTURE(ToUtf8(ways.name));
      CAPTURE(calls[k].text);
      CAPTURE(k);
      Disturbed run{ways, calls, k};
      run.world.deed_at = k;
      test(run);
      run.report.reset();
      CHECK(run.world.alive == 0);
    }
  }
}

// Whether the item stands, by name or caption, in a list of names between blanks.
bool Holds(TextView names, const FilterItem& item) {
  const auto has = [&](const Text& name) {
    return (u" " + Text(names) + u" ").find(u" " + name + u" ") != Text::npos;
  };
  return has(item.Name) || has(item.strcaption);
}

std::ptrdiff_t CountOf(TextView names) {
  return names.empty() ? 0 : 1 + std::count(names.begin(), names.end(), u' ');
}

}  // namespace

TEST_CASE("the filter set is asked for as often as the steps say, by the title itself") {
  for (const Ways& ways : kWays) {
    CAPTURE(ToUtf8(ways.name));
    DoubleWorld world(*FindClass(ways.name));
    world.title_suffix = u"x";
    const auto report = world.NewReport();
    report->ReportTitle = u"T";
    CHECK(EndOf(world, *report) == "True");
    CHECK(report->ReportTitle == u"T" + Text(static_cast<std::size_t>(ways.sets), u'x'));
    // A sales report that finds the set gone at a later step goes on without conditions.
    for (int sets = 1; sets < ways.sets && ways.name.starts_with(u"new"); ++sets) {
      DoubleWorld forgetful(*FindClass(ways.name));
      forgetful.sets = sets;
      CHECK(EndOf(forgetful, *forgetful.NewReport()) == "True");
    }
  }
}

TEST_CASE(
    "connections, statements and recordsets are opened and run with the arguments laid down") {
  for (const Ways& ways : kWays) {
    int opened = 0;
    int recordsets = 0;
    for (const DoubleCall& call : UndisturbedCalls(ways)) {
      CAPTURE(ToUtf8(ways.name));
      CAPTURE(call.text);
      const auto is = [&](const char* name) { return call.text.starts_with(name); };
      if (is("Execute command"))
        CHECK(call.text.ends_with(" options=-1"));
      else if (is("Execute"))
        CHECK(is("Execute options=-1"));
      if (is("Open ")) CHECK(call.text == "Open cs user= password= options=-1");
      if (is("OpenRecordset")) CHECK(call.text.substr(14) == ways.recordset);
      opened += is("Open ") ? 1 : 0;
      recordsets += is("OpenRecordset") ? 1 : 0;
    }
    CHECK(opened == 1);
    CHECK((recordsets > 0) == !ways.recordset.empty());
  }
}

TEST_CASE("a value that cannot be read hurts where a step reads it, and comes back as it was") {
  const Value array(std::make_shared<OpaqueValue>());
  for (const Ways& ways : kWays) {
    std::ptrdiff_t read = 0;
    for (std::size_t i = 0; i < DoubleWorld(*FindClass(ways.name)).items.size(); ++i) {
      for (const auto value : {&FilterItem::varValue, &FilterItem::varValue2}) {
        DoubleWorld world(*FindClass(ways.name));
        FilterItem& item = world.items[i];
        CAPTURE(ToUtf8(ways.name));
        CAPTURE(ToUtf8(item.Name));
        item.*value = array;
        const bool is_read = Holds(ways.read_both, item) ||
                             (value == &FilterItem::varValue && Holds(ways.read, item));
        if (is_read) ++read;
        const std::string end = EndOf(world, *world.NewReport());
        CAPTURE(end);
        const bool hurts = end.starts_with("error 13 ") || end.starts_with("error 1000 ") ||
                           end.starts_with("False");
        CHECK((is_read ? hurts : end == "True" && item.*value == array));
      }
    }
    CHECK(read >= CountOf(ways.read) + 2 * CountOf(ways.read_both));
  }
}

TEST_CASE("what the host takes away in the middle of a call is error 91 for the next") {
  for (const bool everything : {false, true}) {
    CAPTURE(everything);
    ForEachCall([&](Disturbed& run) {
      run.world.deed = [&] {
        run.report->mconn.reset();
        if (!everything) return;
        run.report->ObjReportManager.reset();
        run.report->objLogin.reset();
      };
      const bool misses =
          run.Needs(Through::mconn) ||
          (everything && (run.Needs(Through::ObjReportManager) || run.Needs(Through::objLogin)));
      run.CheckEnd(misses ? EndWith(run.ways, ObjectNotSet()) : "True");
    });
  }
}

TEST_CASE("the steps after an exchange of the connection use the new one") {
  ForEachCall([](Disturbed& run) {
    int other = 0;
    run.world.deed = [&] {
      run.report->mconn = run.world.MakeConnection(true);
      other = run.world.connections;
    };
    run.CheckEnd("True");
    REQUIRE(run.world.calls.size() == run.calls.size());
    const bool matters = run.Needs(Through::mconn);
    for (std::size_t j = run.k + 1; j < run.calls.size() && matters; ++j) {
      if (run.calls[j].through == Through::mconn) CHECK(run.world.calls[j].connection == other);
    }
  });
}

TEST_CASE("a run within a run leaves its connection to the outer one") {
  const DatabaseError closed(3704, u"ADODB.Connection", u"closed");
  const DatabaseError open(3705, u"ADODB.Connection", u"open already");
  ForEachCall([&](Disturbed& run) {
    std::string inner;
    run.world.deed = [&] { inner = EndOf(run.world, *run.report); };
    // A host's connection is open from the first call on; one that the inner run has made is
    // closed again, except where the class leaves that to the host.
    const bool finds_closed = run.ways.connection == Closed && run.Needs(Through::mconn);
    const bool finds_open = run.ways.connection == Hosts && run.k > 0;
    run.CheckEnd(finds_closed ? EndWith(run.ways, closed) : "True");
    CHECK(inner == (finds_open ? EndWith(run.ways, open) : "True"));
  });
}

TEST_CASE("an error in any call ends as the class has it, and so does memory that runs out") {
  const DatabaseError error(-2147217900, u"Host", u"拒绝");
  for (const bool memory : {false, true}) {
    CAPTURE(memory);
    ForEachCall([&](Disturbed& run) {
      const Ways& ways = run.ways;
      const DoubleCall& call = run.calls[run.k];
      run.world.deed = [&] {
        if (memory) throw std::bad_alloc();
        throw error;
      };
      std::string end = EndWith(ways, memory ? DatabaseError(7, {}, u"Out of memory") : error);
      // Where nothing is trapped, the component's border tells the host.
      if (memory && ways.reaction == Raised) end = "no memory";
      const bool goes_on = IsPassedOver(ways, call);
      if (goes_on) end = "True";
      // The journal then finds its connection closed.
      if (ways.name == u"clsRepLsz" && call.text.starts_with("Open")) {
        end = EndWith(ways, DatabaseError(3704, u"ADODB.Connection", u"closed"));
      }
      run.CheckEnd(end);
      if (!goes_on) CHECK(run.world.calls.size() == run.k + 1);
    });
  }
}

TEST_CASE("without any connection every step that needs one is error 91") {
  const DatabaseError none(429, {}, u"ActiveX component can't create object");
  for (const Ways& ways : kWays) {
    CAPTURE(ToUtf8(ways.name));
    DoubleWorld world(*FindClass(ways.name));
    const auto report = world.NewReport();
    report->mconn.reset();
    world.deed = [&] { throw none; };
    const std::vector<DoubleCall> calls = UndisturbedCalls(ways);
    const std::ptrdiff_t made = Made(calls);
    if (made < std::ssize(calls)) world.deed_at = static_cast<std::size_t>(made);
    const bool goes_on = ways.connection == Hosts || ways.name == u"clsRepLsz";
    CHECK(EndOf(world, *report) == EndWith(ways, goes_on ? ObjectNotSet() : none));
  }
}

}  // namespace ledgerwick
