// Character encodings as CoreFoundation numbers, the currency in which encodings travel
// through the library (0xFFFFFFFF: unknown), and the ICU converter behind each.
#pragma once

#include <cstdint>

namespace orvel {

using CFStringEncoding = std::uint32_t;
// The Foundation numbering: small numbers for a few classic encodings, otherwise the
// CoreFoundation number with the top bit set.
using NSStringEncoding = std::uint32_t;

inline constexpr CFStringEncoding kCFStringEncodingInvalidId = 0xFFFFFFFF;

inline constexpr CFStringEncoding kCFStringEncodingMacRoman = 0x0000;
inline constexpr CFStringEncoding kCFStringEncodingMacJapanese = 0x0001;
inline constexpr CFStringEncoding kCFStringEncodingMacChineseTrad = 0x0002;
inline constexpr CFStringEncoding kCFStringEncodingMacKorean = 0x0003;
inline constexpr CFStringEncoding kCFStringEncodingMacGreek = 0x0006;
inline constexpr CFStringEncoding kCFStringEncodingMacCyrillic = 0x0007;
inline constexpr CFStringEncoding kCFStringEncodingMacChineseSimp = 0x0019;
inline constexpr CFStringEncoding kCFStringEncodingMacCentralEurRoman = 0x001D;
inline constexpr CFStringEncoding kCFStringEncodingMacTurkish = 0x0023;
inline constexpr CFStringEncoding kCFStringEncodingMacUkrainian = 0x0098;
inline constexpr CFStringEncoding kCFStringEncodingUnicode = 0x0100;
inline constexpr CFStringEncoding kCFStringEncodingISOLatin1 = 0x0201;
inline constexpr CFStringEncoding kCFStringEncodingISOLatin2 = 0x0202;
inline constexpr CFStringEncoding kCFStringEncodingISOLatin3 = 0x0203;
inline constexpr CFStringEncoding kCFStringEncodingISOLatin4 = 0x0204;
inline constexpr CFStringEncoding kCFStringEncodingISOLatinCyrillic = 0x0205;
inline constexpr CFStringEncoding kCFStringEncodingISOLatinArabic = 0x0206;
inline constexpr CFStringEncoding kCFStringEncodingISOLatinGreek = 0x0207;
inline constexpr CFStringEncoding kCFStringEncodingISOLatinHebrew = 0x0208;
inline constexpr CFStringEncoding kCFStringEncodingISOLatin5 = 0x0209;
inline constexpr CFStringEncoding kCFStringEncodingISOLatin6 = 0x020A;
inline constexpr CFStringEncoding kCFStringEncodingISOLatinThai = 0x020B;
inline constexpr CFStringEncoding kCFStringEncodingISOLatin7 = 0x020D;
inline constexpr CFStringEncoding kCFStringEncodingISOLatin8 = 0x020E;
inline constexpr CFStringEncoding kCFStringEncodingISOLatin9 = 0x020F;
inline constexpr CFStringEncoding kCFStringEncodingISOLatin10 = 0x0210;
inline constexpr CFStringEncoding kCFStringEncodingDOSLatinUS = 0x0400;
inline constexpr CFStringEncoding kCFStringEncodingDOSGreek = 0x0405;
inline constexpr CFStringEncoding kCFStringEncodingDOSBalticRim = 0x0406;
inline constexpr CFStringEncoding kCFStringEncodingDOSLatin1 = 0x0410;
inline constexpr CFStringEncoding kCFStringEncodingDOSGreek1 = 0x0411;
inline constexpr CFStringEncoding kCFStringEncodingDOSLatin2 = 0x0412;
inline constexpr CFStringEncoding kCFStringEncodingDOSCyrillic = 0x0413;
inline constexpr CFStringEncoding kCFStringEncodingDOSTurkish = 0x0414;
inline constexpr CFStringEncoding kCFStringEncodingDOSPortuguese = 0x0415;
inline constexpr CFStringEncoding kCFStringEncodingDOSIcelandic = 0x0416;
inline constexpr CFStringEncoding kCFStringEncodingDOSHebrew = 0x0417;
inline constexpr CFStringEncoding kCFStringEncodingDOSCanadianFrench = 0x0418;
inline constexpr CFStringEncoding kCFStringEncodingDOSArabic = 0x0419;
inline constexpr CFStringEncoding kCFStringEncodingDOSNordic = 0x041A;
inline constexpr CFStringEncoding kCFStringEncodingDOSRussian = 0x041B;
inline constexpr CFStringEncoding kCFStringEncodingDOSGreek2 = 0x041C;
inline constexpr CFStringEncoding kCFStringEncodingDOSThai = 0x041D;
inline constexpr CFStringEncoding kCFStringEncodingDOSJapanese = 0x0420;
inline constexpr CFStringEncoding kCFStringEncodingDOSChineseSimplif = 0x0421;
inline constexpr CFStringEncoding kCFStringEncodingDOSKorean = 0x0422;
inline constexpr CFStringEncoding kCFStringEncodingDOSChineseTrad = 0x0423;
inline constexpr CFStringEncoding kCFStringEncodingWindowsLatin1 = 0x0500;
inline constexpr CFStringEncoding kCFStringEncodingWindowsLatin2 = 0x0501;
inline constexpr CFStringEncoding kCFStringEncodingWindowsCyrillic = 0x0502;
inline constexpr CFStringEncoding kCFStringEncodingWindowsGreek = 0x0503;
inline constexpr CFStringEncoding kCFStringEncodingWindowsLatin5 = 0x0504;
inline constexpr CFStringEncoding kCFStringEncodingWindowsHebrew = 0x0505;
inline constexpr CFStringEncoding kCFStringEncodingWindowsArabic = 0x0506;
inline constexpr CFStringEncoding kCFStringEncodingWindowsBalticRim = 0x0507;
inline constexpr CFStringEncoding kCFStringEncodingWindowsVietnamese = 0x0508;
inline constexpr CFStringEncoding kCFStringEncodingWindowsKoreanJohab = 0x0510;
inline constexpr CFStringEncoding kCFStringEncodingASCII = 0x0600;
inline constexpr CFStringEncoding kCFStringEncodingGBK_95 = 0x0631;
inline constexpr CFStringEncoding kCFStringEncodingGB_18030_2000 = 0x0632;
inline constexpr CFStringEncoding kCFStringEncodingKSC_5601_87 = 0x0640;
inline constexpr CFStringEncoding kCFStringEncodingKSC_5601_92_Johab = 0x0641;
inline constexpr CFStringEncoding kCFStringEncodingISO_2022_JP = 0x0820;
inline constexpr CFStringEncoding kCFStringEncodingISO_2022_JP_2 = 0x0821;
inline constexpr CFStringEncoding kCFStringEncodingISO_2022_JP_1 = 0x0822;
inline constexpr CFStringEncoding kCFStringEncodingISO_2022_JP_3 = 0x0823;
inline constexpr CFStringEncoding kCFStringEncodingISO_2022_CN = 0x0830;
inline constexpr CFStringEncoding kCFStringEncodingISO_2022_CN_EXT = 0x0831;
inline constexpr CFStringEncoding kCFStringEncodingISO_2022_KR = 0x0840;
inline constexpr CFStringEncoding kCFStringEncodingEUC_JP = 0x0920;
inline constexpr CFStringEncoding kCFStringEncodingEUC_CN = 0x0930;
inline constexpr CFStringEncoding kCFStringEncodingEUC_TW = 0x0931;
inline constexpr CFStringEncoding kCFStringEncodingEUC_KR = 0x0940;
inline constexpr CFStringEncoding kCFStringEncodingShiftJIS = 0x0A01;
inline constexpr CFStringEncoding kCFStringEncodingKOI8_R = 0x0A02;
inline constexpr CFStringEncoding kCFStringEncodingBig5 = 0x0A03;
inline constexpr CFStringEncoding kCFStringEncodingHZ_GB_2312 = 0x0A05;
inline constexpr CFStringEncoding kCFStringEncodingBig5_HKSCS_1999 = 0x0A06;
inline constexpr CFStringEncoding kCFStringEncodingKOI8_U = 0x0A08;
inline constexpr CFStringEncoding kCFStringEncodingEBCDIC_CP037 = 0x0C02;
inline constexpr CFStringEncoding kCFStringEncodingUTF7 = 0x04000100;
inline constexpr CFStringEncoding kCFStringEncodingUTF8 = 0x08000100;
inline constexpr CFStringEncoding kCFStringEncodingUTF32 = 0x0C000100;
inline constexpr CFStringEncoding kCFStringEncodingUTF16BE = 0x10000100;
inline constexpr CFStringEncoding kCFStringEncodingUTF16LE = 0x14000100;
inline constexpr CFStringEncoding kCFStringEncodingUTF32BE = 0x18000100;
inline constexpr CFStringEncoding kCFStringEncodingUTF32LE = 0x1C000100;

inline constexpr NSStringEncoding NSASCIIStringEncoding = 1;
inline constexpr NSStringEncoding NSUTF8StringEncoding = 4;
inline constexpr NSStringEncoding NSISOLatin1StringEncoding = 5;

// The ICU converter name for an encoding, or null when ICU has none for it (most of the
// Macintosh script encodings, ISO 8859-16, ISO-2022-JP-3, Johab, and the private numbers
// 40961/40962). The Macintosh Japanese, Chinese and Korean encodings are read through the
// standard encodings they extend (Shift_JIS, Big5, GB2312, EUC-KR), and Mac Ukrainian
// through Mac Cyrillic, which differ from them only in a few vendor symbols.
[[nodiscard]] const char* icuConverterNameForCFStringEncoding(CFStringEncoding encoding);

// The CoreFoundation number of a Foundation encoding number (kCFStringEncodingInvalidId
// for an unknown small number).
[[nodiscard]] CFStringEncoding cfStringEncodingFromNSStringEncoding(NSStringEncoding encoding);

// The Foundation number of a CoreFoundation number: the classic small number where there
// is one, else the number with the top bit set.
[[nodiscard]] NSStringEncoding nsStringEncodingFromCFStringEncoding(CFStringEncoding encoding);

}  // namespace orvel
