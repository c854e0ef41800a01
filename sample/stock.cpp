#include "sample/stock.h"

#include <algorithm>

#include "sample/locations.h"

namespace ledgerwick::sample {
namespace {

std::int32_t WarehouseIndex(TextView code) {
  const auto all = Warehouses();
  const auto found = std::ranges::find(all, code, &WarehouseRow::code);
  return static_cast<std::int32_t>(found - all.begin());
}

}  // namespace

const Item& ItemOf(const Slot& slot) { return Items()[static_cast<std::size_t>(slot.item)]; }

const FreeAttributes& VariantOf(const Slot& slot) {
  return Combinations(ItemOf(slot).variants)[static_cast<std::size_t>(slot.variant)];
}

const UnitGroup& GroupOf(const Item& item) {
  return *std::ranges::find(UnitGroups(), item.group, &UnitGroup::code);
}

double QuantityOf(Amount amount) { return static_cast<double>(amount.quarters) / 4; }

std::optional<double> PiecesOf(const Item& item, Amount amount) {
  const UnitGroup& group = GroupOf(item);
  switch (group.type) {
    case GroupType::None:
      return std::nullopt;
    case GroupType::Fixed:
      return QuantityOf(amount) / group.rate;
    case GroupType::Floating:
      return static_cast<double>(amount.pieces);
  }
  return std::nullopt;
}

std::int64_t WholeSteps(const UnitGroup& group, std::int64_t quarters) {
  const std::int64_t step = group.type == GroupType::Fixed ? std::int64_t{group.rate} * 2 : 4;
  return std::max(step, (quarters + step / 2) / step * step);
}

Stock::Stock(Random& random) {
  for (std::size_t i = 0; i < Items().size(); ++i) {
    if (Items()[i].role != Role::Service && (Items()[i].traits & kNew) == 0) {
      AddSlots(static_cast<std::int32_t>(i));
    }
  }
  for (Slot& slot : slots_) PlaceInWarehouse(slot, random);
}

void Stock::AddSlots(std::int32_t item) {
  const std::size_t first = slots_.size();
  const Item& row = Items()[static_cast<std::size_t>(item)];
  for (std::size_t at = 0; at < row.warehouses.size(); at += 2) {
    const std::int32_t warehouse = WarehouseIndex(row.warehouses.substr(at, 2));
    for (std::size_t v = 0; v < Combinations(row.variants).size(); ++v) {
      Slot slot;
      slot.item = item;
      slot.warehouse = warehouse;
      slot.variant = static_cast<std::int32_t>(v);
      slots_.push_back(std::move(slot));
    }
  }
  JoinTwins(first);
}

void Stock::JoinTwins(std::size_t first) {
  for (std::size_t a = first; a < slots_.size(); ++a) {
    for (std::size_t b = first; b < slots_.size(); ++b) {
      if (a != b && slots_[a].variant == slots_[b].variant) {
        slots_[a].twin = static_cast<std::int32_t>(b);
      }
    }
  }
}

void Stock::PlaceInWarehouse(Slot& slot, Random& random) const {
  std::vector<std::int32_t> leaves;
  const auto all = Locations();
  for (std::size_t i = 0; i < all.size(); ++i) {
    if (all[i].leaf && all[i].warehouse == slot.warehouse) {
      leaves.push_back(static_cast<std::int32_t>(i));
    }
  }
  if (leaves.empty()) return;
  const std::int32_t count = static_cast<std::int32_t>(leaves.size());
  const std::int32_t one = random.Below(count);
  const std::int32_t other = (one + 1 + random.Below(count - 1)) % count;
  slot.locations = {leaves[static_cast<std::size_t>(one)], leaves[static_cast<std::size_t>(other)]};
}

void Stock::Receive(std::int32_t index, const Lot& lot) {
  Slot& slot = slots_[static_cast<std::size_t>(index)];
  slot.used = true;
  slot.quarters += lot.amount.quarters;
  for (Lot& known : slot.lots) {
    if (known.made_day == lot.made_day && known.location == lot.location) {
      known.amount.quarters += lot.amount.quarters;
      known.amount.pieces += lot.amount.pieces;
      return;
    }
  }
  slot.lots.push_back(lot);
}

Lot Stock::Take(std::int32_t index, std::size_t lot_index, Amount amount) {
  Slot& slot = slots_[static_cast<std::size_t>(index)];
  Lot& lot = slot.lots[lot_index];
  Lot taken = lot;
  taken.amount = amount;
  lot.amount.quarters -= amount.quarters;
  lot.amount.pieces -= amount.pieces;
  slot.quarters -= amount.quarters;
  if (lot.amount.quarters == 0) {
    slot.lots.erase(slot.lots.begin() + static_cast<std::ptrdiff_t>(lot_index));
  }
  return taken;
}

}  // namespace ledgerwick::sample
