// The component on the sample database, through the stand-in for ADO.
#include <doctest/doctest.h>

#include <cstdlib>
#include <functional>

#include "com/ado.h"
#include "com/errors.h"
#include "com/variant_value.h"
#include "component.h"
#include "fake_world.h"

namespace ledgerwick::com::testing {
namespace {

// "Port=N;Database=PATH"
Text ConnectionString() {
  const wchar_t* const text = _wgetenv(L"LEDGERWICK_ADO_CONNECTION");
  REQUIRE(text != nullptr);
  return FromWide(text);
}

std::int32_t NumberOfError(const std::function<void()>& action) {
  try {
    action();
  } catch (const DatabaseError& error) {
    return error.number;
  }
  return 0;
}

ComPtr<IDispatch> NewSafetyStock(FakeWorld& world, const Text& connection_string) {
  world.filters = {{u"def_queryType", Variant::OfText(u"高于安全库存量存货"), {}, u"", 0}};
  ComPtr<IDispatch> report;
  REQUIRE(Create(*FindClass(u"clsRepAQKCYJ"), report) == S_OK);
  Invoke(report.Get(), L"ObjReportManager", DISPATCH_PROPERTYPUTREF,
         {Variant::OfObject(world.NewManager().Get())});
  Invoke(report.Get(), L"mConnectionString", DISPATCH_PROPERTYPUT,
         {Variant::OfText(connection_string)});
  return report;
}

TEST_SUITE("end to end") {
  TEST_CASE("the safety-stock warning fills its table, again and again") {
    FakeWorld world(false);
    const ComPtr<IDispatch> report = NewSafetyStock(world, ConnectionString());
    for (int run = 0; run < 2; ++run) {
      const Outcome outcome = Invoke(report.Get(), L"MoveDataDetail", DISPATCH_METHOD);
      REQUIRE_MESSAGE(outcome.code == S_OK, ToUtf8(ToText(outcome.exception.bstrDescription)));
      CHECK(V_VT(outcome.result.Get()) == VT_BOOL);
      CHECK(V_BOOL(outcome.result.Get()) == VARIANT_TRUE);
    }
    // The report has left its connection in mconn, closed: the host may open it again.
    AdoConnection connection(ToObject(Invoke(report.Get(), L"mconn", DISPATCH_PROPERTYGET).result));
    connection.Open(ConnectionString(), u"", u"", kOptionUnspecified);
    const std::unique_ptr<Recordset> rows =
        connection.OpenRecordset(u"select * from tempdb..tempAqkcyj", {});
    int count = 0;
    for (; !rows->AtEnd(); rows->MoveNext()) {
      CHECK(ToNumber(rows->Field(u"CL")) > 0);
      ++count;
    }
    CHECK(count > 0);
    CHECK(rows->RecordCount() == count);
    CHECK(NumberOfError([&] { rows->Field(u"nothing"); }) == 3265);
    CHECK(NumberOfError([&] { rows->MoveNext(); }) == 3021);
    rows->Close();
    connection.Close();
  }

  TEST_CASE("the snapshot fills its table") {
    ComPtr<IDispatch> report;
    REQUIRE(Create(*FindClass(u"clsInventroy"), report) == S_OK);
    Invoke(report.Get(), L"mConnectionString", DISPATCH_PROPERTYPUT,
           {Variant::OfText(ConnectionString())});
    CHECK(Invoke(report.Get(), L"MoveDataDetail", DISPATCH_METHOD).code == S_OK);
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
    const std::unique_ptr<Command> command = connection->NewCommand();
    // Refused at first with 3708, because its size is 0.
    CHECK(NumberOfError([&] { command->AppendParameter(u"a", kVarChar, 0, u""); }) == 0);
    connection->Close();
  }

  TEST_CASE("a database that cannot be reached is the caller's error") {
    FakeWorld world(false);
    const ComPtr<IDispatch> report = NewSafetyStock(world, u"Port=1;Database=none");
    const Outcome outcome = Invoke(report.Get(), L"MoveDataDetail", DISPATCH_METHOD);
    REQUIRE(outcome.code == DISP_E_EXCEPTION);
    CHECK(outcome.exception.scode == E_FAIL);
    CHECK(ToText(outcome.exception.bstrDescription) ==
          u"SQL Server does not exist or access denied.");
  }
}

}  // namespace
}  // namespace ledgerwick::com::testing
