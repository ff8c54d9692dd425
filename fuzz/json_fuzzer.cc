// JSON and JavaScript string escapes of any text: unescaping what was escaped gives the
// text back (in both unescapers), and unescaping arbitrary input never fails.
#include <cstdint>

#include "orvel/text/json_escapes.h"

#include "fuzz/fuzz_support.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::u16string text = orvel::fuzz::unitsOf(orvel::fuzz::bytesOf(data, size));
  const std::u16string escaped = orvel::stringByConvertingCharactersToJSON(text);
  ORVEL_FUZZ_CHECK(orvel::stringByConvertingJSONToCharacters(escaped) == text);
  ORVEL_FUZZ_CHECK(orvel::stringByConvertingJavaScriptToCharacters(escaped) == text);
  static_cast<void>(orvel::stringByConvertingJSONToCharacters(text));
  static_cast<void>(orvel::stringByConvertingJavaScriptToCharacters(text));
  return 0;
}
