// A bound tree as SQLite's SQL.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "tsql/base/allowance.h"
#include "tsql/base/nesting.h"
#include "tsql/binder/bound_tree.h"
#include "tsql/values/exact.h"

namespace ledgerwick::tsql {

// Writes SQLite SQL from a tree that the binder has passed. It decides nothing about names and
// types.
class Emitter {
 public:
  // The statements of the expressions that are evaluated by themselves (statement_parts.h) go
  // behind those that are in `parts` already, which outlives the emitter.
  explicit Emitter(std::vector<std::string>& parts) : parts_(parts) {
    constexpr std::size_t kUsualLength = 16384;
    out_.reserve(kUsualLength);
  }

  // A query whose result columns stand in order; `named` calls them c1, c2, ….
  void EmitQuery(const BoundQuery& query, bool named = false);

  void EmitExpr(const BoundExpr& expr);

  // FROM and WHERE of a statement, with a blank before each; nothing without `from`.
  void EmitFromWhere(const BoundFrom* from, const BoundExpr* where);

  Emitter& Raw(std::string_view sql) {
    out_ += sql;
    return *this;
  }

  // All that was written, behind the derived tables that go in front.
  std::string Take() const;

 private:
  // SQLite takes about so many bytes for each of the text's.
  void RequireRoom() const {
    constexpr std::size_t kBytesOfText = 16;
    Allowance::Require(out_.size() * kBytesOfText);
  }

  // Parts (emit_part.cpp)
  void EmitPart(const BoundExpr& expr);
  void Hoist(const Source& source);
  bool EmitInput(const BoundExpr& expr);
  std::optional<std::size_t> InputOf(const BoundExpr& expr) const;
  bool IsStoredColumn(const BoundExpr& expr) const;

  // Queries (emit_query.cpp)
  void EmitSelect(const BoundSelect& select, bool named, bool compound);
  void EmitItem(const BoundSelect& select, const BoundItem& item, bool compound);
  void EmitLimit(const BoundSelect& select);
  void EmitTerm(const BoundExpr& expr);
  void EmitOrderBy(const BoundQuery& query);
  void EmitHashedGroups(const BoundSelect& select);
  void EmitLeaf(const BoundFrom& from);
  void EmitFrom(const BoundFrom& from);
  void EmitJoinTree(const BoundFrom& from);
  void EmitJoinCondition(const BoundFrom& from, const BoundExpr& condition);

  // Expressions (emitter.cpp)
  void EmitNumber(const BoundExpr& expr);
  void EmitString(TextView text);
  void EmitColumn(const BoundExpr& expr);
  void EmitArithmetic(const BoundExpr& expr);
  void EmitDivision(const BoundExpr& expr);
  void EmitConnective(std::span<BoundExpr* const> terms, std::string_view word);
  void EmitCompare(const BoundExpr& expr);
  void EmitCase(const BoundExpr& expr);
  void EmitIn(const BoundExpr& expr);
  void EmitMember(const BoundExpr& expr);
  void EmitLike(const BoundExpr& expr);
  void EmitScalar(const BoundExpr& expr);
  void EmitFunction(const BoundExpr& expr);
  void EmitAggregate(const BoundExpr& expr);
  void EmitCall(std::string_view function, std::span<BoundExpr* const> args);
  void EmitCoalesce(std::span<BoundExpr* const> args);
  void EmitCollated(
      const BoundExpr& expr);  // with the collation where it would not apply by itself

  // Exact numbers (emit_exact.cpp)
  void EmitUnits(const BoundExpr& literal);
  void EmitScaled(const BoundExpr& expr, int scale);
  void EmitSize(const Type& type);
  void EmitExactArithmetic(const BoundExpr& expr);
  void EmitExactSum(const BoundExpr& expr);
  void EmitExactFunction(const BoundExpr& expr);
  void EmitAsFloat(const BoundExpr& expr);
  void ConvertToExact(const BoundExpr& expr);

  // Conversions (emit_conversion.cpp)
  void EmitConvert(const BoundExpr& expr);
  void ConvertToText(const BoundExpr& expr);
  void ConvertToInteger(const BoundExpr& expr);
  void ConvertToFloat(const BoundExpr& expr);
  void ConvertToDate(const BoundExpr& expr);
  void CutText(const BoundExpr& expr);

  // Among a part's parameters: the parts come before its inputs.
  static constexpr std::size_t kFirstInput = 2;

  std::vector<std::string>& parts_;
  const BoundPart* part_ = nullptr;  // that is being written
  bool beside_full_join_ = false;    // in a FROM that holds one
  std::string with_;                 // what goes in front
  std::string out_;
};

// The literal for a value of `type`, a decimal or money, in its units.
std::string UnitsSql(Int128 units, const Type& type);

}  // namespace ledgerwick::tsql
