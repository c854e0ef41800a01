// Whatever the host or ADO raises reaches the caller of the member; nothing is left behind.
#include <doctest/doctest.h>

#include <algorithm>
#include <functional>
#include <optional>
#include <vector>

#include "ado_contract.h"
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

// What the component says itself when it is given what it cannot use.
struct OwnError {
  HRESULT code;
  TextView description;
};
constexpr HRESULT kTypeMismatch = Language(13);
constexpr HRESULT kNotSet = Language(91);
constexpr HRESULT kInvalidNull = Language(94);
constexpr HRESULT kNoObject = Language(424);
constexpr HRESULT kNoMember = Language(438);
constexpr HRESULT kIfRead = S_FALSE;  // error 13, or none
constexpr OwnError kOwnErrors[] = {
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
    // Passed over by contract: the drop, a journal's opening, the query for an account's parameter.
    {u"", L"Execute drop ", S_OK, S_OK, S_OK},
    {u"", L"Execute  IF EXISTS", S_OK, S_OK, S_OK},
    {u"clsRepLsz", L"Open", S_OK, S_OK, S_OK},
    {u"clsRepXCL", L"Put CursorLocation", S_OK, S_OK, S_OK},
    {u"clsRepXCL", L"Open S", S_OK, S_OK, S_OK},
    {u"clsRepXCL", L"RecordCount", S_OK, S_OK, S_OK},
    {u"clsRepXCL", L"Fields", S_OK, S_OK, S_OK},
    {u"clsRepXCL", L"Item c", S_OK, S_OK, S_OK},
    {u"clsRepXCL", L"Value", S_OK, S_OK, S_OK},
    // These do without filters.
    {u"clsRepHwhz", L"ReportFilterByName", kRaised, S_OK, kNoObject},
    {u"clsRepLsz", L"ReportFilterByName", kRaised, S_OK, kNoObject},
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

// How a use of the component or of its adapters ended.
struct Ended {
  std::optional<DatabaseError> error;
  bool answer = true;
};

Ended EndOf(Outcome outcome) {
  if (outcome.code == S_OK) return {std::nullopt, V_BOOL(outcome.result.Get()) != VARIANT_FALSE};
  CHECK(outcome.code == DISP_E_EXCEPTION);
  CHECK(outcome.exception.wCode == 0);
  return {FromException(outcome.exception), false};
}

void CheckError(const Ended& ended, HRESULT code, const DatabaseError& wanted) {
  CHECK(ended.error);
  if (!ended.error) return;
  CHECK(ToResult(ended.error->number) == code);
  CHECK(ToUtf8(ended.error->source) == ToUtf8(wanted.source));
  CHECK(ToUtf8(ended.error->description) == ToUtf8(wanted.description));
  CHECK(ToUtf8(ended.error->help_file) == ToUtf8(wanted.help_file));
  CHECK(ended.error->help_context == wanted.help_context);
}

// The whole error for a code: the one that the doubles raise, or one of the component's own.
DatabaseError ErrorFor(HRESULT code) {
  if (code != kRaised) {
    const OwnError& own = *std::find_if(std::begin(kOwnErrors), std::end(kOwnErrors),
                                        [&](const OwnError& e) { return e.code == code; });
    return {0, u"Ledgerwick", Text(own.description)};
  }
  DatabaseError error(0, FromWide(kRaisedSource), FromWide(kRaisedText));
  error.help_file = FromWide(kRaisedHelp);
  error.help_context = kRaisedContext;
  return error;
}

// These tell the user, or nobody, and answer False.
constexpr TextView kAnswerFalse[] = {u"newClsReportDaoSaleCost", u"newClsReportDaoSaleInCome",
                                     u"newClsReportDaoOutIncome", u"newclsReportDaotrust"};

void CheckEnd(TextView class_name, const Ended& ended, HRESULT wanted) {
  if (wanted == kIfRead) wanted = ended.error || !ended.answer ? kTypeMismatch : S_OK;
  const bool answers = std::find(std::begin(kAnswerFalse), std::end(kAnswerFalse), class_name) !=
                       std::end(kAnswerFalse);
  if (wanted == S_OK || answers) {
    CHECK_MESSAGE(!ended.error, (ended.error ? ended.error->what() : ""));
    if (wanted != S_OK) CHECK_FALSE(ended.answer);
  } else if (class_name == u"newclsReportDataSaleDetail") {
    DatabaseError again(0, u"",
                        ErrorFor(wanted).description +
                            u"\r\n错误位于模块：newclsReportDataSaleDetail."
                            u"MoveSaleDetail()");
    again.help_file = u"64";
    CheckError(ended, Language(1000), again);
  } else {
    CheckError(ended, wanted, ErrorFor(wanted));
  }
}

using Action = std::function<Ended(FakeWorld&)>;

// Performs `action` once for each mishap at each of its calls, and once more behind it, when
// nothing goes wrong.
void CheckEveryMishap(const Request& request, const Action& action) {
  const TextView class_name = request.report == nullptr ? TextView() : request.report->name;
  CAPTURE(ToUtf8(class_name));
  std::vector<std::wstring> calls;
  {
    FakeWorld world(request);
    REQUIRE_FALSE(action(world).error);
    calls = world.script.log;
  }
  CHECK(calls.size() > 3);
  for (std::size_t at = 0; at < calls.size(); ++at) {
    CAPTURE(ToUtf8(FromWide(calls[at].c_str())));
    for (const Mishap mishap : kMishaps) {
      CAPTURE(static_cast<int>(mishap));
      {
        FakeWorld world(request);
        const std::vector<FakeFilter> filters = world.filters;
        world.script.mishap_at = static_cast<int>(at);
        world.script.mishap = mishap;
        CheckEnd(class_name, action(world), Expected(class_name, calls[at], mishap));
        world.filters = filters;
        CHECK_FALSE(action(world).error);
      }
      CHECK(FakeObject::live == 0);
      CHECK(MayUnload());
    }
  }
}

// A procedure's call and the reading of a row, as the reports make them.
Ended UseAdo(FakeWorld& world) {
  try {
    const auto connection = std::make_shared<AdoConnection>(world.NewConnection());
    const std::unique_ptr<Command> command = connection->NewCommand();
    command->SetCommandText(u"Sa_MoveSaleDetail");
    command->SetCommandType(kCommandStoredProcedure);
    command->SetCommandTimeout(0);
    command->AppendParameter(u"chrdep", kLongVarChar, 0, u"");
    command->Execute(kOptionUnspecified);
    const std::unique_ptr<Recordset> rows = connection->OpenRecordset(u"select", kAnyRows);
    rows->SetFilter(u"a = 1");
    const std::int32_t count = rows->RecordCount();
    CHECK(count == 1);
    for (; !rows->AtEnd(); rows->MoveNext()) rows->Field(u"a").ToText();
    rows->Close();
    return {};
  } catch (const DatabaseError& error) {
    return {error, false};
  }
}

TEST_SUITE("failures") {
  TEST_CASE("a mishap at any call of the host or ADO has its exact error and leaves nothing") {
    FakeWorld().NewReport(*FindClass(u"clsInventroy"));  // loads the module
    const NoticeWatch watch(GetModuleHandleW(L"Ledgerwick.dll"));
    for (const Request& request : Requests()) {
      if (request.report->factory == nullptr) continue;
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
    CHECK(ToText(no_manager.exception.bstrSource) == u"Ledgerwick");

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
      const std::unique_ptr<Command> command = connection->NewCommand();
      command->SetCommandText(u"Sa_MoveSaleDetail");
      command->SetCommandType(kCommandStoredProcedure);
      command->SetCommandTimeout(0);
      command->AppendParameter(u"chrtable", kVarChar, 17, u"Sa_TempSaleDetail");
      command->AppendParameter(u"chrdep", kLongVarChar, 0, u"");
      command->Execute(kOptionUnspecified);
      REQUIRE(world.parameters.size() == 2);
      CHECK((world.parameters[0].name == u"chrtable" && world.parameters[0].type == kVarChar));
      CHECK(world.parameters[0].size == 17);
      CHECK((world.parameters[1].name == u"chrdep" && world.parameters[1].type == kLongVarChar));
      CHECK(world.parameters[1].size == (refuses ? 1 : 0));
    }
    CHECK(FakeObject::live == 0);
  }
}

}  // namespace
}  // namespace ledgerwick::com::testing
