#include "orvel/markup/markup_charset.h"

#include "orvel/markup/charsets.h"
#include "orvel/markup/entities.h"
#include "orvel/markup/internal/tag_names.h"
#include "orvel/markup/tag_attributes.h"
#include "orvel/markup/tag_scanner.h"
#include "orvel/text/encoding_converters.h"
#include "orvel/text/integer_value.h"

namespace orvel {
namespace {

struct Declaration {
  std::u16string charset;
  Range tag = Range::notFound();
};

// Stops at the body, or at the tag that declares the charset.
bool retrieveEncoding(std::u16string_view, const unichar* characters, std::size_t nameStart,
                      std::size_t nameLength, std::size_t tagStart, std::size_t tagLength,
                      std::size_t, int kind, void* context) {
  if (kind != kTagKindTag) return false;
  auto* declaration = static_cast<Declaration*>(context);
  const Range tag{tagStart, tagLength};
  const auto declare = [&](std::u16string charset) {
    declaration->charset = std::move(charset);
    declaration->tag = tag;
    return true;
  };
  if (internal::tagNameIs(characters, nameStart, nameLength, "BODY")) return true;
  if (internal::tagNameIs(characters, nameStart, nameLength, "META") &&
      characters[tagStart + 1] != u'/') {
    if (const auto content = contentAttributeOfTagCharacters(characters, tag)) {
      if (const auto charset = _copyOfAttributeOfString(*content, "CHARSET", u'\'', true, u';')) {
        return declare(stringByConvertingEntitiesToCharacters(*charset));
      }
    }
    if (const auto charset = attributeOfTagCharacters(characters, tag, "CHARSET")) {
      return declare(stringByConvertingEntitiesToCharacters(*charset));
    }
    return false;
  }
  if (internal::tagNameIs(characters, nameStart, nameLength, "XML") &&
      characters[tagStart + 1] == u'?') {
    if (auto encoding = attributeOfTagCharacters(characters, tag, "ENCODING")) {
      return declare(std::move(*encoding));
    }
    return true;
  }
  return false;
}

Declaration declarationOf(std::u16string_view markup) {
  Declaration declaration;
  GetTagsOfString(markup, retrieveEncoding, &declaration, false);
  return declaration;
}

}  // namespace

std::u16string markupCharset(std::u16string_view markup) { return declarationOf(markup).charset; }

Range markupCharsetRange(std::u16string_view markup) { return declarationOf(markup).tag; }

NSStringEncoding markupEncoding(std::u16string_view markup) {
  return charset2NSStringEncoding(markupCharset(markup));
}

NSStringEncoding defaultURLEncoding(std::u16string_view markup) {
  return markupEncoding(markup) == NSISOLatin1StringEncoding ? NSISOLatin1StringEncoding
                                                             : NSUTF8StringEncoding;
}

std::vector<std::uint8_t> markupData(std::u16string_view markup, NSStringEncoding* encoding) {
  NSStringEncoding used = NSASCIIStringEncoding;
  std::optional<std::vector<std::uint8_t>> bytes;
  if (!markup.empty()) {
    const NSStringEncoding declared = markupEncoding(markup);
    if (declared != kNSStringEncodingInvalid) {
      bytes = encodeString(markup, cfStringEncodingFromNSStringEncoding(declared));
      if (bytes) used = declared;
    }
    if (!bytes)
      bytes = encodeString(stringByConvertingCharactersToEntities(markup), kCFStringEncodingASCII);
  }
  if (encoding != nullptr) *encoding = used;
  return bytes.value_or(std::vector<std::uint8_t>());
}

std::optional<std::u16string> headerFieldNamed(std::u16string_view header, std::string_view name,
                                               char16_t quote, char16_t separator) {
  if (name.empty()) return std::nullopt;
  return _copyOfAttributeOfString(header, name, quote, false, separator);
}

std::optional<std::u16string> HTTPHeaderFieldNamed(std::u16string_view header,
                                                   std::string_view name) {
  return headerFieldNamed(header, name, u'"', u',');
}

std::optional<std::u16string> headerCharset(std::u16string_view header) {
  return _copyOfAttributeOfString(header, "CHARSET", u'\'', true, u';');
}

NSStringEncoding headerEncoding(std::u16string_view header) {
  return charset2NSStringEncoding(headerCharset(header));
}

std::optional<std::u16string> headerRefresh(std::u16string_view header) {
  return _copyOfAttributeOfString(header, "URL", u'\'', true, 0);
}

std::ptrdiff_t refreshInterval(std::u16string_view refresh) { return integerValue(refresh); }

}  // namespace orvel
