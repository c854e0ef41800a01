#include "sample/voucher_rows.h"

#include <algorithm>
#include <array>
#include <utility>

#include "sample/locations.h"
#include "sample/sales_rows.h"
#include "sample/tables.h"

namespace ledgerwick::sample {
namespace {

constexpr std::array<TextView, 3> kProjects = {u"开发区新厂工程", u"春季订货会", u"社区团购"};
constexpr std::array<TextView, 3> kProjectClasses = {u"工程项目", u"展销项目", u"展销项目"};
constexpr std::array<TextView, 4> kCarriers = {u"自提", u"公路", u"铁路", u"送货上门"};
constexpr std::array<TextView, 3> kAuditors = {u"陈志远", u"朱文静", u"蒋国平"};
constexpr TextView kBookkeeper = u"秦晓峰";

// The voucher's number: its kind, the month, and its place in it.
Text VoucherCode(const VoucherHead& head) {
  const CalendarTime date = ToCalendar(Date{static_cast<double>(head.day)});
  return Text(VoucherKinds()[head.kind].prefix) + Digits(date.year * 100 + date.month, 6) +
         Digits(head.number, 5);
}

Value Document(TextView prefix, const VoucherHead& head) {
  return DocumentCode(prefix, head.document);
}

template <std::size_t kSize>
TextView Cycle(const std::array<TextView, kSize>& texts, std::int32_t number) {
  return texts[static_cast<std::size_t>(number) % kSize];
}

// The amount of money of `amount` at `cost` a main unit, rounded to fen.
double Money(Amount amount, std::int64_t cost) { return Yuan((amount.quarters * cost + 2) / 4); }

TextView WarehouseCode(const Slot& slot) {
  return Warehouses()[static_cast<std::size_t>(slot.warehouse)].code;
}

class HeadRows : public VoucherRows {
 public:
  using VoucherRows::VoucherRows;

  TextView table() const override { return u"RdRecord"; }

  std::span<const Text> columns() const override {
    static const std::vector<Text> columns = {
        u"ID",       u"bRdFlag",   u"cVouchType", u"cBusType", u"cBusCode",    u"cWhCode",
        u"dDate",    u"cCode",     u"cRdCode",    u"cDepCode", u"cPersonCode", u"cMaker",
        u"cHandler", u"dVeriDate", u"cAccounter", u"cPTCode",  u"cVenCode",    u"cOrderCode",
        u"cARVCode", u"cSTCode",   u"cCusCode",   u"cDLCode",  u"cBillCode",   u"cProBatch",
        u"cMemo",    u"cDefine1",
    };
    return columns;
  }

  void Head(const VoucherHead& head) override {
    const VoucherKind& kind = VoucherKinds()[head.kind];
    const Employee& employee = Employees()[static_cast<std::size_t>(head.employee)];
    const bool audited = head.audited_after != kNone;
    row_ = {std::int64_t{head.id},
            std::int64_t{kind.receipt ? 1 : 0},
            kind.voucher_type,
            kind.business,
            head.pair == 0 ? Value(Null{}) : PairCode(head),
            Warehouses()[static_cast<std::size_t>(head.warehouse)].code,
            DayValue(head.day),
            VoucherCode(head),
            kind.receive_issue_type,
            employee.department,
            employee.code,
            employee.name,
            audited ? Value(AuditorOf(head.id)) : Value(Null{}),
            audited ? DayValue(head.day + head.audited_after) : Value(Null{}),
            head.booked ? Value(kBookkeeper) : Value(Null{})};
    AppendVendor(head, kind);
    AppendCustomer(head, kind);
    const bool product = kind.voucher_type == u"10";
    row_.push_back(product ? Document(u"SC", head) : Null{});
    row_.push_back(head.kind == kOpening ? Value(u"启用时结存") : Value(Null{}));
    row_.emplace_back(Cycle(kCarriers, head.document));
    Emit();
  }

 private:
  // Both vouchers of a transfer carry the number of the order behind them.
  static Value PairCode(const VoucherHead& head) {
    return u"DB" + Digits(std::min(head.id, head.pair), 7);
  }

  void AppendVendor(const VoucherHead& head, const VoucherKind& kind) {
    if (kind.partner != PartnerKind::Vendor) {
      row_.insert(row_.end(), 4, Null{});
      return;
    }
    row_.emplace_back(PurchaseTypes()[static_cast<std::size_t>(head.trade_type)].code);
    row_.emplace_back(Vendors()[static_cast<std::size_t>(head.partner)].code);
    row_.push_back(Document(u"DD", head));
    row_.push_back(Document(u"DH", head));
  }

