// Word, component, sentence and line splitting and ellipsizing of any text: ranges stay
// inside the text, in order, and counts agree with the ranges written.
#include <cstdint>
#include <string>
#include <vector>

#include "orvel/search/separation.h"
#include "orvel/search/separators.h"
#include "orvel/search/wildcard.h"

#include "fuzz/fuzz_support.h"

namespace {

void checkRanges(const std::vector<orvel::Range>& ranges, std::size_t count, std::size_t length) {
  std::size_t previousEnd = 0;
  for (std::size_t i = 0; i < count; ++i) {
    const std::size_t rangeLength = ranges[i].length & ~orvel::kSeparatorRunFlag;
    ORVEL_FUZZ_CHECK(ranges[i].location >= previousEnd);
    ORVEL_FUZZ_CHECK(rangeLength > 0 && ranges[i].location + rangeLength <= length);
    previousEnd = ranges[i].location + rangeLength;
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::u16string text = orvel::fuzz::unitsOf(orvel::fuzz::bytesOf(data, size));
  const orvel::unichar* units = text.data();
  std::vector<orvel::Range> ranges(text.size() + 1);
  const std::size_t minLen = size == 0 ? 0 : data[0] % 4;
  for (const orvel::CharacterSetRep separators :
       {orvel::CharacterSetRep{nullptr}, orvel::defaultWildcardSeparators()}) {
    for (const bool withSeparators : {false, true}) {
      for (const bool wildcard : {false, true}) {
        const std::size_t count = orvel::wordsOfCharacters(
            units, text.size(), separators, withSeparators, minLen, wildcard, ranges.data());
        checkRanges(ranges, count, text.size());
        ORVEL_FUZZ_CHECK(count == orvel::wordsOfCharacters(units, text.size(), separators,
                                                           withSeparators, minLen, wildcard,
                                                           nullptr));
      }
    }
  }
  for (const orvel::CharacterSetRep separators :
       {orvel::CharacterSetRep{nullptr}, orvel::defaultSentenceSeparators(),
        orvel::defaultLineSeparators()}) {
    const std::size_t count =
        orvel::componentsOfCharacters(units, text.size(), separators, ranges.data());
    checkRanges(ranges, count, text.size());
    ORVEL_FUZZ_CHECK(count ==
                     orvel::numberOfComponentsOfCharacters(units, text.size(), separators));
  }
  bool hyphenated = false;
  static_cast<void>(orvel::wordsUsingSeparators(text, nullptr, false, 1, true, &hyphenated));
  static_cast<void>(orvel::numberOfParagraphs(text, orvel::Range{minLen, size}, 2));
  for (const std::size_t n : {std::size_t{0}, std::size_t{1}, size / 2, size}) {
    const std::u16string chars = orvel::stringByEllipsizingAfterNCharacters(text, n);
    ORVEL_FUZZ_CHECK(chars.size() <= text.size() + 3);
    const std::u16string words = orvel::stringByEllipsizingAfterNWords(text, n);
    ORVEL_FUZZ_CHECK(words.size() <= text.size() + 3);
  }
  return 0;
}
