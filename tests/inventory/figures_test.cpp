// The figures of each report, against a calculation that uses no SQL.
#include <doctest/doctest.h>

#include <algorithm>
#include <functional>
#include <set>
#include <sstream>
#include <tuple>

#include "frame/error.h"
#include "tests/inventory/small_stock.h"

namespace ledgerwick {
namespace {

using namespace testing;

// The sum of what is known; not known when nothing is.
class Sum {
 public:
  void Add(const Number& n) {
    if (n) value_ = value_.value_or(0) + *n;
  }
  const Number& value() const noexcept { return value_; }

 private:
  Number value_;
};

Number operator*(const Number& a, double b) { return a ? Number(*a * b) : a; }
Number Plus(const Number& a, const Number& b) { return a && b ? Number(*a + *b) : Number(); }
Number Minus(const Number& a, const Number& b) { return Plus(a, b * -1); }

// What stands in a column; empty for NULL.
struct Cell {
  Cell(const char* known) : text(known) {}
  Cell(const std::string& known) : text(known) {}
  Cell(const Number& number) : text(number ? NumberText(*number) : "") {}
  Cell(double number) : text(NumberText(number)) {}
  std::string text;
};

// Puts `cells` into the columns that `names` says, parted by blanks.
void Put(ResultRow& row, const std::string& names, std::initializer_list<Cell> cells) {
  std::istringstream words(names);
  std::string column;
  for (const Cell& cell : cells) {
    words >> column;
    if (!cell.text.empty()) row[column] = cell.text;
  }
  CHECK_FALSE(static_cast<bool>(words >> column));  // a cell for each name
}

std::string Day(const std::string& date) { return date.substr(0, 10); }

std::string Shown(const std::vector<ResultRow>& rows) {
  std::string text;
  for (const ResultRow& row : rows) {
    for (const auto& [column, value] : row) text += column + "=" + value + " ";
    text += "\n";
  }
  return text;
}

void CheckRows(std::vector<ResultRow> wanted, const std::vector<ResultRow>& got) {
  std::sort(wanted.begin(), wanted.end());
  CHECK(!wanted.empty());
  std::vector<ResultRow> missing;
  std::vector<ResultRow> surplus;
  std::set_difference(wanted.begin(), wanted.end(), got.begin(), got.end(),
                      std::back_inserter(missing));
  std::set_difference(got.begin(), got.end(), wanted.begin(), wanted.end(),
                      std::back_inserter(surplus));
  CHECK_MESSAGE(missing.empty(), "missing:\n" << Shown(missing));
  CHECK_MESSAGE(surplus.empty(), "too many:\n" << Shown(surplus));
}

// ---- the receive/issue/balance summary

// What one run of the summary asks for, in C++.
struct SummaryCase {
  const char* name = "";
  std::vector<FilterItem> filters{};
  bool kits = false;
  std::string from = "2002-03-01";
  std::string to = "2002-03-31";
  std::size_t code_length = 0;
  std::function<bool(const Line&)> line = [](const Line&) { return true; };
  std::function<bool(const Item&)> item = [](const Item&) { return true; };
  std::function<bool(double closing, double receipts, double issues)> balance =
      [](double, double, double) { return true; };
};

// A line after kits are expanded.
struct Part {
  std::string code;  // of the item
  double factor = 1;
};

std::vector<Part> PartsOf(const Line& line, bool kits, bool keep_code) {
  std::vector<Part> parts;
  for (const Kit& kit : Kits()) {
    if (kits && kit.parent == line.item) {
      parts.push_back({keep_code ? line.item : kit.component, kit.count});
    }
  }
  if (parts.empty()) parts.push_back({line.item, 1});
  return parts;
}

// A row of the work table: a movement of the period, or an opening balance, which counts as a
// receipt of nothing known.
struct WorkRow {
  std::string key;  // receive/issue type and direction
  bool receipt = true;
  Number quantity, pieces, opening_quantity, opening_pieces;
};

std::string KeyOf(const Line& line) { return line.type + (line.receipt ? "1" : "0"); }

// The columns of the types in use, by the key that each counts. A code that is not on file counts
// in the totals alone, and its column counts what has no code.
std::map<std::string, std::string> TypeColumns(std::size_t code_length) {
  std::map<std::string, std::string> columns;
  for (const Line& line : Lines()) {
    if (code_length > 0 && line.type.size() < code_length) continue;
    const auto type = Types().find(line.type);
    const bool known = type != Types().end();
    columns[known          ? KeyOf(line)
            : line.receipt ? "1"
                           : "0"] =
        (known ? type->second : "其他_") + (line.receipt ? "_入库" : "_出库");
  }
  return columns;
}

using WorkTable = std::map<std::pair<std::string, std::string>, std::vector<WorkRow>>;

// The rows by warehouse and item.
WorkTable WorkRows(const SummaryCase& c) {
  WorkTable table;
  for (const Line& line : Lines()) {
    if (line.voucher == "33" || !c.line(line)) continue;
    const bool before = line.date < c.from;
    const bool within = !before && line.date <= c.to && line.voucher != "34" &&
                        (c.code_length == 0 || line.type.size() >= c.code_length);
    if (!before && !within) continue;
    for (const Part& part : PartsOf(line, c.kits, before)) {
      if (!c.item(*FindItem(part.code))) continue;
      WorkRow row;
      const Number quantity = line.quantity * part.factor;
      const Number pieces = line.pieces * part.factor;
      if (before) {
        row = {"1",
               true,
               {},
               {},
               quantity * (line.receipt ? 1 : -1),
               pieces * (line.receipt ? 1 : -1)};
      } else {
        row = {KeyOf(line), line.receipt, quantity, pieces, {}, {}};
        row.opening_quantity = row.opening_pieces = Minus(line.pieces, line.pieces);
      }
      table[{line.warehouse, part.code}].push_back(row);
    }
  }
  return table;
}

template <typename Term>
Number SumOf(const std::vector<WorkRow>& rows, Term term) {
  Sum sum;
  for (const WorkRow& row : rows) sum.Add(term(row));
  return sum.value();
}

ResultRow ItemColumns(const std::string& warehouse, const Item& item) {
  ResultRow row;
  Put(row,
      "仓库编码 仓库名称 存货编码 存货名称 计量单位 辅计量单位 cInvCCode "
      "存货大类名称",
      {warehouse, Warehouses().at(warehouse), item.code, item.name, item.unit_name,
       PiecesUnit(item.group), item.item_class, item.item_class == "01" ? "甲类" : "甲一类"});
  return row;
}

std::vector<ResultRow> Summary(const SummaryCase& c) {
  std::vector<ResultRow> result;
  const auto columns = TypeColumns(c.code_length);
  for (const auto& [key, rows] : WorkRows(c)) {
    const auto quantity = [&](bool receipt) {
      return SumOf(rows, [&](const WorkRow& r) {
        return Number(r.receipt == receipt ? r.quantity.value_or(0) : 0);
      });
    };
    const auto pieces = [&](bool receipt) {
      return SumOf(rows,
                   [&](const WorkRow& r) { return r.receipt == receipt ? r.pieces : Number(0); });
    };
    const auto opening =
        SumOf(rows, [](const WorkRow& r) { return Number(r.opening_quantity.value_or(0)); });
    const auto opening_pieces =
        SumOf(rows, [](const WorkRow& r) { return Number(r.opening_pieces.value_or(0)); });
    const double closing = *opening + *quantity(true) - *quantity(false);
    if (!c.balance(closing, *quantity(true), *quantity(false))) continue;
    ResultRow row = ItemColumns(key.first, *FindItem(key.second));
    Put(row,
        "iQCJCSL iQCJCJS 总计_入库数量 总计_入库件数 总计_出库数量 总计_出库件数 "
        "期末结存数量 期末结存件数",
        {opening, opening_pieces, quantity(true), pieces(true), quantity(false), pieces(false),
         Number(closing),
         Number(*opening_pieces + pieces(true).value_or(0) - pieces(false).value_or(0))});
    for (const auto& [type, column] : columns) {
      const auto of_type = [&rows = rows, &type = type](Number WorkRow::*figure) {
        return SumOf(rows, [&](const WorkRow& r) { return r.key == type ? r.*figure : Number(0); });
      };
      Put(row, column + "数量 " + column + "件数",
          {of_type(&WorkRow::quantity), of_type(&WorkRow::pieces)});
    }
    result.push_back(row);
  }
  return result;
}

// ---- location summary and batch summary: sums around a border

// The sums of one group of movements. `before` and `after` say what counts as opening and as
// period.
template <typename Row, typename Before, typename After>
void PutPieces(ResultRow& row, const Item& item, const std::vector<Row>& rows, const char* names,
               bool opening_counts_all, Before before, After after) {
  const auto pieces = [&](const Row& r, double converted, double counted) -> Number {
    if (item.group_type == 0) return 0;
    return item.group_type == 1 ? r.quantity * (converted / kRate) : r.pieces * counted;
  };
  Sum opening, receipts, issues;
  for (const Row& r : rows) {
    const double counted = before(r) && r.receipt ? 1 : -1;
    const double signed_before = before(r) ? (r.receipt ? 1 : -1) : 0;
    opening.Add(pieces(r, opening_counts_all ? counted : signed_before, counted));
    const double in = after(r) && r.receipt ? 1 : 0;
    const double out = after(r) && !r.receipt ? 1 : 0;
    receipts.Add(pieces(r, in, in));
    issues.Add(pieces(r, out, out));
  }
  Put(row, names,
      {opening.value(), receipts.value(), issues.value(),
       Minus(Plus(opening.value(), receipts.value()), issues.value())});
}

std::vector<ResultRow> Locations(const std::function<bool(double closing)>& balance) {
  std::map<std::tuple<std::string, std::string, std::string>, std::vector<Movement>> groups;
  for (const Movement& m : Movements()) {
    if (LeafLocations().contains(m.location)) groups[{m.location, m.item, m.batch}].push_back(m);
  }
  const auto before = [](const Movement& m) { return m.date < "2001-10-01"; };
  std::vector<ResultRow> result;
  for (const auto& [key, rows] : groups) {
    const auto& [location, code, batch] = key;
    Sum in, out, receipts, issues;
    for (const Movement& m : rows) {
      in.Add(m.quantity * (before(m) && m.receipt ? 1 : 0));
      out.Add(m.quantity * (before(m) && !m.receipt ? 1 : 0));
      receipts.Add(!before(m) && m.receipt ? m.quantity : 0);
      issues.Add(!before(m) && !m.receipt ? m.quantity : 0);
    }
    const Number opening = Minus(in.value(), out.value());
    const Number closing = Minus(Plus(opening, receipts.value()), issues.value());
    if (balance && !(closing && balance(*closing))) continue;
    const Item& item = *FindItem(code);
    ResultRow row;
    Put(row,
        "仓库编码 仓库名称 货位编码 货位名称 存货编码 批号 存货名称 存货大类 "
        "主计量单位 辅计量单位 期初结存数量 本期入库数量 本期出库数量 期末结存数量",
        {"01", Warehouses().at("01"), location, LeafLocations().at(location), code, batch,
         item.name, item.item_class, item.unit_name, PiecesUnit(item.group), opening,
         receipts.value(), issues.value(), closing});
    PutPieces(row, item, rows, "期初结存件数 本期入库件数 本期出库件数 期末结存件数", false, before,
              [&](const Movement& m) { return !before(m); });
    result.push_back(row);
  }
  return result;
}

// `from` and `to` bound the period.
std::vector<ResultRow> Batches(const std::string& from, const std::string& to) {
  std::map<std::tuple<std::string, std::string, std::string>, std::vector<Line>> groups;
  for (const Line& l : Lines()) {
    if (l.voucher == "33" || l.voucher == "34" || !FindItem(l.item)->batch) continue;
    groups[{l.warehouse, l.item, l.batch}].push_back(l);
  }
  const auto before = [&](const Line& l) { return l.date < from; };
  const auto within = [&](const Line& l) { return l.date >= from && l.date <= to; };
  std::vector<ResultRow> result;
  for (const auto& [key, rows] : groups) {
    const auto& [warehouse, code, batch] = key;
    const Item& item = *FindItem(code);
    Sum opening, receipts, issues;
    for (const Line& l : rows) {
      opening.Add(l.quantity * (before(l) && l.receipt ? 1 : -1));
      receipts.Add(within(l) && l.receipt ? l.quantity : 0);
      issues.Add(within(l) && !l.receipt ? l.quantity : 0);
    }
    ResultRow row;
    Put(row,
        "仓库 仓库编码 存货编码 存货名称 计量单位 辅计量单位 批号 期初结存数量 "
        "收入数量 发出数量 期末结存数量",
        {Warehouses().at(warehouse), warehouse, code, item.name, item.unit_name,
         PiecesUnit(item.group), batch, opening.value(), receipts.value(), issues.value(),
         Minus(Plus(opening.value(), receipts.value()), issues.value())});
    PutPieces(row, item, rows, "期初结存件数 收入件数 发出件数 期末结存件数", true, before, within);
    result.push_back(row);
  }
  return result;
}

// ---- the reports that list rows as they are

std::vector<ResultRow> Journal(const std::function<bool(const Line&)>& takes) {
  std::vector<ResultRow> result;
  int id = 0;
  for (const Line& l : Lines()) {
    ++id;
    if (l.voucher == "10" || !takes(l)) continue;
    const Item& item = *FindItem(l.item);
    ResultRow row;
    const bool at_ten = l.date.size() > 10;
    const std::string kind = l.voucher == "33" ? "期初单" : l.voucher == "34" ? "结算单" : "入库单";
    Number rate = item.group_type == 0 ? Number(0) : Number(kRate);
    if (item.group_type == 2) rate = l.pieces ? Number(*l.quantity / *l.pieces) : Number();
    // '' beside a number is 0.
    const auto in = [&](const Number& n) { return l.receipt ? n : Number(0); };
    const auto out = [&](const Number& n) { return l.receipt ? Number(0) : n; };
    const std::string type = Types().contains(l.type) ? Types().at(l.type) : "";
    const std::string customer = l.receipt ? "" : "客户简称";
    Put(row, "dDate SFBZ DJLX WN DJH SFLB JSR KH CHBM CHMC JLDW PH",
        {Day(l.date) + (at_ten ? " 10:00:00" : ""), l.receipt ? "入库" : "出库", kind,
         Warehouses().at(l.warehouse), "V" + std::to_string(id), type, l.handler, customer,
         item.code, item.name, item.unit_name, l.batch});
    Put(row, "RKJS CKJS RKSL CKSL RKDJ CKDJ RKJE CKJE HSL",
        {in(l.pieces), out(l.pieces), in(l.quantity), out(l.quantity), in(2), out(2), in(3), out(3),
         rate});
    result.push_back(row);
  }
  return result;
}

// The pieces of a stock row. `null_counts` says whether counted pieces that are null count as 0.
Number StockPieces(const Item& item, const Number& quantity, const Number& pieces,
                   bool null_counts) {
  if (item.group_type == 0) return 0;
  if (item.group_type == 1) return quantity * (1 / kRate);
  return null_counts ? Number(pieces.value_or(0)) : pieces;
}

std::vector<ResultRow> CurrentStock(const std::function<bool(const Stock&)>& takes) {
  std::vector<ResultRow> result;
  for (const Stock& s : Stocks()) {
    if (!takes(s)) continue;
    ResultRow row;
    Put(row, "cInvCode cWhCode cWhName cBatch dVDate iQuantity bStopFlag fInQuantity",
        {s.item, s.warehouse, Warehouses().at(s.warehouse), s.batch, s.expiry, s.quantity,
         s.stopped, Number(24)});
    if (const Item* item = FindItem(s.item)) {
      Put(row,
          "cInvName cInvCCode cInvCName cInvM_Unit cInvA_Unit cPosCode cPosName iNum "
          "fInNum",
          {item->name, item->item_class, item->item_class == "01" ? "甲类" : "甲一类",
           item->unit_name, PiecesUnit(item->group), "1", "一区",
           StockPieces(*item, s.quantity, s.pieces, true), StockPieces(*item, 24, 2, true)});
      for (const char* name : {"fOut", "fTransIn", "fTransOut", "fPlan", "fDisable", "fAva"}) {
        Put(row, std::string(name) + "Num", {StockPieces(*item, {}, {}, true)});
      }
    }
    result.push_back(row);
  }
  return result;
}

std::vector<ResultRow> ShelfLife(const std::function<bool(const Stock&)>& takes) {
  std::vector<ResultRow> result;
  for (const Stock& s : Stocks()) {
    const Item* item = FindItem(s.item);
    if (!item || !item->quality || !takes(s)) continue;
    ResultRow row;
    Put(row, "仓库 存货编码 存货名称 主计量单位 辅计量单位 结存数量 结存件数 批号 失效日期",
        {Warehouses().at(s.warehouse), s.item, item->name, item->unit_name, PiecesUnit(item->group),
         s.quantity, StockPieces(*item, s.quantity, s.pieces, false), s.batch, s.expiry});
    result.push_back(row);
  }
  return result;
}

}  // namespace

TEST_CASE("figures of the receive/issue/balance summary") {
  const FilterItem march = Filter(u"dDate", u"2002-03-31", u"2002-03-01");
  const FilterItem kits = Filter(u"ExtAcc", u"是");
  const SummaryCase cases[] = {
      {.name = "march", .filters = {march}},
      {.name = "from the default day on", .from = "2001-11-01", .to = "9999"},
      {.name = "up to a day",
       .filters = {Filter(u"dDate", u"", u"2002-03-05")},
       .from = "1900-01-01",
       .to = "2002-03-05"},
      {.name = "kits", .filters = {kits, march}, .kits = true},
      {.name = "kits of a class",
       .filters = {kits, Filter(u"Inventory.cInvCCode", u"01"), march},
       .kits = true,
       .item = [](const Item& i) { return i.item_class == "01"; }},
      {.name = "level", .filters = {Filter(u"iAssUnitGrade", u"2"), march}, .code_length = 2},
      {.name = "warehouse",
       .filters = {Filter(u"RdRecord.cWhCode", u"02"), march},
       .line = [](const Line& l) { return l.warehouse == "02"; }},
      {.name = "type",
       .filters = {Filter(u"cRdCode", u"1"), march},
       .line = [](const Line& l) { return l.type.starts_with("1"); }},
      {.name = "audited",
       .filters = {Filter(u"VeriType", u"是"), march},
       .line = [](const Line& l) { return !l.handler.empty(); }},
      {.name = "on consignment",
       .filters = {Filter(u"cInvType", u"受托代销商品"), march},
       .item = [](const Item& i) { return i.entrust; }},
      {.name = "no zero balance",
       .filters = {Filter(u"DispZeroInv", u"否"), march},
       .balance = [](double closing, double, double) { return closing != 0; }},
      {.name = "moved",
       .filters = {Filter(u"BusCond", u"发生业务"), march},
       .balance = [](double, double in, double out) { return in + out != 0; }},
      {.name = "issued alone",
       .filters = {Filter(u"BusCond", u"出库未入库"), march},
       .balance = [](double, double in, double out) { return in == 0 && out != 0; }},
      {.name = "closing between",
       .filters = {Filter(u"JCQuantity", u"100", u"3"), march},
       .balance = [](double closing, double, double) { return closing >= 3 && closing <= 100; }},
  };
  StockDatabase database;
  for (const SummaryCase& c : cases) {
    CAPTURE(c.name);
    CheckRows(Summary(c), database.Report("clsRepSFC", c.filters));
  }
}

TEST_CASE("a level without types gives a message and leaves no table") {
  StockDatabase database;
  CHECK(!database.Report("clsRepSFC", {}).empty());
  CHECK(database.Report("clsRepSFC", {Filter(u"iAssUnitGrade", u"5")}).empty());
  CHECK(database.message() == "没有该级次收发类型");
  CHECK_THROWS_AS(database.Run("SELECT * FROM tempdb..temSFC"), DatabaseError);
}

TEST_CASE("two warehouses at once select nothing") {
  StockDatabase database;
  CHECK(database.Report("clsRepSFC", {Filter(u"RdRecord.cWhCode", u"01,02")}).empty());
  CHECK(database.Report("clsRepHwhz", {Filter(u"Warehouse.cWhCode", u"01,02")}).empty());
  CHECK(database.Report("clsRepLsz", {Filter(u"R.cWhCode", u"01,02")}).empty());
}

TEST_CASE("figures of the location summary") {
  StockDatabase database;
  CheckRows(Locations({}), database.Report("clsRepHwhz", {}));
  CheckRows(Locations({}), database.Report("clsRepHwhz", {Filter(u"dDate", u"2002-01-01")}));
  CheckRows(Locations([](double closing) { return closing >= 9 && closing <= 10; }),
            database.Report("clsRepHwhz", {Filter(u"JCQuantity", u"9", u"10")}));
  CheckRows(Locations([](double closing) { return closing <= 9; }),
            database.Report("clsRepHwhz", {Filter(u"JCQuantity", u"", u"9")}));
  database.Run("UPDATE ComputationUnit SET iChangRate = 0 WHERE cGroupCode = 'G1'");
  CHECK_THROWS_WITH_AS(database.Report("clsRepHwhz", {}), "Divide by zero error encountered.",
                       DatabaseError);
}

TEST_CASE("figures of the batch stock summary") {
  StockDatabase database;
  CheckRows(Batches("1900", "9999"), database.Report("clsRepPcch", {}));
  CheckRows(Batches("2002-03-06", "2002-03-10"),
            database.Report("clsRepPcch", {Filter(u"dDate", u"2002-03-10", u"2002-03-06")}));
  CheckRows(Batches("2002-03-06", "9999"),
            database.Report("clsRepPcch", {Filter(u"dDate", u"2002-03-06")}));
  CheckRows(Batches("1900", "1900"),
            database.Report("clsRepPcch", {Filter(u"dDate", u"", u"2002-03-10")}));
}

TEST_CASE("figures of the in/out journal") {
  StockDatabase database;
  CheckRows(Journal([](const Line&) { return true; }), database.Report("clsRepLsz", {}));
  CheckRows(Journal([](const Line& l) { return l.type.starts_with("1"); }),
            database.Report("clsRepLsz", {Filter(u"R.cRdCode", u"1")}));
  CheckRows(Journal([](const Line& l) { return l.handler.empty() && l.warehouse == "02"; }),
            database.Report("clsRepLsz",
                            {Filter(u"VeriType", u"未审核单据"), Filter(u"R.cWhCode", u"02")}));
  CheckRows(Journal([](const Line& l) { return l.date >= "2002-03-12" && l.date <= "2002-03-31"; }),
            database.Report("clsRepLsz", {Filter(u"R.dDate", u"2002-03-12", u"2002-03-31")}));
}

TEST_CASE("rows of the current stock") {
  struct Case {
    std::vector<FilterItem> filters;
    std::function<bool(const Stock&)> takes;
  };
  const auto pieces_of = [](const Stock& s) {
    const Item* item = FindItem(s.item);
    return item ? StockPieces(*item, s.quantity, s.pieces, true).value_or(-1) : -1;
  };
  const Case cases[] = {
      {{}, [](const Stock&) { return true; }},
      {{Filter(u"def_bStop", u"冻结")}, [](const Stock& s) { return s.stopped == 1; }},
      {{Filter(u"def_bStop", u"未冻结")}, [](const Stock& s) { return s.stopped != 1; }},
      {{Filter(u"CS.cBatch", u"P?")}, [](const Stock& s) { return s.batch.starts_with("P"); }},
      {{Filter(u"iNum", u"1", u"2")},
       [&](const Stock& s) { return pieces_of(s) >= 1 && pieces_of(s) <= 2; }},
      {{Filter(u"def_iInvCGrade", u"1")},
       [](const Stock& s) { return FindItem(s.item) && FindItem(s.item)->item_class == "01"; }},
      {{Filter(u"WH.cWhCode", u"02"), Filter(u"CS.dVDate", u"2002-04-01", u"2002-04-10")},
       [](const Stock& s) { return s.expiry >= "2002-04-01"; }},
  };
  StockDatabase database;
  for (const Case& c : cases) {
    CheckRows(CurrentStock(c.takes), database.Report("clsRepXCL", c.filters));
  }
}

TEST_CASE("rows of the shelf-life warning on the day itself, before and after") {
  struct Case {
    std::vector<FilterItem> filters;
    std::function<bool(const Stock&)> takes;
  };
  const FilterItem all_warehouses = Filter(u"Warehouse.cWhCode", u"01", u"02");
  const std::string today = "2002-03-31";
  const Case cases[] = {
      {{}, [](const Stock&) { return true; }},
      {{all_warehouses, Filter(u"InvType", u"所有保质期存货")}, [](const Stock&) { return true; }},
      {{all_warehouses, Filter(u"InvType", u"过期存货")},
       [&](const Stock& s) { return !s.expiry.empty() && s.expiry < today; }},
      {{all_warehouses, Filter(u"InvType", u"未过期存货")},
       [&](const Stock& s) { return s.expiry >= today; }},
      {{all_warehouses, Filter(u"InvType", u"到期存货")},
       [&](const Stock& s) { return s.expiry == today; }},
      {{all_warehouses, Filter(u"PassDays", u"1", u"9")},
       [&](const Stock& s) { return !s.expiry.empty() && s.expiry < today; }},
      {{all_warehouses, Filter(u"CloserDays", u"1")},
       [&](const Stock& s) { return s.expiry > today; }},
      {{all_warehouses, Filter(u"CloserDays", u"", u"0")},
       [&](const Stock& s) { return !s.expiry.empty() && s.expiry <= today; }},
  };
  StockDatabase database;
  for (const Case& c : cases)
    CheckRows(ShelfLife(c.takes), database.Report("clsRepBzqyj", c.filters));
  CHECK_THROWS_AS(database.Report("clsRepBzqyj", {Filter(u"InvType", u"过期存货")}), DatabaseError);
}

}  // namespace ledgerwick
