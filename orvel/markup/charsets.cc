#include "orvel/markup/charsets.h"

#include <algorithm>
#include <cstdint>
#include <string>

#include "orvel/base/log.h"
#include "orvel/base/utf8.h"
#include "orvel/text/character_sets.h"
#include "orvel/text/conversion_tables.h"

namespace orvel {
namespace {

// The Macintosh script encodings, numbered as CoreFoundation numbers them.
constexpr CFStringEncoding kMacRoman = 0, kMacJapanese = 1, kMacChineseTrad = 2, kMacKorean = 3,
                           kMacArabic = 4, kMacHebrew = 5, kMacGreek = 6, kMacCyrillic = 7,
                           kMacChineseSimp = 25, kMacCentralEurRoman = 29, kMacRomanLatin1 = 0x0A04;

struct NamedEncoding {
  std::string_view name;
  CFStringEncoding encoding;
};

constexpr NamedEncoding kMacintoshNames[] = {
    {"", kMacRoman},
    {"roman", kMacRoman},
    {"osroman", kMacRoman},
    {"intosh", kMacRoman},
    {"romanlatin1", kMacRomanLatin1},
    {"cyrillic", kMacCyrillic},
    {"ce", kMacCentralEurRoman},
    {"centraleur", kMacCentralEurRoman},
    {"japanese", kMacJapanese},
    {"chinesetrad", kMacChineseTrad},
    {"korean", kMacKorean},
    {"arabic", kMacArabic},
    {"hebrew", kMacHebrew},
    {"greek", kMacGreek},
    {"devanagari", 9},
    {"gurmukhi", 10},
    {"gujarati", 11},
    {"oriya", 12},
    {"bengali", 13},
    {"tamil", 14},
    {"telugu", 15},
    {"kannada", 16},
    {"malayalam", 17},
    {"sinhalese", 18},
    {"burmese", 19},
    {"khmer", 20},
    {"thai", 21},
    {"laotian", 22},
    {"georgian", 23},
    {"armenian", 24},
    {"chinesesimp", kMacChineseSimp},
    {"tibetan", 26},
    {"mongolian", 27},
    {"ethiopic", 28},
    {"vietnamese", 30},
    {"extarabic", 31},
    {"turkish", 35},
    {"croatian", 36},
    {"icelandic", 37},
    {"romanian", 38},
    {"celtic", 39},
    {"gaelic", 40},
    {"farsi", 0x8C},
    {"ukrainian", 0x98},
    {"inuit", 0xEC},
};

CFStringEncoding macintoshEncoding(std::string_view rest) {
  for (const NamedEncoding& entry : kMacintoshNames) {
    if (rest == entry.name) return entry.encoding;
  }
  for (const std::string_view contained : {"chinesetrad", "chinesesimp", "centraleur"}) {
    if (rest.find(contained) != std::string_view::npos) return macintoshEncoding(contained);
  }
  return kCFStringEncodingInvalidId;
}

// The name's letters and digits, lower-cased (as 8-bit text: the rules are ASCII).
std::string reducedName(std::u16string_view name) {
  const CharacterSetRep alphaNum = alphaNumCharacterSetRep();
  const ConversionTable lower = initLowerCharsTable();
  std::u16string kept;
  for (const unichar c : name) {
    if (isMemberOfCharacterSetRep(alphaNum, c)) kept += lower[c];
  }
  return utf16ToUtf8(kept);
}

bool isLatin1Number(std::uint64_t n) {
  constexpr std::uint64_t kVariants[] = {8591,  8859,  80591, 85591,  88191, 88391,
                                         88511, 88571, 88581, 88591,  88611, 88691,
                                         88791, 89091, 99591, 100591, 810091};
  return std::find(std::begin(kVariants), std::end(kVariants), n) != std::end(kVariants) ||
         (n >= 885101 && n <= 885391 && n % 10 == 1);
}

// The number rule: the integer at the first digit; invalid for a miss.
CFStringEncoding encodingOfNumber(std::uint64_t n, std::string_view name) {
  if (isLatin1Number(n)) return kCFStringEncodingISOLatin1;
  if (n >= 860 && n <= 866)
    return kCFStringEncodingDOSPortuguese + static_cast<CFStringEncoding>(n - 860);
  if (n >= 88593 && n <= 88598)
    return kCFStringEncodingISOLatin3 + static_cast<CFStringEncoding>(n - 88593);
  switch (n) {
    case 437: return kCFStringEncodingDOSLatinUS;
    case 646:
    case 6461: return kCFStringEncodingEUC_JP;  // the value it has always had
    case 708: return kCFStringEncodingISOLatinArabic;
    case 737: return kCFStringEncodingDOSGreek;
    case 775: return kCFStringEncodingDOSBalticRim;
    case 850: return kCFStringEncodingDOSLatin1;
    case 851: return kCFStringEncodingDOSGreek1;
    case 852: return kCFStringEncodingDOSLatin2;
    case 855: return kCFStringEncodingDOSCyrillic;
    case 857: return kCFStringEncodingDOSTurkish;
    case 869: return kCFStringEncodingDOSGreek2;
    case 874: return kCFStringEncodingDOSThai;
    case 932: return kCFStringEncodingDOSJapanese;
    case 936: return kCFStringEncodingDOSChineseSimplif;
    case 949: return kCFStringEncodingDOSKorean;
    case 950: return kCFStringEncodingDOSChineseTrad;
    case 1250: return kCFStringEncodingWindowsLatin2;
    case 1251: return kCFStringEncodingWindowsCyrillic;
    case 1252: return kCFStringEncodingWindowsLatin1;
    case 1253: return kCFStringEncodingWindowsGreek;
    case 1254: return kCFStringEncodingWindowsLatin5;
    case 1255: return kCFStringEncodingWindowsHebrew;
    case 1256: return kCFStringEncodingWindowsArabic;
    case 1257: return kCFStringEncodingWindowsBalticRim;
    case 1258: return kCFStringEncodingWindowsVietnamese;
    case 1361: return kCFStringEncodingWindowsKoreanJohab;
    case 88582:
    case 88592:
    case 85922: return kCFStringEncodingISOLatin2;
    case 88599:
    case 89599: return kCFStringEncodingISOLatin5;
    case 885910: return kCFStringEncodingISOLatin6;
    case 885911: return kCFStringEncodingISOLatinThai;
    case 885913: return kCFStringEncodingISOLatin7;
    case 885914: return kCFStringEncodingISOLatin8;
    case 885915: return kCFStringEncodingISOLatin9;
    case 885916: return kCFStringEncodingISOLatin10;
    case 2022:
      if (name == "iso2022jp1") return kCFStringEncodingISO_2022_JP_1;
      if (name == "iso2022jp2") return kCFStringEncodingISO_2022_JP_2;
      if (name == "iso2022jp3") return kCFStringEncodingISO_2022_JP_3;
      return kCFStringEncodingISO_2022_JP;
    default: return kCFStringEncodingInvalidId;
  }
}

bool contains(std::string_view name, std::string_view part) {
  return name.find(part) != std::string_view::npos;
}

CFStringEncoding encodingOfLatinName(std::string_view name) {
  if (contains(name, "latin10")) return kCFStringEncodingISOLatin10;
  if (contains(name, "latin1") || name == "latin") return kCFStringEncodingISOLatin1;
  constexpr CFStringEncoding kLatin2To9[] = {
      kCFStringEncodingISOLatin2, kCFStringEncodingISOLatin3, kCFStringEncodingISOLatin4,
      kCFStringEncodingISOLatin5, kCFStringEncodingISOLatin6, kCFStringEncodingISOLatin7,
      kCFStringEncodingISOLatin8, kCFStringEncodingISOLatin9};
  for (char digit = '2'; digit <= '9'; ++digit) {
    if (contains(name, std::string("latin") + digit)) return kLatin2To9[digit - '2'];
  }
  return kCFStringEncodingInvalidId;
}

// The name rules, first match wins.
CFStringEncoding encodingOfName(std::string_view name) {
  if (name.starts_with("windows")) return kCFStringEncodingWindowsLatin1;
  if (name.starts_with("mac")) return macintoshEncoding(name.substr(3));
  if (name.starts_with("xmac")) return macintoshEncoding(name.substr(4));
  if (contains(name, "latin")) {
    if (const CFStringEncoding latin = encodingOfLatinName(name);
        latin != kCFStringEncodingInvalidId) {
      return latin;
    }
  }
  if (name == "iso") return kCFStringEncodingISOLatin1;
  if (name == "visual") return kCFStringEncodingISOLatinHebrew;
  if (name == "xkamcs" || name == "kamcs" || name == "kbkam") return kKamenickyEncoding;
  if (name == "koi8cs2" || name == "csn369103") return kKOI8CS2Encoding;
  if (name == "usascii" || name == "ascii" || contains(name, "utf7")) return kCFStringEncodingASCII;
  if (contains(name, "gb2312")) return kCFStringEncodingEUC_CN;
  if (name.starts_with("gbk")) return kCFStringEncodingGBK_95;
  if (contains(name, "gb18030")) return kCFStringEncodingGB_18030_2000;
  if (name == "utf" || contains(name, "utf8") || contains(name, "utf08") ||
      contains(name, "uft8") || contains(name, "utf2d8") || name == "utf9" || name == "unicode") {
    return kCFStringEncodingUTF8;
  }
  if (contains(name, "utf16")) return kCFStringEncodingUnicode;
  if (contains(name, "shiftj") || contains(name, "sjis")) return kCFStringEncodingShiftJIS;
  if (name.starts_with("koi8")) return kCFStringEncodingKOI8_R;
  if (contains(name, "big5")) return kCFStringEncodingBig5;
  if (contains(name, "euckr")) return kCFStringEncodingEUC_KR;
  if (contains(name, "eucj")) return kCFStringEncodingEUC_JP;
  if (contains(name, "euccn")) return kCFStringEncodingEUC_CN;
  if (contains(name, "euctw")) return kCFStringEncodingEUC_TW;
  if (name == "ksc56011987" || name == "ksc560187") return kCFStringEncodingKSC_5601_87;
  if (name.starts_with("ksc560192")) return kCFStringEncodingKSC_5601_92_Johab;
  if (name == "en" || name == "enus" || name == "engb") return kCFStringEncodingUTF8;
  if (name == "none") return kCFStringEncodingASCII;
  return kCFStringEncodingInvalidId;
}

}  // namespace

CFStringEncoding charset2CFStringEncoding(std::optional<std::u16string_view> name) {
  if (!name) return kCFStringEncodingInvalidId;
  const std::string reduced = reducedName(*name);
  if (reduced.size() < 3) return kCFStringEncodingInvalidId;
  const std::size_t digit = reduced.find_first_of("0123456789");
  if (digit != std::string::npos) {
    std::uint64_t number = 0;
    for (std::size_t k = digit; k < reduced.size() && reduced[k] >= '0' && reduced[k] <= '9'; ++k) {
      number = std::min<std::uint64_t>(number * 10 + static_cast<std::uint64_t>(reduced[k] - '0'),
                                       UINT32_MAX);  // far past every number looked up
    }
    if (const CFStringEncoding found = encodingOfNumber(number, reduced);
        found != kCFStringEncodingInvalidId) {
      return found;
    }
  }
  return encodingOfName(reduced);
}

NSStringEncoding charset2NSStringEncoding(std::optional<std::u16string_view> name) {
  const CFStringEncoding encoding = charset2CFStringEncoding(name);
  if (encoding == kCFStringEncodingShiftJIS) return 8;
  if (encoding == kKamenickyEncoding) return kKamenickyNSStringEncoding;
  if (encoding == kKOI8CS2Encoding) return kKOI8CS2NSStringEncoding;
  if (encoding != kCFStringEncodingInvalidId && icuConverterNameForCFStringEncoding(encoding)) {
    return nsStringEncodingFromCFStringEncoding(encoding);
  }
  const std::u16string_view given = name.value_or(u"");
  std::u16string lowered(given);
  for (unichar& c : lowered) c = initLowerCharsTable()[c];
  const bool silent = given.empty() || lowered == u"auto" || given == u"/" || given == u"0" ||
                      given == u"<" || given == u">";
  if (!silent) log("Unknown/Unsupported encoding: %s", utf16ToUtf8(given).c_str());
  return kNSStringEncodingInvalid;
}

}  // namespace orvel
