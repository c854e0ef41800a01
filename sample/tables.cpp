#include "sample/tables.h"

#include <algorithm>
#include <initializer_list>

#include "sample/locations.h"

namespace ledgerwick::sample {
namespace {

constexpr std::size_t kCodeDigitsPerLevel = 2;

Value Number(std::int64_t n) { return n; }
Value Flag(bool flag) { return Number(flag ? 1 : 0); }

Table NewTable(TextView name, std::initializer_list<TextView> columns) {
  Table table;
  table.name = name;
  table.columns.assign(columns.begin(), columns.end());
  return table;
}

// The code of the unit of a group's pieces; a group without pieces has none.
Value PieceUnitCode(const UnitGroup& group) {
  return group.type == GroupType::None ? Value(Null{}) : Value(u"U" + Text(group.code));
}

Table CodeNameTable(TextView name, TextView code, TextView caption,
                    std::span<const CodeName> source) {
  Table table = NewTable(name, {code, caption});
  for (const CodeName& row : source) table.rows.push_back({row.code, row.name});
  return table;
}

Table VoucherTypeTable() {
  Table table = CodeNameTable(u"VouchType", u"cVouchType", u"cVouchName", VoucherTypes());
  for (const CodeName& row : NoteTypes()) table.rows.push_back({row.code, row.name});
  return table;
}

// A tree of codes with `digits` for each level.
Table TreeTable(TextView name, std::initializer_list<TextView> columns,
                std::span<const CodeName> source, std::size_t digits) {
  Table table = NewTable(name, columns);
  for (const CodeName& row : source) {
    const bool has_children = std::ranges::any_of(source, [&](const CodeName& other) {
      return other.code.size() > row.code.size() && other.code.starts_with(row.code);
    });
    table.rows.push_back({row.code, row.name,
                          Number(static_cast<std::int64_t>(row.code.size() / digits)),
                          Flag(!has_children)});
  }
  return table;
}

Table PartnerTable(TextView name, std::initializer_list<TextView> columns,
                   std::span<const Partner> source) {
  Table table = NewTable(name, columns);
  for (const Partner& row : source) {
    table.rows.push_back({row.code, TextOrNull(row.name), row.short_name, row.city});
  }
  return table;
}

Table ParameterTable() {
  Table table =
      NewTable(u"AccInformation", {u"cSysID", u"cName", u"cCaption", u"cValue", u"cDefault"});
  for (const Parameter& row : Parameters()) {
    table.rows.push_back({row.system, row.name, row.caption, TextOrNull(row.value), row.fallback});
  }
  return table;
}

Table GroupTable() {
  Table table = NewTable(u"ComputationGroup", {u"cGroupCode", u"cGroupName", u"iGroupType"});
  for (const UnitGroup& group : UnitGroups()) {
    table.rows.push_back({group.code, group.name, Number(static_cast<std::int64_t>(group.type))});
  }
  return table;
}

Table UnitTable() {
  Table table = NewTable(u"ComputationUnit", {u"cComUnitCode", u"cComUnitName", u"cGroupCode",
                                              u"bMainUnit", u"iChangRate"});
  for (const CodeName& unit : MainUnits()) {
    table.rows.push_back({unit.code, unit.name, Null{}, Flag(true), 1.0});
  }
  for (const UnitGroup& group : UnitGroups()) {
    if (group.type == GroupType::None) continue;
    table.rows.push_back({PieceUnitCode(group), group.piece_unit, group.code, Flag(false),
                          static_cast<double>(group.rate)});
  }
  return table;
}

Table LocationTable() {
  Table table =
      NewTable(u"Position", {u"cPosCode", u"cPosName", u"iPosGrade", u"bPosEnd", u"cWhCode"});
  for (const Location& row : Locations()) {
    table.rows.push_back({row.code, row.name, Number(row.grade), Flag(row.leaf),
                          Warehouses()[static_cast<std::size_t>(row.warehouse)].code});
  }
  return table;
}

Table WarehouseTable() {
  Table table =
      NewTable(u"Warehouse", {u"cWhCode", u"cWhName", u"cWhAddress", u"cWhKeeper", u"bWhPos"});
  for (const WarehouseRow& row : Warehouses()) {
    table.rows.push_back({row.code, row.name, row.address, row.keeper, Flag(row.locations)});
  }
  return table;
}

Table EmployeeTable() {
  Table table = NewTable(u"Person", {u"cPersonCode", u"cPersonName", u"cDepCode"});
  for (const Employee& row : Employees()) {
    table.rows.push_back({row.code, row.name, row.department});
  }
  return table;
}

Table KitTable() {
  Table table = NewTable(u"Accessaries", {u"cAccPCode", u"cAccCode", u"iNum"});
  for (const KitPart& row : KitParts()) {
    table.rows.push_back({row.kit, row.part, static_cast<double>(row.count)});
  }
  return table;
}

// Thirteen digits: the country, the item, and the digit that makes the weighted sum end in zero.
Text BarCode(TextView item_code) {
  Text code = u"690" + Text(9 - std::min<std::size_t>(9, item_code.size()), u'0') + Text(item_code);
  int sum = 0;
  for (std::size_t i = 0; i < code.size(); ++i) sum += (code[i] - u'0') * (i % 2 == 0 ? 1 : 3);
  return code + static_cast<char16_t>(u'0' + (10 - sum % 10) % 10);
}

// The usual location of an item: a bin or, for every fourth, the row around it.
Value UsualLocation(std::int32_t item, const Stock& stock) {
  const auto slot = std::ranges::find(stock.slots(), item, &Slot::item);
  if (slot == stock.slots().end() || slot->locations[0] == kNone) return Null{};
  const Text& code = Locations()[static_cast<std::size_t>(slot->locations[0])].code;
  return item % 4 == 0 ? code.substr(0, 2 * kCodeDigitsPerLevel) : code;
}

Table ItemTable(const Stock& stock) {
  Table table =
      NewTable(u"Inventory",
               {u"cInvCode",        u"cInvAddCode", u"cInvName",   u"cInvStd",     u"cInvCCode",
                u"cAddress",        u"cBarCode",    u"iGroupType", u"cGroupCode",  u"cComUnitCode",
                u"cAssComUnitCode", u"iSafeNum",    u"cPosition",  u"iPlanPrice",  u"iShelfDays",
                u"bInvBatch",       u"bInvQuality", u"bService",   u"bInvEntrust", u"bInvOverStock",
                u"cInvDefine1",     u"cInvDefine2"});
  std::int32_t index = 0;
  for (const Item& item : Items()) {
    const UnitGroup& group = GroupOf(item);
    const bool cold = item.warehouses.starts_with(u"04");
    table.rows.push_back(
        {item.code,
         item.short_code,
         item.name,
         item.specification,
         item.item_class,
         item.origin,
         BarCode(item.code),
         Number(static_cast<std::int64_t>(group.type)),
         group.code,
         item.unit,
         PieceUnitCode(group),
         item.safety_stock == kNoSafety ? Value(Null{}) : static_cast<double>(item.safety_stock),
         UsualLocation(index++, stock),
         static_cast<double>(item.cost) / 100,
         ShelfDaysValue(item),
         Flag(item.shelf_days != kNoBatch),
         Flag(item.shelf_days > 0),
         Flag(item.role == Role::Service),
         Flag((item.traits & kEntrusted) != 0),
         Flag((item.traits & kSlow) != 0),
         cold ? u"冷藏" : u"常温",
         (item.traits & kCleared) != 0 ? Value(u"清仓") : Value(Null{})});
  }
  return table;
}

// Adds up the lots of `slot` by batch, the locations aside.
std::vector<Lot> Batches(const Slot& slot) {
  std::vector<Lot> batches;
  for (const Lot& lot : slot.lots) {
    auto batch = std::ranges::find(batches, lot.made_day, &Lot::made_day);
    if (batch == batches.end()) {
      batch = batches.insert(batch, {lot.made_day, kNone, {}});
    }
    batch->amount.quarters += lot.amount.quarters;
    batch->amount.pieces += lot.amount.pieces;
  }
  const bool has_batches = ItemOf(slot).shelf_days != kNoBatch;
  if (batches.empty() && slot.used && !has_batches) batches.emplace_back();
  std::ranges::sort(batches, {}, &Lot::made_day);
  return batches;
}

// About `percent` of `amount`, in whole pieces or whole steps; nothing of nothing.
Amount Share(const Item& item, Amount amount, std::int32_t percent) {
  if (amount.quarters == 0) return {};
  if (amount.pieces > 0) {
    const std::int64_t pieces = amount.pieces * percent / 100;
    return {amount.quarters * pieces / amount.pieces, pieces};
  }
  const std::int64_t quarters = WholeSteps(GroupOf(item), amount.quarters * percent / 100);
  return {std::min(quarters, amount.quarters), 0};
}

// What is on its way and what is set aside, and what remains available of `amount`.
void AppendPlans(const Item& item, Amount amount, Random& random, std::vector<Value>& row) {
  const auto some = [&](std::int32_t chance, std::int32_t most) {
    return random.Chance(chance) ? Share(item, amount, random.Below(most)) : Amount{};
  };
  const Amount in = some(30, 60);
  const Amount out = some(30, 40);
  const Amount transfer_in = some(10, 30);
  const Amount transfer_out = some(10, 20);
  const Amount plan = some(10, 50);
  const Amount disabled = some(5, 20);
  const Amount available = {amount.quarters + in.quarters + transfer_in.quarters - out.quarters -
                                transfer_out.quarters - disabled.quarters,
                            amount.pieces + in.pieces + transfer_in.pieces - out.pieces -
                                transfer_out.pieces - disabled.pieces};
  for (const Amount& a : {in, out, transfer_in, transfer_out, plan, disabled, available}) {
    row.emplace_back(QuantityOf(a));
    row.push_back(PiecesValue(item, a));
  }
}

}  // namespace

Value DayValue(std::int32_t day) {
  return day == kNone ? Value(Null{}) : Value(Date{static_cast<double>(day)});
}

Value TextOrNull(TextView text) { return text.empty() ? Value(Null{}) : Value(text); }

Value BatchValue(std::int32_t day) {
  if (day == kNone) return Null{};
  const CalendarTime date = ToCalendar(Date{static_cast<double>(day)});
  Text name = u"P";
  for (std::int32_t part : {date.year % 100, date.month, date.day}) {
    name += static_cast<char16_t>(u'0' + part / 10);
    name += static_cast<char16_t>(u'0' + part % 10);
  }
  return name;
}

Value ExpiryValue(const Item& item, std::int32_t made_day) {
  if (made_day == kNone || item.shelf_days <= 0) return Null{};
  return DayValue(made_day + item.shelf_days);
}

Value ShelfDaysValue(const Item& item) {
  return item.shelf_days > 0 ? Number(item.shelf_days) : Value(Null{});
}

Value PiecesValue(const Item& item, Amount amount) {
  const std::optional<double> pieces = PiecesOf(item, amount);
  return pieces ? Value(*pieces) : Value(Null{});
}

std::vector<Table> MasterTables(const Stock& stock) {
  return {
      ParameterTable(),
      GroupTable(),
      UnitTable(),
      TreeTable(u"InventoryClass", {u"cInvCCode", u"cInvCName", u"iInvCGrade", u"bInvCEnd"},
                InventoryClasses(), kCodeDigitsPerLevel),
      WarehouseTable(),
      LocationTable(),
      ItemTable(stock),
      KitTable(),
      TreeTable(u"Rd_Style", {u"cRdCode", u"cRdName", u"iRdGrade", u"bRdEnd"}, ReceiveIssueTypes(),
                1),
      VoucherTypeTable(),
      CodeNameTable(u"SaleType", u"cSTCode", u"cSTName", SaleTypes()),
      CodeNameTable(u"PurchaseType", u"cPTCode", u"cPTName", PurchaseTypes()),
      TreeTable(u"Department", {u"cDepCode", u"cDepName", u"iDepGrade", u"bDepEnd"}, Departments(),
                kCodeDigitsPerLevel),
      EmployeeTable(),
      PartnerTable(u"Customer", {u"cCusCode", u"cCusName", u"cCusAbbName", u"cCusCity"},
                   Customers()),
      PartnerTable(u"Vendor", {u"cVenCode", u"cVenName", u"cVenAbbName", u"cVenCity"}, Vendors()),
  };
}

Table StockTable(const Stock& stock, std::uint64_t seed) {
  Table table = NewTable(u"CurrentStock", {u"AutoID",
                                           u"cWhCode",
                                           u"cInvCode",
                                           u"cBatch",
                                           u"cFree1",
                                           u"cFree2",
                                           u"dMdate",
                                           u"iMassDate",
                                           u"dVDate",
                                           u"bStopFlag",
                                           u"iQuantity",
                                           u"iNum",
                                           u"fInQuantity",
                                           u"fInNum",
                                           u"fOutQuantity",
                                           u"fOutNum",
                                           u"fTransInQuantity",
                                           u"fTransInNum",
                                           u"fTransOutQuantity",
                                           u"fTransOutNum",
                                           u"fPlanQuantity",
                                           u"fPlanNum",
                                           u"fDisableQuantity",
                                           u"fDisableNum",
                                           u"fAvaQuantity",
                                           u"fAvaNum"});
  Random random(seed);
  for (const Slot& slot : stock.slots()) {
    const Item& item = ItemOf(slot);
    for (const Lot& batch : Batches(slot)) {
      std::vector<Value> row = {
          Number(std::ssize(table.rows) + 1),
          Warehouses()[static_cast<std::size_t>(slot.warehouse)].code,
          item.code,
          BatchValue(batch.made_day),
          TextOrNull(VariantOf(slot).first),
          TextOrNull(VariantOf(slot).second),
          DayValue(batch.made_day),
          batch.made_day == kNone ? Value(Null{}) : ShelfDaysValue(item),
          ExpiryValue(item, batch.made_day),
          random.Chance(70) ? Flag(random.Chance(5)) : Value(Null{}),
          QuantityOf(batch.amount),
          PiecesValue(item, batch.amount),
      };
      AppendPlans(item, batch.amount, random, row);
      table.rows.push_back(std::move(row));
    }
  }
  return table;
}

}  // namespace ledgerwick::sample
