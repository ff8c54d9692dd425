// Word keys found by hash, for building an index: a text's distinct keys, and a segment's
// postings per key, are gathered by the million, where std::unordered_map's node per key and
// rehashing of whole strings cost more than reading the text.
#pragma once

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstring>
#include <string_view>
#include <utility>
#include <vector>

namespace orvel::internal {

// A 64-bit hash of a key, eight bytes at a time.
[[nodiscard]] inline std::uint64_t keyHash(std::string_view key) {
  constexpr std::uint64_t kMultiplier = 0x9E3779B97F4A7C15u;
  std::uint64_t hash = key.size() * kMultiplier;
  std::size_t k = 0;
  for (; k + 8 <= key.size(); k += 8) {
    std::uint64_t word = 0;
    std::memcpy(&word, key.data() + k, 8);
    hash = (hash ^ word) * kMultiplier;
    hash ^= hash >> 29;
  }
  if (k < key.size()) {
    // The last bytes: the last eight, overlapping those hashed, when there are eight.
    std::uint64_t word = 0;
    if (key.size() >= 8) {
      std::memcpy(&word, key.data() + key.size() - 8, 8);
    } else {
      for (; k < key.size(); ++k) word = (word << 8) | static_cast<std::uint8_t>(key[k]);
    }
    hash = (hash ^ word) * kMultiplier;
  }
  hash ^= hash >> 32;
  hash *= 0xD6E8FEB86659FD93u;
  return hash ^ (hash >> 32);
}

// An open-addressing table of indices into the caller's array of entries, found by their
// hashes; the caller compares the keys. Never more than half full.
class KeySlots {
 public:
  // The index of the entry whose hash is `hash` and for which `same(index)` holds; else
  // `added` (the caller's next index), recorded with the hash. `second` tells which.
  template <class Same>
  std::pair<std::uint32_t, bool> findOrAdd(std::uint64_t hash, std::uint32_t added, Same same) {
    if (2 * (_used + 1) > _slots.size()) grow();
    const std::size_t mask = _slots.size() - 1;
    for (std::size_t k = hash & mask;; k = (k + 1) & mask) {
      Slot& slot = _slots[k];
      if (slot.index == kEmpty) {
        slot = Slot{hash, added};
        ++_used;
        return {added, true};
      }
      if (slot.hash == hash && same(slot.index)) return {slot.index, false};
    }
  }

  // Room for about this many entries before the first growth.
  void reserve(std::size_t entries) {
    if (_used == 0 && 2 * entries > _slots.size()) _slots.resize(std::bit_ceil(2 * entries));
  }

 private:
  static constexpr std::uint32_t kEmpty = UINT32_MAX;
  struct Slot {
    std::uint64_t hash = 0;
    std::uint32_t index = kEmpty;
  };

  void grow() {
    std::vector<Slot> old(std::max<std::size_t>(64, 2 * _slots.size()));
    old.swap(_slots);
    const std::size_t mask = _slots.size() - 1;
    for (const Slot& slot : old) {
      if (slot.index == kEmpty) continue;
      std::size_t k = slot.hash & mask;
      while (_slots[k].index != kEmpty) k = (k + 1) & mask;
      _slots[k] = slot;
    }
  }

  std::vector<Slot> _slots;
  std::size_t _used = 0;
};

}  // namespace orvel::internal
