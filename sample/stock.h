// The goods on hand while vouchers are made: memory grows with the items, not with the vouchers.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "sample/random.h"
#include "sample/reference_data.h"

namespace ledgerwick::sample {

// A quantity in quarters of a main unit, so that sums are exact in binary fractions whatever their
// order, and the pieces of an item that counts them by themselves.
struct Amount {
  std::int64_t quarters = 0;
  std::int64_t pieces = 0;

  friend bool operator==(const Amount&, const Amount&) = default;
};

inline constexpr std::int32_t kNone = -1;

// Goods of one batch in one location.
struct Lot {
  std::int32_t made_day = kNone;  // kNone without batches
  std::int32_t location = kNone;  // index into Locations(); kNone without locations
  Amount amount;
};

// An item in one combination of free attributes in one warehouse.
struct Slot {
  std::int32_t item = 0;       // index into Items()
  std::int32_t warehouse = 0;  // index into Warehouses()
  std::int32_t variant = 0;    // index into Combinations()
  std::int32_t twin = kNone;   // the slot of the same goods in another warehouse
  std::array<std::int32_t, 2> locations{kNone, kNone};  // two different leaves, or none
  bool used = false;                                    // a voucher has named it
  std::int64_t quarters = 0;                            // the sum over its lots
  std::vector<Lot> lots;                                // none is empty
};

const Item& ItemOf(const Slot& slot);
const FreeAttributes& VariantOf(const Slot& slot);

// The group of `item`'s units.
const UnitGroup& GroupOf(const Item& item);

// The quantity in main units.
double QuantityOf(Amount amount);

// The pieces of `amount`, or nothing for an item without pieces.
std::optional<double> PiecesOf(const Item& item, Amount amount);

// `quarters` in whole steps of what is moved at least: half a case, or one unit. At least one step.
std::int64_t WholeSteps(const UnitGroup& group, std::int64_t quarters);

class Stock {
 public:
  // Empty slots for every item in its warehouses and combinations; `random` chooses locations.
  explicit Stock(Random& random);

  std::span<const Slot> slots() const { return slots_; }
  const Slot& slot(std::int32_t index) const { return slots_[static_cast<std::size_t>(index)]; }

  void Receive(std::int32_t slot, const Lot& lot);

  // Takes `amount`, which is no more than the lot has, from the lot at `lot_index`. Returns what
  // was taken as a lot of its own.
  Lot Take(std::int32_t slot, std::size_t lot_index, Amount amount);

 private:
  void AddSlots(std::int32_t item);
  void JoinTwins(std::size_t first);
  void PlaceInWarehouse(Slot& slot, Random& random) const;

  std::vector<Slot> slots_;
};

}  // namespace ledgerwick::sample
