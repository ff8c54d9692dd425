// Wildcard patterns: classification and normalisation never write past the pattern and
// keep their promises, and the compiled matcher answers as the plain matchers do, in both
// languages, exactly and with case folded. Input: the pattern, a line break, the text.
#include <cstdint>
#include <string>

#include "orvel/search/wildcard.h"
#include "orvel/search/wildcard_extensions.h"
#include "orvel/search/wildcard_matcher.h"

#include "fuzz/fuzz_support.h"

namespace {

void classify(const std::u16string& pattern) {
  std::u16string optimised = pattern;
  orvel::Range found;
  std::size_t length = 0;
  const int type = orvel::optimizeWildcard(optimised.data(), optimised.data() + optimised.size(),
                                           &found, 1, &length);
  ORVEL_FUZZ_CHECK(type >= orvel::kWildcardLiteral && type <= orvel::kWildcardUnusable);
  ORVEL_FUZZ_CHECK(length <= pattern.size());
  ORVEL_FUZZ_CHECK(found.location + found.length <= length);
  if (type != orvel::kWildcardUnusable) {
    const orvel::unichar* p = optimised.data();
    const std::size_t least = orvel::minWildcardLen(p, p + length);
    ORVEL_FUZZ_CHECK(least <= orvel::maxWildcardLen(p, p + length));
  }
  static_cast<void>(orvel::wildcardType(pattern));
  static_cast<void>(orvel::wildcardLength(pattern));
}

bool plainMatch(std::u16string pattern, std::u16string_view text, bool unix,
                orvel::ConversionTable table) {
  orvel::prepareWildcardUsingUnicharTable(pattern.data(), pattern.data() + pattern.size(), table);
  const orvel::unichar* p = pattern.data();
  const orvel::unichar* t = text.data();
  return unix ? orvel::stringMatchesUnixWildcardUsingUnicharTable(t, t + text.size(), p,
                                                                  p + pattern.size(), table)
              : orvel::stringMatchesWildcardUsingUnicharTable(t, t + text.size(), p,
                                                              p + pattern.size(), table);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto [patternBytes, textBytes] =
      orvel::fuzz::splitFirstLine(orvel::fuzz::bytesOf(data, size));
  const std::u16string pattern = orvel::fuzz::unitsOf(patternBytes);
  const std::u16string text = orvel::fuzz::unitsOf(textBytes);
  classify(pattern);
  for (const orvel::ConversionTable table :
       {orvel::ConversionTable{nullptr}, orvel::unicharTableForWildcardComparison(3)}) {
    for (const bool unix : {false, true}) {
      const bool expected = plainMatch(pattern, text, unix, table);
      ORVEL_FUZZ_CHECK(orvel::WildcardMatcher(pattern, unix, table).matches(text) == expected);
    }
  }
  static_cast<void>(orvel::isCaseInsensitiveLikeUnixWildcard(text, pattern));
  static_cast<void>(orvel::stringMatchesUnixWildcardFuzzy(pattern.data(), pattern.size(),
                                                          text.data(), text.size()));
  return 0;
}
