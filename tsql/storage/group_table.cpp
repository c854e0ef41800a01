#include "tsql/storage/group_table.h"

#include <cmath>
#include <cstring>

#include "tsql/base/characters.h"
#include "tsql/base/errors.h"

namespace ledgerwick::tsql {
namespace {

// How a key is written down: a tag, and behind it 8 bytes of a number or a text's length and bytes.
constexpr char kNull = 'n';
constexpr char kWhole = 'i';
constexpr char kReal = 'r';
constexpr char kUnits = 'd';
constexpr char kText = 't';

constexpr std::size_t kFirstSlots = 1024;  // a power of 2, as all their numbers are

template <typename T>
void AppendBytes(std::string& out, const T& value) {
  std::array<char, sizeof(T)> bytes;
  std::memcpy(bytes.data(), &value, sizeof(T));
  out.append(bytes.data(), bytes.size());
}

template <typename T>
T TakeBytes(std::string_view& in) noexcept {
  T value;
  std::memcpy(&value, in.data(), sizeof(T));
  in.remove_prefix(sizeof(T));
  return value;
}

void AppendText(std::string& out, std::string_view text) {
  out += kText;
  AppendBytes(out, static_cast<std::uint32_t>(text.size()));
  out.append(text);
}

void AppendKey(std::string& out, const StoredValue& key) {
  if (const auto* text = std::get_if<std::string_view>(&key)) {
    AppendText(out, *text);
  } else if (const auto* whole = std::get_if<std::int64_t>(&key)) {
    out += kWhole;
    AppendBytes(out, *whole);
  } else if (const auto* real = std::get_if<double>(&key)) {
    out += kReal;
    AppendBytes(out, *real);
  } else if (const auto* units = std::get_if<Int128>(&key)) {
    out += kUnits;
    AppendBytes(out, *units);
  } else {
    out += kNull;
  }
}

StoredValue TakeKey(std::string_view& in) noexcept {
  const char tag = in.front();
  in.remove_prefix(1);
  if (tag == kWhole) return TakeBytes<std::int64_t>(in);
  if (tag == kUnits) return TakeBytes<Int128>(in);
  if (tag == kReal) return TakeBytes<double>(in);
  if (tag != kText) return std::monostate();
  const auto size = TakeBytes<std::uint32_t>(in);
  const std::string_view text = in.substr(0, size);
  in.remove_prefix(size);
  return text;
}

// Appends `key` so that equal keys become the same bytes.
void AppendFolded(std::string& out, const StoredValue& key) {
  constexpr double kExact = 9007199254740992.0;  // whole numbers up to here are doubles
  if (const auto* text = std::get_if<std::string_view>(&key)) {
    std::string folded;
    folded.reserve(text->size());
    const char* at = text->data();
    const char* const end = at + text->size();
    while (at != end) AppendChar(folded, FoldCode(NextChar(at, end)));
    folded.erase(folded.find_last_not_of(' ') + 1);
    AppendText(out, folded);
    return;
  }
  const auto* real = std::get_if<double>(&key);
  const bool whole = real != nullptr && std::abs(*real) <= kExact && std::trunc(*real) == *real;
  AppendKey(out, whole ? StoredValue(static_cast<std::int64_t>(*real)) : key);
}

[[noreturn]] void FailFile() { throw errors::DiskFull("a temporary file"); }

void Write(std::FILE* file, const void* data, std::size_t size) {
  if (size > 0 && std::fwrite(data, size, 1, file) != 1) FailFile();
}

// False at the end of the file.
bool Read(std::FILE* file, void* data, std::size_t size) {
  return size == 0 || std::fread(data, size, 1, file) == 1;
}

}  // namespace

void Total::Add(const StoredValue& value) noexcept {
  if (const auto* number = std::get_if<std::int64_t>(&value)) {
    real += static_cast<double>(*number);
    overflow = __builtin_add_overflow(whole, *number, &whole) || overflow;
  } else if (const auto* units = std::get_if<Int128>(&value)) {
    overflow = __builtin_add_overflow(whole, *units, &whole) || overflow;
  } else if (const auto* fraction = std::get_if<double>(&value)) {
    real += *fraction;
    has_fraction = true;
  } else if (std::holds_alternative<std::monostate>(value)) {
    return;
  }
  ++count;
}

void Total::Add(const Total& other) noexcept {
  real += other.real;
  overflow = __builtin_add_overflow(whole, other.whole, &whole) || overflow || other.overflow;
  has_fraction = has_fraction || other.has_fraction;
  count += other.count;
}

GroupTable::GroupTable(std::size_t keys, std::size_t totals, std::size_t most_bytes)
    : key_count_(keys),
      total_count_(totals),
      most_bytes_(most_bytes),
      slots_(kFirstSlots),
      current_keys_(keys) {}

void GroupTable::Add(std::span<const StoredValue> row) {
  spelled_.clear();
  for (std::size_t i = 0; i < key_count_; ++i) AppendKey(spelled_, row[i]);
  const std::size_t group = GroupOf(spelled_);
  for (std::size_t i = 0; i < total_count_; ++i) {
    totals_[group * total_count_ + i].Add(row[key_count_ + i]);
  }
  if (UsedBytes() > most_bytes_) Spill();
}

GroupTable::Place GroupTable::Keep(std::string_view bytes) {
  bytes_.append(bytes);
  return {bytes_.size() - bytes.size(), bytes.size()};
}

GroupTable::Slot& GroupTable::Find(std::string_view key, std::size_t hash) noexcept {
  const std::size_t mask = slots_.size() - 1;
  std::size_t i = hash & mask;
  while (slots_[i].group != kNone && !(slots_[i].hash == hash && At(slots_[i].key) == key)) {
    i = (i + 1) & mask;
  }
  return slots_[i];
}

void GroupTable::Enter(Slot& slot, Place key, std::size_t hash, std::size_t group) {
  slot = {hash, key, group};
  if (++used_slots_ * 2 <= slots_.size()) return;
  std::vector<Slot> old(slots_.size() * 2);
  old.swap(slots_);
  const std::size_t mask = slots_.size() - 1;
  for (const Slot& moved : old) {
    if (moved.group == kNone) continue;
    std::size_t i = moved.hash & mask;
    while (slots_[i].group != kNone) i = (i + 1) & mask;
    slots_[i] = moved;
  }
}

std::size_t GroupTable::UsedBytes() const noexcept {
  return bytes_.size() + used_slots_ * 2 * sizeof(Slot) + groups_.size() * 2 * sizeof(Place) +
         totals_.size() * sizeof(Total);
}

// The spelling is looked up as it is; only a new one is folded.
std::size_t GroupTable::GroupOf(std::string_view spelled) {
  const std::size_t hash = std::hash<std::string_view>()(spelled);
  const std::size_t known = Find(spelled, hash).group;
  if (known != kNone) return known;
  folded_.clear();
  for (std::string_view rest = spelled; !rest.empty();) AppendFolded(folded_, TakeKey(rest));
  const std::size_t group = FoldedGroup(folded_, spelled);
  Slot& slot = Find(spelled, hash);
  if (slot.group == kNone) {
    const bool first = At(groups_[group]) == spelled;
    Enter(slot, first ? groups_[group] : Keep(spelled), hash, group);
  }
  return group;
}

std::size_t GroupTable::FoldedGroup(std::string_view folded, std::string_view spelled) {
  const std::size_t hash = std::hash<std::string_view>()(folded);
  Slot& slot = Find(folded, hash);
  if (slot.group != kNone) return slot.group;
  const std::size_t group = groups_.size();
  groups_.push_back(Keep(spelled));
  folded_groups_.push_back(folded == spelled ? groups_.back() : Keep(folded));
  totals_.resize(totals_.size() + total_count_);
  Enter(slot, folded_groups_.back(), hash, group);
  return group;
}

void GroupTable::Clear() {
  bytes_.clear();
  slots_.assign(kFirstSlots, {});
  used_slots_ = 0;
  groups_.clear();
  folded_groups_.clear();
  totals_.clear();
}

void GroupTable::Spill() {
  while (parts_.size() < kParts) {
    parts_.emplace_back(std::tmpfile(), &std::fclose);
    if (!parts_.back()) FailFile();
  }
  for (std::size_t group = 0; group < groups_.size(); ++group) {
    const std::string_view folded = At(folded_groups_[group]);
    const std::string_view spelled = At(groups_[group]);
    std::FILE* part = parts_[std::hash<std::string_view>()(folded) % kParts].get();
    const std::array<std::size_t, 2> sizes = {folded.size(), spelled.size()};
    Write(part, sizes.data(), sizeof sizes);
    Write(part, folded.data(), folded.size());
    Write(part, spelled.data(), spelled.size());
    Write(part, &totals_[group * total_count_], total_count_ * sizeof(Total));
  }
  Clear();
}

void GroupTable::LoadPart(std::FILE* part) {
  Clear();
  if (std::fflush(part) != 0 || std::fseek(part, 0, SEEK_SET) != 0) FailFile();
  std::array<std::size_t, 2> sizes;
  std::vector<Total> totals(total_count_);
  while (Read(part, sizes.data(), sizeof sizes)) {
    folded_.resize(sizes[0]);
    spelled_.resize(sizes[1]);
    if (!Read(part, folded_.data(), sizes[0]) || !Read(part, spelled_.data(), sizes[1]) ||
        !Read(part, totals.data(), total_count_ * sizeof(Total))) {
      FailFile();
    }
    const std::size_t group = FoldedGroup(folded_, spelled_);
    for (std::size_t i = 0; i < total_count_; ++i) totals_[group * total_count_ + i].Add(totals[i]);
  }
}

void GroupTable::Rewind() {
  if (!parts_.empty() && next_part_ == 0) Spill();
  next_part_ = 0;
  current_ = 0;
  if (!parts_.empty()) Clear();
  ShowCurrent();
}

void GroupTable::Next() {
  ++current_;
  ShowCurrent();
}

// Reads the current group's keys, from the next part where this one is at its end.
void GroupTable::ShowCurrent() {
  while (current_ >= groups_.size() && next_part_ < parts_.size()) {
    LoadPart(parts_[next_part_++].get());
    current_ = 0;
  }
  if (AtEnd()) return;
  std::string_view rest = At(groups_[current_]);
  for (StoredValue& key : current_keys_) key = TakeKey(rest);
}

}  // namespace ledgerwick::tsql
