// Groups with their sums and counts, found by hashing.
#pragma once

#include <array>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "tsql/values/exact.h"

namespace ledgerwick::tsql {

// A value of a row as the storage has it. Text lives as long as the row. A decimal of more than 18
// digits is its units, a shorter one an integer.
using StoredValue = std::variant<std::monostate, std::int64_t, double, std::string_view, Int128>;

// A sum in the making. Whole numbers stay whole until a fraction joins them.
struct Total {
  Int128 whole = 0;
  double real = 0;
  std::int64_t count = 0;  // of the values that are not NULL
  bool has_fraction = false;
  bool overflow = false;

  void Add(const StoredValue& value) noexcept;
  void Add(const Total& other) noexcept;
};

// Adds rows up by their keys, as GROUP BY does: NULLs are one group, and texts that differ in
// letter case, width or trailing blanks are. A group shows the keys of its first row.
//
// Its memory is bounded: beyond `most_bytes` the groups so far go to temporary files, parted by
// their hash, and are put together part by part when they are read.
class GroupTable {
 public:
  GroupTable(std::size_t keys, std::size_t totals, std::size_t most_bytes = kMostBytes);

  // Adds a row: first the keys, then what is totalled. Throws SqlError when a temporary file cannot
  // be written.
  void Add(std::span<const StoredValue> row);

  // Reading: Rewind, then the current group until AtEnd. No Add after the first Rewind. Throw
  // SqlError when a temporary file cannot be read.
  void Rewind();
  void Next();
  bool AtEnd() const noexcept { return current_ >= groups_.size(); }
  StoredValue Key(std::size_t i) const noexcept { return current_keys_[i]; }
  const Total& TotalOf(std::size_t i) const noexcept {
    return totals_[current_ * total_count_ + i];
  }

 private:
  static constexpr std::size_t kMostBytes = std::size_t{64} << 20;
  static constexpr std::size_t kParts = 16;

  // Keys in one block of memory. An open-addressing index leads from them to their groups.
  struct Place {
    std::size_t offset = 0;
    std::size_t size = 0;
  };
  struct Slot {
    std::size_t hash = 0;
    Place key;
    std::size_t group = kNone;
  };
  static constexpr std::size_t kNone = SIZE_MAX;
  using File = std::unique_ptr<std::FILE, int (*)(std::FILE*)>;

  std::size_t GroupOf(std::string_view spelled);
  std::size_t FoldedGroup(std::string_view folded, std::string_view spelled);
  std::string_view At(Place place) const noexcept {
    return std::string_view(bytes_).substr(place.offset, place.size);
  }
  Place Keep(std::string_view bytes);
  // The slot that holds `key`, or the empty one where it belongs.
  Slot& Find(std::string_view key, std::size_t hash) noexcept;
  void Enter(Slot& slot, Place key, std::size_t hash, std::size_t group);
  std::size_t UsedBytes() const noexcept;
  void Spill();
  void LoadPart(std::FILE* part);
  void Clear();
  void ShowCurrent();

  std::size_t key_count_;
  std::size_t total_count_;
  std::size_t most_bytes_;
  std::string bytes_;
  // Every spelling of the keys that came up, and every folded one. The two do not get into each
  // other's way: a spelling that is a folded one belongs to the same group.
  std::vector<Slot> slots_;
  std::size_t used_slots_ = 0;
  std::vector<Place> groups_;  // the keys of each group as its first row spells them
  std::vector<Place> folded_groups_;
  std::vector<Total> totals_;
  std::string spelled_;  // the current row's keys
  std::string folded_;
  std::vector<File> parts_;
  std::size_t next_part_ = 0;
  std::size_t current_ = 0;
  std::vector<StoredValue> current_keys_;
};

}  // namespace ledgerwick::tsql
