// Explanations: what becomes of a statement, and how long that took.
#include "tsql/run/interpreter.h"

namespace ledgerwick::tsql {
namespace {

using Clock = std::chrono::steady_clock;

double SecondsSince(Clock::time_point start) {
  return std::chrono::duration<double>(Clock::now() - start).count();
}

// SQLite's plan of `sql`, what belongs to another step set in under it.
std::vector<std::string> QueryPlan(Storage& storage, const std::string& sql) {
  std::vector<std::string> plan;
  std::unordered_map<int, std::size_t> depths;
  const SqliteStatement steps = storage.Prepare("EXPLAIN QUERY PLAN " + sql);
  while (storage.Step(steps.get())) {
    const int parent = sqlite3_column_int(steps.get(), 1);
    const std::size_t depth = depths.contains(parent) ? depths[parent] + 1 : 0;
    depths[sqlite3_column_int(steps.get(), 0)] = depth;
    plan.push_back(std::string(2 * depth, ' ').append(ColumnText(steps.get(), 3)));
  }
  return plan;
}

}  // namespace

Explanation Interpreter::Describe(const Statement& statement) {
  Explanation explanation;
  explanation.statement = session_.frame->text.substr(statement.offset, statement.length);
  Arena arena;
  CompileNotes notes;
  catalogue_.Refresh();
  const auto start = Clock::now();
  Compiled compiled =
      Compiler(session_.frame->text, arena, catalogue_, storage_.options().planning, &notes)
          .Compile(statement);
  explanation.compile_seconds = SecondsSince(start);
  explanation.bound = std::move(notes.bound);
  explanation.decisions = std::move(notes.plan);
  const auto* select = As<SelectStatement>(statement);
  if (select != nullptr && select->query->selects[0]->has_into) {
    // The table that the rows go into is not there yet.
    explanation.plan = QueryPlan(storage_, NewCompiler(arena).QuerySql(*select->query));
  } else if (!compiled.sql.empty()) {
    explanation.plan = QueryPlan(storage_, compiled.sql.back());
  }
  explanation.sql = std::move(compiled.sql);
  explanation.parts = std::move(compiled.parts);
  return explanation;
}

std::vector<Explanation> Interpreter::Explain(TextView text) {
  Arena arena;
  session_.BeginBatch();
  const Batch batch = ParseBatch(text, arena);
  Frame frame;
  frame.text = text;
  session_.frame = &frame;
  std::vector<Explanation> explanations;
  for (const Statement* statement : batch.statements) {
    try {
      Explanation explanation = Describe(*statement);
      if (!explanation.sql.empty()) explanations.push_back(std::move(explanation));
    } catch (SqlError& error) {
      Locate(error, *statement);
      throw;
    }
  }
  return explanations;
}

std::vector<Explanation> Interpreter::RunExplained(TextView text, ResultSink& sink) {
  struct Collecting {
    explicit Collecting(Explanations*& place) : place_(place) { place_ = &found; }
    ~Collecting() { place_ = nullptr; }
    Collecting(const Collecting&) = delete;
    Collecting& operator=(const Collecting&) = delete;
    Explanations found;
    Explanations*& place_;
  };
  Collecting collecting(explanations_);
  Run(text, sink);
  return std::move(collecting.found.list);
}

Interpreter::ExplainedRun::ExplainedRun(Interpreter& interpreter, const Statement& statement)
    : interpreter_(interpreter) {
  Explanations* const found = interpreter.explanations_;
  if (found == nullptr) return;
  const auto known = found->places.find(&statement);
  if (known != found->places.end()) {
    place_ = known->second;
  } else {
    place_ = found->list.size();
    found->list.push_back(interpreter.Describe(statement));
    found->places.emplace(&statement, *place_);
  }
  start_ = Clock::now();
}

Interpreter::ExplainedRun::~ExplainedRun() {
  if (!place_) return;
  Explanation& explanation = interpreter_.explanations_->list[*place_];
  explanation.run_seconds += SecondsSince(start_);
  ++explanation.runs;
  if (std::uncaught_exceptions() > failures_) return;
  explanation.rows += interpreter_.session_.row_count;
}

}  // namespace ledgerwick::tsql
