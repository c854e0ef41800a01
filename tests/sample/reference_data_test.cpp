#include "sample/reference_data.h"

#include <doctest/doctest.h>

#include <algorithm>
#include <set>

#include "sample/locations.h"
#include "sample/tables.h"

namespace ledgerwick::sample {
namespace {

template <typename Rows, typename Member>
std::set<TextView> Codes(const Rows& rows, Member member) {
  std::set<TextView> codes;
  for (const auto& row : rows) codes.insert(row.*member);
  CHECK(codes.size() == rows.size());  // none stands twice
  return codes;
}

TEST_CASE("every code that the tables refer to exists once") {
  const auto classes = Codes(InventoryClasses(), &CodeName::code);
  const auto units = Codes(MainUnits(), &CodeName::code);
  const auto groups = Codes(UnitGroups(), &UnitGroup::code);
  const auto warehouses = Codes(Warehouses(), &WarehouseRow::code);
  const auto items = Codes(Items(), &Item::code);
  Codes(VoucherTypes(), &CodeName::code);
  Codes(ReceiveIssueTypes(), &CodeName::code);
  const auto departments = Codes(Departments(), &CodeName::code);
  Codes(ReceiveIssueTypes(), &CodeName::name);
  Codes(Customers(), &Partner::code);
  Codes(Vendors(), &Partner::code);
  Codes(Employees(), &Employee::code);

  for (const Item& item : Items()) {
    CAPTURE(ToUtf8(item.code));
    CHECK(classes.contains(item.item_class));
    CHECK(item.code.starts_with(item.item_class));
    CHECK(units.contains(item.unit));
    CHECK(groups.contains(item.group));
    CHECK((item.role == Role::Service || item.role == Role::Product ||
           std::ranges::any_of(Vendors(), [&](const Partner& vendor) {
             return item.item_class.starts_with(vendor.item_class);
           })));
    CHECK(item.warehouses.empty() == (item.role == Role::Service));
    for (std::size_t at = 0; at < item.warehouses.size(); at += 2) {
      CHECK(warehouses.contains(item.warehouses.substr(at, 2)));
    }
  }
  for (const KitPart& part : KitParts()) {
    CHECK(items.contains(part.kit));
    CHECK(items.contains(part.part));
  }
  for (const Employee& employee : Employees()) CHECK(departments.contains(employee.department));
}

TEST_CASE("a fixed rate is even, so that half a piece is a whole number of units") {
  for (const UnitGroup& group : UnitGroups()) {
    CAPTURE(ToUtf8(group.code));
    CHECK((group.rate > 0) == (group.type != GroupType::None));
    CHECK((group.rate % 2 == 0 || group.type == GroupType::Floating));
  }
}

TEST_CASE("location codes are unique over all warehouses and those of parents come first") {
  std::set<TextView> codes;
  for (const Location& location : Locations()) {
    CAPTURE(ToUtf8(location.code));
    CHECK(location.code.size() == static_cast<std::size_t>(location.grade) * 2);
    CHECK(codes.insert(location.code).second);
    CHECK((location.grade == 1 ||
           codes.contains(TextView(location.code).substr(0, location.code.size() - 2))));
  }
}

TEST_CASE("every row of the small tables has a value for each column") {
  Random random(1);
  const Stock stock(random);
  for (const Table& table : MasterTables(stock)) {
    CAPTURE(ToUtf8(table.name));
    CHECK(!table.rows.empty());
    CHECK(std::ranges::all_of(table.rows,
                              [&](const auto& row) { return row.size() == table.columns.size(); }));
  }
}

TEST_CASE("dates, batches and bar codes") {
  CHECK(BatchValue(37274) == Value(u"P020118"));
  CHECK(BatchValue(kNone) == Value(Null{}));
  Random random(1);
  const Stock stock(random);
  for (const Table& table : MasterTables(stock)) {
    if (table.name != u"Inventory") continue;
    const auto column = std::ranges::find(table.columns, u"cBarCode") - table.columns.begin();
    for (const auto& row : table.rows) {
      const Text& code = *row[static_cast<std::size_t>(column)].If<Text>();
      REQUIRE(code.size() == 13);
      int sum = 0;
      for (std::size_t i = 0; i < code.size(); ++i) sum += (code[i] - u'0') * (i % 2 == 0 ? 1 : 3);
      CHECK(sum % 10 == 0);
    }
  }
}

}  // namespace
}  // namespace ledgerwick::sample
