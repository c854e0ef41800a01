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
#include <unordered_map>
#include <variant>
#include <vector>

namespace ledgerwick::tsql {

// A value of a row as the storage has it. Text lives as long as the row.
using StoredValue = std::variant<std::monostate, std::int64_t, double, std::string_view>;

// A sum in the making. Whole numbers stay whole until a fraction joins them.
struct Total {
  double real = 0;
  std::int64_t whole = 0;
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

  struct Hash {
    using is_transparent = void;
    std::size_t operator()(std::string_view text) const noexcept {
      return std::hash<std::string_view>()(text);
    }
  };
  using Index = std::unordered_map<std::string, std::size_t, Hash, std::equal_to<>>;
  using File = std::unique_ptr<std::FILE, int (*)(std::FILE*)>;

  std::size_t GroupOf(std::string_view spelled);
  std::size_t FoldedGroup(std::string_view folded, std::string_view spelled);
  void Spill();
  void LoadPart(std::FILE* part);
  void Clear();
  void ShowCurrent();

  std::size_t key_count_;
  std::size_t total_count_;
  std::size_t most_bytes_;
  std::size_t bytes_ = 0;
  Index by_spelling_;                // every spelling of the keys that came up
  Index by_value_;                   // folded
  std::vector<std::string> groups_;  // the keys of each group as its first row spells them
  std::vector<Total> totals_;
  std::string spelled_;  // the current row's keys
  std::string folded_;
  std::vector<File> parts_;
  std::size_t next_part_ = 0;
  std::size_t current_ = 0;
  std::vector<StoredValue> current_keys_;
};

}  // namespace ledgerwick::tsql
