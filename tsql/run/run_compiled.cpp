// Statements that the storage runs: queries, changes, conditions and values.
#include <array>
#include <charconv>
#include <exception>
#include <optional>

#include "tsql/base/characters.h"
#include "tsql/run/interpreter.h"
#include "tsql/storage/aggregates.h"
#include "tsql/storage/statement_parts.h"
#include "tsql/values/collation.h"
#include "tsql/values/convert.h"
#include "tsql/values/datetime.h"

namespace ledgerwick::tsql {
namespace {

ColumnKind KindOf(TypeKind kind) noexcept {
  if (kind == TypeKind::Bit) return ColumnKind::Boolean;
  if (IsInteger(kind)) return ColumnKind::Integer;
  if (IsFloat(kind)) return ColumnKind::Float;
  if (IsExactFraction(kind)) return ColumnKind::Decimal;
  return IsDate(kind) ? ColumnKind::DateTime : ColumnKind::String;
}

std::vector<ResultColumn> DescribeColumns(const Compiled& query) {
  std::vector<ResultColumn> columns;
  columns.reserve(query.types.size());
  for (std::size_t i = 0; i < query.types.size(); ++i) {
    const Type& type = query.types[i];
    const std::string declaration = TypeName(type);
    columns.push_back({Text(query.names[i]), KindOf(type.kind),
                       Text(declaration.begin(), declaration.end()), type.scale, type.nullable});
  }
  for (const std::size_t i : query.identities) columns[i].identity = true;
  return columns;
}

// A real's digits are those of its single precision: 0.1, not 0.10000000149011612.
double ReadReal(double number) {
  std::array<char, 32> digits;
  const auto end =
      std::to_chars(digits.data(), digits.data() + digits.size(), static_cast<float>(number)).ptr;
  double shown = 0;
  std::from_chars(digits.data(), end, shown);
  return shown;
}

Value ReadValue(sqlite3_stmt* row, int column, const Type& type) {
  if (sqlite3_column_type(row, column) == SQLITE_NULL) return Null{};
  switch (KindOf(type.kind)) {
    case ColumnKind::Boolean:
    case ColumnKind::Integer:
      return std::int64_t{sqlite3_column_int64(row, column)};
    case ColumnKind::Float: {
      const double number = sqlite3_column_double(row, column);
      return type.kind == TypeKind::Real ? ReadReal(number) : Finite(number);
    }
    case ColumnKind::Decimal: {
      const std::string digits =
          FormatExact({UnitsOf(sqlite3_column_value(row, column)), type.scale});
      return Text(digits.begin(), digits.end());
    }
    case ColumnKind::DateTime:
      return DateFromDateTime(sqlite3_column_int64(row, column));
    case ColumnKind::String:
      break;
  }
  if (IsConvertedAsAny(type.kind)) {
    return FromUtf8(ShowAny(AnyOf(sqlite3_column_value(row, column)), type));
  }
  return ToText(ColumnText(row, column));
}

// One of a kept statement's SQL statements while it runs, with the variables' values. It is kept
// for the next time unless it fails.
class RunningStatement {
 public:
  RunningStatement(KeptStatement& kept, std::size_t place, Storage& storage, const Session& session)
      : kept_(kept), place_(place), failures_(std::uncaught_exceptions()) {
    if (kept.idle.size() > place) statement_ = std::move(kept.idle[place]);
    if (statement_) {
      storage.functions().now.reset();
    } else {
      statement_ = storage.Prepare(kept.compiled.sql[place]);
    }
    session.Bind(statement_.get());
    if (kept.compiled.parts.empty()) return;
    parts_.emplace(kept.compiled.parts);
    parts_->Bind(statement_.get(), kPartsSlot + 1);
  }
  ~RunningStatement() {
    if (std::uncaught_exceptions() > failures_ || kept_.idle.size() <= place_) return;
    sqlite3_reset(statement_.get());
    sqlite3_clear_bindings(statement_.get());
    kept_.idle[place_] = std::move(statement_);
  }
  RunningStatement(const RunningStatement&) = delete;
  RunningStatement& operator=(const RunningStatement&) = delete;

