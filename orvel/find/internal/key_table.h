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
// hashes; the caller compares the keys. Never more than half full. Emptied at no cost: each
// slot carries the generation it was filled in, and only the current one's count, so that one
// table serves text after text, its memory kept and only its touched part touched again.
class KeySlots {
 public:
  // The index of the entry whose hash is `hash` and for which `same(index)` holds; else
  // `added` (the caller's next index), recorded with the hash. `second` tells which.
  template <class Same>
  std::pair<std::uint32_t, bool> findOrAdd(std::uint64_t hash, std::uint32_t added, Same same) {
    if (2 * (_used + 1) > _active) grow();
    const std::size_t mask = _active - 1;
    for (std::size_t k = hash & mask;; k = (k + 1) & mask) {
      Slot& slot = _slots[k];
      if (slot.generation != _generation) {
        slot = Slot{hash, added, _generation};
        ++_used;
        return {added, true};
      }
      if (slot.hash == hash && same(slot.index)) return {slot.index, false};
    }
  }

  // Forgets every entry; the next ones start in a table of about `entries`.
  void clear(std::size_t entries = 0) {
    nextGeneration();
    _used = 0;
    _active = std::max<std::size_t>(kSmallest, std::bit_ceil(2 * entries));
    if (_slots.size() < _active) _slots.resize(_active);
  }

 private:
  static constexpr std::size_t kSmallest = 64;
  struct Slot {
    std::uint64_t hash = 0;
    std::uint32_t index = 0;
    std::uint32_t generation = 0;  // never the table's: empty
  };

  void nextGeneration() {
    if (++_generation != 0) return;
    for (Slot& slot : _slots) slot.generation = 0;  // after 2^32 generations
    _generation = 1;
  }

  // Doubles the part in use, and enters the current entries again.
  void grow() {
    std::vector<Slot> entries;
    entries.reserve(_used);
    for (std::size_t k = 0; k < _active; ++k) {
      if (_slots[k].generation == _generation) entries.push_back(_slots[k]);
    }
    _active = std::max(kSmallest, 2 * _active);
    if (_slots.size() < _active) _slots.resize(_active);
    nextGeneration();
    const std::size_t mask = _active - 1;
    for (Slot entry : entries) {
      std::size_t k = entry.hash & mask;
      while (_slots[k].generation == _generation) k = (k + 1) & mask;
      entry.generation = _generation;
      _slots[k] = entry;
    }
  }

  std::vector<Slot> _slots;
  std::size_t _active = 0;  // slots in use: a power of two
  std::size_t _used = 0;
  std::uint32_t _generation = 1;
};

}  // namespace orvel::internal
