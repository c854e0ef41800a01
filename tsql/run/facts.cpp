// What the session and the server tell of themselves.
#include <unistd.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdio>

#include "tsql/base/characters.h"
#include "tsql/run/interpreter.h"

namespace ledgerwick::tsql {
namespace {

constexpr int kMainNumber = 5;
constexpr int kTempdbNumber = 2;

std::string HostName() {
  std::array<char, 256> name{};
  return gethostname(name.data(), name.size() - 1) == 0 ? name.data() : "localhost";
}

std::string Version() {
  return std::to_string(kServerMajor) + "." + std::to_string(kServerMinor) + "." +
         std::to_string(kServerBuild) + ".0";
}

// `text` as a JSON string.
std::string JsonText(std::string_view text) {
  std::string json = "\"";
  for (const char c : text) {
    std::array<char, 8> escaped{};
    if (static_cast<unsigned char>(c) < ' ') {
      std::snprintf(escaped.data(), escaped.size(), "\\u%04x", static_cast<unsigned>(c));
      json += escaped.data();
      continue;
    }
    if (c == '"' || c == '\\') json += '\\';
    json += c;
  }
  return json + "\"";
}

bool Same(std::string_view a, std::string_view b) { return EqualText(ToText(a), ToText(b)); }

// What is the same for every session.
std::optional<std::string> ServerFact(std::string_view fact) {
  const std::pair<std::string_view, std::string> facts[] = {
      {"@@VERSION", "Ledgerwick - " + Version() + "\n\tT-SQL on SQLite\n"},
      {"@@SERVERNAME", HostName()},
      {"@@SERVICENAME", "LEDGERWICK"},
      {"@@MAX_PRECISION", "38"},
      {"@@MAX_CONNECTIONS", "32767"},
      {"@@MICROSOFTVERSION",
       std::to_string(kServerMajor << 24 | kServerMinor << 16 | kServerBuild)},
      {"@@OPTIONS", "5432"},
      {"@@PROCID", "0"},
      {"ProductVersion", Version()},
      {"ProductMajorVersion", std::to_string(kServerMajor)},
      {"ProductMinorVersion", std::to_string(kServerMinor)},
      {"ProductLevel", "RTM"},
      {"Edition", "Express Edition"},
      {"EditionID", "-1592396055"},
      {"EngineEdition", "4"},
      {"ServerName", HostName()},
      {"MachineName", HostName()},
      {"ProcessID", std::to_string(getpid())},
      {"Collation", "Chinese_PRC_CI_AS"},
      {"LCID", "2052"},
      {"SqlCharSetName", "cp936"},
      {"IsClustered", "0"},
      {"IsFullTextInstalled", "0"},
      {"IsIntegratedSecurityOnly", "0"},
      {"IsSingleUser", "0"},
      {"USER_NAME", "dbo"},
      {"SCHEMA_NAME", "dbo"},
      {"YES", "1"},
  };
  const auto* const found = std::find_if(std::begin(facts), std::end(facts),
                                         [&](const auto& pair) { return Same(pair.first, fact); });
  if (found == std::end(facts)) return std::nullopt;
  return found->second;
}

}  // namespace

std::optional<std::string> Interpreter::Fact(std::string_view fact, std::string_view argument) {
  const SessionIdentity& identity = storage_.options().session;
  const auto number_of = [](DatabaseId id) {
    return std::to_string(id == DatabaseId::Main ? kMainNumber : kTempdbNumber);
  };
  if (fact == "DB_NAME") {
    if (argument.empty()) return ToUtf8(catalogue_.NameOf(catalogue_.current()));
    for (const DatabaseId id : {DatabaseId::Main, DatabaseId::Tempdb}) {
      if (number_of(id) == argument) return ToUtf8(catalogue_.NameOf(id));
    }
    return std::nullopt;
  }
  if (fact == "DB_ID") {
    const auto id = catalogue_.FindDatabase(ToText(argument), {});
    return id ? std::optional(number_of(*id)) : std::nullopt;
  }
  constexpr std::string_view kDatabase = "database ";
  if (fact.starts_with(kDatabase)) {
    const std::string_view wanted = fact.substr(kDatabase.size());
    if (!catalogue_.FindDatabase(ToText(argument), {})) return std::nullopt;
    if (Same(wanted, "Status")) return "ONLINE";
    if (Same(wanted, "Updateability")) {
      return storage_.options().read_only ? "READ_ONLY" : "READ_WRITE";
    }
    return Same(wanted, "Collation") ? ServerFact(wanted) : std::nullopt;
  }
  constexpr std::string_view kObject = "object ";
  if (fact.starts_with(kObject)) return ObjectFact(fact.substr(kObject.size()), argument);
  if (fact == "OBJECT_NAME") return ObjectFact(fact, argument);
  if (fact.starts_with("IDENT_")) return IdentityFact(fact, argument);
  const auto number = [](const std::optional<std::int64_t>& value) {
    return value ? std::optional(std::to_string(*value)) : std::nullopt;
  };
  if (Same(fact, "@@IDENTITY")) return number(session_.identity);
  if (fact == "SCOPE_IDENTITY") return number(session_.frame->identity);
  constexpr std::string_view kDescribed = "described ";
  if (fact.starts_with(kDescribed)) {
    const bool main = fact.substr(kDescribed.size()) == SchemaName(DatabaseId::Main);
    return DescribeModule(main ? DatabaseId::Main : DatabaseId::Tempdb, ToText(argument));
  }
  if (Same(fact, "@@SPID")) return std::to_string(identity.number);
  const DateOptions& dates = storage_.functions().dates;
  if (Same(fact, "@@LANGUAGE")) return ToUtf8(LanguageName(dates.language));
  if (Same(fact, "@@LANGID")) return dates.language == Language::Chinese ? "30" : "0";
  if (Same(fact, "@@DATEFIRST")) return std::to_string(dates.first_weekday);
  if (Same(fact, "@@TEXTSIZE")) return session_.text_size;
  if (Same(fact, "@@LOCK_TIMEOUT")) return session_.lock_timeout;
  if (fact == "SUSER_SNAME") return ToUtf8(identity.user);
  if (fact == "HOST_NAME") return ToUtf8(identity.host);
  if (fact == "APP_NAME") return ToUtf8(identity.application);
  return ServerFact(fact);
}

// The columns of a view, or the parameters of a procedure, as t_described gives them. Nothing for
// one that could not be used as things are.
std::optional<std::string> Interpreter::DescribeModule(DatabaseId database, TextView name) {
  std::string list;
  const auto add = [&](TextView item, const Type& type, bool flag) {
    list.append(list.empty() ? "[[" : "],[").append(JsonText(ToUtf8(item))).append(",");
    list.append(JsonText(TypeName(type))).append(flag ? ",1" : ",0");
  };
  try {
    Arena arena;
    if (const ProcedureText* stored = catalogue_.FindProcedure(database, u"dbo", name)) {
      const std::shared_ptr<Procedure> procedure = Load(*stored);
      for (const Parameter& parameter : procedure->statement->parameters) {
        add(parameter.name.text, parameter.type, parameter.output);
      }
    } else {
      Text query = u"SELECT * FROM " + catalogue_.NameOf(database) + u"..[";
      for (const char16_t c : name) query.append(c == u']' ? 2 : 1, c);
      query += u"]";
      const Batch batch = ParseBatch(query, arena);
      Binder binder(query, arena, catalogue_);
      const BoundQuery* bound = binder.BindQuery(*As<SelectStatement>(*batch.statements[0])->query);
      for (std::size_t i = 0; i < bound->types.size(); ++i) {
        add(bound->names[i], bound->types[i], bound->types[i].nullable);
      }
    }
  } catch (const SqlError&) {
    return std::nullopt;
  }
  return list.empty() ? "[]" : list + "]]";
}

// The name of the object of that number, or whether it is of a kind.
std::optional<std::string> Interpreter::ObjectFact(std::string_view fact, std::string_view id) {
  std::int64_t number = 0;
  std::from_chars(id.data(), id.data() + id.size(), number);
  const auto object = catalogue_.FindById(number);
  if (!object) return std::nullopt;
  if (fact == "OBJECT_NAME") return object->first;
  const std::pair<std::string_view, std::string_view> kinds[] = {
      {"IsTable", "U"},     {"IsUserTable", "U"}, {"IsView", "V"},
      {"IsProcedure", "P"}, {"IsMSShipped", ""},
  };
  for (const auto& [name, kind] : kinds) {
    if (Same(name, fact)) return kind.find(object->second) != std::string_view::npos ? "1" : "0";
  }
  return std::nullopt;
}

}  // namespace ledgerwick::tsql
