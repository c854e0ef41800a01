// What is found in a request with a database at hand.
#include <algorithm>
#include <iterator>

#include "frame/error.h"
#include "host/checks.h"
#include "host/filters.h"
#include "host/reference_host.h"
#include "host/request_facts.h"
#include "host/trace.h"

namespace ledgerwick {
namespace {

// Where the values of a filter's column are kept, by the column's name without its table.
struct ValueSource {
  TextView column;
  TextView table;
  TextView name;  // of the column in that table
};
constexpr ValueSource kSources[] = {
    {u"cWhCode", u"Warehouse", u"cWhCode"},     {u"cWhName", u"Warehouse", u"cWhName"},
    {u"cInvCode", u"Inventory", u"cInvCode"},   {u"cInvName", u"Inventory", u"cInvName"},
    {u"cInvCCode", u"Inventory", u"cInvCCode"}, {u"cInvStd", u"Inventory", u"cInvStd"},
    {u"cBarCode", u"Inventory", u"cBarCode"},   {u"cPosCode", u"Position", u"cPosCode"},
    {u"cPosition", u"Inventory", u"cPosition"}, {u"cRdCode", u"Rd_Style", u"cRdCode"},
    {u"cVenCode", u"Vendor", u"cVenCode"},      {u"cCusCode", u"Customer", u"cCusCode"},
    {u"cDepCode", u"Department", u"cDepCode"},  {u"cPersonCode", u"Person", u"cPersonCode"},
    {u"cSTCode", u"SaleType", u"cSTCode"},      {u"cBatch", u"CurrentStock", u"cBatch"},
};

// Keeps the first column of a query.
class FirstColumnSink final : public ResultSink {
 public:
  void Columns(std::span<const ResultColumn>) override {}
  void Row(std::span<const Value> row) override { values.push_back(row.front().ToText()); }
  void EndRows(std::int64_t) override {}
  void RowsAffected(std::int64_t) override {}
  void Message(const Text&) override {}

