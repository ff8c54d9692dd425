// Matching many texts against one wildcard pattern.
//
// The pattern is folded through the table and classified once; then prefix ("ab*"),
// suffix ("*ab"), infix ("*ab*"), "?" and plain patterns are tested by direct comparison,
// and texts of a length the pattern cannot match, or whose first or last unit differs from
// a literal first or last unit of the pattern, are rejected before any matching. Every
// other pattern runs the matcher of its language. The answers are those of
// stringMatches(Unix)WildcardUsingUnicharTable with the folded pattern.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "orvel/text/conversion_tables.h"

namespace orvel {

class WildcardMatcher {
 public:
  // unix: the Unix language (bracket sets); table: null compares exactly.
  WildcardMatcher(std::u16string_view pattern, bool unix, ConversionTable table);

  [[nodiscard]] bool matches(const unichar* text, std::size_t length) const;
  [[nodiscard]] bool matches(std::u16string_view text) const {
    return matches(text.data(), text.size());
  }

 private:
  enum class Shape { kGeneral, kExact, kSingles, kPrefix, kSuffix, kInfix };

  void findLiteralEnds(bool brackets);
  [[nodiscard]] unichar fold(unichar unit) const { return _table != nullptr ? _table[unit] : unit; }
  [[nodiscard]] bool equalFolded(const unichar* text, std::size_t length) const;
  [[nodiscard]] bool matchesGeneral(const unichar* text, std::size_t length) const;
  [[nodiscard]] bool containsFolded(const unichar* text, std::size_t length) const;

  std::u16string _pattern;  // folded
  std::u16string _fixed;    // the literal part of the direct shapes
  ConversionTable _table;
  bool _unix;
  Shape _shape = Shape::kGeneral;
  std::size_t _minLength = 0;
  std::size_t _maxLength = static_cast<std::size_t>(-1);
  unichar _firstLiteral = 0;  // 0: none
  unichar _lastLiteral = 0;
};

}  // namespace orvel
