// Charset names: any text gives an encoding number or the invalid one, the Foundation form
// agrees with the CoreFoundation one, and reduction makes spelling irrelevant: the name
// with its punctuation doubled and its case changed gives the same number.
#include <cstdint>
#include <string>

#include "orvel/base/log.h"
#include "orvel/markup/charsets.h"

#include "fuzz/fuzz_support.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const bool quiet = (orvel::setLogSink([](std::string_view) {}), true);
  static_cast<void>(quiet);
  const std::u16string name = orvel::fuzz::unitsOf(orvel::fuzz::bytesOf(data, size));
  const orvel::CFStringEncoding encoding = orvel::charset2CFStringEncoding(name);
  const orvel::NSStringEncoding foundation = orvel::charset2NSStringEncoding(name);
  if (encoding == orvel::kCFStringEncodingInvalidId) {
    ORVEL_FUZZ_CHECK(foundation == orvel::kNSStringEncodingInvalid);
  }
  std::u16string respelled;
  for (const char16_t c : name) {
    respelled += (c >= u'a' && c <= u'z') ? static_cast<char16_t>(c - 0x20) : c;
    if (c == u'-' || c == u'_') respelled += u'.';
  }
  ORVEL_FUZZ_CHECK(orvel::charset2CFStringEncoding(respelled) == encoding);
  return 0;
}
