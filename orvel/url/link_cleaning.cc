#include "orvel/url/link_cleaning.h"

#include <algorithm>
#include <atomic>
#include <initializer_list>

#include "orvel/base/utf8.h"
#include "orvel/markup/entities.h"
#include "orvel/text/character_sets.h"
#include "orvel/text/encoding_converters.h"

namespace orvel {
namespace {

std::atomic<bool> gFileTransferSchemes{true};

// Whether the link starts with `prefix` (lower-case ASCII) in any case.
bool startsWithNoCase(std::u16string_view link, std::string_view prefix) {
  if (link.size() < prefix.size()) return false;
  for (std::size_t k = 0; k < prefix.size(); ++k) {
    unichar c = link[k];
    if (c >= u'A' && c <= u'Z') c += u'a' - u'A';
    if (c != static_cast<unichar>(prefix[k])) return false;
  }
  return true;
}

bool startsWithAnyNoCase(std::u16string_view link, std::initializer_list<std::string_view> list) {
  return std::any_of(list.begin(), list.end(),
                     [&](std::string_view prefix) { return startsWithNoCase(link, prefix); });
}

bool isDroppedUnit(unichar c) {
  switch (c) {
    case 0x0003:
    case 0x0009:
    case 0x000A:
    case 0x000C:
    case 0x000D:
    case 0xFFFC:
    case 0x2028:
    case 0x2029:
    case 0xFEFF: return true;
    default: return false;
  }
}

int hexValue(unichar c) {
  if (c >= u'0' && c <= u'9') return c - u'0';
  if (c >= u'a' && c <= u'f') return c - u'a' + 10;
  if (c >= u'A' && c <= u'F') return c - u'A' + 10;
  return -1;
}

// The value of the escape "%XY" at k, or -1.
int escapeAt(const unichar* units, std::size_t length, std::size_t k) {
  if (k + 3 > length || units[k] != u'%') return -1;
  const int high = hexValue(units[k + 1]), low = hexValue(units[k + 2]);
  return high < 0 || low < 0 ? -1 : high * 16 + low;
}

// Escapes of characters that end links by mistake: tab, line breaks, space, quotes, ">",
// backslash and "]".
bool isJunkEscape(int value) {
  switch (value) {
    case 0x09:
    case 0x0A:
    case 0x0D:
    case 0x20:
    case 0x22:
    case 0x27:
    case 0x3E:
    case 0x5C:
    case 0x5D: return true;
    default: return false;
  }
}

// The units kept by the filter, and what it noticed on the way.
struct Filtered {
  std::u16string units;
  bool backslash = false;
  bool question = false;
  bool visible = false;  // a unit outside the white set
};

Filtered filtered(std::u16string_view link) {
  Filtered f;
  f.units.reserve(link.size());
  const CharacterSetRep white = whiteCharacterSetRep();
  for (const unichar c : link) {
    if (isDroppedUnit(c)) continue;
    f.units += c;
    f.backslash |= c == u'\\';
    f.question |= c == u'?';
    f.visible |= !isMemberOfCharacterSetRep(white, c);
  }
  return f;
}

// Escaped quotes around the whole link (\"...\"), as scripts write them, come off; a path
// written with backslashes gets slashes, unless a query may hold them on purpose.
void undoScriptEscapes(std::u16string& units, bool hasQuery) {
  while (units.size() >= 4 && units.starts_with(u"\\\"") && units.ends_with(u"\\\"")) {
    units = units.substr(2, units.size() - 4);
  }
  if (!hasQuery) std::replace(units.begin(), units.end(), u'\\', u'/');
}

void cutJunkEscapes(std::u16string& units) {
  while (units.size() >= 3 &&
         isJunkEscape(escapeAt(units.data(), units.size(), units.size() - 3))) {
    units.resize(units.size() - 3);
  }
}

}  // namespace

std::optional<std::u16string> normalizedStringURL(std::u16string_view link,
                                                  bool decodePercentEscapes) {
  if (link.empty()) return std::nullopt;
  Filtered f = filtered(link);
  if (!f.visible) return std::nullopt;
  std::u16string& units = f.units;
  if (f.backslash) undoScriptEscapes(units, f.question);
  if (units.size() >= 4) {
    units.resize(
        convertEntities2Characters(units.data(), units.data(), 0, units.size(), true, true, false));
  }
  cutJunkEscapes(units);
  if (units.empty()) return std::nullopt;
  if (decodePercentEscapes) {
    units.resize(convertPercentEscapesOfURL(units.data(), units.size()));
    if (units.empty()) return std::nullopt;
  }
  const CharacterSetRep white = whiteCharacterSetRep();
  const auto isWhite = [white](unichar c) { return isMemberOfCharacterSetRep(white, c); };
  const auto first = std::find_if_not(units.begin(), units.end(), isWhite);
  const auto last = std::find_if_not(units.rbegin(), units.rend(), isWhite).base();
  if (first >= last) return std::nullopt;
  std::u16string_view result(&*first, static_cast<std::size_t>(last - first));
  while (result.size() >= 2 && result.front() == u'"' && result.back() == u'"') {
    if (result.size() == 2) return std::nullopt;
    result = result.substr(1, result.size() - 2);
  }
  return std::u16string(result);
}

std::optional<std::u16string> normalizedRelLink(std::u16string_view link) {
  auto normalized = normalizedStringURL(link, false);
  if (!normalized) return std::nullopt;
  if (normalized->front() == u'.' || normalized->front() == u'/' ||
      normalized->find(u"://") != std::u16string::npos) {
    return normalized;
  }
  return u"/" + *normalized;
}

bool filterLink(std::u16string_view link) {
  if (link.empty()) return false;
  if (link.size() == 1) {
    return link[0] == u'#' || link[0] == u'&' || link[0] == u'-' || link[0] == u':';
  }
  const auto inScheme = [](unichar c) {
    const unichar lower = c | 0x20;
    return (lower >= u'a' && lower <= u'z') || c == u'-';
  };
  std::size_t k = 0;
  while (k < link.size() && inScheme(link[k])) ++k;
  if (k == link.size() || link[k] != u':' || k == 0) return false;
  if (k + 1 == link.size() || link[k + 1] != u'/') return !isFeedStringURL(link);
  switch (k) {
    case 3:
      if (startsWithAnyNoCase(link, {"irc:", "icq:", "aim:"})) return true;
      break;
    case 4:
      if (isDataStringURL(link) || startsWithNoCase(link, "rdar:")) return true;
      break;
    case 5:
      if (isAboutStringURL(link) || startsWithAnyNoCase(link, {"ymsgr:", "sword:"})) return true;
      break;
    case 6:
      if (startsWithAnyNoCase(link, {"webcal:", "callto:"})) return true;
      break;
    case 8:
      if (startsWithNoCase(link, "sherlock:")) return true;
      break;
    case 10:
      if (isJavaScriptStringURL(link) || startsWithNoCase(link, "x-man-page:")) return true;
      break;
    case 11:
      if (isAppleScriptStringURL(link)) return true;
      break;
    case 12:
      if (startsWithNoCase(link, "orveladdress:")) return true;
      break;
    default: break;
  }
  // The library's own private schemes are never followed.
  return k + 1 >= 8 && startsWithNoCase(link, "x-orvel");
}

bool isRemoteWebKitStringURL(std::u16string_view link) {
  if (link.size() < 5) return false;
  if (fileTransferSchemesEnabled()) {
    return startsWithAnyNoCase(
        link, {"http://", "https://", "feed://", "ftp://", "ftps://", "sftp://", "www.", "ftp."});
  }
  return startsWithAnyNoCase(link, {"http://", "https://", "feed://", "www."});
}

bool fileTransferSchemesEnabled() { return gFileTransferSchemes.load(std::memory_order_relaxed); }

void setFileTransferSchemesEnabled(bool enabled) {
  gFileTransferSchemes.store(enabled, std::memory_order_relaxed);
}

bool isFeedStringURL(std::u16string_view link) {
  return startsWithAnyNoCase(link, {"feed:", "feeds:"});
}
bool isDataStringURL(std::u16string_view link) { return startsWithNoCase(link, "data:"); }
bool isAboutStringURL(std::u16string_view link) { return startsWithNoCase(link, "about:"); }
bool isJavaScriptStringURL(std::u16string_view link) {
  return startsWithNoCase(link, "javascript:");
}
bool isAppleScriptStringURL(std::u16string_view link) {
  return startsWithNoCase(link, "applescript:");
}
bool isMailStringURL(std::u16string_view link) {
  return startsWithAnyNoCase(link, {"mailto:", "message:"});
}

std::size_t convertPercentEscapesOfURL(unichar* units, std::size_t length) {
  std::size_t read = 0, written = 0;
  while (read < length) {
    if (escapeAt(units, length, read) < 0) {
      units[written++] = units[read++];
      continue;
    }
    // A run of escapes, decoded as UTF-8 when it spells it.
    std::string bytes;
    std::size_t end = read;
    for (int value; (value = escapeAt(units, length, end)) >= 0; end += 3) {
      bytes += static_cast<char>(value);
    }
    if (const auto text = utf8ToUtf16(bytes)) {
      written =
          static_cast<std::size_t>(std::copy(text->begin(), text->end(), units + written) - units);
    } else {
      written =
          static_cast<std::size_t>(std::copy(units + read, units + end, units + written) - units);
    }
    read = end;
  }
  return written;
}

std::optional<std::u16string> stringByAddingPercentEscapesToURL(std::u16string_view link,
                                                                NSStringEncoding encoding) {
  static constexpr char kHex[] = "0123456789ABCDEF";
  const CFStringEncoding cf = cfStringEncodingFromNSStringEncoding(encoding);
  std::u16string escaped;
  escaped.reserve(link.size());
  const auto escapeBytes = [&](std::u16string_view characters) {
    const auto bytes = encodeString(characters, cf);
    if (!bytes) return false;
    for (const std::uint8_t b : *bytes) {
      escaped += u'%';
      escaped += static_cast<unichar>(kHex[b >> 4]);
      escaped += static_cast<unichar>(kHex[b & 15]);
    }
    return true;
  };
  for (std::size_t k = 0; k < link.size(); ++k) {
    const unichar c = link[k];
    const bool plain = c > 0x20 && c < 0x7F &&
                       std::u16string_view(u"\"<>\\^`{|}").find(c) == std::u16string_view::npos &&
                       (c != u'%' || escapeAt(link.data(), link.size(), k) >= 0);
    if (plain) {
      escaped += c;
      continue;
    }
    // A surrogate pair goes to the encoder whole.
    const std::size_t width = c >= 0xD800 && c < 0xDC00 && k + 1 < link.size() &&
                                      link[k + 1] >= 0xDC00 && link[k + 1] < 0xE000
                                  ? 2
                                  : 1;
    if (!escapeBytes(link.substr(k, width))) return std::nullopt;
    k += width - 1;
  }
  return escaped;
}

}  // namespace orvel
