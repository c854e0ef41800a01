// What a host may do while a report calls it: every class, every call, every deed.
#include <doctest/doctest.h>

#include <algorithm>
#include <new>

#include "double_world.h"
#include "frame/error.h"

namespace ledgerwick {
namespace {

// Each class that fills a table, as far as it differs from "a new connection in mconn, which stays
// open, and errors that reach the host".
struct Ways {
  TextView name;
  bool closes = false;
  bool opens_hosts = false;
  enum { Raised, RaisedAgain, Silent, Conflict, NumberedConflict } reaction = Raised;
};
constexpr Ways kWays[] = {
    {u"newclsReportDataSaleTotal", true},
    {u"newclsReportDataSaleDetail", true, false, Ways::RaisedAgain},
    {u"newClsReportDaoSaleInCome", true, true, Ways::Silent},
    {u"newClsReportDaoSaleCost", true, true, Ways::Conflict},
    {u"newClsReportDaoConsignment", true},
    {u"newclsReportDaoOut", true},
    {u"newClsReportDaoOutIncome", true, false, Ways::NumberedConflict},
    {u"newclsReportDAOSRM", true},
    {u"newclsReportDaotrust", true, false, Ways::NumberedConflict},
    {u"clsInventroy", true},
    {u"clsRepAQKCYJ", true},
    {u"clsRepBzqyj", true},
    {u"clsRepPcch", true},
    {u"clsRepHwhz"},
    {u"clsRepLsz"},
    {u"clsRepSFC"},
    {u"clsRepXCL"},
};
static_assert(std::size(kWays) == 17);  // all but the sales profit

bool IsClass(const Ways& ways, TextView name) { return ways.name == name; }

constexpr TextView kPlace = u"\r\n错误位于模块：newclsReportDataSaleDetail.MoveSaleDetail()";

std::string Raised(const DatabaseError& error, TextView source, TextView help_file) {
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
    end = Raised(error, error.source, error.help_file);
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
    case Ways::Silent:
      return "False";
    case Ways::Conflict:
      return "False beep box 网络冲突，稍侯请重新刷新...";
    case Ways::NumberedConflict:
      return "False box " + number + "网络冲突，稍侯请重新刷新...";
    case Ways::RaisedAgain:
      return Raised({1000, {}, error.description + Text(kPlace)}, u"", u"64");
    case Ways::Raised:
      break;
  }
  return Raised(error, error.source, u"");
}

// True for the calls whose failure the class passes over.
bool IsPassedOver(const Ways& ways, const DoubleCall& call) {
  if (call.text.find("drop table") != std::string::npos ||
      call.text.find(" IF EXISTS") != std::string::npos) {
    return true;
  }
  const auto is = [&](const char* name) { return call.text.starts_with(name); };
  if (IsClass(ways, u"clsRepLsz")) return is("NewConnection") || is("Open ");
  if (IsClass(ways, u"clsRepXCL")) return is("OpenRecordset") || is("RecordCount") || is("Field");
  return false;
}

std::vector<DoubleCall> UndisturbedCalls(const Ways& ways) {
  DoubleWorld world(*FindClass(ways.name));
  const auto report = world.NewReport();
  CHECK(EndOf(world, *report) == "True");
  return world.calls;
}

// What comes after the call at `k`, in a run whose calls are `calls`: a call through `member` that
// the class does not pass over. A connection that is exchanged before the report puts its own into
// mconn makes no difference, nor does any for the report that keeps its own apart.
bool Needs(const Ways& ways, const std::vector<DoubleCall>& calls, std::size_t k, Through member) {
  const bool own = IsClass(ways, u"clsRepSFC");
  const auto made = std::find_if(calls.begin(), calls.end(),
                                 [](const DoubleCall& c) { return c.text == "NewConnection"; });
  const bool is_replaced =
      made != calls.end() && made - calls.begin() >= static_cast<std::ptrdiff_t>(k);
  if (member == Through::mconn && (own || is_replaced)) return false;
  const auto first = calls.begin() + static_cast<std::ptrdiff_t>(k) + 1;
  return std::any_of(first, calls.end(), [&](const DoubleCall& c) {
    return c.through == member && !IsPassedOver(ways, c);
  });
}

}  // namespace

TEST_CASE("what the host takes away in the middle of a call is error 91 for the next") {
  for (const Ways& ways : kWays) {
    const std::vector<DoubleCall> calls = UndisturbedCalls(ways);
    for (std::size_t k = 0; k < calls.size(); ++k) {
      for (const bool everything : {false, true}) {
        CAPTURE(ToUtf8(ways.name));
        CAPTURE(calls[k].text);
        CAPTURE(k);
        CAPTURE(everything);
        DoubleWorld world(*FindClass(ways.name));
        auto report = world.NewReport();
        world.deed_at = k;
        world.deed = [&] {
          report->mconn.reset();
          if (!everything) return;
          report->ObjReportManager.reset();
          report->objLogin.reset();
        };
        const bool misses = Needs(ways, calls, k, Through::mconn) ||
                            (everything && (Needs(ways, calls, k, Through::ObjReportManager) ||
                                            Needs(ways, calls, k, Through::objLogin)));
        CHECK(EndOf(world, *report) == (misses ? EndWith(ways, ObjectNotSet()) : "True"));
        report.reset();
        CHECK(world.alive == 0);
      }
    }
  }
}

