// Language identification of any text with the shipped lists: the answer is a language
// key or a script's, the ISO code agrees with it, the ratio is a finite number not below 0,
// and filtering against the answer itself never filters the text out.
#include <cmath>
#include <cstdint>
#include <memory>
#include <string>

#include "orvel/search/language_filter.h"

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

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::u16string text = orvel::fuzz::unitsOf(orvel::fuzz::bytesOf(data, size));
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
