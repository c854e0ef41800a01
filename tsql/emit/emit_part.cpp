// What the planner has taken out of a statement that nests too deeply.
#include <algorithm>

#include "tsql/emit/emitter.h"
#include "tsql/syntax/system_variables.h"

namespace ledgerwick::tsql {
namespace {

// A part's first parameter are the parts, its inputs follow.
constexpr std::size_t kFirstInput = 2;

bool IsSameInput(const BoundExpr& input, const BoundExpr& expr) {
  if (&input == &expr) return true;
  const bool compared = expr.kind == ExprKind::Column || expr.kind == ExprKind::Variable;
  return compared && input.kind == expr.kind && SameExpr(input, expr);
}

}  // namespace

std::string Emitter::Take() {
  if (with_.empty()) return std::move(out_);
  return with_ + " " + std::move(out_);
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

bool Emitter::IsInput(const BoundExpr& expr) const {
  return part_ != nullptr &&
         std::any_of(part_->inputs.begin(), part_->inputs.end(),
                     [&](const BoundExpr* input) { return IsSameInput(*input, expr); });
}

// What a part takes from where it stands is a parameter of it.
bool Emitter::EmitInput(const BoundExpr& expr) {
  const auto input = std::find_if(part_->inputs.begin(), part_->inputs.end(),
                                  [&](const BoundExpr* i) { return IsSameInput(*i, expr); });
  if (input == part_->inputs.end()) return false;
  const auto place = static_cast<std::size_t>(input - part_->inputs.begin());
  Raw("?").Raw(std::to_string(kFirstInput + place));
  return true;
}

// A column whose declaration carries the collation.
bool Emitter::IsStoredColumn(const BoundExpr& expr) const {
  return expr.kind == ExprKind::Column && expr.source->query == nullptr &&
         expr.source->table->kind == TableKind::Table && !IsInput(expr);
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
