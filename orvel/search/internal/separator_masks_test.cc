#include "orvel/search/internal/separator_masks.h"

#include <random>
#include <string>

#include <gtest/gtest.h>

#include "orvel/search/separation.h"
#include "orvel/search/separators.h"

namespace orvel::internal {
namespace {

std::uint64_t referenceMask(const unichar* units, std::size_t count, CharacterSetRep set) {
  std::uint64_t mask = 0;
  for (std::size_t k = 0; k < count; ++k) {
    if (isMemberOfCharacterSetRep(set, units[k])) mask |= std::uint64_t{1} << k;
  }
  return mask;
}

TEST(SeparatorMasksTest, BothPathsAgreeOnAsciiAndOtherBlocks) {
  std::mt19937 generator(17);
  CharacterSetRep set = defaultWordSeparators();
  const SeparatorMasks portable(set, false);
  const SeparatorMasks simd(set, true);
  for (int round = 0; round < 2000; ++round) {
    std::u16string units(64, u' ');
    const bool ascii = round % 2 == 0;
    for (unichar& unit : units) {
      unit = static_cast<unichar>(ascii ? generator() % 128 : generator() % 0x500);
    }
    for (std::size_t count : {64u, 63u, 1u, 0u}) {
      const std::uint64_t expected = referenceMask(units.data(), count, set);
      ASSERT_EQ(portable.classify(units.data(), count), expected) << round;
      ASSERT_EQ(simd.classify(units.data(), count), expected) << round;
    }
  }
}

TEST(SeparatorMasksTest, RangesModeSplitsLikeTheStringForm) {
  // Long enough for many 64-unit blocks, with runs crossing block edges.
  std::u16string text;
  for (int i = 0; i < 300; ++i) {
    text += u"word";
    text += std::u16string(static_cast<std::size_t>(i % 7), u' ');
    text += i % 3 == 0 ? u"\u0416\u0436!" : u"-x";
  }
  std::vector<Range> ranges(text.size());
  const std::size_t count =
      wordsOfCharacters(text.data(), text.size(), nullptr, true, 2, false, ranges.data());
  const auto items = wordsUsingSeparators(text, defaultWordSeparators(), true, 2);
  ASSERT_EQ(count, items.size());
  for (std::size_t i = 0; i < count; ++i) {
    const std::size_t length = ranges[i].length & ~kSeparatorRunFlag;
    ASSERT_EQ(text.substr(ranges[i].location, length), items[i]) << i;
  }
}

}  // namespace
}  // namespace orvel::internal