  std::vector<Text> values;
};

// The first column of `query`; nothing where the database refuses it.
std::optional<std::vector<Text>> TryQuery(BatchRunner& reader, const Text& query) {
  FirstColumnSink sink;
  try {
    reader.Run(query, sink);
  } catch (const DatabaseError&) {
    return std::nullopt;  // another table, another suite: nothing can be said
  }
  return std::move(sink.values);
}

bool GivesNothing(const std::optional<std::vector<Text>>& rows) { return rows && rows->empty(); }

// `name` without the table before it.
TextView BareName(TextView name) {
  const TextView trimmed = Trim(name);
  const std::size_t point = trimmed.rfind(u'.');
  return point == TextView::npos ? trimmed : trimmed.substr(point + 1);
}

const ValueSource* FindSource(TextView name) {
  const auto* found = std::find_if(std::begin(kSources), std::end(kSources), [&](const auto& s) {
    return EqualText(s.column, BareName(name));
  });
  return found == std::end(kSources) ? nullptr : found;
}

// `sql` with `name` replaced by `column`.
Text Renamed(TextView sql, TextView name, TextView column) {
  Text renamed;
  std::size_t from = 0;
  for (std::size_t at = FindText(sql, name); at != TextView::npos; at = FindText(sql, name, from)) {
    renamed.append(sql.substr(from, at - from)).append(column);
    from = at + name.size();
  }
  return renamed.append(sql.substr(from));
}

Text LikeCondition(TextView column, Text pattern) {
  std::replace(pattern.begin(), pattern.end(), u'*', u'%');
  std::replace(pattern.begin(), pattern.end(), u'?', u'_');
  return Text(column) + u" Like " + Quoted(pattern);
}

// A condition on the values of a filter, for each value that can be looked up by itself.
std::vector<Text> LookUps(const FilterInfo& filter, const FilterItem& item, TextView column) {
  std::vector<Text> conditions;
  const Text value = ReadableText(item.varValue);
  if (filter.kind == FilterKind::List) {
    for (const Text& part : Split(value, u',')) {
      conditions.push_back(WordCondition(column, Trim(part), {}));
    }
  } else if (EqualText(filter.name, u"CS.cBatch") || EqualText(filter.name, u"I.cBarCode")) {
    conditions.push_back(LikeCondition(column, value));
  } else if (EqualText(BareName(filter.name), u"cRdCode")) {
    conditions.push_back(LikeCondition(column, value + u"%"));
  } else {
    conditions.push_back(Renamed(FragmentOf(item), Trim(item.Name), column));
  }
  return conditions;
}

void CheckValues(const FilterInfo& filter, const FilterItem& item, BatchRunner& reader,
                 std::vector<Finding>& findings) {
  const ValueSource* source = FindSource(filter.name);
  if (!source || filter.kind == FilterKind::Option) return;
  for (const Text& condition : LookUps(filter, item, source->name)) {
    const Text query = u"SELECT TOP 1 1 AS n FROM " + Text(source->table) + u" WHERE " + condition;
    if (!GivesNothing(TryQuery(reader, query))) continue;
    findings.push_back(Found(u"LW030", filter.name,
                             {u"No row of {1} has {2}.", u"{1} 中没有满足 {2} 的记录。"},
                             {source->table, condition}));
  }
}

// True when no table or view has the column. Asks the list of columns, and where there is none
// every table.
bool IsMissing(BatchRunner& reader, TextView column) {
  const auto listed = TryQuery(reader,
                               u"SELECT TOP 1 COLUMN_NAME FROM INFORMATION_SCHEMA.COLUMNS "
                               u"WHERE COLUMN_NAME = " +
                                   Quoted(column));
  if (listed) return listed->empty();
  const auto tables = TryQuery(reader, u"SELECT TABLE_NAME FROM INFORMATION_SCHEMA.TABLES");
  return tables && std::none_of(tables->begin(), tables->end(), [&](const Text& table) {
           return TryQuery(reader, u"SELECT TOP 0 [" + Text(column) + u"] FROM [" + table + u"]");
         });
}

// A name that the report passes on must be a column of some table or view.
void CheckColumn(const FilterItem& item, BatchRunner& reader, std::vector<Finding>& findings) {
  const Text column(BareName(item.Name));
  if (column.find(u']') != Text::npos || !IsMissing(reader, column)) return;
  findings.push_back(Found(u"LW032", Trim(item.Name),
                           {u"No table or view of this database has a column '{1}'.",
                            u"当前数据库的表和视图中都没有列“{1}”。"},
                           {column}));
}

// The report's query so that it gives no row and makes no table; nothing for any other statement.
std::optional<Text> EmptyQuery(TextView sql) {
  constexpr TextView kSelect = u"SELECT ";
  const TextView query = Trim(sql);
  if (!EqualText(query.substr(0, kSelect.size()), kSelect)) return std::nullopt;
  const std::size_t into = FindText(query, u" INTO ");
  const std::size_t from = FindText(query, u" FROM ", into == TextView::npos ? 0 : into);
  if (into == TextView::npos || from == TextView::npos) return std::nullopt;
  return u"SELECT TOP 0 " +
         Text(query.substr(kSelect.size(), into - kSelect.size())).append(query.substr(from));
}

// Has the database read the first query of the report, which holds the conditions.
void CheckStatement(const Request& request, BatchRunner& reader, std::vector<Finding>& findings) {
  if (!request.report->factory) return;
  for (const Operation& operation : TraceReport(request).operations) {
    const auto* execute = std::get_if<ExecuteOperation>(&operation);
    const auto query = execute ? EmptyQuery(execute->sql) : std::nullopt;
    if (!query) continue;
    FirstColumnSink sink;
    try {
      reader.Run(*query, sink);
    } catch (const DatabaseError& error) {
      findings.push_back(Found(
          u"LW031", {}, {u"The database refuses the statement: {1}", u"数据库拒绝执行该语句：{1}"},
          {error.description}));
    }
    return;
  }
}

}  // namespace

std::vector<Finding> CheckOnDatabase(const Request& request, BatchRunner& reader) {
  std::vector<Finding> findings;
  const ReportInfo* report = FindReportInfo(request.report->name);
  if (!report) return findings;
  const RequestFacts facts(request);
  for (const FilterItem& item : facts.Items()) {
    if (!IsSet(item)) continue;
    if (const FilterInfo* filter = FindItemInfo(*report, item.Name, item.strcaption)) {
      CheckValues(*filter, item, reader, findings);
    } else if (report->unknown_filter == UnknownFilter::InCondition) {
      CheckColumn(item, reader, findings);
    }
  }
  CheckStatement(request, reader, findings);
  return findings;
}

}  // namespace ledgerwick
