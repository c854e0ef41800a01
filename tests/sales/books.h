// The sample's sales documents as C++ values, and what tests calculate reports' tables with.
#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "tests/support/test_database.h"

namespace ledgerwick::testing {

using Rows = std::vector<ResultRow>;
using Keep = std::function<bool(const ResultRow&)>;

// The column's text or number; empty or 0 where it is NULL.
std::string At(const ResultRow& row, const std::string& column);
double NumberAt(const ResultRow& row, const std::string& column);

// Conditions on a row. Is takes NULL for an empty text; Within compares days.
Keep Is(const char* column, const char* value);
Keep Within(const char* column, const char* from, const char* to);
Keep And(const Keep& a, const Keep& b);
Keep Not(const Keep& a);

// Everything that the sample says of sales, each line with its head's columns. An invoice's cost is
// 0 where it is unknown; its columns "margin" and "with_tax" come from the others.
struct Books {
  explicit Books(TestDatabase& data);

  Rows notes;
  Rows invoices;
  Rows payments;
};

// A figure of a result; it may be unknown.
struct Figure {
  std::string name;
  std::function<std::optional<double>(const ResultRow&)> of;
};

// `number` for comparing: the rounding errors of different orders of addition go.
std::string Shown(double number);

struct Table {
  Rows rows;
  std::vector<Figure> figures;
};

// One row of the result for each of `lines` that is kept. `columns` is "NAME=SOURCE … ; NAME=SOURCE
// …": texts and, behind the semicolon, figures, which `more` follow.
Table List(const Rows& lines, const Keep& keep, const std::string& columns,
           const std::vector<Figure>& more = {});

// One row for each combination of the texts, with the sums of the figures.
Table Group(const Rows& lines, const Keep& keep, const std::string& columns,
            const std::vector<Figure>& more = {});

// Compares with what the report has given, whose figures are rounded first. `wanted` has to have at
// least `least` rows.
void CheckRows(Table wanted, Rows got, std::size_t least);

}  // namespace ledgerwick::testing
