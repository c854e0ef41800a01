#include "host/request.h"

#include <algorithm>
#include <initializer_list>
#include <limits>
#include <string>

#include "frame/error.h"
#include "host/json_document.h"
#include "host/suggest.h"

namespace ledgerwick {
namespace {

constexpr TextView kProgIdPrefix = u"Ledgerwick.";

std::string Quoted(std::string_view text) { return '"' + std::string(text) + '"'; }

std::string WithSuggestion(std::string message, std::string_view name,
                           const std::vector<std::string>& known) {
  const std::string nearest = Nearest(name, known);
  if (!nearest.empty()) message += "; did you mean " + Quoted(nearest) + '?';
  return message;
}

// Three numbers parted by - or /, and perhaps a time behind them.
bool IsLaidOutAsDate(TextView text) noexcept {
  text = Trim(text);
  text = text.substr(0, text.find(u' '));
  const auto is_part = [](char16_t c) { return c == u'-' || c == u'/'; };
  const auto is_digit = [](char16_t c) { return c >= u'0' && c <= u'9'; };
  return std::count_if(text.begin(), text.end(), is_part) == 2 && !text.empty() &&
         is_digit(text.front()) && is_digit(text.back()) &&
         std::all_of(text.begin(), text.end(),
                     [&](char16_t c) { return is_part(c) || is_digit(c); });
}

// Reads the nodes of a request and complains in its file's name.
class RequestReader {
 public:
  explicit RequestReader(std::string_view file_name) : file_name_(file_name) {}

  Request Read(const JsonNode& root) {
    CheckObject(root, "the request",
                {"class", "ReportTitle", "machine", "connectionString", "filters", "login",
                 "recordsets", "fail_at"});
    Request request;
    request.report = &ReadClass(Require(root, "class"));
    Optional(root, "ReportTitle", [&](auto& m) { request.ReportTitle = ReadText(m); });
    Optional(root, "machine", [&](auto& m) { request.machine = ReadText(m); });
    Optional(root, "connectionString", [&](auto& m) { request.connectionString = ReadText(m); });
    Optional(root, "filters", [&](auto& m) { request.filters = ReadFilters(m); });
    Optional(root, "login", [&](auto& m) { request.login = ReadLogin(m); });
    Optional(root, "recordsets", [&](auto& m) { request.recordsets = ReadRecordsets(m); });
    Optional(root, "fail_at", [&](auto& m) { request.fail_at = ReadFailure(m); });
    return request;
  }

 private:
  using Keys = std::initializer_list<const char*>;

  [[noreturn]] void Fail(FilePosition at, const std::string& message) const {
    throw FileError(file_name_, at, message);
  }
  [[noreturn]] void WrongType(const JsonMember& member, std::string_view wanted) const {
    Fail(member.node.at, Quoted(member.key) + " must be " + std::string(wanted));
  }

  void CheckObject(const JsonNode& node, const std::string& what, Keys keys) const {
    if (node.kind != JsonNode::Kind::Object) Fail(node.at, what + " must be an object");
    const std::vector<std::string> known(keys.begin(), keys.end());
    for (const JsonMember& member : node.members) {
      if (std::find(known.begin(), known.end(), member.key) != known.end()) continue;
      Fail(member.at, WithSuggestion("unknown key " + Quoted(member.key), member.key, known));
    }
  }
  static const JsonMember* Find(const JsonNode& object, std::string_view key) {
    for (const JsonMember& member : object.members) {
      if (member.key == key) return &member;
    }
    return nullptr;
  }
  template <typename Reader>
  static void Optional(const JsonNode& object, std::string_view key, Reader read) {
    if (const JsonMember* member = Find(object, key)) read(*member);
  }
  const JsonMember& Require(const JsonNode& object, std::string_view key) const {
    if (const JsonMember* member = Find(object, key)) return *member;
    Fail(object.at, Quoted(key) + " is missing");
  }

  Text ReadText(const JsonMember& member) const {
    if (const Text* text = member.node.value.If<Text>()) return *text;
    WrongType(member, "a string");
  }
  Value ReadScalar(const JsonMember& member) const {
    if (member.node.kind == JsonNode::Kind::Scalar) return member.node.value;
    WrongType(member, "a string, a number, true, false or null");
  }
  static Value ReadValue(const JsonMember& member) {
    if (member.node.kind == JsonNode::Kind::Scalar) return member.node.value;
    return Value(std::make_shared<JsonValue>(member.node));
  }
  std::int64_t ReadInteger(const JsonMember& member, std::int64_t least, std::int64_t most,
                           std::string_view wanted) const {
    const auto* i = member.node.value.If<std::int64_t>();
    if (!i || *i < least || *i > most) WrongType(member, wanted);
    return *i;
  }

  const ClassInfo& ReadClass(const JsonMember& member) const {
    const Text name = ReadText(member);
    if (const ClassInfo* found = FindReportClass(name)) return *found;
    Fail(member.node.at, UnknownClassMessage(ToUtf8(name)));
  }

