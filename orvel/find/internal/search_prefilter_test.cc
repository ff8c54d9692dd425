// The byte filter and the prefix cut of orvel search against the plain evaluation: a file
// the filter skips never matches, and a match in a prefix cut where the cut allows is a
// match in the whole text.
#include "orvel/find/internal/search_prefilter.h"

#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "orvel/base/utf8.h"
#include "orvel/search/query_terms.h"

namespace orvel::internal {
namespace {

// Random texts of a few words, some spelled with units that fold to ASCII letters (U+0131
// dotless i, U+017F long s, U+212A Kelvin sign), joined by all kinds of separators.
class TextGenerator {
 public:
  std::string text(std::size_t words) {
    static const std::vector<std::string> kWords = {"kiss",
                                                    "K\xE2\x84\xAAiss",
                                                    "s\xC4\xB1t",
                                                    "\xC5\xBFit",
                                                    "sit",
                                                    "C++",
                                                    "c#",
                                                    "Sit",
                                                    "kis",
                                                    "issue",
                                                    "KISS",
                                                    "x",
                                                    "it",
                                                    "--",
                                                    "a.b",
                                                    "stra\xC3\x9F"
                                                    "e",
                                                    "STRA\xE1\xBA\x9E"
                                                    "E",
                                                    "s\xC3\xAFt",
                                                    "S\xC3\x8FT"};
    static const std::vector<std::string> kGaps = {" ", ", ", ".", "\n", "+", "-", "  ", ""};
    std::string out;
    for (std::size_t i = 0; i < words; ++i) {
      out += kWords[_generator() % kWords.size()] + kGaps[_generator() % kGaps.size()];
    }
    return out;
  }

 private:
  std::mt19937 _generator{29};
};

const std::vector<std::u16string> kQueries = {u"kiss",
                                              u"sit",
                                              u"\"kiss sit\"",
                                              u"kiss OR x",
                                              u"C++",
                                              u"c#",
                                              u"sit -kiss",
                                              u"kiss NEAR/1 sit",
                                              u"~is",
                                              u"issue kis",
                                              u"a.b",
                                              u"(x OR it) kiss",
                                              u"stra\u00dfe",
                                              u"S\u00cfT OR kiss",
                                              u"\"stra\u00dfe kiss\""};

TEST(SearchPrefilterTest, SkippedBytesNeverMatch) {
  TextGenerator generator;
  for (const std::u16string& query : kQueries) {
    const QueryTerms tree(query);
    for (const bool caseSensitive : {false, true}) {
      const SearchPrefilter filter(tree, caseSensitive, false);
      int skipped = 0;
      for (int round = 0; round < 400; ++round) {
        const std::string bytes = generator.text(1 + round % 6);
        if (filter.mayMatch(bytes)) continue;
        ++skipped;
        EXPECT_FALSE(tree.matchesString(*utf8ToUtf16(bytes), caseSensitive))
            << utf16ToUtf8(query) << " in " << bytes;
      }
      // Only the wildcard and the negative query leave nothing to skip.
      if (query != u"~is" && query != u"sit -kiss") {
        EXPECT_GT(skipped, 0) << utf16ToUtf8(query);
      }
    }
  }
}

TEST(SearchPrefilterTest, PrefixMatchesAreWholeTextMatches) {
  TextGenerator generator;
  for (const std::u16string& query : kQueries) {
    const QueryTerms tree(query);
    if (!isMonotoneQuery(tree)) continue;
    for (int round = 0; round < 400; ++round) {
      const std::string bytes = generator.text(12);
      const std::u16string whole = *utf8ToUtf16(bytes);
      for (std::size_t length = 1; length < bytes.size(); length += 3) {
        const std::size_t cut = safePrefixEnd(std::string_view(bytes).substr(0, length));
        if (cut == 0) continue;
        const auto prefix = utf8ToUtf16(std::string_view(bytes).substr(0, cut));
        ASSERT_TRUE(prefix.has_value());
        if (tree.matchesString(*prefix, false)) {
          EXPECT_TRUE(tree.matchesString(whole, false))
              << utf16ToUtf8(query) << " in «" << bytes << "» cut at " << cut;
        }
      }
    }
  }
}

}  // namespace
}  // namespace orvel::internal
