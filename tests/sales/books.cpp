#include "tests/sales/books.h"

#include <doctest/doctest.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <iterator>
#include <map>
#include <sstream>
#include <utility>

namespace ledgerwick::testing {
namespace {

std::string NoteName(const std::string& type) {
  return type == "05" ? "发货单" : type == "06" ? "委托代销发货单" : "委托结算单";
}

std::map<std::string, ResultRow> ByKey(const Rows& rows, const char* key) {
  std::map<std::string, ResultRow> by_key;
  for (const ResultRow& row : rows) by_key[row.at(key)] = row;
  return by_key;
}

// What "NAME=SOURCE … ; NAME=SOURCE …" says.
struct Plan {
  std::vector<std::pair<std::string, std::string>> texts;
  std::vector<Figure> figures;

  Plan(const std::string& columns, const std::vector<Figure>& more) {
    std::istringstream words(columns);
    bool in_figures = false;
    for (std::string word; words >> word;) {
      const std::size_t equals = word.find('=');
      if (equals == std::string::npos) {
        in_figures = true;
      } else if (in_figures) {
        figures.push_back({word.substr(0, equals), Known(word.substr(equals + 1))});
      } else {
        texts.emplace_back(word.substr(0, equals), word.substr(equals + 1));
      }
    }
    figures.insert(figures.end(), more.begin(), more.end());
  }

  static std::function<std::optional<double>(const ResultRow&)> Known(const std::string& source) {
    return [=](const ResultRow& row) {
      return row.contains(source) ? std::optional(std::stod(row.at(source))) : std::nullopt;
    };
  }

  ResultRow Texts(const ResultRow& line) const {
    ResultRow row;
    for (const auto& [name, source] : texts) {
      if (line.contains(source)) row[name] = line.at(source);
    }
    return row;
  }
};

}  // namespace

std::string At(const ResultRow& row, const std::string& column) {
  const auto found = row.find(column);
  return found == row.end() ? std::string() : found->second;
}

double NumberAt(const ResultRow& row, const std::string& column) {
  const std::string text = At(row, column);
  return text.empty() ? 0 : std::stod(text);
}

Keep Is(const char* column, const char* value) {
  return [=](const ResultRow& row) { return At(row, column) == value; };
}

Keep Within(const char* column, const char* from, const char* to) {
  return [=](const ResultRow& row) {
    const std::string day = At(row, column).substr(0, 10);
    return !day.empty() && day >= from && day <= to;
  };
}

Keep And(const Keep& a, const Keep& b) {
  return [=](const ResultRow& row) { return a(row) && b(row); };
}

Keep Not(const Keep& a) {
  return [=](const ResultRow& row) { return !a(row); };
}

Books::Books(TestDatabase& data) {
  const auto items = ByKey(data.Rows("SELECT * FROM Inventory"), "cInvCode");
  const auto customers = ByKey(data.Rows("SELECT * FROM Customer"), "cCusCode");
  const auto departments = ByKey(data.Rows("SELECT * FROM Department"), "cDepCode");
  const auto join = [&](const char* heads, const char* lines) {
    const auto head_of = ByKey(data.Rows(std::string("SELECT * FROM ") + heads), "ID");
    Rows joined;
    for (ResultRow line : data.Rows(std::string("SELECT * FROM ") + lines)) {
      const ResultRow& head = head_of.at(line.at("ID"));
      line.insert(head.begin(), head.end());
      const ResultRow& item = items.at(line.at("cInvCode"));
      line.insert(item.begin(), item.end());
      line["cCusAbbName"] = customers.at(line.at("cCusCode")).at("cCusAbbName");
      line["cDepName"] = departments.at(line.at("cDepCode")).at("cDepName");
      joined.push_back(std::move(line));
    }
    return joined;
  };
  notes = join("SaleNote", "SaleNoteLine");
  invoices = join("SaleInvoice", "SaleInvoiceLine");
  for (ResultRow& line : invoices) {
    line.emplace("iCost", "0");
    line["margin"] = NumberText(NumberAt(line, "iMoney") - NumberAt(line, "iCost"));
    line["with_tax"] = NumberText(NumberAt(line, "iMoney") + NumberAt(line, "iTax"));
  }
  payments = data.Rows("SELECT * FROM SalePayment");
  for (ResultRow& note : notes) note["cVouchName"] = NoteName(note.at("cVouchType"));
}

std::string Shown(double number) {
  std::array<char, 40> text{};
  std::snprintf(text.data(), text.size(), "%.5f", number);
  return std::string(text.data()) == "-0.00000" ? "0.00000" : text.data();
}

Table List(const Rows& lines, const Keep& keep, const std::string& columns,
           const std::vector<Figure>& more) {
  const Plan plan(columns, more);
  Table table{{}, plan.figures};
  for (const ResultRow& line : lines) {
    if (!keep(line)) continue;
    ResultRow& row = table.rows.emplace_back(plan.Texts(line));
    for (const Figure& figure : plan.figures) {
      if (const auto value = figure.of(line)) row[figure.name] = Shown(*value);
    }
  }
  return table;
}

Table Group(const Rows& lines, const Keep& keep, const std::string& columns,
            const std::vector<Figure>& more) {
  const Plan plan(columns, more);
  std::map<ResultRow, std::map<std::string, double>> groups;
  for (const ResultRow& line : lines) {
    if (!keep(line)) continue;
    auto& sums = groups[plan.Texts(line)];
    for (const Figure& figure : plan.figures) {
      if (const auto value = figure.of(line)) sums[figure.name] += *value;
    }
  }
  Table table{{}, plan.figures};
  for (const auto& [key, sums] : groups) {
    ResultRow& row = table.rows.emplace_back(key);
    for (const auto& [name, sum] : sums) row[name] = Shown(sum);
  }
  return table;
}

void CheckRows(Table wanted, Rows got, std::size_t least) {
  CHECK(wanted.rows.size() >= least);
  for (ResultRow& row : got) {
    for (const Figure& figure : wanted.figures) {
      const auto value = row.find(figure.name);
      if (value != row.end()) value->second = Shown(std::stod(value->second));
    }
  }
  std::ranges::sort(wanted.rows);
  std::ranges::sort(got);
  Rows missing;
  Rows surplus;
  std::ranges::set_difference(wanted.rows, got, std::back_inserter(missing));
  std::ranges::set_difference(got, wanted.rows, std::back_inserter(surplus));
  for (const auto& [what, rows] :
       {std::pair(std::string("missing"), missing), std::pair(std::string("surplus"), surplus)}) {
    std::string first;
    if (!rows.empty()) {
      for (const auto& [column, value] : rows.front()) first += column + "=" + value + " ";
    }
    CHECK_MESSAGE(rows.empty(), rows.size() << " rows " << what << ", first: " << first);
  }
}

}  // namespace ledgerwick::testing
