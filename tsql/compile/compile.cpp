#include "tsql/compile/compile.h"

#include "tsql/binder/binder.h"
#include "tsql/emit/emitter.h"
#include "tsql/plan/plan.h"
#include "tsql/syntax/parser.h"

namespace ledgerwick::tsql {

std::vector<std::string> CompileQueries(TextView batch, Catalogue& catalogue, Planning planning) {
  Arena arena;
  std::vector<std::string> queries;
  for (Statement* statement : ParseBatch(batch, arena).statements) {
    if (statement->kind != StatementKind::Select) continue;
    catalogue.Refresh();
    Binder(batch, arena, catalogue).BindQuery(*statement->query);
    PlanQuery(*statement->query, arena, catalogue, planning);
    Emitter emitter;
    emitter.EmitQuery(*statement->query);
    queries.push_back(emitter.Take());
  }
  return queries;
}

}  // namespace ledgerwick::tsql
