// The charset a page declares in its markup (before its body: a meta tag's content
// `charset=` field or its `charset` attribute, or the XML declaration's `encoding`), and
// the fields of HTTP-style header values (`text/html; charset=utf-8`).
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "orvel/base/range.h"
#include "orvel/text/cf_encodings.h"

namespace orvel {

// The declared charset, entities decoded (those of the XML declaration as written); empty
// when nothing is declared before the body.
[[nodiscard]] std::u16string markupCharset(std::u16string_view markup);
// The range of the declaring tag, (NSNotFound, 0) when there is none.
[[nodiscard]] Range markupCharsetRange(std::u16string_view markup);
// charset2NSStringEncoding of the declared charset.
[[nodiscard]] NSStringEncoding markupEncoding(std::u16string_view markup);

// ISO Latin-1 when the markup declares it, else UTF-8: the encoding of its URLs' escapes.
[[nodiscard]] NSStringEncoding defaultURLEncoding(std::u16string_view markup);

// The markup as bytes to save: in the encoding it declares, reported through *encoding;
// when it declares none that can be had, or that encoding cannot hold every character, as
// ASCII with every other character written as an entity reference, reporting ASCII.
[[nodiscard]] std::vector<std::uint8_t> markupData(std::u16string_view markup,
                                                   NSStringEncoding* encoding = nullptr);

// The value of a header field (the name in upper case) in header mode: it starts right
// after "=", and runs to the quote when it starts with one, else to the separator (0: the
// end). Nullopt for an empty name or none found.
[[nodiscard]] std::optional<std::u16string> headerFieldNamed(std::u16string_view header,
                                                             std::string_view name,
                                                             char16_t quote = u'\'',
                                                             char16_t separator = u';');
// With the double quote and the comma, as HTTP writes fields.
[[nodiscard]] std::optional<std::u16string> HTTPHeaderFieldNamed(std::u16string_view header,
                                                                 std::string_view name);
// The `charset=` field of a content-type value, its encoding, and the `url=` field of a
// refresh value.
[[nodiscard]] std::optional<std::u16string> headerCharset(std::u16string_view header);
[[nodiscard]] NSStringEncoding headerEncoding(std::u16string_view header);
[[nodiscard]] std::optional<std::u16string> headerRefresh(std::u16string_view header);
// The seconds of a refresh value ("5; url=next.html").
[[nodiscard]] std::ptrdiff_t refreshInterval(std::u16string_view refresh);

}  // namespace orvel
