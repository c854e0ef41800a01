// The component on the sample database, which the native helper owns.
#include <doctest/doctest.h>
#include <winsock2.h>
// winsock2.h comes before windows.h.
#include <cstdlib>

#include "com/ado.h"
#include "com/dispatch_object.h"
#include "com/variant_value.h"
#include "component.h"
#include "fake_world.h"
#include "frame/error.h"
#include "helper/wire.h"
#include "odbc_server.h"
#include "output/value_text.h"
#include "requests.h"
#include "tests/drivers/suite.h"

namespace ledgerwick::com::testing {
namespace {

Text Environment(const wchar_t* name) {
  const wchar_t* const text = _wgetenv(name);
  REQUIRE(text != nullptr);
  return FromWide(text);
}

// A value as the helper encodes it.
Value Decode(const std::string& field) {
  const std::string text = field.substr(1);
  const char kind = field.front();
  if (kind == 'n') return Null{};
  if (kind == 'b') return text == "1";
  if (kind == 'i') return std::int64_t{std::atoll(text.c_str())};
  if (kind == 'd') return std::atof(text.c_str());
  if (kind == 't') return Date{std::atof(text.c_str())};
  return FromUtf8(text);
}

// A session of the helper's. Connection strings are paths of databases.
class HelperSession final : public Server {
 public:
  HelperSession() {
    WSADATA data;
    WSAStartup(MAKEWORD(2, 2), &data);
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    const std::string port = ToUtf8(Environment(L"LEDGERWICK_HELPER_PORT"));
    address.sin_port = htons(static_cast<u_short>(std::atoi(port.c_str())));
    socket_ = socket(AF_INET, SOCK_STREAM, 0);
    REQUIRE(connect(socket_, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0);
  }
  ~HelperSession() override { closesocket(socket_); }

  void Open(const Text& path) override { Ask('O', path); }
  void Execute(const Text& batch) override { Ask('X', batch); }
  void Close() override { Ask('C', {}); }

  std::vector<CannedRow> Query(const Text& sql) override {
    std::vector<std::string> names;
    std::vector<CannedRow> rows;
    for (const std::string& line : Parts(Ask('Q', sql), kRowEnd)) {
      const std::vector<std::string> fields = Parts(line, kFieldEnd);
      if (names.empty()) {
        names = fields;
        continue;
      }
      CannedRow& row = rows.emplace_back();
      for (std::size_t i = 0; i < names.size(); ++i) {
        row.emplace_back(FromUtf8(names[i]), Decode(fields[i]));
      }
    }
    return rows;
  }

 private:
  std::string Ask(char operation, const Text& text) {
    const std::string request = operation + ToUtf8(text);
    send(socket_, request.c_str(), static_cast<int>(request.size()) + 1, 0);
    const std::string answer = ReadMessage([this](char* buffer, std::size_t size) {
      return recv(socket_, buffer, static_cast<int>(size), 0);
    });
    REQUIRE_FALSE(answer.empty());
    if (answer.front() == '+') return answer.substr(1);
    const std::vector<std::string> error = Parts(answer.substr(1), kFieldEnd);
    throw DatabaseError(std::atoi(error.at(0).c_str()), FromUtf8(error.at(1)),
                        FromUtf8(error.at(2)));
  }

  SOCKET socket_ = INVALID_SOCKET;
};

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
    for (const JsonMember& cell : row.members)
      text += cell.key + ": " + Shown(cell.node.value) + ", ";
  }
  return shown;
}

// Every field of every row of `table` in the database that `connection` names.
std::vector<std::string> HostRows(Server& server, const Text& connection, const Text& table) {
  server.Open(connection);
  std::vector<std::string> shown;
  for (const CannedRow& row : server.Query(u"SELECT * FROM " + table)) {
    std::string& text = shown.emplace_back();
    for (const auto& [name, value] : row) text += ToUtf8(name) + ": " + Shown(value) + ", ";
  }
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

// Each report fills its table through ADO's double, which leads to servers as `make_server` makes
// them, and the host reads what the native command gives.
void CheckReports(const FakeWorld::MakeServer& make_server, const Text& connection) {
  for (std::size_t i = 0; i < Requests().size(); ++i) {
    const Request& request = Requests()[i];
    const ClassInfo& info = *request.report;
    CAPTURE(i + 1);
    CAPTURE(ToUtf8(info.name));
    FakeWorld world(request, make_server);
    world.refuses_size_zero = true;
    DispatchObject report(world.NewReport(info, connection));
    const Text table = ToText(report.Call(L"TempTablename"));
    for (int run = 0; run < 2; ++run) {  // a table that is not there yet, and one that is
      const Variant done = report.Call(L"MoveDataDetail");
      CHECK(V_VT(done.Get()) == VT_BOOL);
      CHECK(V_BOOL(done.Get()) == VARIANT_TRUE);
    }
    CheckSameRows(HostRows(*make_server(), connection, table), NativeRows(i + 1));
    if (!info.Has(Member::strSubTitle)) continue;
    const std::string sub_title = ToUtf8(ToText(report.Call(L"strSubTitle")));
    CHECK_FALSE(sub_title.empty());
    CHECK(NativeOutput(i + 1, u"log").find('\n' + sub_title + '\n') != std::string::npos);
  }
}

TEST_SUITE("end to end") {
  TEST_CASE("a host reads the rows that the native command gives") {
    CheckReports([] { return std::make_shared<HelperSession>(); },
                 Environment(L"LEDGERWICK_DATABASE"));
  }
}

TEST_SUITE("served") {
  TEST_CASE("a host whose server is reached through ODBC reads the rows of the native command") {
    CheckReports([] { return NewOdbcServer(Environment(L"LEDGERWICK_ODBC_DRIVER")); },
                 Environment(L"LEDGERWICK_SERVER"));
  }
}

TEST_SUITE("end to end") {
  TEST_CASE("ADO's double passes the suite of the drivers") {
    FakeWorld world({}, [] { return std::make_shared<HelperSession>(); });
    const Text database = Environment(L"LEDGERWICK_EMPTY_DATABASE");
    using ledgerwick::testing::Ability;
    ledgerwick::testing::CheckDriver({[] { return AdoConnection::New(); },
                                      database,
                                      {Ability::ClosedCommand, Ability::ParameterType}});
  }
}

}  // namespace
}  // namespace ledgerwick::com::testing
