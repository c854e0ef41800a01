#include "tests/inventory/small_stock.h"

#include <algorithm>

namespace ledgerwick::testing {
namespace {

// NULL for an empty text.
std::string Sql(const std::string& text) { return text.empty() ? "NULL" : "N'" + text + "'"; }
std::string Sql(const Number& number) { return number ? NumberText(*number) : "NULL"; }
std::string Sql(bool b) { return b ? "1" : "0"; }
std::string Sql(int number) { return std::to_string(number); }

// `into` is a table, its columns behind it unless `values` are all of them.
template <typename... Values>
std::string Insert(const std::string& into, const Values&... values) {
  std::string list;
  ((list += ", " + Sql(values)), ...);
  return "INSERT INTO " + into + " VALUES (" + list.substr(2) + ")\n";
}

std::string InsertReferenceData() {
  std::string sql;
  for (const auto& [code, name] : Warehouses()) {
    sql += Insert("Warehouse (cWhCode, cWhName, bWhPos)", code, name, true);
  }
  for (const auto& [code, name] : LeafLocations()) {
    sql += Insert("Position", code, name, 2, true, std::string("01"));
  }
  for (const auto& [code, name] : Types()) {
    sql += Insert("Rd_Style", code, name, static_cast<int>(code.size()), true);
  }
  return sql +
         "INSERT INTO Position VALUES ('1', N'一区', 1, 0, '01')\n"
         "INSERT INTO InventoryClass VALUES ('01', N'甲类', 1, 0), ('0101', N'甲一类', 2, 1)\n"
         "INSERT INTO ComputationUnit VALUES ('U1', N'只', NULL, 1, NULL), "
         "('X1', N'箱', 'G1', 0, 12), ('X2', N'捆', 'G2', 0, 1)\n"
         "INSERT INTO VouchType VALUES ('01', N'入库单'), ('33', N'期初单'), ('34', N'结算单')\n"
         "INSERT INTO AccInformation VALUES ('AA', 'cGoodClass', NULL, '22', NULL)\n"
         "INSERT INTO Customer VALUES ('C1', N'', N'客户简称', NULL)\n";
}

std::string InsertItems() {
  std::string sql;
  for (const Item& i : Items()) {
    const std::string pieces_unit = i.group == "G0" ? "" : i.group == "G1" ? "X1" : "X2";
    sql += Insert(
        "Inventory (cComUnitCode, cPosition, bService, bInvOverStock, cInvCode, cInvName, "
        "cInvCCode, iGroupType, cGroupCode, cAssComUnitCode, bInvBatch, bInvQuality, bInvEntrust)",
        std::string("U1"), std::string("1"), false, false, i.code, i.name, i.item_class,
        i.group_type, i.group, pieces_unit, i.batch, i.quality, i.entrust);
  }
  for (const Kit& k : Kits()) sql += Insert("Accessaries", k.parent, k.component, Number(k.count));
  return sql;
}

std::string InsertVouchers() {
  std::string sql;
  int id = 0;
  for (const Line& l : Lines()) {
    ++id;
    const std::string customer = l.receipt ? "" : "C1";
    sql += Insert(
        "RdRecord (ID, bRdFlag, cVouchType, cWhCode, dDate, cCode, cRdCode, cHandler, cCusCode)",
        id, l.receipt, l.voucher, l.warehouse, l.date, "V" + std::to_string(id), l.type, l.handler,
        customer);
    sql += Insert(
        "RdRecords (AutoID, ID, cInvCode, iQuantity, iNum, cBatch, cAssUnit, iUnitCost, iPrice)",
        id, id, l.item, l.quantity, l.pieces, l.batch, std::string("X1"), 2, 3);
  }
  return sql;
}

std::string InsertStock() {
  std::string sql;
  int id = 0;
  for (const Movement& m : Movements()) {
    sql += Insert(
        "InvPosition (RdID, RdsID, AutoID, cWhCode, cPosCode, cInvCode, cBatch, dDate, bRdFlag, "
        "iQuantity, iNum)",
        1, 1, ++id, std::string("01"), m.location, m.item, m.batch, m.date, m.receipt, m.quantity,
        m.pieces);
  }
  for (const Stock& s : Stocks()) {
    sql += Insert(
        "CurrentStock (fInQuantity, fInNum, AutoID, cWhCode, cInvCode, cBatch, iQuantity, iNum, "
        "dVDate, bStopFlag)",
        24, 2, ++id, s.warehouse, s.item, s.batch, s.quantity, s.pieces, s.expiry, s.stopped);
  }
  return sql;
}

}  // namespace

const std::vector<Item>& Items() {
  static const std::vector<Item> items = {
      {"A", "甲", "01", 0, "G0", "只"},
      {"B", "乙", "01", 1, "G1", "只", true, true},
      {"C", "丙", "0101", 2, "G2", "只", true, true},
      {"K", "套装", "01", 0, "G0", "只"},
      {"T", "代销品", "0101", 0, "G0", "只", false, false, true},
  };
  return items;
}

const std::vector<Kit>& Kits() {
  static const std::vector<Kit> kits = {{"K", "A", 2}, {"K", "B", 3}};
  return kits;
}

const std::vector<Line>& Lines() {
  const Number none;
  static const std::vector<Line> lines = {
      // On and beside the borders of March.
      {true, "2002-02-28", "01", "A", 100, none},
      {true, "2002-03-01", "01", "A", 10, none},
      {false, "2002-03-31", "01", "A", 4, none, "21"},
      {true, "2002-03-31 10:00", "01", "A", 7, none},
      {false, "2002-04-01", "01", "A", 1, none, "21"},
      // Voucher types that are left out: always, and of the period alone.
      {true, "2002-02-20", "01", "B", 1200, none, "11", "33", "P1"},
      {true, "2002-03-05", "01", "B", 1200, none, "11", "33", "P1"},
      {true, "2002-02-20", "01", "B", 24, none, "11", "34", "P1"},
      {true, "2002-03-06", "01", "B", 12, none, "11", "34", "P1"},
      // A type that is not on file, and none.
      {true, "2002-03-05", "01", "B", 36, none, "99", "01", "P1"},
      {false, "2002-03-06", "01", "B", 12, none, "", "01", "P1"},
      // Pieces that are counted, and nothing at all.
      {true, "2002-01-05", "01", "C", 3, 1, "11", "01", "P2"},
      {true, "2002-03-10", "01", "C", 5.5, 2, "11", "01", "P2"},
      {false, "2002-03-12", "01", "C", 2.25, 1, "21", "01", "P3"},
      {true, "2002-03-11", "02", "C", none, none},
      // Kits, before and in the period.
      {true, "2002-01-15", "01", "K", 8, none},
      {false, "2002-03-15", "01", "K", 5, 1, "21"},
      // An audited voucher whose type is of the first level; balances to zero.
      {true, "2002-03-20", "02", "T", 9, none, "1", "01", "", "审核人"},
      {false, "2002-03-21", "02", "T", 9, none, "21", "01", "", "审核人"},
      // A kind of voucher that is not on file.
      {true, "2002-03-22", "02", "A", 6, none, "11", "10"},
  };
  return lines;
}

const std::vector<Movement>& Movements() {
  const Number none;
  static const std::vector<Movement> movements = {
      {true, "2001-09-30", "101", "A", 10, none},
      {false, "2001-09-30", "101", "A", 3, none},
      {true, "2001-10-01", "101", "A", 5, none},
      {false, "2002-03-31", "101", "A", 2, none},
      {true, "2001-09-01", "101", "B", 24, none, "P1"},
      {false, "2001-11-01", "101", "B", 6, none, "P1"},
      {true, "2001-09-01", "102", "C", 9, 3, "P2"},
      {false, "2001-09-02", "102", "C", 3, 1, "P2"},
      {true, "2001-12-01", "102", "C", 4.5, 2, "P2"},
      {false, "2001-12-02", "102", "C", 1.5, 1, "P2"},
      {true, "2001-12-02", "102", "C", none, none, "P3"},
      {true, "2001-12-02", "1", "A", 1000, none},  // no leaf
  };
  return movements;
}

const std::vector<Stock>& Stocks() {
  const Number none;
  static const std::vector<Stock> stocks = {
      {"01", "A", "", 5, none, "", none},
      {"01", "B", "P1", 24, none, "2002-03-30", 0},  // yesterday
      {"01", "B", "P2", 6, none, "2002-03-31", 1},   // today
      {"02", "B", "Q1", 12, none, "2002-04-01", none},
      {"02", "C", "P2", 3, 2, "2002-04-10", none},
      {"02", "C", "P3", none, none, "2002-03-22", none},
      {"02", "C", "", 7, none, "", none},
      {"02", "Z", "", 1, none, "", none},  // not on file
  };
  return stocks;
}

const Item* FindItem(const std::string& code) {
  const auto found =
      std::find_if(Items().begin(), Items().end(), [&](const Item& i) { return i.code == code; });
  return found == Items().end() ? nullptr : &*found;
}

const std::map<std::string, std::string>& Warehouses() {
  static const std::map<std::string, std::string> names = {{"01", "主库"}, {"02", "副库"}};
  return names;
}

const std::map<std::string, std::string>& LeafLocations() {
  static const std::map<std::string, std::string> names = {{"101", "一区一位"},
                                                           {"102", "一区二位"}};
  return names;
}

const std::map<std::string, std::string>& Types() {
  static const std::map<std::string, std::string> names = {
      {"1", "收"}, {"2", "发"}, {"11", "采购"}, {"21", "销售"}};
  return names;
}

std::string PiecesUnit(const std::string& group) {
  if (group == "G1") return "箱";
  return group == "G2" ? "捆" : "";
}

StockDatabase::StockDatabase() {
  RunScript("schema.sql");
  for (const std::string& sql :
       {InsertReferenceData(), InsertItems(), InsertVouchers(), InsertStock()}) {
    Run(sql);
  }
}

}  // namespace ledgerwick::testing
