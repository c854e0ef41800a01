// Maps and sets of names, which letter case, width and kana type do not tell apart.
#pragma once

#include <cstddef>
#include <unordered_map>
#include <unordered_set>

#include "frame/text.h"

namespace ledgerwick::tsql {

// Hash and equality that agree with EqualText. What is keyed by Text can be searched with a view.
struct NameHash {
  using is_transparent = void;
  // Not noexcept: the standard containers then keep each key's hash.
  std::size_t operator()(TextView name) const {
    std::size_t hash = 0;
    for (const char16_t c : name) hash = hash * 31 + FoldChar(c);
    return hash;
  }
};
struct SameName {
  using is_transparent = void;
  bool operator()(TextView a, TextView b) const noexcept { return EqualText(a, b); }
};

template <typename T, typename Key = Text>
using NameMap = std::unordered_map<Key, T, NameHash, SameName>;

// Of names that stand elsewhere.
using NameSet = std::unordered_set<TextView, NameHash, SameName>;

}  // namespace ledgerwick::tsql
