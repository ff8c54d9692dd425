#include "orvel/search/internal/byte_search.h"

#include <random>
#include <string>

#include <gtest/gtest.h>

#include "orvel/text/character_sets.h"

namespace orvel::internal {
namespace {

// The vector scans (64, 32 and 16 positions at a time) and the scalar tail against a plain
// search of the lower-cased text, at every length around the vector widths and from every
// start.
TEST(FindBytesTest, EqualsAPlainSearchAtEveryLengthAndStart) {
  std::mt19937 random(41);
  const std::string letters = "abqAB_ \xC3";
  for (int round = 0; round < 3000; ++round) {
    std::string haystack(random() % 150, 'a');
    for (char& c : haystack) c = letters[random() % letters.size()];
    std::string needle(1 + random() % 5, 'a');
    for (char& c : needle) c = letters[random() % 4];  // a, b, q and A: lower-cased below
    const bool ignoreCase = random() % 2 == 0;
    std::string wanted = needle, text = haystack;
    if (ignoreCase) {
      for (char& c : wanted) c = static_cast<char>(c == 'A' ? 'a' : c);
      for (char& c : text) c = static_cast<char>(c == 'A' ? 'a' : c == 'B' ? 'b' : c);
    }
    const std::size_t from = random() % (haystack.size() + 2);
    SCOPED_TRACE(haystack + " / " + wanted);
    EXPECT_EQ(findBytes(haystack, wanted, ignoreCase, from),
              from > text.size() ? std::string::npos : text.find(wanted, from));
  }
}

// Whole words: an occurrence glued to a word byte on either side is passed over, the
// haystack's edges count as no word, and bytes that are no word characters separate.
TEST(FindBytesTest, WholeWordsStandApart) {
  const CharacterSetRep words = alphaNumCharacterSetRep();
  const std::string text = "imports import-ed Import) reimport import";
  EXPECT_EQ(findBytes(text, "import", true, 0, words), 8u);
  EXPECT_EQ(findBytes(text, "import", true, 9, words), 18u);
  EXPECT_EQ(findBytes(text, "import", false, 9, words), 35u);
  EXPECT_EQ(findBytes(text, "import", true, 36, words), std::string::npos);
  EXPECT_EQ(findBytes(std::string(70, 'x') + " import", "import", true, 0, words), 71u);
  EXPECT_EQ(findBytes(std::string(70, 'x') + "import", "import", true, 0, words),
            std::string::npos);
}

}  // namespace
}  // namespace orvel::internal
