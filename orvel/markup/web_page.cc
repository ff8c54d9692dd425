#include "orvel/markup/web_page.h"

#include <algorithm>
#include <optional>

#include "orvel/base/utf8.h"
#include "orvel/markup/charsets.h"
#include "orvel/markup/markup_charset.h"
#include "orvel/text/encoding_converters.h"

namespace orvel {
namespace {

// Pages declare their charset in the head; a declaration further in is not looked for.
constexpr std::size_t kDeclarationWindowBytes = 64 * 1024;

struct Mark {
  std::string_view bytes;
  CFStringEncoding encoding;
};

// Longest first: the UTF-32LE mark begins with the UTF-16LE one.
constexpr Mark kByteOrderMarks[] = {
    {std::string_view("\xFF\xFE\x00\x00", 4), kCFStringEncodingUTF32LE},
    {std::string_view("\x00\x00\xFE\xFF", 4), kCFStringEncodingUTF32BE},
    {"\xEF\xBB\xBF", kCFStringEncodingUTF8},
    {"\xFF\xFE", kCFStringEncodingUTF16LE},
    {"\xFE\xFF", kCFStringEncodingUTF16BE},
};

bool isUnicodeFamily(CFStringEncoding encoding) {
  return encoding == kCFStringEncodingUnicode || encoding == kCFStringEncodingUTF16BE ||
         encoding == kCFStringEncodingUTF16LE || encoding == kCFStringEncodingUTF32 ||
         encoding == kCFStringEncodingUTF32BE || encoding == kCFStringEncodingUTF32LE;
}

std::u16string widenedLatin1(std::string_view bytes) {
  std::u16string text(bytes.size(), u'\0');
  for (std::size_t k = 0; k < bytes.size(); ++k) {
    text[k] = static_cast<unsigned char>(bytes[k]);
  }
  return text;
}

// How much of the page to read for a declaration, which stands before the body: none when
// the first 64 KB hold neither "charset" nor "encoding" (in any case) before a "<body",
// else through the last of them and the rest of its tag. Most pages are thus read without
// scanning their head twice.
std::size_t declarationWindowEnd(std::string_view bytes) {
  const std::string_view window = bytes.substr(0, kDeclarationWindowBytes);
  std::size_t body = window.size();
  for (std::size_t at = window.find('<'); at != std::string_view::npos && at + 5 <= body;
       at = window.find('<', at + 1)) {
    if ((window[at + 1] | 0x20) == 'b' && (window[at + 2] | 0x20) == 'o' &&
        (window[at + 3] | 0x20) == 'd' && (window[at + 4] | 0x20) == 'y') {
      body = at;
    }
  }
  std::string head(window.substr(0, body));
  for (char& c : head) c = static_cast<char>(c | 0x20);  // ASCII letters to lower case
  std::size_t last = std::string::npos;
  for (const std::string_view word : {"charset", "encoding"}) {
    for (std::size_t at = head.find(word); at != std::string::npos; at = head.find(word, at + 1)) {
      if (last == std::string::npos || at > last) last = at;
    }
  }
  if (last == std::string::npos) return 0;
  const std::size_t tagEnd = head.find('>', last);
  return tagEnd == std::string::npos ? head.size() : tagEnd + 1;
}

// The text in `encoding`, or nullopt when there is no converter for it.
std::optional<std::u16string> decoded(std::string_view bytes, CFStringEncoding encoding) {
  if (encoding == kCFStringEncodingUTF8) return utf8ToUtf16Lenient(bytes);
  return decodeStringLeniently(bytes, encoding);
}

// A declared charset's encoding, when it can be read here.
std::optional<CFStringEncoding> usableEncoding(std::u16string_view charset) {
  if (charset.empty()) return std::nullopt;
  CFStringEncoding encoding = charset2CFStringEncoding(charset);
  if (isUnicodeFamily(encoding)) encoding = kCFStringEncodingUTF8;
  if (icuConverterNameForCFStringEncoding(encoding) == nullptr) return std::nullopt;
  return encoding;
}

bool tryDeclared(WebPage& page, std::string_view bytes, std::u16string charset,
                 PageEncodingSource source) {
  if (charset.empty()) return false;
  page.declaredCharset = std::move(charset);
  const auto encoding = usableEncoding(page.declaredCharset);
  if (!encoding) return false;
  auto text = decoded(bytes, *encoding);
  if (!text) return false;
  page.text = std::move(*text);
  page.encoding = *encoding;
  page.source = source;
  return true;
}

bool tryByteOrderMark(WebPage& page, std::string_view bytes) {
  for (const Mark& mark : kByteOrderMarks) {
    if (!bytes.starts_with(mark.bytes)) continue;
    if (auto text = decoded(bytes.substr(mark.bytes.size()), mark.encoding)) {
      page.text = std::move(*text);
      page.encoding = mark.encoding;
      page.source = PageEncodingSource::kByteOrderMark;
      return true;
    }
  }
  const bool littleEndian = bytes.starts_with(std::string_view("<\0", 2));
  if (littleEndian || bytes.starts_with(std::string_view("\0<", 2))) {
    page.encoding = littleEndian ? kCFStringEncodingUTF16LE : kCFStringEncodingUTF16BE;
    page.text = decoded(bytes, page.encoding).value_or(std::u16string());
    page.source = PageEncodingSource::kUtf16Markup;
    return true;
  }
  return false;
}

}  // namespace

WebPage readWebPage(std::string_view bytes, std::string_view contentType) {
  WebPage page;
  if (tryByteOrderMark(page, bytes)) return page;
  if (!contentType.empty() &&
      tryDeclared(page, bytes, headerCharset(widenedLatin1(contentType)).value_or(u""),
                  PageEncodingSource::kHttpHeader)) {
    return page;
  }
  if (const std::size_t end = declarationWindowEnd(bytes);
      end > 0 && tryDeclared(page, bytes, markupCharset(widenedLatin1(bytes.substr(0, end))),
                             PageEncodingSource::kMarkup)) {
    return page;
  }
  if (auto text = utf8ToUtf16(bytes)) {
    page.text = std::move(*text);
    page.encoding = kCFStringEncodingUTF8;
    page.source = PageEncodingSource::kValidUtf8;
    return page;
  }
  page.text = decoded(bytes, kCFStringEncodingWindowsLatin1).value_or(widenedLatin1(bytes));
  page.encoding = kCFStringEncodingWindowsLatin1;
  page.source = PageEncodingSource::kWindowsLatin1;
  return page;
}

std::string_view describePageEncodingSource(PageEncodingSource source) {
  switch (source) {
    case PageEncodingSource::kByteOrderMark: return "byte-order mark";
    case PageEncodingSource::kUtf16Markup: return "UTF-16 markup without a byte-order mark";
    case PageEncodingSource::kHttpHeader: return "HTTP header";
    case PageEncodingSource::kMarkup: return "declared in the markup";
    case PageEncodingSource::kValidUtf8: return "valid UTF-8";
    case PageEncodingSource::kWindowsLatin1: break;
  }
  return "Windows Latin 1 (nothing else fits)";
}

}  // namespace orvel
