// Language identification of any text with the shipped lists: the answer is a language
// key or a script's, the ISO code agrees with it, the ratio is a finite number not below 0,
// and filtering against the answer itself never filters the text out. The text's lines are
// also lists of a filter of their own, whose table gives back each list as it was given:
// its words of three units or more without "'" or ".", sorted, each once.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "orvel/search/language_filter.h"
#include "orvel/search/separation.h"

#include "fuzz/fuzz_support.h"

namespace {

// One filter for every input; only its chosen language changes.
orvel::LanguageFilter& filter() {
  static const std::unique_ptr<orvel::LanguageFilter> shipped = [] {
    auto loaded = orvel::LanguageFilter::defaultFilter();
    if (loaded != nullptr) return loaded;
    return std::make_unique<orvel::LanguageFilter>(
        std::vector<std::u16string>{u"EN", u"DE"},
        std::vector<std::vector<std::u16string>>{{u"the", u"and", u"which", u"with", u"for"},
                                                 {u"und", u"der", u"die", u"das", u"mit"}},
        true);
  }();
  return *shipped;
}

bool isKnownAnswer(const std::u16string& key) {
  for (const std::u16string& language : filter().languages()) {
    if (key == language) return true;
  }
  return key == u"RU" || key == u"AR" || key == u"HE" || key == u"EL" || key == u"**";
}

// The lines of the text as word lists, keys "L0", "L1", ...
void checkListsOfLines(const std::u16string& text) {
  std::vector<std::u16string> keys;
  std::vector<std::vector<std::u16string>> lists;
  for (std::size_t start = 0; start <= text.size() && keys.size() < 8;) {
    const std::size_t end = std::min(text.find(u'\n', start), text.size());
    keys.push_back(u"L" + std::u16string(1, static_cast<char16_t>(u'0' + keys.size())));
    lists.push_back(orvel::wordsUsingDefaultSeparation(text.substr(start, end - start)));
    start = end + 1;
  }
  const orvel::LanguageFilter own(keys, lists, false);
  for (std::size_t k = 0; k < keys.size(); ++k) {
    std::vector<std::u16string> expected;
    for (const std::u16string& word : lists[k]) {
      if (word.size() >= 3 && word.find_first_of(u"'.") == std::u16string::npos) {
        expected.push_back(word);
      }
    }
    std::sort(expected.begin(), expected.end());
    expected.erase(std::unique(expected.begin(), expected.end()), expected.end());
    ORVEL_FUZZ_CHECK(own.stopWordsOfLanguage(k) == expected);
  }
  static_cast<void>(own.languageOfText(text));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::u16string text = orvel::fuzz::unitsOf(orvel::fuzz::bytesOf(data, size));
  checkListsOfLines(text);
  const auto key = filter().languageOfText(text);
  if (key) ORVEL_FUZZ_CHECK(isKnownAnswer(*key));
  ORVEL_FUZZ_CHECK(filter().ISOLanguageCodeOfText(text) ==
                   orvel::LanguageFilter::ISOCodeForLanguage(key));
  const double ratio = filter().stopWordRatioOfText(text);
  ORVEL_FUZZ_CHECK(std::isfinite(ratio) && ratio >= 0);
  if (key) {
    filter().setLanguage(*key);
    ORVEL_FUZZ_CHECK(!filter().filterText(text));
  }
  return 0;
}