TEST_CASE("the steps after an exchange of the connection use the new one") {
  for (const Ways& ways : kWays) {
    const std::vector<DoubleCall> calls = UndisturbedCalls(ways);
    for (std::size_t k = 0; k < calls.size(); ++k) {
      CAPTURE(ToUtf8(ways.name));
      CAPTURE(calls[k].text);
      CAPTURE(k);
      DoubleWorld world(*FindClass(ways.name));
      auto report = world.NewReport();
      int other = 0;
      world.deed_at = k;
      world.deed = [&] {
        report->mconn = world.MakeConnection(true);
        other = world.connections;
      };
      CHECK(EndOf(world, *report) == "True");
      REQUIRE(world.calls.size() == calls.size());
      const bool matters = Needs(ways, calls, k, Through::mconn);
      for (std::size_t j = k + 1; j < calls.size() && matters; ++j) {
        if (calls[j].through == Through::mconn) CHECK(world.calls[j].connection == other);
      }
      report.reset();
      CHECK(world.alive == 0);
    }
  }
}

TEST_CASE("a run within a run leaves its connection to the outer one") {
  const DatabaseError closed(3704, u"ADODB.Connection", u"closed");
  const DatabaseError open(3705, u"ADODB.Connection", u"open already");
  for (const Ways& ways : kWays) {
    const std::vector<DoubleCall> calls = UndisturbedCalls(ways);
    for (std::size_t k = 0; k < calls.size(); ++k) {
      CAPTURE(ToUtf8(ways.name));
      CAPTURE(calls[k].text);
      CAPTURE(k);
      DoubleWorld world(*FindClass(ways.name));
      auto report = world.NewReport();
      std::string inner;
      world.deed_at = k;
      world.deed = [&] { inner = EndOf(world, *report); };
      // A host's connection is open from the first call on; one that the inner run has made is
      // closed again, except where the class leaves that to the host.
      const bool finds_closed =
          ways.closes && !ways.opens_hosts && Needs(ways, calls, k, Through::mconn);
      CHECK(EndOf(world, *report) == (finds_closed ? EndWith(ways, closed) : "True"));
      CHECK(inner == (ways.opens_hosts && k > 0 ? EndWith(ways, open) : "True"));
      report.reset();
      CHECK(world.alive == 0);
    }
  }
}

TEST_CASE("an error in any call ends as the class has it, and so does memory that runs out") {
  const DatabaseError error(-2147217900, u"Host", u"拒绝");
  for (const Ways& ways : kWays) {
    const std::vector<DoubleCall> calls = UndisturbedCalls(ways);
    for (std::size_t k = 0; k < calls.size(); ++k) {
      for (const bool memory : {false, true}) {
        CAPTURE(ToUtf8(ways.name));
        CAPTURE(calls[k].text);
        CAPTURE(k);
        CAPTURE(memory);
        DoubleWorld world(*FindClass(ways.name));
        auto report = world.NewReport();
        world.deed_at = k;
        world.deed = [&] {
          if (memory) throw std::bad_alloc();
          throw error;
        };
        std::string end = EndWith(ways, memory ? DatabaseError(7, {}, u"Out of memory") : error);
        // Where nothing is trapped, the component's border tells the host.
        if (memory && ways.reaction == Ways::Raised) end = "no memory";
        const bool goes_on = IsPassedOver(ways, calls[k]);
        if (goes_on) end = "True";
        // The journal then finds its connection closed.
        if (IsClass(ways, u"clsRepLsz") && calls[k].text.starts_with("Open")) {
          end = EndWith(ways, DatabaseError(3704, u"ADODB.Connection", u"closed"));
        }
        CHECK(EndOf(world, *report) == end);
        if (!goes_on) CHECK(world.calls.size() == k + 1);
        report.reset();
        CHECK(world.alive == 0);
      }
    }
  }
}

TEST_CASE("without any connection every step that needs one is error 91") {
  for (const Ways& ways : kWays) {
    CAPTURE(ToUtf8(ways.name));
    DoubleWorld world(*FindClass(ways.name));
    const auto report = world.NewReport();
    report->mconn.reset();
    const DatabaseError none(429, {}, u"ActiveX component can't create object");
    world.deed = [&] { throw none; };
    const std::vector<DoubleCall> calls = UndisturbedCalls(ways);
    const auto made = std::find_if(calls.begin(), calls.end(),
                                   [](const DoubleCall& c) { return c.text == "NewConnection"; });
    if (made != calls.end()) world.deed_at = static_cast<std::size_t>(made - calls.begin());
    const bool goes_on = ways.opens_hosts || IsClass(ways, u"clsRepLsz");
    CHECK(EndOf(world, *report) == EndWith(ways, goes_on ? ObjectNotSet() : none));
  }
}

}  // namespace ledgerwick
