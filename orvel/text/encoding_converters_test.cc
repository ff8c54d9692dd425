#include "orvel/text/encoding_converters.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <unicode/utypes.h>

namespace orvel {
namespace {

std::vector<std::uint8_t> bytesOf(std::string_view text) { return {text.begin(), text.end()}; }

TEST(EncodingConvertersTest, SharedConvertersOpenOncePerThread) {
  const std::int32_t first = initUnicodeConverters();
  EXPECT_TRUE(first == 0 || first == 1);
  EXPECT_EQ(initUnicodeConverters(), 1);
}

TEST(EncodingConvertersTest, Utf8RoundTrip) {
  const auto utf8 = bytesOf(
      "Gr\xC3\xBC\xC3\x9F"
      "e \xF0\x9F\x98\x80");
  unichar units[16] = {};
  ASSERT_EQ(convertUTF8ToUnicode(utf8.data(), utf8.size(), units, 16), 0);
  EXPECT_EQ(std::u16string(units, 8), u"Gr\u00FC\u00DFe \U0001F600");

  std::uint8_t back[32] = {};
  ASSERT_EQ(convertUnicodeToUTF8(units, 8, back, sizeof back), 0);
  EXPECT_EQ(std::vector<std::uint8_t>(back, back + utf8.size()), utf8);
}

TEST(EncodingConvertersTest, FailuresAreNonZeroStatuses) {
  const auto invalid = bytesOf("ab\xFF");
  unichar units[8];
  EXPECT_NE(convertUTF8ToUnicode(invalid.data(), invalid.size(), units, 8), 0);

  const auto longer = bytesOf("abcdef");
  EXPECT_EQ(convertUTF8ToUnicode(longer.data(), longer.size(), units, 3), U_BUFFER_OVERFLOW_ERROR);

  const unichar lone[] = {u'a', 0xDC00};
  std::uint8_t out[16];
  EXPECT_NE(convertUnicodeToUTF8(lone, 2, out, sizeof out), 0);
  // The shared converters are reset before each use: a failure leaves no state behind.
  const auto ok = bytesOf("ok");
  EXPECT_EQ(convertUTF8ToUnicode(ok.data(), ok.size(), units, 8), 0);
}

TEST(EncodingConvertersTest, LegacyEncodingsDecode) {
  struct Case {
    CFStringEncoding encoding;
    std::string bytes;
    std::u16string text;
  };
  const Case cases[] = {
      {kCFStringEncodingISOLatin1, "caf\xE9", u"caf\u00E9"},
      {kCFStringEncodingWindowsLatin1, "\x80", u"\u20AC"},
      {kCFStringEncodingMacRoman, "\x8A", u"\u00E4"},
      {kCFStringEncodingKOI8_R, "\xC1", u"\u0430"},
      {kCFStringEncodingShiftJIS, "\x82\xA0", u"\u3042"},
      {kCFStringEncodingUTF8, "\xE2\x82\xAC", u"\u20AC"},
      {kCFStringEncodingUTF16BE, std::string("\x00\x41", 2), u"A"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.encoding);
    unichar units[8];
    std::size_t written = 99;
    const auto bytes = bytesOf(c.bytes);
    EXPECT_EQ(convertEncodingToUnicode(bytes.data(), bytes.size(), c.encoding, units, 8, &written),
              1);
    EXPECT_EQ(std::u16string(units, written), c.text);
  }
}

TEST(EncodingConvertersTest, ResultTellsFailedConversionFromMissingConverter) {
  unichar units[8];
  std::size_t written = 99;
  const auto invalid = bytesOf("ab\xC3");
  EXPECT_EQ(convertEncodingToUnicode(invalid.data(), invalid.size(), kCFStringEncodingUTF8, units,
                                     8, &written),
            0);
  EXPECT_EQ(written, 2u);

  const auto tooLong = bytesOf("abcdefghij");
  EXPECT_EQ(convertEncodingToUnicode(tooLong.data(), tooLong.size(), kCFStringEncodingISOLatin1,
                                     units, 4, &written),
            0);
  EXPECT_EQ(written, 4u);

  const std::int32_t missing =
      convertEncodingToUnicode(tooLong.data(), tooLong.size(), 40961, units, 8, &written);
  EXPECT_NE(missing, 0);
  EXPECT_NE(missing, 1);
  EXPECT_EQ(written, 0u);
}

TEST(EncodingConvertersTest, EncodeStringRefusesWhatTheEncodingCannotHold) {
  EXPECT_EQ(encodeString(u"caf\u00E9", kCFStringEncodingISOLatin1), bytesOf("caf\xE9"));
  EXPECT_EQ(encodeString(u"\u20AC", kCFStringEncodingUTF8), bytesOf("\xE2\x82\xAC"));
  EXPECT_EQ(encodeString(u"", kCFStringEncodingUTF8), std::vector<std::uint8_t>{});
  EXPECT_FALSE(encodeString(u"\u20AC", kCFStringEncodingASCII).has_value());
  const std::u16string lone = {u'a', 0xD800};
  EXPECT_FALSE(encodeString(lone, kCFStringEncodingUTF8).has_value());
  EXPECT_FALSE(encodeString(u"a", kCFStringEncodingInvalidId).has_value());
}

TEST(EncodingConvertersTest, FoundationNumbersMapToCoreFoundationNumbers) {
  EXPECT_EQ(cfStringEncodingFromNSStringEncoding(NSUTF8StringEncoding), kCFStringEncodingUTF8);
  EXPECT_EQ(cfStringEncodingFromNSStringEncoding(5), kCFStringEncodingISOLatin1);
  EXPECT_EQ(cfStringEncodingFromNSStringEncoding(0x80000A02), kCFStringEncodingKOI8_R);
  EXPECT_EQ(cfStringEncodingFromNSStringEncoding(999), kCFStringEncodingInvalidId);
  EXPECT_STREQ(icuConverterNameForCFStringEncoding(kCFStringEncodingWindowsLatin2), "windows-1250");
  EXPECT_EQ(icuConverterNameForCFStringEncoding(0x1234), nullptr);
}

}  // namespace
}  // namespace orvel
