#include "orvel/search/internal/byte_search.h"

#include <algorithm>
#include <random>
#include <string>

#include <gtest/gtest.h>

#include "orvel/search/internal/byte_forms.h"
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

// A word's forms: every character that folds as a letter outside ASCII does, found in one
// pass on the bytes the forms share at their start or end.
TEST(ByteFormsTest, EveryFoldingFormIsFoundAndNothingElse) {
  const std::vector<std::string> cafe = byteFormsOf(u"Caf\u00e9", false);
  EXPECT_EQ(cafe, (std::vector<std::string>{"caf\xC3\x89", "caf\xC3\xA9"}));
  EXPECT_EQ(byteFormsOf(u"Caf\u00e9", true), std::vector<std::string>{"Caf\xC3\xA9"});
  EXPECT_TRUE(byteFormsOf(u"a\U0001D11E", false).empty());  // outside the BMP
  // A dotless i folds to I: "i" is one of its forms.
  const std::vector<std::string> dotless = byteFormsOf(u"\u0131", false);
  EXPECT_NE(std::find(dotless.begin(), dotless.end(), "i"), dotless.end());
  EXPECT_NE(std::find(dotless.begin(), dotless.end(), "\xC4\xB1"), dotless.end());
  // "Gr\u00f6\u00dfe" forms begin alike; "\u00e9t\u00e9" ones share no two bytes at either end.
  for (const std::u16string word : {u"Gr\u00f6\u00dfe", u"\u00e9t\u00e9", u"Caf\u00e9"}) {
    const ByteFormsFinder finder(byteFormsOf(word, false), true);
    ASSERT_GE(finder.forms().size(), 2u);
    for (const std::string& form : finder.forms()) {
      std::string upper = form;
      for (char& c : upper) c = c >= 'a' && c <= 'z' ? static_cast<char>(c - 32) : c;
      EXPECT_TRUE(finder.containedIn("x " + upper + "!")) << upper;
      EXPECT_TRUE(finder.containedIn(form)) << form;
      EXPECT_FALSE(finder.containedIn(form.substr(1))) << form;
      EXPECT_FALSE(finder.containedIn(form.substr(0, form.size() - 1) + " " + form.substr(1)));
    }
  }
  EXPECT_FALSE(ByteFormsFinder(byteFormsOf(u"\u00e9t\u00e9", false), true).containedIn("ete"));
}

}  // namespace
}  // namespace orvel::internal
