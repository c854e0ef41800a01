// A bound tree as SQLite's SQL.
#pragma once

#include <string>

#include "tsql/binder/binder.h"
#include "tsql/syntax/syntax_tree.h"
#include "tsql/values/exact.h"

namespace ledgerwick::tsql {

// Writes SQLite SQL from a tree that the binder has passed. It decides nothing about names and
// types.
class Emitter {
 public:
  // A query whose result columns stand in order; `named` calls them c1, c2, ….
  void EmitQuery(const Query& query, bool named = false);

  void EmitExpr(const Expr& expr);

  // FROM and WHERE of a statement, with a blank before each; nothing without `from`.
  void EmitFromWhere(const From* from, const Expr* where);

  Emitter& Raw(std::string_view sql) {
    out_ += sql;
    return *this;
  }
  std::string Take() { return std::move(out_); }

 private:
  // Arithmetic may write an operand twice, so that the text of what nests doubles with every level.
  // SQLite takes about so many bytes for each of the text's.
  void RequireRoom() const {
    constexpr std::size_t kBytesOfText = 16;
    Allowance::Require(out_.size() * kBytesOfText);
  }

  // Queries (emit_query.cpp)
  void EmitSelect(const Select& select, bool named, bool compound);
  void EmitItem(const Select& select, const SelectItem& item, bool compound);
  void EmitTerm(const Expr& expr);
  void EmitOrderBy(const Query& query);
  void EmitHashedGroups(const Select& select);
  void EmitLeaf(const From& from);
  void EmitJoinTree(const From& from);
  void EmitJoinCondition(const From& from, const Expr& condition);

  // Expressions (emitter.cpp)
  void EmitNumber(const Expr& expr);
  void EmitString(TextView text);
  void EmitColumn(const Expr& expr);
  void EmitArithmetic(const Expr& expr);
  void EmitDivision(const Expr& expr);
  void EmitConnective(std::span<Expr* const> terms, std::string_view word);
  void EmitCompare(const Expr& expr);
  void EmitCase(const Expr& expr);
  void EmitIn(const Expr& expr);
  void EmitMember(const Expr& expr);
  void EmitLike(const Expr& expr);
  void EmitScalar(const Expr& expr);
  void EmitFunction(const Expr& expr);
  void EmitAggregate(const Expr& expr);
  void EmitCall(std::string_view function, std::span<Expr* const> args);
  void EmitCollated(const Expr& expr);  // with the collation where it would not apply by itself

  // Exact numbers (emit_exact.cpp)
  void EmitUnits(const Expr& literal);
  void EmitScaled(const Expr& expr, int scale);
  void EmitSize(const Type& type);
  void EmitExactArithmetic(const Expr& expr);
  void EmitExactSum(const Expr& expr);
  void EmitExactFunction(const Expr& expr);
  void EmitAsFloat(const Expr& expr);
  void ConvertToExact(const Expr& expr);

  // Conversions (emit_conversion.cpp)
  void EmitConvert(const Expr& expr);
  void ConvertToText(const Expr& expr);
  void ConvertToInteger(const Expr& expr);
  void ConvertToFloat(const Expr& expr);
  void ConvertToDate(const Expr& expr);
  void CutText(const Expr& expr);

  std::string out_;
};

// The literal for a value of `type`, a decimal or money, in its units.
std::string UnitsSql(Int128 units, const Type& type);

// The SQL of one expression.
std::string EmitToString(const Expr& expr);

}  // namespace ledgerwick::tsql
