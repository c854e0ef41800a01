#include "tsql/binder/print_bound.h"

#include <string_view>

#include "tsql/base/nesting.h"
#include "tsql/binder/operators.h"

namespace ledgerwick::tsql {
namespace {

class Printer {
 public:
  void Query(const BoundQuery& query) {
    const Nesting nesting;
    for (std::size_t i = 0; i < query.selects.size(); ++i) {
      if (i > 0) Line(query.keeps_duplicates[i - 1] != 0 ? "union all" : "union");
      Select(*query.selects[i]);
    }
    for (const BoundOrder& item : query.order_by) {
      Line("order by " +
           (item.ordinal != 0 ? "column " + std::to_string(item.ordinal) : Expression(*item.expr)) +
           (item.descending ? " desc" : ""));
    }
  }

  void Modification(const BoundModification& modification) {
    const Table& table = *modification.target->table;
    Line((modification.columns.empty() ? "delete from s" : "update s") +
         std::to_string(modification.target->id));
    for (std::size_t i = 0; i < modification.columns.size(); ++i) {
      const TableColumn& column = table.columns[static_cast<std::size_t>(modification.columns[i])];
      Line("  " + ToUtf8(column.name) + " " + TypeName(column.type) +
           " := " + Expression(*modification.values[i]));
    }
    FromWhere(modification.from, modification.where);
  }

  std::string Take() { return std::move(out_); }

 private:
  void Line(const std::string& text) { out_.append(indent_, ' ').append(text).append("\n"); }

  void Select(const BoundSelect& select) {
    std::string head = select.distinct ? "select distinct" : "select";
    if (select.top_variable != nullptr) head += " top " + Expression(*select.top_variable);
    if (select.has_top && select.top_variable == nullptr)
      head += " top " + std::to_string(select.top);
    Line(head + (select.grouped ? ", grouped" : ""));
    for (const BoundItem& item : select.items) {
      const std::string name = item.name.empty() ? "(no name)" : ToUtf8(item.name);
      Line("  " + name + " " + TypeOf(*item.expr) + " := " + Expression(*item.expr));
    }
    FromWhere(select.from, select.where);
    for (const BoundExpr* key : select.group_by) Line("group by " + Expression(*key));
    if (select.having != nullptr) Line("having " + Expression(*select.having));
  }

  void FromWhere(const BoundFrom* from, const BoundExpr* where) {
    if (from != nullptr) From(*from, "from ");
    if (where != nullptr) Line("where " + Expression(*where));
  }

  void From(const BoundFrom& from, const std::string& how) {
    const Nesting nesting;
    if (from.kind == BoundFromKind::Source) return Leaf(*from.source, how);
    const char* join = from.kind == BoundFromKind::Inner  ? "join "
                       : from.kind == BoundFromKind::Left ? "left join "
                                                          : "full join ";
    From(*from.left, how);
    const bool nested = from.right->kind != BoundFromKind::Source;
    if (nested) {
      Line(std::string(join) + "(");
      indent_ += 2;
    }
    From(*from.right, nested ? "" : join);
    if (nested) {
      indent_ -= 2;
      Line(")");
    }
    if (from.on != nullptr) Line("  on " + Expression(*from.on));
  }

  void Leaf(const Source& source, const std::string& how) {
    const std::string name = "s" + std::to_string(source.id) + " " + ToUtf8(source.exposed);
    if (source.query == nullptr) {
      const bool system = source.table->kind == TableKind::System;
      Line(how + name + ", " + (system ? "a table of the system's" : "table " + source.table->sql));
      return;
    }
    Line(how + name + (source.table != nullptr ? ", view" : ", derived table"));
    indent_ += 4;
    Query(*source.query);
    indent_ -= 4;
  }

  static std::string TypeOf(const BoundExpr& expr) {
    return TypeName(expr.type) + (expr.type.nullable ? "" : " not null");
  }

  std::string List(std::span<BoundExpr* const> args, std::string_view separator) {
    std::string list;
    for (const BoundExpr* arg : args) {
      if (!list.empty()) list += separator;
      list += Expression(*arg);
    }
    return list;
  }

  std::string Subquery(const BoundQuery& query) {
    Printer inner;
    inner.Query(query);
    std::string text = inner.Take();
    std::string lines;
    for (const char c : text) {
      lines += c == '\n' ? "; " : std::string(1, c);
    }
    while (lines.ends_with(' ') || lines.ends_with(';')) lines.pop_back();
    return "(" + lines + ")";
  }