  std::optional<std::vector<FilterItem>> ReadFilters(const JsonMember& member) const {
    if (member.node.IsNull()) return std::nullopt;
    if (member.node.kind != JsonNode::Kind::List) WrongType(member, "a list or null");
    std::vector<FilterItem> items;
    for (const JsonNode& node : member.node.items) items.push_back(ReadFilter(node));
    return items;
  }
  FilterItem ReadFilter(const JsonNode& node) const {
    CheckObject(node, "a filter", {"Name", "strcaption", "varValue", "varValue2", "strSqlString"});
    FilterItem item;
    item.Name = ReadText(Require(node, "Name"));
    Optional(node, "strcaption", [&](auto& m) { item.strcaption = ReadText(m); });
    Optional(node, "varValue", [&](auto& m) { item.varValue = ReadValue(m); });
    Optional(node, "varValue2", [&](auto& m) { item.varValue2 = ReadValue(m); });
    Optional(node, "strSqlString", [&](auto& m) { item.strSqlString = ReadText(m); });
    return item;
  }

  // A text that is no date at all is the host's own affair; one that is laid out as a date and
  // names none is a slip.
  Value ReadLoginDate(const JsonMember& member) const {
    const Value date = ReadScalar(member);
    const Text* text = date.If<Text>();
    if (text && IsLaidOutAsDate(*text) && !ParseDate(*text)) {
      Fail(member.node.at, "\"CurDate\" is no date: the calendar has no " + ToUtf8(*text));
    }
    return date;
  }
  std::optional<LoginMembers> ReadLogin(const JsonMember& member) const {
    if (member.node.IsNull()) return std::nullopt;
    CheckObject(member.node, "\"login\"", {"CurDate", "cAcc_Id"});
    LoginMembers login;
    Optional(member.node, "CurDate", [&](auto& m) { login.CurDate = ReadLoginDate(m); });
    Optional(member.node, "cAcc_Id", [&](auto& m) { login.cAcc_Id = ReadScalar(m); });
    return login;
  }

  std::vector<CannedRecordset> ReadRecordsets(const JsonMember& member) const {
    if (member.node.kind != JsonNode::Kind::List) WrongType(member, "a list");
    std::vector<CannedRecordset> recordsets;
    for (const JsonNode& node : member.node.items) {
      CheckObject(node, "a recordset", {"match", "rows"});
      CannedRecordset& recordset = recordsets.emplace_back();
      recordset.match = ReadText(Require(node, "match"));
      recordset.rows = ReadRows(Require(node, "rows"));
    }
    return recordsets;
  }
  std::vector<CannedRow> ReadRows(const JsonMember& member) const {
    if (member.node.kind != JsonNode::Kind::List) WrongType(member, "a list");
    std::vector<CannedRow> rows;
    for (const JsonNode& node : member.node.items) {
      if (node.kind != JsonNode::Kind::Object) Fail(node.at, "a row must be an object");
      CannedRow& row = rows.emplace_back();
      for (const JsonMember& column : node.members) {
        row.emplace_back(FromUtf8(column.key), ReadScalar(column));
      }
    }
    return rows;
  }

  PlannedFailure ReadFailure(const JsonMember& member) const {
    using Limits = std::numeric_limits<std::int32_t>;
    CheckObject(member.node, "\"fail_at\"", {"index", "number", "description"});
    PlannedFailure failure;
    failure.index =
        ReadInteger(Require(member.node, "index"), 0, Limits::max(), "a whole number from 0");
    failure.number = kErrorFailed;
    Optional(member.node, "number", [&](auto& m) {
      failure.number = static_cast<std::int32_t>(
          ReadInteger(m, Limits::min(), Limits::max(), "a whole number of 32 bits"));
    });
    Optional(member.node, "description", [&](auto& m) { failure.description = ReadText(m); });
    return failure;
  }

  std::string_view file_name_;
};

}  // namespace

Request ParseRequest(std::string_view utf8, std::string_view file_name) {
  return RequestReader(file_name).Read(ParseJson(utf8, file_name));
}

bool HasProgIdPrefix(TextView name) noexcept {
  return EqualText(name.substr(0, kProgIdPrefix.size()), kProgIdPrefix);
}

const ClassInfo* FindReportClass(TextView name) noexcept {
  return FindClass(HasProgIdPrefix(name) ? name.substr(kProgIdPrefix.size()) : name);
}

std::vector<std::string> ClassNames() {
  std::vector<std::string> names;
  for (const ClassInfo& info : Classes()) names.push_back(ToUtf8(info.name));
  return names;
}

std::string UnknownClassMessage(std::string_view name) {
  const std::optional<Text> text = TryFromUtf8(name);
  const std::string_view bare =
      text && HasProgIdPrefix(*text) ? name.substr(name.find('.') + 1) : name;
  return WithSuggestion("unknown class " + Quoted(name), bare, ClassNames());
}

}  // namespace ledgerwick
