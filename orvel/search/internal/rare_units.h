// Which units of a word to look for first. A scan for a word tests two of its units at
// fixed offsets in many positions at once and compares only the positions where both fit
// in full; the rarer those two units are in text, the fewer positions are compared. A
// word's first and last units are often common letters ("import": i and t), so the scan
// takes the two rarest instead ("import": p and m; "quixotically": q and x).
#pragma once

#include <array>
#include <cstddef>
#include <string_view>

namespace orvel::internal {

// How often a character turns up in text, roughly: per mille of English prose and code,
// ASCII letters counted in either case; other characters as rare as punctuation.
inline constexpr std::array<unsigned char, 128> kAsciiFrequency = [] {
  std::array<unsigned char, 128> frequency{};
  for (auto& f : frequency) f = 5;
  frequency[' '] = 180;
  frequency['\n'] = 30;
  constexpr char kLetters[] = "etaoinshrdlcumwfgypbvkjxqz";
  constexpr unsigned char kPerMille[] = {127, 91, 82, 75, 70, 67, 63, 61, 60, 43, 40, 28, 28,
                                         24,  24, 22, 20, 20, 19, 15, 10, 8,  2,  2,  1,  1};
  for (std::size_t k = 0; k < 26; ++k) {
    frequency[static_cast<std::size_t>(kLetters[k])] = kPerMille[k];
    frequency[static_cast<std::size_t>(kLetters[k] - 'a' + 'A')] = kPerMille[k];
  }
  return frequency;
}();

struct RareOffsets {
  std::size_t first = 0;
  std::size_t second = 0;  // the same as first for a word of one unit
};

// The offsets of the word's two rarest units. With weakOutsideAscii a unit outside ASCII
// counts as the most common of all: a caseless scan lets every such unit through (a few
// fold to ASCII letters), so testing one filters nothing.
template <typename Unit>
[[nodiscard]] RareOffsets rarestOffsets(std::basic_string_view<Unit> word,
                                        bool weakOutsideAscii = false) {
  const auto frequency = [&](std::size_t k) -> unsigned {
    const auto unit = static_cast<std::size_t>(word[k]);
    if (unit < 128) return kAsciiFrequency[unit];
    return weakOutsideAscii ? 1000u : kAsciiFrequency[0];
  };
  RareOffsets rare;
  for (std::size_t k = 1; k < word.size(); ++k) {
    if (frequency(k) < frequency(rare.first)) rare.first = k;
  }
  if (word.size() < 2) return rare;
  rare.second = rare.first == 0 ? 1 : 0;
  for (std::size_t k = 0; k < word.size(); ++k) {
    if (k != rare.first && frequency(k) < frequency(rare.second)) rare.second = k;
  }
  return rare;
}

}  // namespace orvel::internal
