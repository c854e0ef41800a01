#include "sample/voucher_generator.h"

#include <algorithm>

#include "frame/value.h"

namespace ledgerwick::sample {
namespace {

constexpr std::int32_t kMostLines = 6;  // of an ordinary voucher
constexpr std::int32_t kTries = 8;  // to find goods that are in stock, or that there is room for
constexpr std::int64_t kLinesForClosing = 16;
constexpr std::int64_t kLeastForClosing = 100;

std::int64_t UsualQuarters(const Item& item) { return std::int64_t{item.usual_stock} * 4; }

std::int64_t UsualPieces(const Item& item, const UnitGroup& group, std::int32_t percent) {
  return std::max(std::int64_t{1}, std::int64_t{item.usual_stock} * percent / 100 / group.rate);
}

}  // namespace

VoucherGenerator::VoucherGenerator(std::uint64_t seed, std::int64_t lines)
    : random_(seed),
      stock_(random_),
      lines_(lines),
      closing_lines_(lines < kLeastForClosing ? 0 : kLinesForClosing),
      numbers_(VoucherTypes().size()) {
  ListSlots();
}

void VoucherGenerator::ListSlots() {
  const std::size_t kinds = VoucherKinds().size();
  slots_of_kind_.resize(kinds);
  slots_in_warehouse_.assign(kinds, std::vector<IndexList>(Warehouses().size()));
  for (std::size_t kind = 0; kind < kinds; ++kind) {
    for (std::size_t i = 0; i < stock_.slots().size(); ++i) {
      const Slot& slot = stock_.slots()[i];
      const bool can_move = kind != kTransferOut || slot.twin != kNone;
      const bool can_shift = kind != kLocationOut || slot.locations[0] != kNone;
      if ((VoucherKinds()[kind].roles & MaskOf(ItemOf(slot).role)) == 0) continue;
      if (!can_move || !can_shift) continue;
      slots_of_kind_[kind].push_back(static_cast<std::int32_t>(i));
      slots_in_warehouse_[kind][static_cast<std::size_t>(slot.warehouse)].push_back(
          static_cast<std::int32_t>(i));
    }
  }
}

std::int32_t VoucherGenerator::Today() const {
  constexpr std::int64_t kDays = kLastDay - kFirstDay;
  return kFirstDay + 1 + static_cast<std::int32_t>(written_ * (kDays - 1) / lines_);
}

std::int64_t VoucherGenerator::LinesLeft() const {
  return lines_ - (day_ == kLastDay ? 0 : closing_lines_) - written_;
}

void VoucherGenerator::Run(VoucherSink& sink) {
  sink_ = &sink;
  WriteOpening();
  while (written_ < lines_ - closing_lines_) {
    day_ = Today();
    WriteOrdinary();
  }
  day_ = kLastDay;
  if (closing_lines_ > 0) WriteClosing();
  while (written_ < lines_) WriteSingle(kPurchase);
}

// One voucher for each warehouse. The opening takes no more than a quarter of the lines; when they
// are few, it leaves out slots evenly.
void VoucherGenerator::WriteOpening() {
  const std::int64_t all = static_cast<std::int64_t>(stock_.slots().size());
  const std::int64_t most = std::min(all, lines_ / 4);
  std::vector<Movements> by_warehouse(Warehouses().size());
  for (std::int64_t i = 0; i < all; ++i) {
    if ((i + 1) * most / all == i * most / all) continue;
    const std::int32_t slot = static_cast<std::int32_t>(i);
    TryReceive(slot, true, by_warehouse[static_cast<std::size_t>(stock_.slot(slot).warehouse)]);
  }
  for (std::size_t w = 0; w < by_warehouse.size(); ++w) {
    if (!by_warehouse[w].empty()) {
      WriteVoucher(kOpening, static_cast<std::int32_t>(w), by_warehouse[w]);
    }
  }
}

void VoucherGenerator::WriteOrdinary() {
  const std::size_t kind = PickKind();
  const bool done = kind == kTransferOut   ? WritePair(kTransferOut, kTransferIn)
                    : kind == kLocationOut ? WritePair(kLocationOut, kLocationIn)
                                           : WriteSingle(kind);
  if (!done) WriteSingle(kPurchase);  // nothing was in stock: time to buy
}

std::size_t VoucherGenerator::PickKind() {
  const auto kinds = VoucherKinds();
  std::int32_t total = 0;
  for (const VoucherKind& kind : kinds) total += kind.weight;
  std::int32_t rest = random_.Below(total);
  std::size_t kind = 0;
  while (rest >= kinds[kind].weight) rest -= kinds[kind++].weight;
  return kind;
}

std::int32_t VoucherGenerator::Pick(const IndexList& list) {
  return list[static_cast<std::size_t>(random_.Below(static_cast<std::int32_t>(list.size())))];
}

// Every line is about goods of the warehouse that the first one fell on. False when there was no
// room for anything that was looked at, or nothing of it in stock; a receipt tries harder.
bool VoucherGenerator::WriteSingle(std::size_t kind) {
  const bool receipt = VoucherKinds()[kind].receipt;
  const bool from_vendor = VoucherKinds()[kind].partner == PartnerKind::Vendor;
  const std::int32_t warehouse = stock_.slot(Pick(slots_of_kind_[kind])).warehouse;
  const IndexList& choice = slots_in_warehouse_[kind][static_cast<std::size_t>(warehouse)];
  const std::int64_t wanted = std::min<std::int64_t>(random_.Between(1, kMostLines), LinesLeft());
  Movements movements;
  for (std::int32_t i = 0; i < kTries && std::ssize(movements) < wanted; ++i) {
    const std::int32_t slot = Pick(choice);
    if (!movements.empty() && from_vendor && !SameTrade(slot, movements[0].slot)) continue;
    const bool last_try = i + 1 == kTries && movements.empty();
    if (receipt) {
      TryReceive(slot, last_try, movements);
    } else if (kind != kScrap || !TryScrap(slot, movements)) {
      TryIssue(slot, movements);
    }
  }
  if (movements.empty()) return false;
  WriteVoucher(kind, warehouse, movements);
  return true;
}

// An issue and the receipt that answers it line by line, into another warehouse or location. The
// goods arrive when all of them have been taken, so that no line takes what an earlier one brought.
bool VoucherGenerator::WritePair(std::size_t out, std::size_t in) {
  const bool transfer = out == kTransferOut;
  const Slot& first = stock_.slot(Pick(slots_of_kind_[out]));
  const std::int64_t wanted = std::min<std::int64_t>(random_.Between(1, 4), LinesLeft() / 2);
  const std::int32_t to = transfer ? stock_.slot(first.twin).warehouse : first.warehouse;
  Movements taken;
  Movements put;
  for (std::int32_t i = 0; i < kTries && std::ssize(taken) < wanted; ++i) {
    const std::int32_t slot =
        Pick(slots_in_warehouse_[out][static_cast<std::size_t>(first.warehouse)]);
    if (transfer && stock_.slot(stock_.slot(slot).twin).warehouse != to) continue;
    if (TryIssue(slot, taken)) put.push_back(Counterpart(taken.back(), transfer));
  }
  if (taken.empty()) return false;
  for (const Movement& m : put) stock_.Receive(m.slot, m.lot);
  const std::int32_t id = WriteVoucher(out, first.warehouse, taken, last_id_ + 2);
  WriteVoucher(in, to, put, id);
  return true;
}

VoucherGenerator::Movement VoucherGenerator::Counterpart(const Movement& movement,
                                                         bool transfer) const {
  const Slot& from = stock_.slot(movement.slot);
  Movement put = movement;
  if (transfer) {
    put.slot = from.twin;
    put.lot.location = stock_.slot(from.twin).locations[0];
  } else {
    put.lot.location = from.locations[movement.lot.location == from.locations[0] ? 1 : 0];
  }
  return put;
}

void VoucherGenerator::WriteClosing() {
  ReturnShelfLifeGoods();
  ClearStock();
}

// So that the last day sees goods that are past their shelf life, that reach its end on that very
// day, and that have a month left.
void VoucherGenerator::ReturnShelfLifeGoods() {
  constexpr std::array<std::int32_t, 3> kDaysLeft = {-10, 0, 30};
  Movements movements;
  std::int32_t warehouse = kNone;
  for (std::size_t i = 0; i < stock_.slots().size() && movements.size() < kDaysLeft.size(); ++i) {
    const Slot& slot = stock_.slots()[i];
    const Item& item = ItemOf(slot);
    if (item.role != Role::Goods || item.shelf_days <= kDaysLeft.back()) continue;
    if (warehouse != kNone && slot.warehouse != warehouse) continue;
    warehouse = slot.warehouse;
    Lot lot;
    lot.made_day = kLastDay - item.shelf_days + kDaysLeft[movements.size()];
    lot.location = slot.locations[0];
    lot.amount = ReceiptAmount(item);
    movements.push_back({static_cast<std::int32_t>(i), lot});
    stock_.Receive(movements.back().slot, lot);
  }
  WriteVoucher(kSalesReturn, warehouse, movements);
}

// Sells what is left of the items that the company gives up.
void VoucherGenerator::ClearStock() {
  for (std::size_t i = 0; i < stock_.slots().size(); ++i) {
    if ((ItemOf(stock_.slots()[i]).traits & kCleared) == 0) continue;
    const std::int32_t slot = static_cast<std::int32_t>(i);
    Movements movements;
    while (!stock_.slot(slot).lots.empty() && std::ssize(movements) < LinesLeft()) {
      movements.push_back({slot, stock_.Take(slot, 0, stock_.slot(slot).lots[0].amount)});
    }
    if (!movements.empty()) WriteVoucher(kSale, stock_.slot(slot).warehouse, movements);
  }
}

bool VoucherGenerator::TryReceive(std::int32_t index, bool even_if_full, Movements& movements) {
  const Slot& slot = stock_.slot(index);
  const Item& item = ItemOf(slot);
  if (!even_if_full && slot.quarters > UsualQuarters(item)) return false;
  if (day_ == kLastDay && (item.traits & kCleared) != 0) return false;
  Lot lot;
  lot.made_day = MadeDay(slot);
  lot.location = slot.locations[random_.Chance(20) ? 1 : 0];
  lot.amount = ReceiptAmount(item);
  stock_.Receive(index, lot);
  movements.push_back({index, lot});
  return true;
}

// Mostly the oldest goods go first. A quarter of the usual stock stays.
bool VoucherGenerator::TryIssue(std::int32_t index, Movements& movements) {
  const Slot& slot = stock_.slot(index);
  if (slot.lots.empty() || slot.quarters * 4 < UsualQuarters(ItemOf(slot))) return false;
  auto lot = std::ranges::min_element(slot.lots, {}, &Lot::made_day);
  if (random_.Chance(15)) {
    lot = slot.lots.begin() + random_.Below(static_cast<std::int32_t>(slot.lots.size()));
  }
  const Amount amount = IssueAmount(ItemOf(slot), *lot);
  const auto at = static_cast<std::size_t>(lot - slot.lots.begin());
  movements.push_back({index, stock_.Take(index, at, amount)});
  return true;
}

// Takes a lot that is past its shelf life, all of it.
bool VoucherGenerator::TryScrap(std::int32_t index, Movements& movements) {
  const Slot& slot = stock_.slot(index);
  const std::int32_t keeps = ItemOf(slot).shelf_days;
  if (keeps <= 0) return false;
  const auto lot = std::ranges::find_if(
      slot.lots, [&](const Lot& candidate) { return candidate.made_day + keeps < day_; });
  if (lot == slot.lots.end()) return false;
  const auto at = static_cast<std::size_t>(lot - slot.lots.begin());
  movements.push_back({index, stock_.Take(index, at, Amount(lot->amount))});
  return true;
}

bool VoucherGenerator::SameTrade(std::int32_t one, std::int32_t other) const {
  constexpr std::size_t kTradeDigits = 4;
  return ItemOf(stock_.slot(one)).item_class.substr(0, kTradeDigits) ==
         ItemOf(stock_.slot(other)).item_class.substr(0, kTradeDigits);
}

Amount VoucherGenerator::ReceiptAmount(const Item& item) {
  const UnitGroup& group = GroupOf(item);
  const std::int32_t percent = random_.Between(20, 50);
  if (group.type == GroupType::Floating) {
    const std::int64_t pieces = UsualPieces(item, group, percent);
    return {pieces * (std::int64_t{group.rate} * 4 * random_.Between(85, 115) / 100), pieces};
  }
  return {WholeSteps(group, UsualQuarters(item) * percent / 100), 0};
}

// No more than the lot has. Floating pieces take their share of the lot's quantity, so that the
// last piece takes the rest.
Amount VoucherGenerator::IssueAmount(const Item& item, const Lot& lot) {
  const UnitGroup& group = GroupOf(item);
  const std::int32_t percent = random_.Between(4, 25);
  if (group.type == GroupType::Floating) {
    const std::int64_t pieces = std::min(lot.amount.pieces, UsualPieces(item, group, percent));
    return {lot.amount.quarters * pieces / lot.amount.pieces, pieces};
  }
  const std::int64_t wanted = WholeSteps(group, UsualQuarters(item) * percent / 100);
  return {std::min(lot.amount.quarters, wanted), 0};
}

// The day on which the batch was made that is on sale today. Items are made every so many days,
// each in its own rhythm, so that the batches of two years stay few.
std::int32_t VoucherGenerator::MadeDay(const Slot& slot) const {
  const Item& item = ItemOf(slot);
  if (item.shelf_days == kNoBatch) return kNone;
  const std::int32_t rhythm = item.shelf_days > 0 ? std::clamp(item.shelf_days / 6, 10, 60) : 30;
  return day_ - 1 - (day_ + slot.item * 7) % rhythm;
}

std::int32_t VoucherGenerator::WriteVoucher(std::size_t kind, std::int32_t warehouse,
                                            const Movements& movements, std::int32_t pair) {
  VoucherHead head = MakeHead(kind, warehouse, ItemOf(stock_.slot(movements[0].slot)));
  head.pair = pair;
  sink_->Head(head);
  for (const Movement& movement : movements) {
    const Slot& slot = stock_.slot(movement.slot);
    VoucherLine line;
    line.id = static_cast<std::int32_t>(++written_);
    line.slot = movement.slot;
    line.lot = movement.lot;
    line.cost = std::int64_t{ItemOf(slot).cost} * random_.Between(95, 108) / 100;
    if (random_.Chance(4)) line.project = random_.Below(3);
    sink_->Line(head, line);
  }
  return head.id;
}

VoucherHead VoucherGenerator::MakeHead(std::size_t kind_index, std::int32_t warehouse,
                                       const Item& item) {
  const VoucherKind& kind = VoucherKinds()[kind_index];
  const auto count = [](const auto& rows) { return static_cast<std::int32_t>(rows.size()); };
  VoucherHead head;
  head.id = ++last_id_;
  head.kind = kind_index;
  head.warehouse = warehouse;
  head.day = day_;
  head.number = NextNumber(kind_index);
  head.employee = PickEmployee(kind.department);
  if (kind.partner == PartnerKind::Customer) {
    head.partner = random_.Below(count(Customers()));
    head.trade_type = random_.Below(count(SaleTypes()));
  } else if (kind.partner == PartnerKind::Vendor) {
    head.partner = PickVendor(item);
    head.trade_type = random_.Below(count(PurchaseTypes()));
  }
  head.document = head.id + random_.Below(20);
  // Some vouchers of the last weeks wait for their audit, and few older ones.
  const bool open = random_.Chance(day_ > kLastDay - 20 ? 30 : 1);
  head.audited_after = open ? kNone : std::min(random_.Below(3), kLastDay - day_);
  head.booked = !open && day_ < kLastDay - 30;
  return head;
}

std::int32_t VoucherGenerator::NextNumber(std::size_t kind) {
  const CalendarTime date = ToCalendar(Date{static_cast<double>(day_)});
  const std::int32_t month = date.year * 12 + date.month;
  if (month != numbers_month_) {
    std::ranges::fill(numbers_, 0);
    numbers_month_ = month;
  }
  const auto types = VoucherTypes();
  const auto type = std::ranges::find(types, VoucherKinds()[kind].voucher_type, &CodeName::code);
  return ++numbers_[static_cast<std::size_t>(type - types.begin())];
}

// One of those who supply goods of the item's class.
std::int32_t VoucherGenerator::PickVendor(const Item& item) {
  const auto vendors = Vendors();
  IndexList choice;
  for (std::size_t i = 0; i < vendors.size(); ++i) {
    if (item.item_class.starts_with(vendors[i].item_class)) {
      choice.push_back(static_cast<std::int32_t>(i));
    }
  }
  return Pick(choice);
}

std::int32_t VoucherGenerator::PickEmployee(TextView department) {
  const auto employees = Employees();
  IndexList choice;
  for (std::size_t i = 0; i < employees.size(); ++i) {
    if (employees[i].department.starts_with(department)) {
      choice.push_back(static_cast<std::int32_t>(i));
    }
  }
  return Pick(choice);
}

}  // namespace ledgerwick::sample
