// UTF-8 decoding of any bytes: validation and decoding agree on the answer and on the
// offset of the first bad sequence, valid input survives the round trip, and the lenient
// decoding (ASCII runs widened apart from the rest) equals ICU's over the whole input.
#include <cstdint>
#include <string>

#include <unicode/ustring.h>

#include "fuzz/fuzz_support.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view bytes = orvel::fuzz::bytesOf(data, size);
  std::size_t decodedOffset = 0, validatedOffset = 0;
  std::u16string whole(size, u'\0');
  int32_t units = 0;
  UErrorCode status = U_ZERO_ERROR;
  u_strFromUTF8WithSub(reinterpret_cast<UChar*>(whole.data()), static_cast<int32_t>(size), &units,
                       bytes.data(), static_cast<int32_t>(size), 0xFFFD, nullptr, &status);
  whole.resize(U_SUCCESS(status) ? static_cast<std::size_t>(units) : 0);
  ORVEL_FUZZ_CHECK(orvel::utf8ToUtf16Lenient(bytes) == whole);
  const auto text = orvel::utf8ToUtf16(bytes, &decodedOffset);
  ORVEL_FUZZ_CHECK(orvel::isValidUtf8(bytes, &validatedOffset) == text.has_value());
  if (!text) {
    ORVEL_FUZZ_CHECK(validatedOffset == decodedOffset && decodedOffset < size);
    // Everything before the bad sequence decodes.
    ORVEL_FUZZ_CHECK(orvel::utf8ToUtf16(bytes.substr(0, decodedOffset)).has_value());
    return 0;
  }
  ORVEL_FUZZ_CHECK(text->size() <= size);
  ORVEL_FUZZ_CHECK(orvel::utf16ToUtf8(*text) == bytes);
  return 0;
}