  std::string Expression(const BoundExpr& expr) {
    const Nesting nesting;
    const std::string negation = expr.negated ? "not " : "";
    switch (expr.kind) {
      case ExprKind::Null:
        return "null";
      case ExprKind::Integer:
        return std::to_string(expr.integer);
      case ExprKind::Number:
        return ToUtf8(expr.text);
      case ExprKind::String:
        return "'" + ToUtf8(expr.text) + "'";
      case ExprKind::Binary:
        return "0x" + ToUtf8(expr.text);
      case ExprKind::Column:
        return "s" + std::to_string(expr.source->id) + "." +
               ToUtf8(expr.source->NameOf(expr.column));
      case ExprKind::Star:
        return "*";
      case ExprKind::Variable:
        return ToUtf8(expr.text) + (expr.live ? " (as of the row)" : "");
      case ExprKind::Negate:
        return "-" + Expression(*expr.args[0]);
      case ExprKind::BitNot:
        return "~" + Expression(*expr.args[0]);
      case ExprKind::Add:
      case ExprKind::Subtract:
      case ExprKind::Multiply:
      case ExprKind::Divide:
      case ExprKind::Modulo:
      case ExprKind::BitAnd:
      case ExprKind::BitOr:
      case ExprKind::BitXor:
        return "(" + List(expr.args, OperatorOf(expr.kind).sign) + ")";
      case ExprKind::Compare:
        return "(" + List(expr.args, SignOf(expr.compare)) + ")";
      case ExprKind::And:
        return "(" + List(expr.args, " and ") + ")";
      case ExprKind::Or:
        return "(" + List(expr.args, " or ") + ")";
      case ExprKind::Case:
        return Case(expr);
      case ExprKind::Convert: {
        const char* how = expr.conversion == Conversion::Cast       ? "cast("
                          : expr.conversion == Conversion::Implicit ? "convert("
                                                                    : "store(";
        return how + Expression(*expr.args[0]) + " as " + TypeName(expr.type) + ")";
      }
      case ExprKind::Function:
        return ToUtf8(expr.text) + (expr.distinct ? "(distinct " : "(") + List(expr.args, ", ") +
               ")";
      case ExprKind::Scalar:
        return Subquery(*expr.query);
      case ExprKind::Not:
        return "not " + Expression(*expr.args[0]);
      case ExprKind::IsNull:
        return "(" + Expression(*expr.args[0]) + " is " + negation + "null)";
      case ExprKind::Like:
        return "(" + Expression(*expr.args[0]) + " " + negation + "like " +
               List(expr.args.subspan(1), " escape ") + ")";
      case ExprKind::Between:
        return "(" + Expression(*expr.args[0]) + " " + negation + "between " +
               List(expr.args.subspan(1), " and ") + ")";
      case ExprKind::InList:
        return "(" + Expression(*expr.args[0]) + " " + negation + "in (" +
               List(expr.args.subspan(1), ", ") + "))";
      case ExprKind::InQuery:
        return "(" + Expression(*expr.args[0]) + " " + negation + "in " + Subquery(*expr.query) +
               ")";
      case ExprKind::Exists:
        return "exists " + Subquery(*expr.query);
    }
    return {};
  }

  std::string Case(const BoundExpr& expr) {
    std::string text = "case";
    std::size_t i = 0;
    if (expr.has_operand) text += " " + Expression(*expr.args[i++]);
    const std::size_t pairs_end = expr.args.size() - (expr.has_else ? 1 : 0);
    for (; i < pairs_end; i += 2) {
      text += " when " + Expression(*expr.args[i]) + " then " + Expression(*expr.args[i + 1]);
    }
    if (expr.has_else) text += " else " + Expression(*expr.args.back());
    return text + " end";
  }

  std::string out_;
  std::size_t indent_ = 0;
};

}  // namespace

std::string PrintBound(const BoundQuery& query) {
  Printer printer;
  printer.Query(query);
  return printer.Take();
}

std::string PrintBound(const BoundModification& modification) {
  Printer printer;
  printer.Modification(modification);
  return printer.Take();
}

}  // namespace ledgerwick::tsql
