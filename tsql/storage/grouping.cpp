// Grouping by hashing, for SQLite, which itself groups by sorting: an aggregate that collects all
// groups of its rows, and a table that gives them out.
//
//   SELECT … FROM t_groups((SELECT t_group('2s', k1, k2, v1) FROM … WHERE …))
//
// The first argument says how many keys follow, and then for each value whether it is summed up
// ("s"), summed up as a decimal's units ("d") or counted ("n"). The table's columns are c1, c2, …:
// the keys and then the totals.
#include <sqlite3.h>

#include <charconv>
#include <exception>
#include <memory>
#include <new>
#include <string>

#include "tsql/base/errors.h"
#include "tsql/storage/aggregates.h"
#include "tsql/storage/group_table.h"

namespace ledgerwick::tsql {
namespace {

constexpr const char* kPointerType = "ledgerwick groups";
constexpr int kMostColumns = 127;

// The groups of one query and what their values are for.
struct Groups {
  std::size_t keys;
  std::string values;  // 's', 'd' or 'n' for each
  GroupTable table;
  std::vector<StoredValue> row;  // the one that is being added
};

// Calls `work`; what it throws becomes the error of the statement. Exceptions must not pass through
// SQLite.
template <typename Work>
int Guard(FunctionState& state, Work&& work) noexcept {
  try {
    work();
    return SQLITE_OK;
  } catch (SqlError& error) {
    state.Keep(std::move(error));
    return SQLITE_ERROR;
  } catch (const std::exception&) {
    return SQLITE_NOMEM;
  }
}

StoredValue Stored(sqlite3_value* value) {
  switch (sqlite3_value_type(value)) {
    case SQLITE_INTEGER:
      return std::int64_t{sqlite3_value_int64(value)};
    case SQLITE_FLOAT:
      return sqlite3_value_double(value);
    case SQLITE_NULL:
      return std::monostate();
    case SQLITE_BLOB:
      return UnitsOf(value);
    default: {
      // As a blob a text need not be zero-terminated, which would copy it.
      const auto* text = static_cast<const char*>(sqlite3_value_blob(value));
      const auto size = static_cast<std::size_t>(sqlite3_value_bytes(value));
      if (text == nullptr && size > 0) throw std::bad_alloc();
      return std::string_view(text == nullptr ? "" : text, size);
    }
  }
}

Groups* NewGroups(sqlite3_value* description) {
  const auto* text = reinterpret_cast<const char*>(sqlite3_value_text(description));
  if (text == nullptr) throw std::bad_alloc();
  const std::string_view all(text, static_cast<std::size_t>(sqlite3_value_bytes(description)));
  std::size_t keys = 0;
  const auto* values = std::from_chars(all.data(), all.data() + all.size(), keys).ptr;
  std::string kinds(values, all.data() + all.size());
  const std::size_t count = kinds.size();
  return new Groups{keys, std::move(kinds), GroupTable(keys, count),  // owned by SQLite's context
                    std::vector<StoredValue>(keys + count)};
}

FunctionState& StateOf(sqlite3_context* context) {
  return *static_cast<FunctionState*>(sqlite3_user_data(context));
}

void Step(sqlite3_context* context, int count, sqlite3_value** arguments) {
  auto** groups = static_cast<Groups**>(sqlite3_aggregate_context(context, sizeof(Groups*)));
  const int result = groups == nullptr ? SQLITE_NOMEM : Guard(StateOf(context), [&] {
    if (*groups == nullptr) *groups = NewGroups(arguments[0]);
    std::vector<StoredValue>& row = (*groups)->row;
    for (std::size_t i = 1; i < static_cast<std::size_t>(count); ++i) {
      row[i - 1] = Stored(arguments[i]);
    }
    (*groups)->table.Add(row);
  });
  if (result == SQLITE_NOMEM) sqlite3_result_error_nomem(context);
  if (result == SQLITE_ERROR) {
    sqlite3_result_error(context, StateOf(context).error->message.c_str(), -1);
  }
}

void Finish(sqlite3_context* context) {
  auto** groups = static_cast<Groups**>(sqlite3_aggregate_context(context, 0));
  if (groups == nullptr || *groups == nullptr) return;  // without rows there are no groups
  sqlite3_result_pointer(context, *groups, kPointerType, [](void* data) {
    std::default_delete<Groups>()(static_cast<Groups*>(data));
  });
}

struct GroupsTable : sqlite3_vtab {
  FunctionState* state;
};

struct Cursor : sqlite3_vtab_cursor {
  Groups* groups = nullptr;  // the statement's, or none
};

int Connect(sqlite3* db, void* data, int, const char* const*, sqlite3_vtab** table, char**) {
  auto& state = *static_cast<FunctionState*>(data);
  int declared = SQLITE_OK;
  const int result = Guard(state, [&] {
    std::string sql = "CREATE TABLE x(";
    for (int i = 1; i <= kMostColumns; ++i) sql += "c" + std::to_string(i) + ", ";
    declared = sqlite3_declare_vtab(db, (sql + "of HIDDEN)").c_str());
    if (declared != SQLITE_OK) return;
    auto made = std::make_unique<GroupsTable>();
    made->state = &state;
    *table = made.release();
  });
  return result != SQLITE_OK ? result : declared;
}

int Disconnect(sqlite3_vtab* table) {
  std::default_delete<GroupsTable>()(static_cast<GroupsTable*>(table));
  return SQLITE_OK;
}

// The one way to read it is all of it.
int BestIndex(sqlite3_vtab*, sqlite3_index_info* info) {
  constexpr double kRows = 1000;
  for (int i = 0; i < info->nConstraint; ++i) {
    const auto& constraint = info->aConstraint[i];
    if (constraint.iColumn != kMostColumns || constraint.op != SQLITE_INDEX_CONSTRAINT_EQ) continue;
    if (!constraint.usable) return SQLITE_CONSTRAINT;
    info->aConstraintUsage[i].argvIndex = 1;
    info->aConstraintUsage[i].omit = 1;
  }
  info->estimatedCost = kRows;
  info->estimatedRows = static_cast<sqlite3_int64>(kRows);
  return SQLITE_OK;
}

int Open(sqlite3_vtab*, sqlite3_vtab_cursor** cursor) {
  auto* made = new (std::nothrow) Cursor();  // owned by SQLite until Close
  if (made == nullptr) return SQLITE_NOMEM;
  *cursor = made;
  return SQLITE_OK;
}

int Close(sqlite3_vtab_cursor* cursor) {
  std::default_delete<Cursor>()(static_cast<Cursor*>(cursor));
  return SQLITE_OK;
}

FunctionState& StateOf(sqlite3_vtab_cursor* cursor) {
  return *static_cast<GroupsTable*>(cursor->pVtab)->state;
}

int Filter(sqlite3_vtab_cursor* cursor, int, const char*, int count, sqlite3_value** arguments) {
  Groups*& groups = static_cast<Cursor*>(cursor)->groups;
  groups = count == 0 ? nullptr
                      : static_cast<Groups*>(sqlite3_value_pointer(arguments[0], kPointerType));
  if (groups == nullptr) return SQLITE_OK;
  return Guard(StateOf(cursor), [&] { groups->table.Rewind(); });
}

int Next(sqlite3_vtab_cursor* cursor) {
  return Guard(StateOf(cursor), [&] { static_cast<Cursor*>(cursor)->groups->table.Next(); });
}

int Eof(sqlite3_vtab_cursor* cursor) {
  const Groups* groups = static_cast<Cursor*>(cursor)->groups;
  return groups == nullptr || groups->table.AtEnd() ? 1 : 0;
}

void ReturnKey(sqlite3_context* context, const StoredValue& key) {
  if (const auto* text = std::get_if<std::string_view>(&key)) {
    sqlite3_result_text64(context, text->data(), text->size(), SQLITE_TRANSIENT, SQLITE_UTF8);
  } else if (const auto* whole = std::get_if<std::int64_t>(&key)) {
    sqlite3_result_int64(context, *whole);
  } else if (const auto* real = std::get_if<double>(&key)) {
    sqlite3_result_double(context, *real);
  } else if (const auto* units = std::get_if<Int128>(&key)) {
    ReturnUnits(context, *units, kMostDigits);
  }
}

// As SQLite's sum() does, or t_sum_dec(). Throws SqlError 8115.
void ReturnSum(sqlite3_context* context, const Total& total, bool units) {
  if (total.count == 0) return;
  if (total.has_fraction) return sqlite3_result_double(context, total.real);
  const auto narrow = static_cast<std::int64_t>(total.whole);
  if (total.overflow || (!units && narrow != total.whole)) {
    throw errors::Overflow(units ? u"numeric" : u"bigint");
  }
  if (units) return ReturnUnits(context, total.whole, kMostDigits);
  sqlite3_result_int64(context, narrow);
}

int Column(sqlite3_vtab_cursor* cursor, sqlite3_context* context, int column) {
  const Groups& groups = *static_cast<Cursor*>(cursor)->groups;
  const auto i = static_cast<std::size_t>(column);
  if (i < groups.keys) {
    ReturnKey(context, groups.table.Key(i));
  } else if (i - groups.keys < groups.values.size()) {
    const Total& total = groups.table.TotalOf(i - groups.keys);
    if (groups.values[i - groups.keys] == 'n') {
      sqlite3_result_int64(context, total.count);
    } else {
      return Guard(StateOf(cursor),
                   [&] { ReturnSum(context, total, groups.values[i - groups.keys] == 'd'); });
    }
  }
  return SQLITE_OK;
}

int RowId(sqlite3_vtab_cursor*, sqlite3_int64* id) {
  *id = 0;
  return SQLITE_OK;
}

const sqlite3_module& Module() {
  static const sqlite3_module module = [] {
    sqlite3_module m{};
    m.xConnect = Connect;
    m.xBestIndex = BestIndex;
    m.xDisconnect = Disconnect;
    m.xOpen = Open;
    m.xClose = Close;
    m.xFilter = Filter;
    m.xNext = Next;
    m.xEof = Eof;
    m.xColumn = Column;
    m.xRowid = RowId;
    return m;
  }();
  return module;
}

}  // namespace

int RegisterGrouping(sqlite3* db, FunctionState& state) {
  const int result = sqlite3_create_function_v2(db, "t_group", -1, SQLITE_UTF8, &state, nullptr,
                                                Step, Finish, nullptr);
  return result != SQLITE_OK ? result : sqlite3_create_module(db, "t_groups", &Module(), &state);
}

}  // namespace ledgerwick::tsql
