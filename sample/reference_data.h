// The company's master data as tables: who and what the vouchers speak of.
#pragma once

#include <cstdint>
#include <span>

#include "frame/text.h"

namespace ledgerwick::sample {

struct Parameter {
  TextView system;
  TextView name;
  TextView caption;
  TextView value;  // empty: the default holds
  TextView fallback;
};

// Parameters of the account set, among them the code lengths of the item classes and locations.
std::span<const Parameter> Parameters();

struct CodeName {
  TextView code;
  TextView name;
};

std::span<const CodeName> VoucherTypes();  // of stock vouchers
std::span<const CodeName> NoteTypes();     // of sales notes, in the order of NoteKind
std::span<const CodeName> SaleTypes();
std::span<const CodeName> PurchaseTypes();

// Trees: a code's parent is the longest other code that it begins with.
std::span<const CodeName> InventoryClasses();
std::span<const CodeName> ReceiveIssueTypes();
std::span<const CodeName> Departments();

// The main units, which belong to no group.
std::span<const CodeName> MainUnits();

// How an item's pieces follow from its quantity.
enum class GroupType : std::uint8_t {
  None,      // no pieces
  Fixed,     // quantity divided by the rate
  Floating,  // pieces are counted by themselves
};

struct UnitGroup {
  TextView code;
  TextView name;
  GroupType type;
  TextView piece_unit;  // the name of the unit of its pieces; empty for None
  std::int32_t rate;    // main units in a piece, even for Fixed; typical for Floating, 0 for None
};

std::span<const UnitGroup> UnitGroups();

struct Partner {
  TextView code;
  TextView name;  // empty: known by its short name alone
  TextView short_name;
  TextView city;
  TextView item_class;  // what a vendor supplies: a class of items or the start of some
};

std::span<const Partner> Customers();
std::span<const Partner> Vendors();

struct Employee {
  TextView code;
  TextView name;
  TextView department;
};

std::span<const Employee> Employees();

struct WarehouseRow {
  TextView code;
  TextView name;
  TextView address;
  TextView keeper;
  bool locations;  // its goods lie in locations
};

std::span<const WarehouseRow> Warehouses();

// The combinations of free attributes that an item comes in.
enum class Variants : std::uint8_t { None, Colour, ColourAndSize, ShoeSize };

struct FreeAttributes {
  TextView first;  // empty: the item has none
  TextView second;
};

// At least one; the one of Variants::None is empty.
std::span<const FreeAttributes> Combinations(Variants variants);

// What the company does with an item.
enum class Role : std::uint8_t {
  Goods,     // bought and sold
  Material,  // bought and used up
  Product,   // packed by the company and sold: a kit
  Service,   // never in stock
};

// Traits of an item, to be combined.
inline constexpr unsigned kEntrusted = 1;  // sold on behalf of its owner
inline constexpr unsigned kSlow = 2;       // overstocked
inline constexpr unsigned kCleared = 4;    // sold out at the end of the two years
inline constexpr unsigned kNew = 8;        // has no vouchers yet

struct Item {
  TextView code;
  TextView item_class;
  TextView short_code;
  TextView name;
  TextView specification;
  TextView origin;
  TextView unit;
  TextView group;
  Variants variants;
  std::int32_t shelf_days;    // kNoBatch, kBatchOnly, or the days that a batch keeps
  std::int32_t usual_stock;   // main units in one warehouse and combination
  std::int32_t safety_stock;  // main units; kNoSafety for none on record
  std::int32_t cost;          // of a main unit, in fen
  TextView warehouses;        // codes of two digits without separators
  Role role;
  unsigned traits;
};

inline constexpr std::int32_t kNoBatch = 0;
inline constexpr std::int32_t kBatchOnly = -1;
inline constexpr std::int32_t kNoSafety = -1;

std::span<const Item> Items();

struct KitPart {
  TextView kit;
  TextView part;
  std::int32_t count;
};

std::span<const KitPart> KitParts();

}  // namespace ledgerwick::sample
