#include "orvel/base/utf8.h"

#include <random>
#include <string>

#include <gtest/gtest.h>
#include <unicode/ustring.h>

namespace orvel {
namespace {

TEST(Utf8Test, DecodesEveryEncodingLength) {
  // a, e-acute (2 bytes), euro sign (3 bytes), G clef U+1D11E (4 bytes: a surrogate pair).
  const auto text = utf8ToUtf16("a\xC3\xA9\xE2\x82\xAC\xF0\x9D\x84\x9E");
  ASSERT_TRUE(text.has_value());
  EXPECT_EQ(*text, u"a\u00E9\u20AC\U0001D11E");
  EXPECT_EQ(text->size(), 5u);
  EXPECT_EQ(utf16ToUtf8(*text), "a\xC3\xA9\xE2\x82\xAC\xF0\x9D\x84\x9E");
}

TEST(Utf8Test, EmptyInputIsEmptyText) {
  EXPECT_EQ(utf8ToUtf16(""), std::u16string());
  EXPECT_EQ(utf16ToUtf8(u""), "");
}

TEST(Utf8Test, ReportsTheOffsetOfTheFirstBadSequence) {
  struct Case {
    const char* name;
    std::string bytes;
    std::size_t offset;
  };
  const Case cases[] = {
      {"stray continuation byte", "ab\x80", 2},
      {"invalid lead byte", "abc\xFF", 3},
      {"overlong NUL", "x\xC0\x80", 1},
      {"encoded surrogate", "xy\xED\xA0\x80z", 2},
      {"truncated at the end", "abcd\xE2\x82", 4},
      {"lead byte followed by ASCII", "\xC3(", 0},
      {"beyond U+10FFFF", "ok\xF4\x90\x80\x80", 2},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    std::size_t offset = 999;
    EXPECT_FALSE(utf8ToUtf16(c.bytes, &offset).has_value());
    EXPECT_EQ(offset, c.offset);
    offset = 999;
    EXPECT_FALSE(isValidUtf8(c.bytes, &offset));
    EXPECT_EQ(offset, c.offset);
    // Behind a long ASCII run, read eight bytes at a time.
    EXPECT_FALSE(isValidUtf8(std::string(21, 'a') + c.bytes, &offset));
    EXPECT_EQ(offset, 21 + c.offset);
  }
}

// Validation and decoding decide alike, on random bytes mostly ASCII.
TEST(Utf8Test, ValidationAgreesWithDecoding) {
  std::mt19937 generator(3);
  for (int round = 0; round < 20000; ++round) {
    std::string bytes(generator() % 40, 'a');
    for (char& byte : bytes) {
      if (generator() % 4 == 0) byte = static_cast<char>(0x80 + generator() % 0x80);
    }
    std::size_t decoded = 0, validated = 0;
    const auto strict = utf8ToUtf16(bytes, &decoded);
    const bool valid = strict.has_value();
    if (valid) {
      ASSERT_EQ(utf8ToUtf16Lenient(bytes), *strict);
    }
    ASSERT_EQ(isValidUtf8(bytes, &validated), valid);
    if (!valid) {
      ASSERT_EQ(validated, decoded);
    }
  }
}

TEST(Utf8Test, LenientDecodingReplacesIllFormedSequences) {
  EXPECT_EQ(utf8ToUtf16Lenient("a\xFF"
                               "b\xC3(c\xE2\x82"),
            u"a\uFFFDb\uFFFD(c\uFFFD");
  EXPECT_EQ(utf8ToUtf16Lenient("caf\xC3\xA9"), u"caf\u00E9");
}

// Long texts are decoded in slices of a few kilobytes: wherever a boundary falls, in a
// sequence, after stray trail bytes or in an ill-formed one, the answer is ICU's over the
// whole input.
TEST(Utf8Test, SliceBoundariesChangeNothing) {
  const std::string pieces[] = {
      "\xC3\xA9",     "\xE2\x82\xAC", "\xF0\x9D\x84\x9E", "\xCA\xD5\x82\x82\x82\x82",
      "\xE0\x80\xBF", "\xF4\x90\x80", "\xED\xA0\x80",     "\xC0\xAF",
      "\xE2\x82",     "\xFF"};
  for (const std::string& piece : pieces) {
    for (std::size_t before = 4080; before <= 4100; ++before) {
      const std::string bytes = std::string(before, 'a') + piece + piece + "z";
      std::u16string whole(bytes.size(), u'\0');
      int32_t units = 0;
      UErrorCode status = U_ZERO_ERROR;
      u_strFromUTF8WithSub(reinterpret_cast<UChar*>(whole.data()),
                           static_cast<int32_t>(bytes.size()), &units, bytes.data(),
                           static_cast<int32_t>(bytes.size()), 0xFFFD, nullptr, &status);
      whole.resize(static_cast<std::size_t>(units));
      ASSERT_EQ(utf8ToUtf16Lenient(bytes), whole) << before;
      ASSERT_EQ(utf8ToUtf16(bytes).has_value(), isValidUtf8(bytes)) << before;
    }
  }
}

TEST(Utf8Test, EncodingAgreesWithIcuOnRandomUnits) {
  std::mt19937 random(11);
  // Units from every range that encodes differently, surrogates paired, lone and reversed.
  const std::vector<char16_t> units = {u'a',   u'\n',  0x7F,   0x80,   0x7FF,  0x800,  0xE9,
                                       0xFFFF, 0xD800, 0xDBFF, 0xDC00, 0xDFFF, 0xFFFD, 0x20AC};
  for (int round = 0; round < 2000; ++round) {
    // Long runs of ASCII too, which are encoded in blocks, cut anywhere by other units.
    std::u16string text;
    for (int k = 0; k < 1 + static_cast<int>(random() % 80); ++k) {
      text += random() % 4 == 0 ? units[random() % units.size()] : u'x';
    }
    if (round % 100 == 0) text = std::u16string(700 + random() % 100, u'y') + text;
    std::string expected(4 * text.size(), '\0');
    int32_t written = 0;
    UErrorCode status = U_ZERO_ERROR;
    u_strToUTF8WithSub(expected.data(), static_cast<int32_t>(expected.size()), &written,
                       reinterpret_cast<const UChar*>(text.data()),
                       static_cast<int32_t>(text.size()), 0xFFFD, nullptr, &status);
    ASSERT_TRUE(U_SUCCESS(status));
    expected.resize(static_cast<std::size_t>(written));
    ASSERT_EQ(utf16ToUtf8(text), expected);
    std::string appended = "prefix";
    appendUtf16AsUtf8(appended, text);
    ASSERT_EQ(appended, "prefix" + expected);
    ASSERT_EQ(utf8LengthOfUtf16(text), expected.size());
    // Back: the replacement character of a lone surrogate is one unit, as it decodes.
    ASSERT_EQ(utf16LengthOfUtf8(expected), utf8ToUtf16Lenient(expected).size());
  }
}

TEST(Utf8Test, UnpairedSurrogatesBecomeReplacementCharacters) {
  const std::u16string lone = {u'a', static_cast<char16_t>(0xD800), u'b'};
  EXPECT_EQ(utf16ToUtf8(lone),
            "a\xEF\xBF\xBD"
            "b");
}

}  // namespace
}  // namespace orvel