  sqlite3_stmt* get() const noexcept { return statement_.get(); }

 private:
  KeptStatement& kept_;
  std::size_t place_;
  int failures_;
  std::optional<StatementParts> parts_;
  SqliteStatement statement_;
};

}  // namespace

// What the running frame's statement at `node` comes to: kept from the last time where it may run
// again and the schema is the same. `node` is nullptr for what is compiled every time.
template <typename Compile>
std::shared_ptr<KeptStatement> Interpreter::Prepared(const void* node, const Compile& compile) {
  StatementCache* cache = node != nullptr ? session_.frame->kept : nullptr;
  if (cache != nullptr) {
    if (auto kept = cache->FindFree(node)) return kept;
  }
  catalogue_.Refresh();
  if (cache != nullptr) {
    if (auto kept = cache->Find(node, catalogue_.version())) return kept;
  }
  auto fresh = std::make_shared<KeptStatement>();
  Arena arena;
  Compiler compiler = NewCompiler(arena);
  fresh->compiled = compile(compiler);
  if (cache != nullptr) {
    fresh->idle.resize(fresh->compiled.sql.size());
    cache->Keep(node, fresh);
  }
  return fresh;
}

void Interpreter::Perform(const SelectStatement& statement) {
  const ExplainedRun explained(*this, statement);
  const std::shared_ptr<KeptStatement> kept =
      Prepared(&statement, [&](Compiler& compiler) { return compiler.Compile(statement); });
  if (!kept->compiled.assigned.empty()) {
    SelectAssign(*kept);
  } else if (statement.query->selects[0]->has_into) {
    SelectInto(*kept, statement);
  } else {
    SendRows(*kept);
  }
  session_.last_error = 0;
}

void Interpreter::PerformChange(const Statement& statement) {
  const ExplainedRun explained(*this, statement);
  const std::shared_ptr<KeptStatement> kept =
      Prepared(&statement, [&](Compiler& compiler) { return compiler.Compile(statement); });
  Affected(Change(*kept, statement));
  if (statement.kind == StatementKind::Insert) {
    const std::optional<std::int64_t>& given = storage_.functions().identity.inserted;
    if (!kept->compiled.gives_identity) {
      session_.identity.reset();
    } else if (given) {
      session_.identity = session_.frame->identity = given;
      if (session_.frame->level == 0) session_.batch_identity = given;
    }
  }
  session_.last_error = 0;
}

// The whole of it happens or nothing. Returns how many rows its last part changed.
std::int64_t Interpreter::Change(KeptStatement& kept, const Statement& statement) {
  Transaction transaction(storage_);
  std::int64_t changes = 0;
  const std::size_t last = kept.compiled.sql.size() - 1;
  const std::size_t counted = kept.compiled.gives_identity ? kept.compiled.counted : last;
  for (std::size_t i = 0; i <= last; ++i) {
    try {
      const RunningStatement running(kept, i, storage_, session_);
      while (storage_.Step(running.get())) {
      }
      if (i == counted) changes = sqlite3_changes64(storage_.db());
    } catch (const ConstraintFailure&) {
      // The statement alone is undone; the right to write stays with the transaction.
      changes = SettleRefused(statement);
    }
  }
  transaction.Commit();
  return changes;
}

// The new table is there with all its rows or not at all.
void Interpreter::SelectInto(KeptStatement& kept, const Statement& statement) {
  if (!kept.compiled.temporary.empty()) KeepTemporary(kept.compiled.temporary);
  Affected(Change(kept, statement));
}

// What the rows would be, without them.
void Interpreter::Describe(const Query& query) {
  Arena arena;
  catalogue_.Refresh();
  sink_->Columns(DescribeColumns(NewCompiler(arena).CompileQuery(query)));
  sink_->EndRows(0);
}

void Interpreter::SendRows(KeptStatement& statement) {
  const RunningStatement running(statement, 0, storage_, session_);
  const Compiled& query = statement.compiled;
  const std::vector<ResultColumn> columns = DescribeColumns(query);
  std::vector<Value> values(columns.size());
  std::int64_t count = 0;
  bool more = storage_.Step(running.get());
  sink_->Columns(columns);
  try {
    const std::int64_t limit = session_.row_limit > 0 ? session_.row_limit : INT64_MAX;
    for (; more && count < limit; more = storage_.Step(running.get()), ++count) {
      if (!sink_->WantsRow()) continue;
      for (std::size_t i = 0; i < columns.size(); ++i) {
        values[i] = ReadValue(running.get(), static_cast<int>(i), query.types[i]);
      }
      sink_->Row(values);
    }
  } catch (const SqlError&) {
    sink_->BreakRows(count);  // the rows before the failure have been given
    throw;
  }
  sink_->EndRows(count);
  session_.row_count = count;
}

// SELECT @v = …: every row assigns, so that the last one stays; without a row the variables keep
// what they have.
void Interpreter::SelectAssign(KeptStatement& statement) {
  const Compiled& query = statement.compiled;
  Variables& variables = session_.frame->variables;
  const std::size_t columns = query.assigned.size() / query.sql.size();
  std::int64_t count = 0;
  for (std::size_t part = 0; part < query.sql.size(); ++part) {
    const RunningStatement running(statement, part, storage_, session_);
    for (const std::int32_t slot : query.assigned) variables.BindLive(running.get(), slot);
    for (count = 0; storage_.Step(running.get()); ++count) {
      for (std::size_t i = 0; i < columns; ++i) {
        variables[query.assigned[part * columns + i]] =
            CopyValue(running.get(), static_cast<int>(i));
      }
    }
  }
  session_.row_count = count;
}

// A condition that is unknown does not hold. Its query ends here: an open one would keep the branch
// from changing the tables that it reads.
bool Interpreter::Holds(const Expr& condition) {
  const std::shared_ptr<KeptStatement> kept = Prepared(
      &condition, [&](Compiler& compiler) { return compiler.CompileCondition(condition); });
  const RunningStatement row(*kept, 0, storage_, session_);
  const bool holds = storage_.Step(row.get()) && sqlite3_column_int(row.get(), 0) != 0;
  session_.row_count = 0;
  session_.last_error = 0;
  return holds;
}

std::vector<SqliteValue> Interpreter::Evaluate(const void* node,
                                               std::span<const Expr* const> values,
                                               const Compiler::TypeOf& type_of,
                                               std::vector<Type>* types, bool of_schema) {
  std::vector<SqliteValue> results;
  if (values.empty()) return results;
  const std::shared_ptr<KeptStatement> kept = Prepared(node, [&](Compiler& compiler) {
    Compiled compiled = compiler.CompileValues(values, type_of);
    compiled.reads_schema |= of_schema;
    return compiled;
  });
  if (types != nullptr) *types = kept->compiled.types;
  const RunningStatement row(*kept, 0, storage_, session_);
  storage_.Step(row.get());
  for (std::size_t i = 0; i < values.size(); ++i) {
    results.push_back(CopyValue(row.get(), static_cast<int>(i)));
  }
  return results;
}

SqliteValue Interpreter::Evaluate(const Expr& value, const Type& type) {
  const Expr* const values[] = {&value};
  return std::move(Evaluate(&value, values, [&](std::size_t, const Type&) { return type; })[0]);
}

SqliteValue Interpreter::EvaluateOnce(const Expr& value, const Type& type) {
  const Expr* const values[] = {&value};
  return std::move(Evaluate(nullptr, values, [&](std::size_t, const Type&) { return type; })[0]);
}

}  // namespace ledgerwick::tsql
