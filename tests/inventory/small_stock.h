// A small set of data for the reports' figures: as C++ values, to calculate with, and in an
// embedded database, to run the reports on.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "tests/support/test_database.h"

namespace ledgerwick::testing {

using Number = std::optional<double>;

struct Item {
  std::string code;
  std::string name;
  std::string item_class;
  int group_type = 0;
  std::string group;
  std::string unit_name;
  bool batch = false;
  bool quality = false;
  bool entrust = false;
};

struct Kit {
  std::string parent;
  std::string component;
  double count = 0;
};

// A voucher with one line.
struct Line {
  bool receipt = true;
  std::string date;
  std::string warehouse;
  std::string item;
  Number quantity;
  Number pieces;
  std::string type = "11";     // receive/issue type; empty is NULL
  std::string voucher = "01";  // voucher type
  std::string batch{};         // empty is NULL
  std::string handler{};       // likewise
};

struct Movement {
  bool receipt = true;
  std::string date;
  std::string location;
  std::string item;
  Number quantity;
  Number pieces;
  std::string batch{};
};

struct Stock {
  std::string warehouse;
  std::string item;
  std::string batch;
  Number quantity;
  Number pieces;
  std::string expiry;  // empty is NULL
  Number stopped;
};

const std::vector<Item>& Items();
const std::vector<Kit>& Kits();
const std::vector<Line>& Lines();
const std::vector<Movement>& Movements();
const std::vector<Stock>& Stocks();

// The item of that code, or nullptr.
const Item* FindItem(const std::string& code);

// The names of the warehouses, leaf locations and receive/issue types by code.
const std::map<std::string, std::string>& Warehouses();
const std::map<std::string, std::string>& LeafLocations();
const std::map<std::string, std::string>& Types();

// The unit of a group's pieces and its rate.
inline constexpr double kRate = 12;
std::string PiecesUnit(const std::string& group);

// The data in a database of its own.
class StockDatabase : public TestDatabase {
 public:
  StockDatabase();
};

}  // namespace ledgerwick::testing
