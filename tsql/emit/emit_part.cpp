// What the planner has taken out of a statement that nests too deeply.
#include <algorithm>

#include "tsql/emit/emitter.h"
#include "tsql/syntax/system_variables.h"

namespace ledgerwick::tsql {
namespace {

bool IsSameInput(const BoundExpr& input, const BoundExpr& expr) {
  if (&input == &expr) return true;
  const bool compared = expr.kind == ExprKind::Column || expr.kind == ExprKind::Variable;
  return compared && input.kind == expr.kind && SameExpr(input, expr);
}

}  // namespace

std::string Emitter::Take() const {
  // A copy: what was reserved may be much more than what a kept statement needs.
  return with_.empty() ? std::string(out_) : with_ + " " + out_;
}

// t_part(parts, number, input…). Inputs beyond what one call takes are handed over in bundles.
void Emitter::EmitPart(const BoundExpr& expr) {
  Emitter inner(parts_);
  inner.part_ = expr.part;
  inner.Raw("SELECT ").EmitExpr(expr);
  const std::string parts = part_ != nullptr ? "?1" : "?" + std::to_string(kPartsSlot + 1);
  Raw("t_part(").Raw(parts).Raw(", ").Raw(std::to_string(parts_.size()));
  parts_.push_back(inner.Take());
  const std::span<const BoundExpr*> inputs = expr.part->inputs;
  for (std::size_t i = 0; i < inputs.size(); ++i) {
    const bool bundled = i >= kMostCallArguments;
    const bool first = bundled && i % kMostCallArguments == 0;
    if (first && i > kMostCallArguments) Raw(")");
    Raw(first ? ", t_bundle(" : ", ");
    EmitExpr(*inputs[i]);
  }
  Raw(inputs.size() > kMostCallArguments ? "))" : ")");
}

// Which of the part's inputs `expr` is; nothing outside a part.
std::optional<std::size_t> Emitter::InputOf(const BoundExpr& expr) const {
  if (part_ == nullptr) return std::nullopt;
  const std::span<const BoundExpr*> inputs = part_->inputs;
  const auto input = std::find_if(inputs.begin(), inputs.end(),
                                  [&](const BoundExpr* i) { return IsSameInput(*i, expr); });
  if (input == inputs.end()) return std::nullopt;
  return static_cast<std::size_t>(input - inputs.begin());
}

// What a part takes from where it stands is a parameter of it. False for anything else.
bool Emitter::EmitInput(const BoundExpr& expr) {
  const std::optional<std::size_t> input = InputOf(expr);
  if (input) Raw("?").Raw(std::to_string(kFirstInput + *input));
  return input.has_value();
}

// A column whose declaration carries the collation.
bool Emitter::IsStoredColumn(const BoundExpr& expr) const {
  return expr.kind == ExprKind::Column && expr.source->query == nullptr &&
         expr.source->table->kind == TableKind::Table && !InputOf(expr);
}

void Emitter::Hoist(const Source& source) {
  const std::string name = "w" + std::to_string(source.id);
  std::string around = std::move(out_);
  out_.clear();
  EmitQuery(*source.query, true);
  with_.append(with_.empty() ? "WITH " : ", ").append(name).append(" AS (").append(out_) += ')';
  out_ = std::move(around);
  Raw(name);
}

}  // namespace ledgerwick::tsql
