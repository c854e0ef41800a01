#include "desk/run_api.h"

#include <algorithm>
#include <charconv>

#include "desk/session.h"
#include "output/column_selection.h"
#include "output/json_object.h"

namespace ledgerwick::desk {
namespace {

constexpr std::int64_t kMostWindow = 2000;  // rows at once
constexpr std::int64_t kMostValues = 10'000;

std::int64_t NumberOf(const HttpRequest& request, const std::string& name, std::int64_t otherwise,
                      std::int64_t most) {
  const std::string text = request.Query(name);
  if (text.empty()) return std::min(otherwise, most);
  std::int64_t number = 0;
  const char* end = text.data() + text.size();
  const auto read = std::from_chars(text.data(), end, number);
  if (read.ec != std::errc() || read.ptr != end || number < 0) {
    throw QueryError(name + " is no number from 0");
  }
  return std::min(number, most);
}

RowQuery QueryOf(const HttpRequest& request) {
  return {ParseWhere(request.Query("where")), ParseOrder(request.Query("sort"))};
}

HttpReply TextReply(std::string json) {
  HttpReply reply;
  reply.body = std::move(json);
  return reply;
}

HttpReply Rows(RowStore& rows, const HttpRequest& request) {
  const std::int64_t from = NumberOf(request, "from", 0, rows.count());
  const std::int64_t count = NumberOf(request, "count", 200, kMostWindow);
  const Window window = rows.Rows(QueryOf(request), from, count);
  return TextReply("{\"total\":" + std::to_string(window.total) +
                   ",\"from\":" + std::to_string(from) + ",\"rows\":" + window.rows + "}\n");
}

HttpReply Totals(RowStore& rows, const HttpRequest& request) {
  Json totals = Json::object();
  for (const auto& [name, sum] : rows.Totals(ParseWhere(request.Query("where")))) {
    totals[name] = sum;
  }
  return JsonReply(200, {{"totals", std::move(totals)}});
}

HttpReply Values(RowStore& rows, const HttpRequest& request) {
  const std::int64_t limit = NumberOf(request, "limit", 100, kMostValues);
  return TextReply(
      "{\"values\":" + rows.Values(request.Query("column"), request.Query("q"), limit) + "}\n");
}

HttpReply Groups(RowStore& rows, const HttpRequest& request) {
  const auto [groups, others] =
      rows.Groups(request.Query("category"), request.Query("by") == "month",
                  ParseNames(request.Query("values")), ParseWhere(request.Query("where")),
                  NumberOf(request, "limit", 20, kMostValues));
  return TextReply("{\"rows\":" + groups + ",\"others\":" + std::to_string(others) + "}\n");
}

std::string PercentEncoded(const std::string& text) {
  constexpr std::string_view kHex = "0123456789ABCDEF";
  std::string encoded;
  for (const char c : text) {
    const bool plain = (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
    if (plain || c == '-' || c == '_' || c == '.') {
      encoded += c;
    } else {
      const auto byte = static_cast<unsigned char>(c);
      encoded.append(1, '%').append(1, kHex[byte >> 4]).append(1, kHex[byte & 15]);
    }
  }
  return encoded;
}

struct ExportType {
  const char* format;
  const char* type;
};
constexpr ExportType kExports[] = {
    {"xlsx", "application/vnd.openxmlformats-officedocument.spreadsheetml.sheet"},
    {"csv", "text/csv; charset=utf-8"},
    {"json", "application/json; charset=utf-8"},
};

// The rows through the writers of `run`, as they are sent. A spreadsheet knows the csv for UTF-8,
// and runs no text of it as a formula.
HttpReply Export(const std::shared_ptr<Run>& run, const HttpRequest& request) {
  const std::string format = request.Query("format");
  const auto* kind = std::find_if(std::begin(kExports), std::end(kExports),
                                  [&](const ExportType& e) { return format == e.format; });
  if (kind == std::end(kExports)) throw QueryError("the formats are xlsx, csv and json");
  const std::shared_ptr<RowStore> rows = run->rows();
  const RowQuery query = QueryOf(request);
  WhereClause(rows->columns(), query.where);  // what is wrong is told before anything is sent
  OrderClause(rows->columns(), query.order);
  std::vector<Text> names;
  for (const std::string& name : ParseNames(request.Query("columns"))) {
    FindColumn(rows->columns(), name);
    names.push_back(FromUtf8(name));
  }
  HttpReply reply;
  reply.type = kind->type;
  const std::string file = run->title() + '.' + format;
  reply.headers.emplace_back(
      "Content-Disposition",
      "attachment; filename=\"report." + format + "\"; filename*=UTF-8''" + PercentEncoded(file));
  reply.stream = [run, rows, query, names, format](std::ostream& out) {
    WriterOptions options;
    options.one_result = true;
    options.byte_order_mark = format == "csv";
    options.guard_formulas = format == "csv";
    std::unique_ptr<ResultWriter> writer = FindOutputFormat(format)->make(out, options);
    if (!names.empty()) writer = std::make_unique<ColumnSelection>(std::move(writer), names);
    writer->Titles(FromUtf8(run->title()), FromUtf8(run->subtitle()));
    rows->Read(query, *writer);
    writer->Finish();
  };
  return reply;
}

}  // namespace

HttpReply JsonReply(int status, const Json& json) {
  HttpReply reply;
  reply.status = status;
  reply.body = Dump(json);
  return reply;
}

HttpReply AnswerAboutRows(const std::shared_ptr<Run>& run, const std::string& what,
                          const HttpRequest& request) {
  if (what == "export") return Export(run, request);
  const std::shared_ptr<RowStore> rows = run->rows();
  if (what == "rows") return Rows(*rows, request);
  if (what == "totals") return Totals(*rows, request);
  if (what == "values") return Values(*rows, request);
  if (what == "groups") return Groups(*rows, request);
  throw NotThere("a run has rows, totals, values, groups and export");
}

}  // namespace ledgerwick::desk
