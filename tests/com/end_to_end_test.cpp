// The component on the sample database, through the stand-in for ADO.
#include <doctest/doctest.h>

#include <cstdlib>
#include <functional>

#include "ado_contract.h"
#include "com/ado.h"
#include "com/errors.h"
#include "com/variant_value.h"
#include "component.h"
#include "fake_world.h"
#include "host/value_text.h"
#include "requests.h"

namespace ledgerwick::com::testing {
namespace {

Text Environment(const wchar_t* name) {
  const wchar_t* const text = _wgetenv(name);
  REQUIRE(text != nullptr);
  return FromWide(text);
}

// "Port=N;Database=PATH"
Text ConnectionString() { return Environment(L"LEDGERWICK_ADO_CONNECTION"); }

// A cell as both sides' rows are compared: numbers by their value, dates as the command writes
// them.
std::string Shown(const Value& value) {
  if (value.IsNull() || value.IsEmpty()) return "null";
  if (const auto* b = value.If<bool>()) return *b ? "true" : "false";
  if (const auto* i = value.If<std::int64_t>()) return ShortestNumber(static_cast<double>(*i));
  if (const auto* d = value.If<double>()) return ShortestNumber(*d);
  if (const auto* date = value.If<Date>()) return '"' + DateText(*date) + '"';
  return '"' + ToUtf8(value.ToText()) + '"';
}

std::string Shown(const std::string& column, const Value& value) {
  return column + ": " + Shown(value) + ", ";
}

// What `ledgerwick run` wrote for the request of that number, counted from 1: its rows (json) or
// what it told the user (log).
std::string NativeOutput(std::size_t number, const Text& kind) {
  const Text name = u"/" + Value(std::int64_t(number)).ToText() + u"." + kind;
  return ReadWhole(ToWide(Environment(L"LEDGERWICK_NATIVE_ROWS") + name));
}

std::vector<std::string> NativeRows(std::size_t number) {
  const JsonNode rows = ParseJson(NativeOutput(number, u"json"), "the native rows");
  std::vector<std::string> shown;
  for (const JsonNode& row : rows.items) {
    std::string& text = shown.emplace_back();
    for (const JsonMember& cell : row.members) text += Shown(cell.key, cell.node.value);
  }
  return shown;
}

// The rows of `table` as a host reads them: every field of every row.
std::vector<std::string> HostRows(const Text& table) {
  const auto connection = AdoConnection::New();
  connection->Open(ConnectionString(), u"", u"", kOptionUnspecified);
  DispatchObject rows = CreateByProgId(L"ADODB.Recordset");
  rows.Put(L"CursorLocation", Variant::OfInteger(kAnyRows.cursor_location));
  rows.Call(
      L"Open",
      {Variant::OfText(u"SELECT * FROM " + table), Variant::OfObject(connection->Object().Get()),
       Variant::OfInteger(kAnyRows.cursor_type), Variant::OfInteger(kAnyRows.lock_type),
       Variant::OfInteger(kAnyRows.command_type)});
  DispatchObject fields(ToObject(rows.Call(L"Fields")));
  std::vector<std::string> shown;
  for (; !ToBoolean(rows.Call(L"EOF")); rows.Call(L"MoveNext")) {
    std::string& text = shown.emplace_back();
    const std::int32_t count = ToInteger(fields.Call(L"Count"));
    for (std::int32_t i = 0; i < count; ++i) {
      DispatchObject field(ToObject(fields.Call(L"Item", {Variant::OfInteger(i)})));
      text += Shown(ToUtf8(ToText(field.Call(L"Name"))), ToValue(field.Call(L"Value")));
    }
  }
  rows.Call(L"Close");
  connection->Close();
  return shown;
}

void CheckSameRows(const std::vector<std::string>& host, const std::vector<std::string>& native) {
  CHECK_FALSE(native.empty());
  CHECK(host.size() == native.size());
  for (std::size_t i = 0; i < std::min(host.size(), native.size()); ++i) {
    CAPTURE(i);
    REQUIRE(host[i] == native[i]);
  }
}

TEST_SUITE("end to end") {
  TEST_CASE("a host reads the rows that the native command gives") {
    for (std::size_t i = 0; i < Requests().size(); ++i) {
      const Request& request = Requests()[i];
      const ClassInfo& info = *request.report;
      if (info.factory == nullptr) continue;
      CAPTURE(i + 1);
      CAPTURE(ToUtf8(info.name));
      FakeWorld world(request, FakeWorld::Ado::OfThePlatform);
      DispatchObject report(world.NewReport(info, ConnectionString()));
      const Text table = ToText(report.Call(L"TempTablename"));
      for (int run = 0; run < 2; ++run) {  // a table that is not there yet, and one that is
        const Variant done = report.Call(L"MoveDataDetail");
        CHECK(V_VT(done.Get()) == VT_BOOL);
        CHECK(V_BOOL(done.Get()) == VARIANT_TRUE);
      }
      CheckSameRows(HostRows(table), NativeRows(i + 1));
      if (!info.Has(Member::strSubTitle)) continue;
      const std::string sub_title = ToUtf8(ToText(report.Call(L"strSubTitle")));
      CHECK_FALSE(sub_title.empty());
      CHECK(NativeOutput(i + 1, u"log").find('\n' + sub_title + '\n') != std::string::npos);
    }
  }

  TEST_CASE("the server's and ADO's errors arrive as they are") {
    const auto connection = AdoConnection::New();
    CHECK(NumberOfError([&] { connection->Execute(u"select 1", kOptionUnspecified); }) == 3704);
    CHECK(NumberOfError([&] { connection->Close(); }) == 3704);
    connection->Open(ConnectionString(), u"", u"", kOptionUnspecified);
    CHECK(NumberOfError([&] { connection->Open(ConnectionString(), u"", u"", -1); }) == 3705);
    try {
      connection->Execute(u"select * from nosuch", kOptionUnspecified);
      FAIL("no error");
    } catch (const DatabaseError& error) {
      CHECK(error.number == kErrorNoTable);
      CHECK(error.description == u"Invalid object name 'nosuch'.");
      CHECK(error.source == u"Microsoft OLE DB Provider for SQL Server");
    }
    const std::unique_ptr<Recordset> rows = connection->OpenRecordset(u"select 1 as a", kAnyRows);
    CHECK(NumberOfError([&] { rows->Field(u"nothing"); }) == 3265);
    rows->MoveNext();
    CHECK(NumberOfError([&] { rows->MoveNext(); }) == 3021);
    rows->Close();
    connection->Close();
  }

  TEST_CASE("a command runs text, and calls a procedure with parameters that have a size") {
    const auto connection = AdoConnection::New();
    connection->Open(ConnectionString(), u"", u"", kOptionUnspecified);
    const auto run = [&](const Text& text, std::int32_t type) {
      const std::unique_ptr<Command> command = connection->NewCommand();
      if (type == kCommandStoredProcedure) command->AppendParameter(u"a", kVarChar, 0, u"");
      command->SetCommandText(text);
      command->SetCommandType(type);
      command->SetCommandTimeout(0);
      return NumberOfError([&] { command->Execute(kOptionUnspecified); });
    };
    connection->ExecuteIgnoringErrors(u"drop table tempdb..commands", kOptionUnspecified);
    CHECK(run(u"select 7 as a into tempdb..commands", kCommandText) == 0);
    CHECK((HostRows(u"tempdb..commands") == std::vector<std::string>{"a: 7, "}));
    CHECK(run(u"no_such_procedure", kCommandStoredProcedure) == kErrorSyntaxOrAccess);
    connection->Execute(u"drop table tempdb..commands", kOptionUnspecified);

    DispatchObject command = CreateByProgId(L"ADODB.Command");
    DispatchObject parameters(ToObject(command.Call(L"Parameters")));
    for (const std::int32_t type : {kVarChar, kLongVarChar}) {
      const Variant parameter =
          command.Call(L"CreateParameter", {Variant::OfText(u"a"), Variant::OfInteger(type),
                                            Variant::OfInteger(kParameterInput),
                                            Variant::OfInteger(0), Variant::OfText(u"")});
      CHECK(NumberOfError([&] { parameters.Call(L"Append", {parameter}); }) == 3708);
    }
  }
}

}  // namespace
}  // namespace ledgerwick::com::testing
