#include "orvel/text/cf_encodings.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace orvel {
namespace {

struct ConverterName {
  CFStringEncoding encoding;
  const char* icuName;
};

// Sorted by encoding number for binary search.
constexpr ConverterName kConverterNames[] = {
    {kCFStringEncodingMacRoman, "macintosh"},
    {kCFStringEncodingMacJapanese, "Shift_JIS"},
    {kCFStringEncodingMacChineseTrad, "Big5"},
    {kCFStringEncodingMacKorean, "EUC-KR"},
    {kCFStringEncodingMacGreek, "x-mac-greek"},
    {kCFStringEncodingMacCyrillic, "x-mac-cyrillic"},
    {kCFStringEncodingMacChineseSimp, "GB2312"},
    {kCFStringEncodingMacCentralEurRoman, "x-mac-centraleurroman"},
    {kCFStringEncodingMacTurkish, "x-mac-turkish"},
    {kCFStringEncodingMacUkrainian, "x-mac-cyrillic"},
    {kCFStringEncodingUnicode, "UTF-16"},
    {kCFStringEncodingISOLatin1, "ISO-8859-1"},
    {kCFStringEncodingISOLatin2, "ISO-8859-2"},
    {kCFStringEncodingISOLatin3, "ISO-8859-3"},
    {kCFStringEncodingISOLatin4, "ISO-8859-4"},
    {kCFStringEncodingISOLatinCyrillic, "ISO-8859-5"},
    {kCFStringEncodingISOLatinArabic, "ISO-8859-6"},
    {kCFStringEncodingISOLatinGreek, "ISO-8859-7"},
    {kCFStringEncodingISOLatinHebrew, "ISO-8859-8"},
    {kCFStringEncodingISOLatin5, "ISO-8859-9"},
    {kCFStringEncodingISOLatin6, "ISO-8859-10"},
    {kCFStringEncodingISOLatinThai, "ISO-8859-11"},
    {kCFStringEncodingISOLatin7, "ISO-8859-13"},
    {kCFStringEncodingISOLatin8, "ISO-8859-14"},
    {kCFStringEncodingISOLatin9, "ISO-8859-15"},
    {kCFStringEncodingDOSLatinUS, "ibm-437"},
    {kCFStringEncodingDOSGreek, "ibm-737"},
    {kCFStringEncodingDOSBalticRim, "ibm-775"},
    {kCFStringEncodingDOSLatin1, "ibm-850"},
    {kCFStringEncodingDOSGreek1, "ibm-851"},
    {kCFStringEncodingDOSLatin2, "ibm-852"},
    {kCFStringEncodingDOSCyrillic, "ibm-855"},
    {kCFStringEncodingDOSTurkish, "ibm-857"},
    {kCFStringEncodingDOSPortuguese, "ibm-860"},
    {kCFStringEncodingDOSIcelandic, "ibm-861"},
    {kCFStringEncodingDOSHebrew, "ibm-862"},
    {kCFStringEncodingDOSCanadianFrench, "ibm-863"},
    {kCFStringEncodingDOSArabic, "ibm-864"},
    {kCFStringEncodingDOSNordic, "ibm-865"},
    {kCFStringEncodingDOSRussian, "ibm-866"},
    {kCFStringEncodingDOSGreek2, "ibm-869"},
    {kCFStringEncodingDOSThai, "windows-874"},
    {kCFStringEncodingDOSJapanese, "windows-31j"},
    {kCFStringEncodingDOSChineseSimplif, "windows-936"},
    {kCFStringEncodingDOSKorean, "windows-949"},
    {kCFStringEncodingDOSChineseTrad, "windows-950"},
    {kCFStringEncodingWindowsLatin1, "windows-1252"},
    {kCFStringEncodingWindowsLatin2, "windows-1250"},
    {kCFStringEncodingWindowsCyrillic, "windows-1251"},
    {kCFStringEncodingWindowsGreek, "windows-1253"},
    {kCFStringEncodingWindowsLatin5, "windows-1254"},
    {kCFStringEncodingWindowsHebrew, "windows-1255"},
    {kCFStringEncodingWindowsArabic, "windows-1256"},
    {kCFStringEncodingWindowsBalticRim, "windows-1257"},
    {kCFStringEncodingWindowsVietnamese, "windows-1258"},
    {kCFStringEncodingASCII, "US-ASCII"},
    {kCFStringEncodingGBK_95, "GBK"},
    {kCFStringEncodingGB_18030_2000, "GB18030"},
    {kCFStringEncodingKSC_5601_87, "KSC_5601"},
    {kCFStringEncodingISO_2022_JP, "ISO-2022-JP"},
    {kCFStringEncodingISO_2022_JP_2, "ISO-2022-JP-2"},
    {kCFStringEncodingISO_2022_JP_1, "ISO-2022-JP-1"},
    {kCFStringEncodingISO_2022_CN, "ISO-2022-CN"},
    {kCFStringEncodingISO_2022_CN_EXT, "ISO-2022-CN-EXT"},
    {kCFStringEncodingISO_2022_KR, "ISO-2022-KR"},
    {kCFStringEncodingEUC_JP, "EUC-JP"},
    {kCFStringEncodingEUC_CN, "GB2312"},
    {kCFStringEncodingEUC_TW, "EUC-TW"},
    {kCFStringEncodingEUC_KR, "EUC-KR"},
    {kCFStringEncodingShiftJIS, "Shift_JIS"},
    {kCFStringEncodingKOI8_R, "KOI8-R"},
    {kCFStringEncodingBig5, "Big5"},
    {kCFStringEncodingHZ_GB_2312, "HZ"},
    {kCFStringEncodingBig5_HKSCS_1999, "Big5-HKSCS"},
    {kCFStringEncodingKOI8_U, "KOI8-U"},
    {kCFStringEncodingEBCDIC_CP037, "IBM037"},
    {kCFStringEncodingUTF7, "UTF-7"},
    {kCFStringEncodingUTF8, "UTF-8"},
    {kCFStringEncodingUTF32, "UTF-32"},
    {kCFStringEncodingUTF16BE, "UTF-16BE"},
    {kCFStringEncodingUTF16LE, "UTF-16LE"},
    {kCFStringEncodingUTF32BE, "UTF-32BE"},
    {kCFStringEncodingUTF32LE, "UTF-32LE"},
};

static_assert(std::is_sorted(std::begin(kConverterNames), std::end(kConverterNames),
                             [](const ConverterName& a, const ConverterName& b) {
                               return a.encoding < b.encoding;
                             }));

// Foundation's small numbers, which predate its CoreFoundation-based numbering.
constexpr std::pair<NSStringEncoding, CFStringEncoding> kClassicNSEncodings[] = {
    {1, kCFStringEncodingASCII},          {3, kCFStringEncodingEUC_JP},
    {4, kCFStringEncodingUTF8},           {5, kCFStringEncodingISOLatin1},
    {8, kCFStringEncodingDOSJapanese},    {9, kCFStringEncodingISOLatin2},
    {10, kCFStringEncodingUnicode},       {11, kCFStringEncodingWindowsCyrillic},
    {12, kCFStringEncodingWindowsLatin1}, {13, kCFStringEncodingWindowsGreek},
    {14, kCFStringEncodingWindowsLatin5}, {15, kCFStringEncodingWindowsLatin2},
    {21, kCFStringEncodingISO_2022_JP},   {30, kCFStringEncodingMacRoman},
};

}  // namespace

const char* icuConverterNameForCFStringEncoding(CFStringEncoding encoding) {
  const auto* found = std::lower_bound(
      std::begin(kConverterNames), std::end(kConverterNames), encoding,
      [](const ConverterName& entry, CFStringEncoding value) { return entry.encoding < value; });
  return (found != std::end(kConverterNames) && found->encoding == encoding) ? found->icuName
                                                                             : nullptr;
}

NSStringEncoding nsStringEncodingFromCFStringEncoding(CFStringEncoding encoding) {
  for (const auto& [ns, cf] : kClassicNSEncodings) {
    if (cf == encoding) return ns;
  }
  return encoding | 0x80000000u;
}

CFStringEncoding cfStringEncodingFromNSStringEncoding(NSStringEncoding encoding) {
  if (encoding & 0x80000000u) return encoding & 0x7FFFFFFFu;
  for (const auto& [ns, cf] : kClassicNSEncodings) {
    if (ns == encoding) return cf;
  }
  return kCFStringEncodingInvalidId;
}

}  // namespace orvel
