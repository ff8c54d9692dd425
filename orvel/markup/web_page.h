// Reading a saved web page: its bytes to UTF-16 text, in the encoding the page is in.
//
// The encoding is decided in this order: a byte-order mark (UTF-8, UTF-16 or UTF-32); a
// page in UTF-16 without one (its first unit is "<"); the charset of the HTTP
// Content-Type value, when one is given; the charset the markup declares (a meta tag or
// the XML declaration in its first 64 KB); UTF-8 when the bytes are well-formed UTF-8;
// else Windows Latin 1. A declared name that is unknown, or names an encoding without a
// converter, is passed over; one that names UTF-16 or UTF-32 in a page readable as ASCII
// is read as UTF-8, as browsers do. Bytes invalid in the chosen encoding never fail the
// read: each bad sequence becomes U+FFFD.
#pragma once

#include <string>
#include <string_view>

#include "orvel/text/cf_encodings.h"

namespace orvel {

enum class PageEncodingSource {
  kByteOrderMark,
  kUtf16Markup,  // no mark, but the first unit is "<" in UTF-16
  kHttpHeader,
  kMarkup,
  kValidUtf8,
  kWindowsLatin1,  // the fallback
};

struct WebPage {
  std::u16string text;
  CFStringEncoding encoding = kCFStringEncodingInvalidId;
  PageEncodingSource source = PageEncodingSource::kWindowsLatin1;
  // The charset named by the header or the markup (empty when neither names one), also
  // when it was passed over.
  std::u16string declaredCharset;
};

// contentType: an HTTP Content-Type value such as "text/html; charset=windows-1251", or
// empty.
[[nodiscard]] WebPage readWebPage(std::string_view bytes, std::string_view contentType = {});

// Just the text.
[[nodiscard]] inline std::u16string webPageText(std::string_view bytes,
                                                std::string_view contentType = {}) {
  return readWebPage(bytes, contentType).text;
}

// What each source is called in messages and in `orvel html charset`.
[[nodiscard]] std::string_view describePageEncodingSource(PageEncodingSource source);

}  // namespace orvel
