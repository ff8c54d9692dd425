#include "orvel/search/separation.h"

#include <algorithm>
#include <bit>
#include <cstdint>

#include "orvel/search/internal/separator_masks.h"

namespace orvel {
namespace {

// The one splitting loop: calls onWord(start, end) for each word of at least minLen units
// and onSeparators(start, end) for each run of separators.
template <typename OnWord, typename OnSeparators>
void splitWords(const unichar* chars, std::size_t length, CharacterSetRep separators,
                std::size_t minLen, bool wildcard, OnWord onWord, OnSeparators onSeparators) {
  if (separators == nullptr) separators = defaultWordSeparators();
  if (minLen == 0) minLen = 1;
  // A "[" opens a bracket expression only where it is a word unit.
  const bool brackets = wildcard && !isMemberOfCharacterSetRep(separators, u'[');
  std::size_t i = 0;
  while (i < length) {
    const std::size_t start = i;
    if (isMemberOfCharacterSetRep(separators, chars[i])) {
      while (i < length && isMemberOfCharacterSetRep(separators, chars[i])) ++i;
      onSeparators(start, i);
      continue;
    }
    while (i < length) {
      if (brackets && chars[i] == u'[') {
        while (i < length && chars[i] != u']') ++i;
        if (i < length) ++i;  // the "]"
        continue;
      }
      if (isMemberOfCharacterSetRep(separators, chars[i])) break;
      ++i;
    }
    if (i - start >= minLen) onWord(start, i);
  }
}

// Calls onRun(start, end, isSeparatorRun) for each maximal run of separators or of word
// units, in order, classifying 64 units at a time: the runs' edges are the changes
// between neighbouring bits of the membership masks.
template <typename OnRun>
void splitRuns(const unichar* chars, std::size_t length, CharacterSetRep separators, OnRun onRun) {
  const internal::SeparatorMasks masks(separators);
  std::size_t runStart = 0;
  bool inSeparators = true;  // before the text, as if after a separator
  for (std::size_t base = 0; base < length; base += 64) {
    const std::size_t count = std::min<std::size_t>(64, length - base);
    const std::uint64_t mask = masks.classify(chars + base, count);
    std::uint64_t changes = mask ^ ((mask << 1) | (inSeparators ? 1 : 0));
    if (count < 64) changes &= (std::uint64_t{1} << count) - 1;
    while (changes != 0) {
      const std::size_t position = base + static_cast<std::size_t>(std::countr_zero(changes));
      changes &= changes - 1;
      if (position > runStart) onRun(runStart, position, inSeparators);
      runStart = position;
      inSeparators = !inSeparators;
    }
  }
  if (length > runStart) onRun(runStart, length, inSeparators);
}

// The one component loop: calls onComponent(start, end, separatorsStart) per component.
template <typename OnComponent>
void splitComponents(const unichar* chars, std::size_t length, CharacterSetRep separators,
                     OnComponent onComponent) {
  if (separators == nullptr) separators = defaultComponentSeparators();
  std::size_t start = 0;
  std::size_t i = 0;
  while (i < length) {
    if (!isMemberOfCharacterSetRep(separators, chars[i])) {
      ++i;
      continue;
    }
    const std::size_t runStart = i;
    while (i < length && isMemberOfCharacterSetRep(separators, chars[i])) ++i;
    onComponent(start, i, runStart);
    start = i;
  }
  if (start < length) onComponent(start, length, length);
}

// The part of `range` inside a text of `length` units; empty when it starts beyond.
Range clampToText(Range range, std::size_t length) {
  if (range.location >= length) return Range{length, 0};
  return Range{range.location, std::min(range.length, length - range.location)};
}

}  // namespace

std::size_t wordsOfCharacters(const unichar* chars, std::size_t length, CharacterSetRep separators,
                              bool withSeparators, std::size_t minLen, bool wildcard,
                              Range* ranges) {
  std::size_t count = 0;
  auto emit = [&](std::size_t start, std::size_t end, std::size_t flag) {
    if (ranges != nullptr) ranges[count] = Range{start, (end - start) | flag};
    ++count;
  };
  if (wildcard) {
    splitWords(
        chars, length, separators, minLen, wildcard,
        [&](std::size_t start, std::size_t end) { emit(start, end, 0); },
        [&](std::size_t start, std::size_t end) {
          if (withSeparators) emit(start, end, kSeparatorRunFlag);
        });
    return count;
  }
  // Without bracket expressions the words are exactly the runs of non-separators.
  if (minLen == 0) minLen = 1;
  splitRuns(chars, length, separators != nullptr ? separators : defaultWordSeparators(),
            [&](std::size_t start, std::size_t end, bool isSeparatorRun) {
              if (isSeparatorRun) {
                if (withSeparators) emit(start, end, kSeparatorRunFlag);
              } else if (end - start >= minLen) {
                emit(start, end, 0);
              }
            });
  return count;
}

void parseWordsWithHandler(const unichar* chars, std::size_t length, WordHandler handler,
                           void* context, CharacterSetRep separators, std::size_t minLen) {
  if (separators == nullptr) separators = defaultWordSeparators();
  if (minLen == 0) minLen = 1;
  splitRuns(chars, length, separators, [&](std::size_t start, std::size_t end, bool isSeparators) {
    if (!isSeparators && end - start >= minLen) handler(chars, start, end - start, context);
  });
}

std::size_t numberOfWordsOfCharacters(const unichar* chars, std::size_t length) {
  return wordsOfCharacters(chars, length, nullptr, false, 1, false, nullptr);
}

std::size_t componentsOfCharacters(const unichar* chars, std::size_t length,
                                   CharacterSetRep separators, Range* ranges) {
  std::size_t count = 0;
  splitComponents(chars, length, separators, [&](std::size_t start, std::size_t end, std::size_t) {
    if (ranges != nullptr) ranges[count] = Range{start, end - start};
    ++count;
  });
  return count;
}

std::size_t numberOfComponentsOfCharacters(const unichar* chars, std::size_t length,
                                           CharacterSetRep separators) {
  return componentsOfCharacters(chars, length, separators, nullptr);
}

std::vector<std::u16string> wordsUsingSeparators(std::u16string_view string,
                                                 CharacterSetRep separators, bool withSeparators,
                                                 std::size_t minLen, bool wildcard,
                                                 bool* hyphenated) {
  std::vector<std::u16string> words;
  words.reserve(string.size() / 8);
  bool allDashes = true, allDots = true, allSingleLetters = true;
  std::size_t wordCount = 0;
  splitWords(
      string.data(), string.size(), separators, minLen, wildcard,
      [&](std::size_t start, std::size_t end) {
        words.emplace_back(string.substr(start, end - start));
        ++wordCount;
        allSingleLetters = allSingleLetters && end - start == 1 &&
                           isMemberOfCharacterSetRep(alphaCharacterSetRep(), string[start]);
      },
      [&](std::size_t start, std::size_t end) {
        for (std::size_t i = start; i < end; ++i) {
          allDashes = allDashes && string[i] == u'-';
          allDots = allDots && string[i] == u'.';
        }
        if (withSeparators) words.emplace_back(string.substr(start, end - start));
      });
  if (hyphenated != nullptr) {
    *hyphenated = wordCount >= 2 && (allDashes || (allDots && allSingleLetters));
  }
  return words;
}

std::vector<std::u16string> wordsUsingSeparators(std::u16string_view string,
                                                 CharacterSetRep separators) {
  return wordsUsingSeparators(string, separators, false, 1);
}

std::vector<std::u16string> wordsUsingDefaultSeparation(std::u16string_view string,
                                                        std::size_t minLen) {
  return wordsUsingSeparators(string, defaultWordSeparators(), false, minLen);
}

std::vector<std::u16string> wordsUsingWhiteSeparation(std::u16string_view string,
                                                      std::size_t minLen) {
  return wordsUsingSeparators(string, whiteCharacterSetRep(), false, minLen);
}

std::vector<std::u16string> componentsUsingSeparators(std::u16string_view string,
                                                      CharacterSetRep separators,
                                                      bool withSeparators) {
  std::vector<std::u16string> components;
  splitComponents(string.data(), string.size(), separators,
                  [&](std::size_t start, std::size_t end, std::size_t separatorsStart) {
                    const std::size_t stop = withSeparators ? end : separatorsStart;
                    components.emplace_back(string.substr(start, stop - start));
                  });
  return components;
}

std::vector<std::u16string> componentsUsingDefaultSeparation(std::u16string_view string) {
  return componentsUsingSeparators(string, defaultComponentSeparators());
}

std::size_t numberOfComponentsUsingSeparators(std::u16string_view string,
                                              CharacterSetRep separators) {
  return numberOfComponentsOfCharacters(string.data(), string.size(), separators);
}

std::size_t numberOfComponentsInRange(std::u16string_view string, Range range,
                                      CharacterSetRep separators) {
  const Range inside = clampToText(range, string.size());
  return numberOfComponentsOfCharacters(string.data() + inside.location, inside.length, separators);
}

std::size_t numberOfWordsUsingSeparators(std::u16string_view string, CharacterSetRep separators,
                                         std::size_t minLen, bool wildcard) {
  return wordsOfCharacters(string.data(), string.size(), separators, false, minLen, wildcard,
                           nullptr);
}

std::size_t numberOfWordsUsingDefaultSeparation(std::u16string_view string, std::size_t minLen) {
  return numberOfWordsUsingSeparators(string, defaultWordSeparators(), minLen, false);
}

std::size_t numberOfWordsInRange(std::u16string_view string, Range range,
                                 CharacterSetRep separators, std::size_t minLen) {
  const Range inside = clampToText(range, string.size());
  return wordsOfCharacters(string.data() + inside.location, inside.length, separators, false,
                           minLen, false, nullptr);
}

ParagraphsAndWords numberOfParagraphs(std::u16string_view string, Range range, std::size_t minLen) {
  const Range inside = clampToText(range, string.size());
  if (inside.length == 0) return {};
  const unichar* start = string.data() + inside.location;
  return ParagraphsAndWords{
      componentsOfCharacters(start, inside.length, defaultLineSeparators(), nullptr),
      wordsOfCharacters(start, inside.length, defaultWordSeparators(), false, minLen, false,
                        nullptr)};
}

std::u16string stringByEllipsizingAfterNCharacters(std::u16string_view string, std::size_t n) {
  if (n == 0 || string.size() <= n) return std::u16string(string);
  CharacterSetRep alphaNum = alphaNumCharacterSetRep();
  std::size_t end = n;  // the kept text is [0, end)
  while (end > 0 && isMemberOfCharacterSetRep(alphaNum, string[end - 1])) --end;
  if (end == 0) return std::u16string(string);
  while (end > 0 && !isMemberOfCharacterSetRep(alphaNum, string[end - 1])) --end;
  if (end == 0) return std::u16string(string);
  return std::u16string(string.substr(0, end)) + u"...";
}

std::u16string stringByEllipsizingAfterNWords(std::u16string_view string, std::size_t n) {
  if (n == 0 || string.size() <= n) return std::u16string(string);
  std::size_t words = 0;
  std::size_t endOfNth = 0;
  splitWords(
      string.data(), string.size(), defaultWordSeparators(), 1, false,
      [&](std::size_t, std::size_t end) {
        if (++words == n) endOfNth = end;
      },
      [](std::size_t, std::size_t) {});
  if (words <= n) return std::u16string(string);
  return std::u16string(string.substr(0, endOfNth)) + u"...";
}

std::u16string stringByEllipsizingForMenu(std::u16string_view string) {
  return stringByEllipsizingAfterNWords(string, 6);
}

}  // namespace orvel
