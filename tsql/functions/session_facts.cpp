// Functions that tell what the session, the server and the catalogue are.
#include <algorithm>
#include <charconv>
#include <string>

#include "tsql/base/characters.h"
#include "tsql/functions/function_table.h"
#include "tsql/functions/type_facts.h"

namespace ledgerwick::tsql {
namespace {

// A fact's text, or its number.
void ReturnFact(Call& call, std::string_view fact, std::string_view argument, bool number = false) {
  const auto& ask = call.state().fact;
  const std::optional<std::string> known = ask ? ask(fact, argument) : std::nullopt;
  if (!known) return call.ReturnNull();
  std::int64_t value = 0;
  if (!number) return call.Return(std::string_view(*known));
  std::from_chars(known->data(), known->data() + known->size(), value);
  call.Return(value);
}

// What the function is asked about, where it has an argument.
std::string_view ArgumentOf(Call& call) { return call.size() > 0 ? call.Utf8(0) : ""; }

// Facts by the function's own name.
template <const char* kFact>
void TextFact(Call& call) {
  ReturnFact(call, kFact, ArgumentOf(call));
}
template <const char* kFact>
void NumberFact(Call& call) {
  ReturnFact(call, kFact, ArgumentOf(call), true);
}

// The same as a decimal(38,0).
template <const char* kFact>
void IdentityFact(Call& call) {
  const auto& ask = call.state().fact;
  const std::optional<std::string> known = ask ? ask(kFact, ArgumentOf(call)) : std::nullopt;
  if (!known) return call.ReturnNull();
  std::int64_t value = 0;
  std::from_chars(known->data(), known->data() + known->size(), value);
  call.ReturnUnits(value, kMostDigits);
}

constexpr char kDatabaseName[] = "DB_NAME";
constexpr char kDatabaseId[] = "DB_ID";
constexpr char kUserName[] = "USER_NAME";
constexpr char kLoginName[] = "SUSER_SNAME";
constexpr char kHostName[] = "HOST_NAME";
constexpr char kApplicationName[] = "APP_NAME";
constexpr char kSchemaName[] = "SCHEMA_NAME";
constexpr char kObjectName[] = "OBJECT_NAME";
constexpr char kYes[] = "YES";
constexpr char kScopeIdentity[] = "SCOPE_IDENTITY";
constexpr char kIdentityCurrent[] = "IDENT_CURRENT";
constexpr char kIdentitySeed[] = "IDENT_SEED";
constexpr char kIdentityStep[] = "IDENT_INCR";

// t_serverproperty(name)
void ServerProperty(Call& call) { ReturnFact(call, call.Utf8(0), {}); }

// t_databasepropertyex(database, name)
void DatabaseProperty(Call& call) {
  ReturnFact(call, "database " + std::string(call.Utf8(1)), call.Utf8(0));
}

// t_objectproperty(id, name)
void ObjectProperty(Call& call) {
  ReturnFact(call, "object " + std::string(call.Utf8(1)), call.Utf8(0), true);
}

// t_object_key(name): the number by which the catalogue knows an object of that name.
void ObjectKeyOf(Call& call) { call.Return(ObjectKey(ToText(call.Utf8(0)))); }

// t_type_fact(declaration, fact): what the catalogue tells of a column's type.
void TypeFact(Call& call) {
  std::string declaration(call.Utf8(0));
  std::transform(declaration.begin(), declaration.end(), declaration.begin(),
                 [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; });
  const bool row_number = declaration == "integer";  // the storage's own
  const TypeFacts facts = FactsOf(row_number ? MakeInt() : ParseTypeName(declaration));
  const std::string_view wanted = call.Utf8(1);
  if (wanted == "name") return call.Return(std::string_view(facts.name));
  const std::optional<std::int64_t> number = facts.Number(wanted);
  if (!number) return call.ReturnNull();
  call.Return(*number);
}

// t_described(schema, name): the columns of a view or the parameters of a procedure in JSON, each
// an array of its name, its type and whether it may be null or is for output.
void Described(Call& call) {
  ReturnFact(call, "described " + std::string(call.Utf8(0)), call.Utf8(1));
}

using Id = FunctionId;
using Result = FunctionResult;

constexpr FunctionSignature kFunctions[] = {
    {u"serverproperty", Id::Scalar, 1, 1, "t", Result::Name, ServerProperty, 1},
    {u"databasepropertyex", Id::Scalar, 2, 2, "tt", Result::Name, DatabaseProperty, 2},
    {u"objectproperty", Id::Scalar, 2, 2, "it", Result::Int, ObjectProperty, 2},
    {u"db_name", Id::Scalar, 0, 1, "i", Result::Name, TextFact<kDatabaseName>, 1},
    {u"db_id", Id::Scalar, 0, 1, "t", Result::Int, NumberFact<kDatabaseId>, 1},
    {u"user_name", Id::Scalar, 0, 1, "i", Result::Name, TextFact<kUserName>, 1},
    {u"suser_sname", Id::Scalar, 0, 1, "", Result::Name, TextFact<kLoginName>, 1},
    {u"suser_name", Id::Scalar, 0, 1, "i", Result::Name, TextFact<kLoginName>, 1},
    {u"original_login", Id::Scalar, 0, 0, "", Result::Name, TextFact<kLoginName>},
    {u"host_name", Id::Scalar, 0, 0, "", Result::Name, TextFact<kHostName>},
    {u"app_name", Id::Scalar, 0, 0, "", Result::Name, TextFact<kApplicationName>},
    {u"schema_name", Id::Scalar, 0, 1, "i", Result::Name, TextFact<kSchemaName>, 1},
    {u"object_name", Id::Scalar, 1, 2, "ii", Result::Name, TextFact<kObjectName>, 1},
    {u"is_srvrolemember", Id::Scalar, 1, 2, "tt", Result::Int, NumberFact<kYes>, 1},
    {u"is_member", Id::Scalar, 1, 1, "t", Result::Int, NumberFact<kYes>, 1},
    {u"has_dbaccess", Id::Scalar, 1, 1, "t", Result::Int, NumberFact<kYes>, 1},
    {u"scope_identity", Id::Scalar, 0, 0, "", Result::Identity, IdentityFact<kScopeIdentity>},
    {u"ident_current", Id::Scalar, 1, 1, "t", Result::Identity, IdentityFact<kIdentityCurrent>, 1},
    {u"ident_seed", Id::Scalar, 1, 1, "t", Result::Identity, IdentityFact<kIdentitySeed>, 1},
    {u"ident_incr", Id::Scalar, 1, 1, "t", Result::Identity, IdentityFact<kIdentityStep>, 1},
};

constexpr FunctionRow kHelpers[] = {
    {"t_object_key", 1, 1, 1, ObjectKeyOf},
    {"t_type_fact", 2, 2, 1, TypeFact},
    {"t_described", 2, 2, 2, Described},
};

}  // namespace

std::span<const FunctionSignature> SessionFunctions() { return kFunctions; }
std::span<const FunctionRow> SessionHelpers() { return kHelpers; }

}  // namespace ledgerwick::tsql
