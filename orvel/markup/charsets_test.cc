#include "orvel/markup/charsets.h"

#include <string>

#include <gtest/gtest.h>

#include "orvel/testing/log_capture.h"

namespace orvel {
namespace {

TEST(CharsetTest, NumbersAndTheirTypingVariants) {
  struct Case {
    std::u16string_view name;
    CFStringEncoding encoding;
  };
  const Case cases[] = {
      {u"ISO-8859-1", kCFStringEncodingISOLatin1},
      {u"iso_8859-1", kCFStringEncodingISOLatin1},
      {u"8859-1", kCFStringEncodingISOLatin1},
      {u"iso8859_1", kCFStringEncodingISOLatin1},
      {u"iso-8851-21", kCFStringEncodingISOLatin1},
      {u"ISO-8859-2", kCFStringEncodingISOLatin2},
      {u"iso-8859-5", kCFStringEncodingISOLatinCyrillic},
      {u"iso-8859-15", kCFStringEncodingISOLatin9},
      {u"cp1252", kCFStringEncodingWindowsLatin1},
      {u"windows-1251", kCFStringEncodingWindowsCyrillic},
      {u"CP866", kCFStringEncodingDOSRussian},
      {u"ibm437", kCFStringEncodingDOSLatinUS},
      {u"iso646-us", kCFStringEncodingEUC_JP},  // kept as it stands
      {u"ISO-2022-JP", kCFStringEncodingISO_2022_JP},
      {u"iso-2022-jp-2", kCFStringEncodingISO_2022_JP_2},
      {u"x-cp1250", kCFStringEncodingWindowsLatin2},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(charset2CFStringEncoding(c.name), c.encoding)
        << std::string(c.name.begin(), c.name.end());
  }
}

TEST(CharsetTest, NameRulesInTheirOrder) {
  struct Case {
    std::u16string_view name;
    CFStringEncoding encoding;
  };
  const Case cases[] = {
      {u"latin1", kCFStringEncodingISOLatin1},
      {u"Latin-10", kCFStringEncodingISOLatin10},
      {u"latin9", kCFStringEncodingISOLatin9},
      {u"UTF-8", kCFStringEncodingUTF8},
      {u"utf8", kCFStringEncodingUTF8},
      {u"unicode", kCFStringEncodingUTF8},
      {u"uft-8", kCFStringEncodingUTF8},
      {u"utf-16le", kCFStringEncodingUnicode},
      {u"utf-7", kCFStringEncodingASCII},
      {u"US-ASCII", kCFStringEncodingASCII},
      {u"Shift_JIS", kCFStringEncodingShiftJIS},
      {u"x-sjis", kCFStringEncodingShiftJIS},
      {u"GB2312", kCFStringEncodingEUC_CN},
      {u"GBK", kCFStringEncodingGBK_95},
      {u"gb18030", kCFStringEncodingGB_18030_2000},
      {u"KOI8-R", kCFStringEncodingKOI8_R},
      {u"Big5", kCFStringEncodingBig5},
      {u"EUC-KR", kCFStringEncodingEUC_KR},
      {u"euc-jp", kCFStringEncodingEUC_JP},
      {u"ks_c_5601-1987", kCFStringEncodingKSC_5601_87},
      {u"windows", kCFStringEncodingWindowsLatin1},
      {u"x-mac-roman", kCFStringEncodingMacRoman},
      {u"macintosh", kCFStringEncodingMacRoman},
      {u"x-mac-cyrillic", kCFStringEncodingMacCyrillic},
      {u"mac-centraleurope", kCFStringEncodingMacCentralEurRoman},
      {u"x-mac-chinesetrad-variant", kCFStringEncodingMacChineseTrad},
      {u"x-kam-cs", kKamenickyEncoding},
      {u"KOI8-CS2", kKOI8CS2Encoding},
      {u"en-US", kCFStringEncodingUTF8},
      {u"none", kCFStringEncodingASCII},
      {u"visual", kCFStringEncodingISOLatinHebrew},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(charset2CFStringEncoding(c.name), c.encoding)
        << std::string(c.name.begin(), c.name.end());
  }
  for (const std::u16string_view unknown : {u"ab", u"en", u"klingon", u"x-mac-klingon", u""}) {
    EXPECT_EQ(charset2CFStringEncoding(unknown), kCFStringEncodingInvalidId);
  }
  EXPECT_EQ(charset2CFStringEncoding(std::nullopt), kCFStringEncodingInvalidId);
}

TEST(CharsetTest, FoundationNumbersAndTheLogLine) {
  testing::LogCapture log;
  EXPECT_EQ(charset2NSStringEncoding(u"Shift_JIS"), 8u);
  EXPECT_EQ(charset2NSStringEncoding(u"utf-8"), NSUTF8StringEncoding);
  EXPECT_EQ(charset2NSStringEncoding(u"kamcs"), kKamenickyNSStringEncoding);
  EXPECT_EQ(charset2NSStringEncoding(u"koi8cs2"), kKOI8CS2NSStringEncoding);
  EXPECT_EQ(charset2NSStringEncoding(u"windows-1251"), 11u);
  EXPECT_EQ(charset2NSStringEncoding(u"KOI8-R"), 0x80000A02u);
  for (const std::u16string_view silent : {u"", u"AUTO", u"/", u"0", u"<", u">"}) {
    EXPECT_EQ(charset2NSStringEncoding(silent), kNSStringEncodingInvalid);
  }
  EXPECT_EQ(charset2NSStringEncoding(std::nullopt), kNSStringEncodingInvalid);
  EXPECT_TRUE(log.lines().empty());
  EXPECT_EQ(charset2NSStringEncoding(u"klingon"), kNSStringEncodingInvalid);
  EXPECT_EQ(log.lines(), std::vector<std::string>{"Unknown/Unsupported encoding: klingon"});
}

}  // namespace
}  // namespace orvel
