// What a connection string asks for, whoever worded it.
#pragma once

#include <optional>
#include <utility>
#include <vector>

#include "frame/text.h"

namespace ledgerwick::odbc {

// A server to log in to, in ODBC's words.
struct Target {
  std::vector<std::pair<Text, Text>> attributes;  // keys and values, without the password
  Text server;    // as messages name it: the host, with its port or instance; or the data source
  Text host;      // to be looked up; empty where a data source's entry knows it
  Text database;  // empty for the login's own
  Text user;      // empty where the system's account logs in, or a data source's entry knows it
  std::optional<Text> password;
  std::optional<int> login_timeout;  // in seconds
  bool has_driver = false;           // the string names a driver or a data source
};

// True for a text that ParseTarget may be meant for: it holds a KEY=VALUE, or begins with mssql://.
bool LooksLikeServer(TextView text);

// Reads a connection string:
// - ODBC's, which names a driver or a data source (DSN), and goes to the driver as it is;
// - ADO's, whose keys (Data Source, Initial Catalog, User ID, Password, Integrated Security …) are
//   translated, and whose keys that are about ADO itself are left out;
// - mssql://user@host:port/database, with %XX for characters that have a meaning of their own.
// Throws DatabaseError for a text that is none of them or lacks the server.
Target ParseTarget(TextView text);

// What the driver manager is given. `driver` stands in where the string names none. Holds the
// password, so it must not be shown.
Text DriverString(const Target& target, TextView driver);

}  // namespace ledgerwick::odbc
