// HTML to plain text over any text, in every public form and with options drawn from the
// first byte: the output stays within the buffer it is given, ends in no white space, and
// with junk removal holds no line over the junk limit. A text without markup or references
// comes out as its words, each run of white space one space.
#include <cstdint>
#include <string>

#include "orvel/markup/html_to_text.h"
#include "orvel/text/character_sets.h"

#include "fuzz/fuzz_support.h"

namespace {

bool isWhite(char16_t unit) {
  return orvel::isMemberOfCharacterSetRep(orvel::whiteCharacterSetRep(), unit);
}

void checkOutput(const std::u16string& input, const std::u16string& output, bool removeJunk) {
  ORVEL_FUZZ_CHECK(output.size() <= 8 * input.size());
  if (output == input) return;  // nothing to convert: the input as it was
  ORVEL_FUZZ_CHECK(output.empty() || !isWhite(output.back()));
  if (!removeJunk) return;
  std::size_t line = 0;
  for (const char16_t unit : output) {
    line = unit == u'\n' ? 0 : line + 1;
    ORVEL_FUZZ_CHECK(line <= 20000);
  }
}

// The words of a text without markup, as the conversion writes them.
std::u16string collapsed(const std::u16string& text) {
  std::u16string words;
  for (std::size_t k = 0; k < text.size(); ++k) {
    if (!isWhite(text[k])) {
      words += text[k];
    } else if (!words.empty() && !isWhite(words.back())) {
      words += u' ';
    }
  }
  while (!words.empty() && isWhite(words.back())) words.pop_back();
  return words;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  const unsigned flags = data[0];
  const std::u16string text = orvel::fuzz::unitsOf(orvel::fuzz::bytesOf(data + 1, size - 1));
  const orvel::Html2TextOptions options{.simplified = false,
                                        .entities = (flags & 1) != 0,
                                        .stdEntities = (flags & 2) != 0,
                                        .nonUmlauted = (flags & 4) != 0,
                                        .reformat = (flags & 8) != 0,
                                        .onlyBody = (flags & 16) != 0,
                                        .removeJunk = (flags & 32) != 0,
                                        .googleTags = (flags & 64) != 0,
                                        .imageAlts = (flags & 128) != 0};
  bool junk = false;
  checkOutput(text, orvel::convertHtml2PlainText(text, options, &junk), options.removeJunk);
  const std::u16string plain = orvel::stringByConvertingHtml2PlainText(text);
  checkOutput(text, plain, false);
  checkOutput(text, orvel::stringByConvertingHtml2ReformattedPlainText(text), false);
  checkOutput(text, orvel::stringByConvertingHtml2PlainTextNonUmlauted(text, true), false);
  const std::u16string simple = orvel::stringByConvertingHtml2SimplifiedPlainText(text);
  ORVEL_FUZZ_CHECK(simple.size() <= 2 * text.size() + 1);
  if (text.find_first_of(u"<&") == std::u16string::npos && !text.empty()) {
    ORVEL_FUZZ_CHECK(plain == collapsed(text));
  }
  return 0;
}
