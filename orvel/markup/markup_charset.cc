#include "orvel/markup/markup_charset.h"

#include "orvel/markup/charsets.h"
#include "orvel/markup/entities.h"
#include "orvel/markup/tag_attributes.h"
#include "orvel/markup/tag_scanner.h"
#include "orvel/text/conversion_tables.h"

namespace orvel {
namespace {

struct Declaration {
  std::u16string charset;
  Range tag = Range::notFound();
};

bool nameIs(const unichar* characters, std::size_t start, std::size_t length,
            std::u16string_view upperName) {
  if (start == NSNotFound || length != upperName.size()) return false;
  const ConversionTable upper = initUpperCharsTable();
  for (std::size_t k = 0; k < length; ++k) {
    if (upper[characters[start + k]] != upperName[k]) return false;
  }
  return true;
}

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
  if (nameIs(characters, nameStart, nameLength, u"BODY")) return true;
  if (nameIs(characters, nameStart, nameLength, u"META") && characters[tagStart + 1] != u'/') {
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
  if (nameIs(characters, nameStart, nameLength, u"XML") && characters[tagStart + 1] == u'?') {
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

}  // namespace orvel