  void AppendCustomer(const VoucherHead& head, const VoucherKind& kind) {
    if (kind.partner != PartnerKind::Customer) {
      row_.insert(row_.end(), 4, Null{});
      return;
    }
    row_.emplace_back(SaleTypes()[static_cast<std::size_t>(head.trade_type)].code);
    row_.emplace_back(Customers()[static_cast<std::size_t>(head.partner)].code);
    row_.push_back(Document(u"FH", head));
    row_.push_back(Document(u"FP", head));
  }
};

class LineRows : public VoucherRows {
 public:
  using VoucherRows::VoucherRows;

  TextView table() const override { return u"RdRecords"; }

  std::span<const Text> columns() const override {
    static const std::vector<Text> columns = {
        u"AutoID",    u"ID",     u"cInvCode",   u"iQuantity", u"iNum",      u"cAssUnit",
        u"cFree1",    u"cFree2", u"cBatch",     u"dMadeDate", u"iMassDate", u"dVDate",
        u"iUnitCost", u"iPrice", u"iPUnitCost", u"iPPrice",   u"cName",     u"cItemCName",
    };
    return columns;
  }

  void Line(const VoucherHead& head, const VoucherLine& line) override {
    const Slot& slot = SlotOf(line);
    const Item& item = ItemOf(slot);
    const UnitGroup& group = GroupOf(item);
    const bool project = line.project != kNone;
    row_ = {std::int64_t{line.id},
            std::int64_t{head.id},
            item.code,
            QuantityOf(line.lot.amount),
            PiecesValue(item, line.lot.amount),
            group.type == GroupType::None ? Value(Null{}) : Value(u"U" + Text(group.code)),
            TextOrNull(VariantOf(slot).first),
            TextOrNull(VariantOf(slot).second),
            BatchValue(line.lot.made_day),
            DayValue(line.lot.made_day),
            line.lot.made_day == kNone ? Value(Null{}) : ShelfDaysValue(item),
            ExpiryValue(item, line.lot.made_day),
            Yuan(line.cost),
            Money(line.lot.amount, line.cost),
            Yuan(item.cost),
            Money(line.lot.amount, item.cost),
            project ? Value(Cycle(kProjects, line.project)) : Value(Null{}),
            project ? Value(Cycle(kProjectClasses, line.project)) : Value(Null{})};
    Emit();
  }
};

class LocationRows : public VoucherRows {
 public:
  using VoucherRows::VoucherRows;

  TextView table() const override { return u"InvPosition"; }

  std::span<const Text> columns() const override {
    static const std::vector<Text> columns = {
        u"AutoID", u"RdID",    u"RdsID",     u"cWhCode", u"cPosCode", u"cInvCode", u"cBatch",
        u"dDate",  u"bRdFlag", u"iQuantity", u"iNum",    u"cFree1",   u"cFree2",
    };
    return columns;
  }

  void Line(const VoucherHead& head, const VoucherLine& line) override {
    if (line.lot.location == kNone) return;
    const Slot& slot = SlotOf(line);
    const Item& item = ItemOf(slot);
    row_ = {++last_id_,
            std::int64_t{head.id},
            std::int64_t{line.id},
            WarehouseCode(slot),
            Locations()[static_cast<std::size_t>(line.lot.location)].code,
            item.code,
            BatchValue(line.lot.made_day),
            DayValue(head.day),
            std::int64_t{VoucherKinds()[head.kind].receipt ? 1 : 0},
            QuantityOf(line.lot.amount),
            PiecesValue(item, line.lot.amount),
            TextOrNull(VariantOf(slot).first),
            TextOrNull(VariantOf(slot).second)};
    Emit();
  }

 private:
  std::int64_t last_id_ = 0;
};

}  // namespace

Text Digits(std::int64_t number, std::size_t width) {
  Text digits;
  for (; number > 0 || digits.size() < width; number /= 10) {
    digits.insert(digits.begin(), static_cast<char16_t>(u'0' + number % 10));
  }
  return digits;
}

Text DocumentCode(TextView prefix, std::int32_t document) {
  return Text(prefix) + Digits(document, 7);
}

TextView AuditorOf(std::int32_t document) { return Cycle(kAuditors, document); }

double Yuan(std::int64_t fen) { return static_cast<double>(fen) / 100; }

std::unique_ptr<VoucherRows> NewVoucherRows(std::size_t index, const Stock& stock,
                                            std::uint64_t seed, RowFunction row) {
  switch (index) {
    case 0:
      return std::make_unique<HeadRows>(stock, std::move(row));
    case 1:
      return std::make_unique<LineRows>(stock, std::move(row));
    case 2:
      return std::make_unique<LocationRows>(stock, std::move(row));
    default:
      return NewSalesRows(index - 3, stock, seed, std::move(row));
  }
}

}  // namespace ledgerwick::sample
