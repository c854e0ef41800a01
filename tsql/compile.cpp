#include "tsql/compile.h"

#include "tsql/binder.h"
#include "tsql/emitter.h"
#include "tsql/parser.h"

namespace ledgerwick::tsql {

std::vector<std::string> CompileQueries(TextView batch, Catalogue& catalogue) {
  Arena arena;
  std::vector<std::string> queries;
  for (Statement* statement : ParseBatch(batch, arena).statements) {
    if (statement->kind != StatementKind::Select) continue;
    catalogue.Refresh();
    Binder(batch, arena, catalogue).BindQuery(*statement->query);
    Emitter emitter;
    emitter.EmitQuery(*statement->query);
    queries.push_back(emitter.Take());
  }
  return queries;
}

}  // namespace ledgerwick::tsql
