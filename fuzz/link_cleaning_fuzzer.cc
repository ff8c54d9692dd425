// Link cleaning and filtering over any text: a cleaned link is never empty and has no double
// quotes around it (nor white space, when it held no quotes, references or escapes), a URL made
// from it is ASCII, percent-escaping is ASCII and decodes back to a text that held no "%", and
// decoding escapes never lengthens a link.
#include <cstdint>
#include <string>

#include "orvel/text/character_sets.h"
#include "orvel/url/link_cleaning.h"
#include "orvel/url/url.h"

#include "fuzz/fuzz_support.h"

namespace {

bool isAscii(std::u16string_view text) {
  for (const char16_t unit : text) {
    if (unit >= 0x80) return false;
  }
  return true;
}

bool hasLoneSurrogate(std::u16string_view text) {
  for (std::size_t k = 0; k < text.size(); ++k) {
    const char16_t unit = text[k];
    if (unit >= 0xD800 && unit < 0xDC00) {
      if (k + 1 == text.size() || text[k + 1] < 0xDC00 || text[k + 1] >= 0xE000) return true;
      ++k;
    } else if (unit >= 0xDC00 && unit < 0xE000) {
      return true;
    }
  }
  return false;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::u16string link = orvel::fuzz::unitsOf(orvel::fuzz::bytesOf(data, size));
  const orvel::CharacterSetRep white = orvel::whiteCharacterSetRep();
  for (const bool decode : {false, true}) {
    const auto cleaned = orvel::normalizedStringURL(link, decode);
    if (!cleaned) continue;
    ORVEL_FUZZ_CHECK(!cleaned->empty());
    // White space is trimmed before quotes come off, so what stood inside quotes (written,
    // or made by a reference or an escape) stays.
    if (link.find_first_of(u"\"&%") == std::u16string::npos) {
      ORVEL_FUZZ_CHECK(!orvel::isMemberOfCharacterSetRep(white, cleaned->front()));
      ORVEL_FUZZ_CHECK(!orvel::isMemberOfCharacterSetRep(white, cleaned->back()));
    }
    ORVEL_FUZZ_CHECK(cleaned->size() < 2 || cleaned->front() != u'"' || cleaned->back() != u'"');
    if (const auto url = orvel::URL::URLWithNormalizedStringURL(*cleaned)) {
      ORVEL_FUZZ_CHECK(isAscii(url->absoluteString()) || url->isFileURL());
      static_cast<void>(url->isRemoteWebKitURL());
    }
  }
  static_cast<void>(orvel::normalizedRelLink(link));
  static_cast<void>(orvel::filterLink(link));
  static_cast<void>(orvel::isRemoteWebKitStringURL(link));
  std::u16string units = link;
  ORVEL_FUZZ_CHECK(orvel::convertPercentEscapesOfURL(units.data(), units.size()) <= link.size());
  if (const auto escaped = orvel::stringByAddingPercentEscapesToURL(link)) {
    ORVEL_FUZZ_CHECK(isAscii(*escaped));
    if (link.find(u'%') == std::u16string::npos && !hasLoneSurrogate(link)) {
      std::u16string back = *escaped;
      back.resize(orvel::convertPercentEscapesOfURL(back.data(), back.size()));
      ORVEL_FUZZ_CHECK(back == link);
    }
  } else {
    ORVEL_FUZZ_CHECK(hasLoneSurrogate(link));  // UTF-8 holds every other text
  }
  return 0;
}
