// Entity references both ways over any text: decoding never writes more than it reads and
// keeps its promises, and decoding what was encoded gives the text back.
#include <cstdint>
#include <string>

#include "orvel/markup/entities.h"

#include "fuzz/fuzz_support.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::u16string text = orvel::fuzz::unitsOf(orvel::fuzz::bytesOf(data, size));
  for (unsigned options = 0; options < 8; ++options) {
    const std::u16string decoded =
        orvel::stringByConvertingEntitiesToCharacters(text, options & 1, options & 2, options & 4);
    ORVEL_FUZZ_CHECK(decoded.size() <= text.size());
  }
  static_cast<void>(orvel::stringByConvertingStandardEntitiesToCharacters(text));
  const std::u16string encoded = orvel::stringByConvertingCharactersToEntities(
      orvel::stringByConvertingCharactersToStandardEntities(text));
  for (const char16_t unit : encoded) ORVEL_FUZZ_CHECK(unit < 128);
  ORVEL_FUZZ_CHECK(orvel::stringByConvertingEntitiesToCharacters(encoded) == text);
  for (const char16_t unit : orvel::stringByConvertingHighCharactersToEntities(text)) {
    ORVEL_FUZZ_CHECK(unit < 128);
  }
  return 0;
}
