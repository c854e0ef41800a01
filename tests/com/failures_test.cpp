// Whatever the host or ADO raises reaches the caller of the member; nothing is left behind.
#include <doctest/doctest.h>

#include <functional>
#include <vector>

#include "com/ado.h"
#include "com/errors.h"
#include "com/host_objects.h"
#include "com/variant_value.h"
#include "component.h"
#include "dialogs.h"
#include "fake_world.h"

namespace ledgerwick::com::testing {
namespace {

constexpr WORD kMethod = DISPATCH_METHOD;

// A host with filters of every kind, ready to use any report.
void Furnish(FakeWorld& world) {
  world.filters = {{u"def_queryType", Variant::OfText(u"高于安全库存量存货"), {}, u"", 0},
                   {u"cWhCode", Variant::OfText(u"01"), {}, u"W.cWhCode = '01'", 0}};
  world.condition = u"W.cWhCode = '01'";
}

ComPtr<IDispatch> NewReport(FakeWorld& world, const ClassInfo& info) {
  ComPtr<IDispatch> report;
  REQUIRE(Create(info, report) == S_OK);
  const auto set = [&](const wchar_t* name, const ComPtr<IDispatch>& object) {
    Invoke(report.Get(), name, DISPATCH_PROPERTYPUTREF, {Variant::OfObject(object.Get())});
  };
  set(L"ObjReportManager", world.NewManager());
  set(L"mconn", world.NewConnection());
  if (info.Has(Member::objLogin)) set(L"objLogin", world.NewLogin());
  Invoke(report.Get(), L"ReportTitle", DISPATCH_PROPERTYPUT, {Variant::OfText(u"报表")});
  return report;
}

// The report that is not settled beyond its members: it raises E_NOTIMPL.
bool IsUnsettled(const ClassInfo& info) { return info.name == u"newClsReportDaoSaleProfit"; }

Text TextOf(BSTR string) { return ToText(string); }

void CheckRaised(const Outcome& outcome, HRESULT code) {
  REQUIRE(outcome.code == DISP_E_EXCEPTION);
  CHECK(outcome.exception.scode == code);
  CHECK(outcome.exception.wCode == 0);
  CHECK(TextOf(outcome.exception.bstrSource) == FromWide(kRaisedSource));
  CHECK(TextOf(outcome.exception.bstrDescription) == FromWide(kRaisedText));
  CHECK(TextOf(outcome.exception.bstrHelpFile) == FromWide(kRaisedHelp));
  CHECK(outcome.exception.dwHelpContext == kRaisedContext);
}

// Runs the report once and gives what its calls were.
std::vector<std::wstring> SuccessfulCalls(const ClassInfo& info) {
  FakeWorld world;
  Furnish(world);
  const ComPtr<IDispatch> report = NewReport(world, info);
  if (Invoke(report.Get(), L"MoveDataDetail", kMethod).code != S_OK) return {};
  return world.script.log;
}

TEST_SUITE("failures") {
  TEST_CASE("an error at any call of the host or ADO reaches the caller unchanged") {
    const ClassInfo& info = *FindClass(u"clsRepAQKCYJ");
    const std::vector<std::wstring> calls = SuccessfulCalls(info);
    REQUIRE(calls.size() > 10);
    for (int at = 0; at < static_cast<int>(calls.size()); ++at) {
      CAPTURE(at);
      FakeWorld world;
      Furnish(world);
      ComPtr<IDispatch> report = NewReport(world, info);
      world.script.mishap_at = at;
      world.script.mishap = Mishap::Error;
      const Outcome outcome = Invoke(report.Get(), L"MoveDataDetail", kMethod);
      const bool is_drop = at == 1;  // behind the opening
      if (is_drop) {
        CHECK(calls[1] == L"Execute");
        CHECK(outcome.code == S_OK);
      } else {
        CheckRaised(outcome, kRaised);
        // What the platform's dispatch does is what a caller of the function table sees.
        CHECK(Invoke(report.Get(), L"MoveDataDetail", kMethod).code == S_OK);
      }
      report.Reset();
      CHECK(FakeObject::live == 0);
      CHECK(MayUnload());
    }
  }

  TEST_CASE("no mishap at any call of any report leaves an object or the module behind") {
    const DialogWatch watch;
    for (const ClassInfo& info : Classes()) {
      if (info.factory == nullptr) continue;
      CAPTURE(ToUtf8(info.name));
      const int calls = static_cast<int>(SuccessfulCalls(info).size());
      if (!IsUnsettled(info)) CHECK(calls > 0);
      for (const Mishap mishap : {Mishap::Error, Mishap::Null, Mishap::WrongType}) {
        for (int at = 0; at < calls; ++at) {
          CAPTURE(at);
          FakeWorld world;
          Furnish(world);
          ComPtr<IDispatch> report = NewReport(world, info);
          world.script.mishap_at = at;
          world.script.mishap = mishap;
          const HRESULT code = Invoke(report.Get(), L"MoveDataDetail", kMethod).code;
          CHECK((code == S_OK || code == DISP_E_EXCEPTION));
          CHECK(Invoke(report.Get(), L"MoveDataDetail", kMethod).code == S_OK);
          report.Reset();
          CHECK(FakeObject::live == 0);
          CHECK(MayUnload());
        }
      }
    }
  }

  TEST_CASE("an error keeps its number in whichever form it was raised") {
    const struct {
      WORD code;
      HRESULT scode;
      HRESULT wanted;
    } cases[] = {
        {0, kRaised, kRaised},
        {0, E_ACCESSDENIED, E_ACCESSDENIED},
        {0, static_cast<HRESULT>(0x800A0E78), static_cast<HRESULT>(0x800A0E78)},
        {91, 0, static_cast<HRESULT>(0x800A005B)},
        {1000, 0, static_cast<HRESULT>(0x800A03E8)},
        {65535, 0, static_cast<HRESULT>(0x800AFFFF)},
        {0, S_OK, DISP_E_EXCEPTION},
    };
    for (const auto& c : cases) {
      CAPTURE(c.code);
      CAPTURE(c.scode);
      FakeWorld world;
      const ComPtr<IDispatch> report = NewReport(world, *FindClass(u"clsInventroy"));
      world.script.mishap_at = 0;
      world.script.mishap = Mishap::Error;
      world.script.raised = c.scode;
      world.script.raised_code = c.code;
      CheckRaised(Invoke(report.Get(), L"MoveDataDetail", kMethod), c.wanted);
    }
  }

  TEST_CASE("a caller of the function table gets the code and the description") {
    FakeWorld world;
    const ComPtr<IDispatch> report = NewReport(world, *FindClass(u"clsInventroy"));
    world.script.mishap_at = 0;
    world.script.mishap = Mishap::Error;
    using Move = HRESULT(STDMETHODCALLTYPE*)(IDispatch*, VARIANT_BOOL*);
    // Behind 7 entries of IDispatch, 8 of four properties, and the table's name.
    const auto move = reinterpret_cast<Move>((*reinterpret_cast<void***>(report.Get()))[16]);
    VARIANT_BOOL done = VARIANT_TRUE;
    CHECK(move(report.Get(), &done) == kRaised);
    CHECK(done == VARIANT_FALSE);
    ComPtr<IErrorInfo> info;
    REQUIRE(GetErrorInfo(0, info.Receive()) == S_OK);
    BString description;
    info->GetDescription(description.Address());
    CHECK(ToText(description.Get()) == FromWide(kRaisedText));
    GUID iid = {};
    info->GetGUID(&iid);
    CHECK(iid == IdentifiersOf(*FindClass(u"clsInventroy")).interface_id);
    CHECK(move(report.Get(), &done) == S_OK);
    CHECK(done == VARIANT_TRUE);
  }

  TEST_CASE("what is missing is an error of the language") {
    FakeWorld world;
    ComPtr<IDispatch> report;
    REQUIRE(Create(*FindClass(u"clsRepAQKCYJ"), report) == S_OK);
    const Outcome no_manager = Invoke(report.Get(), L"MoveDataDetail", kMethod);
    REQUIRE(no_manager.code == DISP_E_EXCEPTION);
    CHECK(no_manager.exception.scode == static_cast<HRESULT>(0x800A005B));  // 91
    CHECK(TextOf(no_manager.exception.bstrSource) == u"Ledgerwick");

    Script script;
    HostLogin login(FakeObject::Make(script, {}));
    const auto number = [](const std::function<void()>& action) {
      try {
        action();
      } catch (const DatabaseError& error) {
        return error.number;
      }
      return 0;
    };
    CHECK(number([&] { login.CurDate(); }) == 438);
    CHECK(number([&] { HostLogin(ComPtr<IDispatch>()).cAcc_Id(); }) == 91);
    CHECK(number([] { CreateByProgId(L"Ledgerwick.NoSuchClass"); }) == 429);
  }

  TEST_CASE("a parameter without size is appended again with size 1") {
    for (const bool refuses : {false, true}) {
      FakeWorld world;
      world.refuses_size_zero = refuses;
      const auto connection = std::make_shared<AdoConnection>(world.NewConnection());
      const std::unique_ptr<Command> command = connection->NewCommand();
      command->SetCommandText(u"Sa_MoveSaleDetail");
      command->SetCommandType(kCommandStoredProcedure);
      command->SetCommandTimeout(0);
      command->AppendParameter(u"chrtable", kVarChar, 17, u"Sa_TempSaleDetail");
      command->AppendParameter(u"chrdep", kLongVarChar, 0, u"");
      command->Execute(kOptionUnspecified);
      const std::vector<std::wstring> wanted = {L"chrtable/200/17",
                                                refuses ? L"chrdep/201/1" : L"chrdep/201/0"};
      CHECK((world.parameters == wanted));
    }
    CHECK(FakeObject::live == 0);
  }
}

}  // namespace
}  // namespace ledgerwick::com::testing
