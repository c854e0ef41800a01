#include "tds/statement_facts.h"

#include "tsql/base/arena.h"
#include "tsql/base/errors.h"
#include "tsql/syntax/parser.h"

namespace ledgerwick::tds {
namespace {

bool GivesRows(const tsql::Query& query) {
  const tsql::Select& first = *query.selects[0];
  return !first.has_into && first.items[0].variable == nullptr;
}

}  // namespace

StatementFacts FactsOf(TextView statement, TextView declarations) {
  tsql::Arena arena;
  StatementFacts facts;
  try {
    const tsql::ParametrisedBatch parsed = tsql::ParseBatch(statement, declarations, arena);
    facts.parameters = parsed.parameters.size();
    if (parsed.batch.statements.size() != 1) return facts;
    const tsql::Statement& only = *parsed.batch.statements[0];
    const auto* select = tsql::As<tsql::SelectStatement>(only);
    facts.is_query = select != nullptr && GivesRows(*select->query);
    facts.is_call = tsql::As<tsql::ExecuteProcedureStatement>(only) != nullptr;
  } catch (const tsql::SqlError& error) {
    throw tsql::ToDatabaseError(error);
  }
  return facts;
}

}  // namespace ledgerwick::tds
