#include "odbc/driver.h"

#include <filesystem>
#include <vector>

#include "frame/error.h"
#include "odbc/odbc_api.h"

namespace ledgerwick::odbc {
namespace {

namespace fs = std::filesystem;

constexpr const char* kLibrary = "libtdsodbc.so";

// Where packages put FreeTDS's driver: Debian in a folder of the machine's kind, others beside all
// libraries.
Text FreeTdsPath() {
  std::error_code ignored;
  std::vector<fs::path> folders = {"/usr/lib64", "/usr/lib", "/usr/local/lib", "/usr/lib/odbc"};
  for (const auto& entry : fs::directory_iterator("/usr/lib", ignored)) {
    if (entry.path().filename().string().find("-linux-") == std::string::npos) continue;
    folders.push_back(entry.path() / "odbc");
    folders.push_back(entry.path());
  }
  for (const fs::path& folder : folders) {
    const fs::path path = folder / kLibrary;
    if (fs::exists(path, ignored)) return FromUtf8(path.string());
  }
  return {};
}

// The drivers with an entry in odbcinst.ini.
std::vector<Text> Registered() {
  std::vector<Text> names;
  const Handle environment(SQL_HANDLE_ENV, nullptr);
  SQLSetEnvAttr(environment.Get(), SQL_ATTR_ODBC_VERSION, AsPointer(SQL_OV_ODBC3), 0);
  char16_t name[256] = {};
  SQLSMALLINT length = 0;
  SQLWCHAR attributes[2];
  SQLSMALLINT attributes_length = 0;
  for (SQLUSMALLINT direction = SQL_FETCH_FIRST;
       Succeeded(SQLDriversW(environment.Get(), direction, Wide(name), 256, &length, attributes, 2,
                             &attributes_length));
       direction = SQL_FETCH_NEXT) {
    names.emplace_back(name);
  }
  return names;
}

bool IsFreeTds(TextView name) { return EqualText(name, u"FreeTDS") || EqualText(name, u"tdsodbc"); }

}  // namespace

Text DefaultDriver() {
  if (Text path = FreeTdsPath(); !path.empty()) return path;
  for (const Text& name : Registered()) {
    if (IsFreeTds(name) || FindText(name, u"for SQL Server") != Text::npos) return name;
  }
  throw DatabaseError(kErrorFailed, u"Ledgerwick",
                      u"No ODBC driver for SQL Server is installed: install FreeTDS's (on Debian "
                      u"apt-get install tdsodbc), or name another with Driver= in the connection "
                      u"string.");
}

Text DriverNamed(const Text& name) {
  if (!IsFreeTds(name)) return name;
  for (const Text& registered : Registered()) {
    if (EqualText(registered, name)) return name;
  }
  const Text path = FreeTdsPath();
  return path.empty() ? name : path;
}

}  // namespace ledgerwick::odbc
