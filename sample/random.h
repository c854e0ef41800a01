// Random numbers that are the same on every platform and with every standard library.
#pragma once

#include <array>
#include <cstdint>

namespace ledgerwick::sample {

// xoshiro256** seeded by splitmix64.
class Random {
 public:
  explicit Random(std::uint64_t seed) {
    for (std::uint64_t& word : state_) word = Mix(seed += 0x9E3779B97F4A7C15U);
  }

  // From 0 to `bound` - 1; `bound` is from 1 to 2^31 - 1.
  std::int32_t Below(std::int32_t bound) {
    const std::uint64_t high = Next() >> 32U;
    return static_cast<std::int32_t>((high * static_cast<std::uint64_t>(bound)) >> 32U);
  }

  // From `low` to `high`, both included.
  std::int32_t Between(std::int32_t low, std::int32_t high) { return low + Below(high - low + 1); }

  // True in `percent` of 100 cases.
  bool Chance(std::int32_t percent) { return Below(100) < percent; }

 private:
  static constexpr std::uint64_t Mix(std::uint64_t z) {
    z = (z ^ (z >> 30U)) * 0xBF58476D1CE4E5B9U;
    z = (z ^ (z >> 27U)) * 0x94D049BB133111EBU;
    return z ^ (z >> 31U);
  }
  static constexpr std::uint64_t RotateLeft(std::uint64_t x, unsigned k) {
    return (x << k) | (x >> (64U - k));
  }

  std::uint64_t Next() {
    const std::uint64_t result = RotateLeft(state_[1] * 5, 7) * 9;
    const std::uint64_t shifted = state_[1] << 17U;
    state_[2] ^= state_[0];
    state_[3] ^= state_[1];
    state_[1] ^= state_[2];
    state_[0] ^= state_[3];
    state_[2] ^= shifted;
    state_[3] = RotateLeft(state_[3], 45);
    return result;
  }

  std::array<std::uint64_t, 4> state_{};
};

}  // namespace ledgerwick::sample
