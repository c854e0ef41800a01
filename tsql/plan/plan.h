// Rewrites of bound trees that give the same rows sooner. Each is a pass of its own; without them a
// statement runs as it is written.
#pragma once

#include <string>
#include <vector>

#include "tsql/base/arena.h"
#include "tsql/base/planning.h"
#include "tsql/binder/bound_tree.h"
#include "tsql/storage/catalogue.h"

namespace ledgerwick::tsql {

// What the planner did and why, in its order, one sentence (UTF-8) each.
using PlanNotes = std::vector<std::string>;

// Adds the text that `text` makes, unless it is empty, where somebody listens.
template <typename MakeText>
void Note(PlanNotes* notes, MakeText&& text) {
  if (notes == nullptr) return;
  std::string note = text();
  if (!note.empty()) notes->push_back(std::move(note));
}

// What the notes call a source: "Inventory (s2)".
std::string NameOf(const Source& source);

// What the passes of one statement share. What they add lives in `arena`.
struct PlanContext {
  Arena& arena;
  Catalogue& catalogue;
  Planning planning;
  std::int32_t next_source;    // the number of the next table or derived table
  PlanNotes* notes = nullptr;  // of who asks for them
};

// Each rewrites a tree that a binder has made, and the subqueries in it. They raise nothing of
// their own; the storage's errors pass through.
void PlanQuery(BoundQuery& query, PlanContext& context);
void PlanExpression(BoundExpr& expr, PlanContext& context);
void PlanModification(BoundModification& modification, PlanContext& context);

}  // namespace ledgerwick::tsql
