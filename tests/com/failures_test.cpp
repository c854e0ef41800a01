// Whatever the host or ADO raises reaches the caller of the member; nothing is left behind.
#include <doctest/doctest.h>

#include <algorithm>
#include <functional>
#include <map>
#include <optional>
#include <vector>

#include "com/ado.h"
#include "com/errors.h"
#include "com/host_objects.h"
#include "com/variant_value.h"
#include "component.h"
#include "fake_world.h"
#include "notices.h"
#include "requests.h"

namespace ledgerwick::com::testing {
namespace {

constexpr WORD kMethod = DISPATCH_METHOD;

constexpr HRESULT Language(unsigned number) { return static_cast<HRESULT>(0x800A0000 + number); }

constexpr HRESULT kTypeMismatch = Language(13);
constexpr HRESULT kNotSet = Language(91);
constexpr HRESULT kInvalidNull = Language(94);
constexpr HRESULT kNoObject = Language(424);
constexpr HRESULT kNoMember = Language(438);
constexpr HRESULT kIfRead = S_FALSE;  // error 13, or none
// What the component says itself when it is given what it cannot use.
const std::map<HRESULT, TextView> kOwnErrors = {
    {kTypeMismatch, u"Type mismatch"},
    {kNotSet, u"Object variable or With block variable not set"},
    {kInvalidNull, u"Invalid use of Null"},
    {kNoObject, u"Object required"},
    {kNoMember, u"Object doesn't support this property or method"},
};

// What comes of a call of the host or ADO that raises an error, gives null, or gives an array. The
// first rule decides whose beginnings of a class and of a call fit. A member that is not there is
// passed over where an error is.
struct Rule {
  TextView class_name;
  std::wstring_view call;
  HRESULT on_error;
  HRESULT on_null;
  HRESULT on_wrong_type;
};
constexpr Rule kRules[] = {
    // Passed over by contract: the drop.
    {u"", L"Execute drop ", S_OK, S_OK, S_OK},
    {u"", L"Execute  IF EXISTS", S_OK, S_OK, S_OK},
    // These do without filters.
    {u"clsRepHwhz", L"ReportFilterByName", kRaised, S_OK, kNoObject},
    {u"clsRepSFC", L"ReportFilterByName", kRaised, S_OK, kNoObject},
    {u"new", L"ReportFilterByName", kRaised, S_OK, kNoObject},
    // What is written, and methods without a result.
    {u"", L"Put ", kRaised, S_OK, S_OK},
    {u"", L"Open", kRaised, S_OK, S_OK},
    {u"", L"Execute", kRaised, S_OK, S_OK},
    {u"", L"Append", kRaised, S_OK, S_OK},
    {u"", L"MoveNext", kRaised, S_OK, S_OK},
    {u"", L"Close", kRaised, S_OK, S_OK},
    // Objects.
    {u"", L"ReportFilterByName", kRaised, kNotSet, kNoObject},
    {u"", L"Filters", kRaised, kNotSet, kNoObject},
    {u"", L"Item", kRaised, kNotSet, kNoObject},
    {u"", L"CreateParameter", kRaised, kNotSet, kNoObject},
    {u"", L"Parameters", kRaised, kNotSet, kNoObject},
    {u"", L"Fields", kRaised, kNotSet, kNoObject},
    // Numbers and truth values.
    {u"", L"Count", kRaised, kInvalidNull, kTypeMismatch},
    {u"", L"RecordCount", kRaised, kInvalidNull, kTypeMismatch},
    {u"", L"EOF", kRaised, kInvalidNull, kTypeMismatch},
    // A value counts when it is read, not where it is kept and put back.
    {u"", L"varValue", kRaised, S_OK, kIfRead},
    // Texts and values: null is an empty text.
    {u"", L"", kRaised, S_OK, kTypeMismatch},
};

constexpr Mishap kMishaps[] = {Mishap::Error, Mishap::NoMember, Mishap::Null, Mishap::WrongType};

HRESULT Expected(TextView class_name, const std::wstring& call, Mishap mishap) {
  const Rule& rule = *std::find_if(std::begin(kRules), std::end(kRules), [&](const Rule& r) {
    return class_name.starts_with(r.class_name) && call.starts_with(r.call);
  });
  if (mishap == Mishap::Null) return rule.on_null;
  if (mishap == Mishap::WrongType) return rule.on_wrong_type;
  return mishap == Mishap::NoMember && rule.on_error != S_OK ? kNoMember : rule.on_error;
}

// Reports that treat errors in ways of their own, for which tests/reports looks.
constexpr TextView kOwnWays[] = {u"clsRepLsz",
                                 u"clsRepXCL",
                                 u"newclsReportDataSaleDetail",
                                 u"newClsReportDaoSaleCost",
                                 u"newClsReportDaoSaleInCome",
                                 u"newClsReportDaoOutIncome",
                                 u"newclsReportDaotrust"};

// How a use of the component or of its adapters ended.
using Ended = std::optional<DatabaseError>;

Ended EndOf(Outcome outcome) {
  if (outcome.code == S_OK) return std::nullopt;
  CHECK(outcome.code == DISP_E_EXCEPTION);
  CHECK(outcome.exception.wCode == 0);
  return FromException(outcome.exception);
}

void CheckError(const Ended& ended, HRESULT code, const DatabaseError& wanted) {
  CHECK(ended);
  if (!ended) return;
  CHECK(ToResult(ended->number) == code);
  CHECK(ToUtf8(ended->source) == ToUtf8(wanted.source));
  CHECK(ToUtf8(ended->description) == ToUtf8(wanted.description));
  CHECK(ToUtf8(ended->help_file) == ToUtf8(wanted.help_file));
  CHECK(ended->help_context == wanted.help_context);
}

// The whole error for a code: the one that the doubles raise, or one of the component's own.
DatabaseError ErrorFor(HRESULT code) {
  if (code == kRaised) return RaisedError();
  return {0, u"Ledgerwick", Text(kOwnErrors.at(code))};
}

using Action = std::function<Ended(FakeWorld&)>;

// Performs `action` once for each mishap at each of its calls, and once more behind it, when
// nothing goes wrong.
void CheckEveryMishap(const Request& request, const Action& action) {
  const TextView class_name = request.report == nullptr ? TextView() : request.report->name;
  std::vector<std::wstring> calls;
  const auto count_calls = [&] {
    FakeWorld world(request);
    REQUIRE_FALSE(action(world));
    calls = world.script.log;
    return static_cast<int>(calls.size());
  };
  AtEveryStep(class_name, count_calls, 0, [&](int at) {
    const std::wstring& call = calls[static_cast<std::size_t>(at)];
    CAPTURE(ToUtf8(FromWide(call.c_str())));
    for (const Mishap mishap : kMishaps) {
      CAPTURE(static_cast<int>(mishap));
      FakeWorld world(request);
      const std::vector<FakeFilter> filters = world.filters;
      world.script.mishap_at = at;
      world.script.mishap = mishap;
      const Ended ended = action(world);
      HRESULT wanted = Expected(class_name, call, mishap);
      if (wanted == kIfRead) wanted = ended ? kTypeMismatch : S_OK;
      if (wanted == S_OK) {
        CHECK_MESSAGE(!ended, (ended ? ended->what() : ""));
      } else {
        CheckError(ended, wanted, ErrorFor(wanted));
      }
      world.filters = filters;
      CHECK_FALSE(action(world));
    }
  });
}

void CallProcedure(Connection& connection) {
  const std::unique_ptr<Command> command = connection.NewCommand();
  command->SetCommandText(u"Sa_MoveSaleDetail");
  command->SetCommandType(kCommandStoredProcedure);
  command->SetCommandTimeout(0);
  command->AppendParameter(u"chrtable", kVarChar, 17, u"Sa_TempSaleDetail");
  command->AppendParameter(u"chrdep", kLongVarChar, 0, u"");
  command->Execute(kOptionUnspecified);
}

// A procedure's call and the reading of a row, as the reports make them.
Ended UseAdo(FakeWorld& world) {
  try {
    const auto connection = std::make_shared<AdoConnection>(world.NewConnection());
    CallProcedure(*connection);
    const std::unique_ptr<Recordset> rows = connection->OpenRecordset(
        u"select", {kUseClient, kOpenStatic, kLockBatchOptimistic, kOptionUnspecified});
    rows->SetFilter(u"a = 1");
    const std::int32_t count = rows->RecordCount();
    CHECK(count == 1);
    for (; !rows->AtEnd(); rows->MoveNext()) rows->Field(u"a").ToText();
    rows->Close();
    return std::nullopt;
  } catch (const DatabaseError& error) {
    return error;
  }
}

TEST_SUITE("failures") {
  TEST_CASE("a mishap at any call of the host or ADO has its exact error and leaves nothing") {
    const NoticeWatch watch(LoadModule());
    for (const Request& request : Requests()) {
      if (std::find(std::begin(kOwnWays), std::end(kOwnWays), request.report->name) !=
          std::end(kOwnWays)) {
        continue;
      }
      CheckEveryMishap(request, [&](FakeWorld& world) {
        const ComPtr<IDispatch> report = world.NewReport(*request.report);
        return EndOf(Invoke(report.Get(), L"MoveDataDetail", kMethod));
      });
    }
  }

  TEST_CASE("a mishap at any call of a command or a recordset has its exact error") {
    Request request;
    request.recordsets = {{u"select", {{{u"a", Value(1)}}}}};
    CheckEveryMishap(request, UseAdo);
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
      const ComPtr<IDispatch> report = world.NewReport(*FindClass(u"clsInventroy"));
      world.script.mishap_at = 0;
      world.script.mishap = Mishap::Error;
      world.script.raised = c.scode;
      world.script.raised_code = c.code;
      CheckError(EndOf(Invoke(report.Get(), L"MoveDataDetail", kMethod)), c.wanted,
                 ErrorFor(kRaised));
    }
  }

