// Reading a web page from any bytes, with the first line as an HTTP Content-Type value:
// the read never fails, UTF-8 is taken only when the bytes are valid UTF-8 (and then gives
// exactly their text), and the Windows Latin 1 fallback gives one unit per byte.
#include <cstdint>
#include <string>

#include "orvel/base/utf8.h"
#include "orvel/markup/web_page.h"

#include "fuzz/fuzz_support.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto [contentType, bytes] = orvel::fuzz::splitFirstLine(orvel::fuzz::bytesOf(data, size));
  for (const std::string_view header : {std::string_view(), contentType}) {
    const orvel::WebPage page = orvel::readWebPage(bytes, header);
    ORVEL_FUZZ_CHECK(page.text.size() <= 2 * bytes.size() + 2);
    if (page.source == orvel::PageEncodingSource::kValidUtf8) {
      ORVEL_FUZZ_CHECK(orvel::utf8ToUtf16(bytes) == page.text);
    }
    if (page.source == orvel::PageEncodingSource::kWindowsLatin1) {
      ORVEL_FUZZ_CHECK(page.text.size() == bytes.size());
    }
  }
  return 0;
}
