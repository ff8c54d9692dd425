#include "orvel/base/utf8.h"

#include <random>
#include <string>

#include <gtest/gtest.h>

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

TEST(Utf8Test, UnpairedSurrogatesBecomeReplacementCharacters) {
  const std::u16string lone = {u'a', static_cast<char16_t>(0xD800), u'b'};
  EXPECT_EQ(utf16ToUtf8(lone),
            "a\xEF\xBF\xBD"
            "b");
}

}  // namespace
}  // namespace orvel