  TEST_CASE("a caller of the function table gets the code and the description") {
    FakeWorld world;
    const ComPtr<IDispatch> report = world.NewReport(*FindClass(u"clsInventroy"));
    world.script.mishap_at = 0;
    world.script.mishap = Mishap::Error;
    using Move = HRESULT(STDMETHODCALLTYPE*)(IDispatch*, VARIANT_BOOL*);
    // Behind 7 entries of IDispatch, 8 of four properties, and the table's name.
    const auto move = EntryOf<Move>(report.Get(), 16);
    VARIANT_BOOL done = VARIANT_TRUE;
    CHECK(move(report.Get(), &done) == kRaised);
    CHECK(done == VARIANT_FALSE);
    ComPtr<IErrorInfo> info;
    REQUIRE(GetErrorInfo(0, info.Receive()) == S_OK);
    BString description;
    info->GetDescription(description.Address());
    CHECK(ToText(description.Get()) == RaisedError().description);
    GUID iid = {};
    info->GetGUID(&iid);
    CHECK(iid == IdentifiersOf(*FindClass(u"clsInventroy")).interface_id);
    CHECK(move(report.Get(), &done) == S_OK);
    CHECK(done == VARIANT_TRUE);
    world.script.mishap_at = world.script.calls;
    CHECK(move(report.Get(), &done) == kRaised);
    CHECK(move(report.Get(), nullptr) == E_POINTER);
    CHECK(GetErrorInfo(0, info.Receive()) == S_FALSE);  // the older one is not this call's
  }

