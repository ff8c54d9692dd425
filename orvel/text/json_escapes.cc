#include "orvel/text/json_escapes.h"

namespace orvel {
namespace {

const char16_t* escapeFor(char16_t c) {
  switch (c) {
    case u'\b': return u"\\b";
    case u'\t': return u"\\t";
    case u'\n': return u"\\n";
    case u'\f': return u"\\f";
    case u'\r': return u"\\r";
    case u'"': return u"\\\"";
    case u'/': return u"\\/";
    case u'\\': return u"\\\\";
    default: return nullptr;
  }
}

unsigned hexValue(char16_t c) {
  if (c >= u'0' && c <= u'9') return c - u'0';
  if (c >= u'a' && c <= u'f') return c - u'a' + 10;
  if (c >= u'A' && c <= u'F') return c - u'A' + 10;
  return 0;
}

// Reads up to `digits` units at position i as hexadecimal, most significant first, and
// advances i past them; the digits missing at the end of the text count as trailing zeros.
char16_t readHex(std::u16string_view string, std::size_t& i, int digits) {
  unsigned value = 0;
  for (int k = 0; k < digits; ++k) {
    value <<= 4;
    if (i < string.size()) value |= hexValue(string[i++]);
  }
  return static_cast<char16_t>(value);
}

std::u16string unescape(std::u16string_view string, bool javaScript) {
  std::u16string out;
  out.reserve(string.size());
  std::size_t i = 0;
  while (i < string.size()) {
    const std::size_t backslash = string.find(u'\\', i);
    if (backslash == std::u16string_view::npos || backslash + 1 == string.size()) {
      out.append(string.substr(i));
      break;
    }
    out.append(string.substr(i, backslash - i));
    const char16_t c = string[backslash + 1];
    i = backslash + 2;
    switch (c) {
      case u'b': out.push_back(u'\b'); break;
      case u'f': out.push_back(u'\f'); break;
      case u'n': out.push_back(u'\n'); break;
      case u'r': out.push_back(u'\r'); break;
      case u't': out.push_back(u'\t'); break;
      case u'u': out.push_back(readHex(string, i, 4)); break;
      case u'v': out.push_back(javaScript ? u'\v' : c); break;
      case u'x': out.push_back(javaScript ? readHex(string, i, 2) : c); break;
      case u'O': out.push_back(javaScript ? u'\0' : c); break;
      default: out.push_back(c); break;
    }
  }
  return out;
}

}  // namespace

std::u16string stringByConvertingCharactersToJSON(std::u16string_view string) {
  std::u16string out;
  out.reserve(string.size());
  std::size_t runStart = 0;
  for (std::size_t i = 0; i < string.size(); ++i) {
    if (const char16_t* escape = escapeFor(string[i])) {
      out.append(string.substr(runStart, i - runStart));
      out.append(escape);
      runStart = i + 1;
    }
  }
  out.append(string.substr(runStart));
  return out;
}

std::u16string stringByConvertingJSONToCharacters(std::u16string_view string) {
  return unescape(string, false);
}

std::u16string stringByConvertingJavaScriptToCharacters(std::u16string_view string) {
  return unescape(string, true);
}

}  // namespace orvel
