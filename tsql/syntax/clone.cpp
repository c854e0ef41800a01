#include "tsql/syntax/clone.h"

#include "tsql/base/nesting.h"

namespace ledgerwick::tsql {
namespace {

class Cloner {
 public:
  explicit Cloner(Arena& arena) : arena_(arena) {}

  Expr* Copy(const Expr* expr) {
    if (expr == nullptr) return nullptr;
    const Nesting nesting;
    Expr* copy = arena_.Make<Expr>(*expr);
    copy->args = Copies(expr->args);
    copy->query = Copy(expr->query);
    return copy;
  }

  Query* Copy(const Query* query) {
    if (query == nullptr) return nullptr;
    const Nesting nesting;
    Query* copy = arena_.Make<Query>(*query);
    copy->selects = Copies(query->selects);
    copy->order_by = arena_.Copy(std::span<const OrderItem>(query->order_by));
    for (OrderItem& item : copy->order_by) item.expr = Copy(item.expr);
    return copy;
  }

  Select* Copy(const Select* select) {
    Select* copy = arena_.Make<Select>(*select);
    copy->items = arena_.Copy(std::span<const SelectItem>(select->items));
    for (SelectItem& item : copy->items) item.expr = Copy(item.expr);
    copy->from = Copy(select->from);
    copy->where = Copy(select->where);
    copy->group_by = Copies(select->group_by);
    copy->having = Copy(select->having);
    return copy;
  }

  From* Copy(const From* from) {
    if (from == nullptr) return nullptr;
    const Nesting nesting;
    From* copy = arena_.Make<From>(*from);
    copy->query = Copy(from->query);
    copy->left = Copy(from->left);
    copy->right = Copy(from->right);
    copy->on = Copy(from->on);
    return copy;
  }

  Statement* Copy(const Statement& statement) {
    Statement* copy = arena_.Make<Statement>(statement);
    copy->query = Copy(statement.query);
    copy->rows = arena_.Copy(std::span<const std::span<Expr*>>(statement.rows));
    for (std::span<Expr*>& row : copy->rows) row = Copies(row);
    copy->assignments = arena_.Copy(std::span<const Assignment>(statement.assignments));
    for (Assignment& assignment : copy->assignments) assignment.value = Copy(assignment.value);
    copy->from = Copy(statement.from);
    copy->where = Copy(statement.where);
    copy->definitions = arena_.Copy(std::span<const ColumnDefinition>(statement.definitions));
    for (ColumnDefinition& definition : copy->definitions) {
      definition.default_value = Copy(definition.default_value);
    }
    copy->value = Copy(statement.value);
    copy->variables = arena_.Copy(std::span<const VariableAssignment>(statement.variables));
    for (VariableAssignment& assignment : copy->variables) {
      assignment.value = Copy(assignment.value);
    }
    copy->values = Copies(statement.values);
    copy->arguments = arena_.Copy(std::span<const Argument>(statement.arguments));
    for (Argument& argument : copy->arguments) argument.value = Copy(argument.value);
    return copy;
  }

 private:
  template <typename T>
  std::span<T*> Copies(std::span<T*> items) {
    const std::span<T*> copies = arena_.Copy(std::span<T* const>(items));
    for (T*& item : copies) item = Copy(item);
    return copies;
  }

  Arena& arena_;
};

}  // namespace

Statement* Clone(const Statement& statement, Arena& arena) { return Cloner(arena).Copy(statement); }

Expr* Clone(const Expr* expr, Arena& arena) { return Cloner(arena).Copy(expr); }

}  // namespace ledgerwick::tsql