  TEST_CASE("what is missing is an error of the language") {
    Script script;
    HostLogin login(FakeObject::Make(script, {}));
    CHECK(NumberOfError([&] { login.CurDate(); }) == 438);
    CHECK(NumberOfError([&] { HostLogin(ComPtr<IDispatch>()).cAcc_Id(); }) == 91);
    CHECK(NumberOfError([] { CreateByProgId(L"Ledgerwick.NoSuchClass"); }) == 429);
  }

  TEST_CASE("a parameter without size is appended again with size 1") {
    for (const bool refuses : {false, true}) {
      FakeWorld world;
      world.refuses_size_zero = refuses;
      const auto connection = std::make_shared<AdoConnection>(world.NewConnection());
      CallProcedure(*connection);
      std::string appended;
      for (const FakeParameter& p : world.parameters) {
        appended += ToUtf8(p.name + u"=" + p.value) + ' ' + std::to_string(p.type) + '/' +
                    std::to_string(p.size) + ' ';
      }
      CHECK(appended == std::string("chrtable=Sa_TempSaleDetail 200/17 chrdep= 201/") +
                            (refuses ? "1 " : "0 "));
    }
    CHECK(FakeObject::live == 0);
  }
}

}  // namespace
}  // namespace ledgerwick::com::testing
