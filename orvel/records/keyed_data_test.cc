#include "orvel/records/keyed_data.h"

#include <cmath>
#include <random>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "orvel/base/file_bytes.h"
#include "orvel/testing/log_capture.h"
#include "orvel/testing/temp_dir.h"

namespace orvel {
namespace {

using ::testing::ElementsAre;

// A record written out by hand: tag, key, then 8 value bytes, then the payload.
KeyedBuffer record(const char (&tag)[5], std::uint32_t key, std::vector<std::uint8_t> value,
                   std::vector<std::uint8_t> payload = {}) {
  KeyedBuffer bytes = {std::uint8_t(tag[0]),   std::uint8_t(tag[1]),    std::uint8_t(tag[2]),
                       std::uint8_t(tag[3]),   std::uint8_t(key >> 24), std::uint8_t(key >> 16),
                       std::uint8_t(key >> 8), std::uint8_t(key)};
  value.resize(8, 0);
  bytes.insert(bytes.end(), value.begin(), value.end());
  bytes.insert(bytes.end(), payload.begin(), payload.end());
  return bytes;
}

KeyedBuffer concat(std::initializer_list<KeyedBuffer> parts) {
  KeyedBuffer all;
  for (const auto& part : parts) all.insert(all.end(), part.begin(), part.end());
  return all;
}

constexpr KeyedKey kKey = fourCharCode("KEY1");

TEST(KeyedDataTest, RecordsAreLaidOutBigEndianByteForByte) {
  KeyedBuffer data;
  addBool(data, 2, kKey);
  addUnsigned(data, 0x01020304, kKey);
  addSigned(data, -2, kKey);
  addUnsignedLongLong(data, 0x0102030405060708, kKey);
  addSignedLongLong(data, -1, kKey);
  addFloat(data, 1.5f, kKey);
  addDouble(data, -2.0, kKey);
  addTimeIntervalSinceReferenceDate(data, 1.0, kKey);
  addBytes(data, "\x00\xFF", 2, kKey);
  addString(data, u"\u00E9", kKey);
  EXPECT_EQ(data, concat({record("QWbl", kKey, {2}), record("QWun", kKey, {1, 2, 3, 4}),
                          record("QWsi", kKey, {0xFF, 0xFF, 0xFF, 0xFE}),
                          record("QWul", kKey, {1, 2, 3, 4, 5, 6, 7, 8}),
                          record("QWsl", kKey, {0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF}),
                          record("QWfl", kKey, {0x3F, 0xC0, 0, 0}),
                          record("QWdb", kKey, {0xC0, 0, 0, 0, 0, 0, 0, 0}),
                          record("QWda", kKey, {0x3F, 0xF0, 0, 0, 0, 0, 0, 0}),
                          record("QWdt", kKey, {0, 0, 0, 2}, {0x00, 0xFF}),
                          record("QWst", kKey, {0, 0, 0, 2}, {0xC3, 0xA9})}));
  EXPECT_TRUE(isValid(data));
}

TEST(KeyedDataTest, TypedGettersReadWhatWasWritten) {
  KeyedBuffer data;
  addBool(data, 2, 1);
  addSigned(data, -7, 2);
  addUnsignedLongLong(data, 1ull << 40, 3);
  addFloat(data, 0.25f, 4);
  addDate(data, 86400.0, 5);
  addString(data, u"caf\u00E9", 6);
  addData(data, KeyedBytes(reinterpret_cast<const std::uint8_t*>("raw"), 3), 7);
  EXPECT_EQ(boolForKey(data, 1), 2);
  EXPECT_EQ(signedForKey(data, 2), -7);
  EXPECT_EQ(unsignedLongLongForKey(data, 3), 1ull << 40);
  EXPECT_EQ(floatForKey(data, 4), 0.25f);
  EXPECT_EQ(dateForKey(data, 5), 86400.0);
  EXPECT_EQ(descriptionWithCalendarFormat(data, "%Y-%m-%d %H:%M:%S", 5), "2001-01-02 00:00:00");
  for (const double undescribable : {std::nan(""), 1.0 / 0.0, -1.0 / 0.0, 7.5e168, -1e300}) {
    KeyedBuffer date;
    addDate(date, undescribable, 1);
    EXPECT_FALSE(descriptionWithCalendarFormat(date, "%Y", 1).has_value()) << undescribable;
  }
  EXPECT_EQ(stringForKey(data, 6), u"caf\u00E9");
  EXPECT_EQ(stringNoCopyForKey(data, 6), "caf\xC3\xA9");
  EXPECT_EQ(dataForKey(data, 7), (KeyedBuffer{'r', 'a', 'w'}));
  EXPECT_EQ(offsetOfSignedForKey(data, 2), 16u);
  // Wrong type or key: the zero value.
  EXPECT_EQ(unsignedForKey(data, 2), 0u);
  EXPECT_FALSE(dateForKey(data, 1).has_value());
  EXPECT_EQ(timeIntervalSinceReferenceDateForKey(data, 1), 0.0);
  EXPECT_EQ(offsetOfDoubleForKey(data, 9), NSNotFound);
  EXPECT_FALSE(containsStringForKey(data, 7));
}

TEST(KeyedDataTest, DuplicatesAnswerFirstAndSetAndRemoveTouchOnlyIt) {
  KeyedBuffer data;
  addUnsigned(data, 1, 7);
  addUnsigned(data, 2, 7);
  EXPECT_EQ(unsignedForKey(data, 7), 1u);
  setUnsigned(data, 9, 7);
  EXPECT_EQ(data, concat({record("QWun", 7, {0, 0, 0, 9}), record("QWun", 7, {0, 0, 0, 2})}));
  removeUnsignedForKey(data, 7);
  EXPECT_EQ(data, record("QWun", 7, {0, 0, 0, 2}));
  setUnsigned(data, 5, 8);  // absent: appended
  EXPECT_EQ(unsignedForKey(data, 8), 5u);
}

TEST(KeyedDataTest, SettingAVariableValueMovesItToTheEnd) {
  KeyedBuffer data;
  addString(data, u"one", 1);
  addString(data, u"two", 1);
  addUnsigned(data, 3, 2);
  setString(data, u"new", 1);
  EXPECT_THAT(*stringsForKey(data, 1), ElementsAre(u"two", u"new"));
  EXPECT_EQ(numberOfStringsForKey(data, 1), 2u);
  EXPECT_TRUE(containsString(data, u"new", 1));
  EXPECT_FALSE(containsString(data, u"one", 1));
  removeStringsForKey(data, 1);
  EXPECT_FALSE(stringsForKey(data, 1).has_value());
  EXPECT_EQ(unsignedForKey(data, 2), 3u);
}

TEST(KeyedDataTest, EmptyInputAddsNothing) {
  KeyedBuffer data;
  EXPECT_FALSE(addString(data, u"", 1));
  EXPECT_FALSE(addData(data, {}, 1));
  EXPECT_FALSE(addBytes(data, nullptr, 3, 1));
  EXPECT_FALSE(addDate(data, std::nullopt, 1));
  EXPECT_FALSE(addStrings(data, {}, 1));
  EXPECT_TRUE(data.empty());
  EXPECT_FALSE(isValid(data));
  EXPECT_FALSE(containsBoolForKey(data, 1));
}

TEST(KeyedDataTest, InvalidUtf16IsRefusedWithALogLine) {
  testing::LogCapture capture;
  KeyedBuffer data;
  const std::u16string lone = {u'a', 0xD800};
  EXPECT_FALSE(addStringToKeyedDataUsingEncoding(data, lone, 1));
  EXPECT_TRUE(data.empty());
  EXPECT_THAT(capture.lines(),
              ElementsAre("Failed addStringToKeyedDataUsingEncoding: a\xEF\xBF\xBD"));
}

TEST(KeyedDataTest, ValidityAndStrayBytes) {
  KeyedBuffer one = record("QWun", 1, {0, 0, 0, 5});
  EXPECT_TRUE(isValid(one));
  KeyedBuffer stray = concat({one, {1, 2, 3, 4, 5}});
  EXPECT_FALSE(isValid(stray));
  EXPECT_EQ(unsignedForKey(stray, 1), 5u);  // lookups still find the record
  removeUnsignedForKey(stray, 99);          // any removal cuts the stray bytes off
  EXPECT_EQ(stray, one);
  EXPECT_FALSE(isValid(concat({one, record("QWdt", 2, {0, 0, 0, 9}, {1, 2})})));  // overruns
  KeyedBuffer shortBuffer = {1, 2, 3};
  removeKeyedDataUsingHandler(
      shortBuffer, [](std::uint32_t, KeyedKey, void*) { return false; }, nullptr);
  EXPECT_TRUE(shortBuffer.empty());
}

TEST(KeyedDataTest, AnUnknownTagHidesEverythingAfterIt) {
  KeyedBuffer data = concat(
      {record("QWun", 1, {0, 0, 0, 1}), record("XXXX", 2, {}), record("QWun", 3, {0, 0, 0, 3})});
  EXPECT_FALSE(isValid(data));
  EXPECT_FALSE(containsUnsignedForKey(data, 3));
  EXPECT_EQ(numberOfKeyedData(data, 0), 3u);  // counting steps over unknown tags
  removeKeyedDataUsingHandler(
      data, [](std::uint32_t, KeyedKey, void*) { return false; }, nullptr);
  EXPECT_EQ(data, record("QWun", 1, {0, 0, 0, 1}));
}

struct Delivered {
  std::vector<std::uint32_t> tags;
  std::vector<std::u16string> strings;
};

bool collect(std::uint32_t tag, KeyedKey, const void* value, void* context) {
  auto* delivered = static_cast<Delivered*>(context);
  delivered->tags.push_back(tag);
  if (tag == kKeyedStringTag)
    delivered->strings.push_back(*static_cast<const std::u16string*>(value));
  if (tag == kKeyedUnsignedTag) return *static_cast<const std::uint32_t*>(value) == 4;
  return false;
}

TEST(KeyedDataTest, EnumerationFiltersByMarker) {
  KeyedBuffer data;
  addUnsigned(data, 4, 1);
  addString(data, u"s", 2);
  addBytes(data, "d", 1, 3);
  addUnsigned(data, 5, 4);
  Delivered all;
  EXPECT_EQ(handleKeyedDataUsingHandler(data, collect, 0, true, false, &all), 1u);
  EXPECT_THAT(all.tags, ElementsAre(kKeyedUnsignedTag, kKeyedStringTag, kKeyedUnsignedTag));
  EXPECT_THAT(all.strings, ElementsAre(u"s"));
  Delivered noStrings;
  EXPECT_EQ(handleKeyedDataUsingHandler(data, collect, &noStrings), 1u);
  EXPECT_THAT(noStrings.tags, ElementsAre(kKeyedUnsignedTag, kKeyedUnsignedTag));
  Delivered none;
  EXPECT_EQ(handleKeyedDataUsingHandler(data, collect, kKeyedDataTag, true, false, &none), 0u);
  EXPECT_EQ(handleKeyedDataUsingHandler(data, collect, kKeyedStringTag, false, false, &none), 0u);
  EXPECT_TRUE(none.tags.empty());
  EXPECT_EQ(numberOfKeyedData(data, kKeyedUnsignedTag), 2u);
  EXPECT_EQ(numberOfStrings(data), 1u);
}

TEST(KeyedDataTest, EqualityComparesWithTheFirstRecordOfEachKey) {
  KeyedBuffer a, b;
  addUnsigned(a, 1, 7);
  addString(a, u"x", 8);
  addString(b, u"x", 8);
  addUnsigned(b, 1, 7);
  EXPECT_TRUE(isEqualToKeyedData(a, KeyedBytes(b), 0));  // order does not matter
  KeyedBuffer c = a, d = a;
  addUnsigned(c, 1, 7);  // a second value equal to the other's first
  addUnsigned(d, 2, 7);
  KeyedBuffer e = a;
  addUnsigned(e, 3, 7);
  EXPECT_TRUE(isEqualToKeyedData(c, KeyedBytes(e), 0));   // every value of c equals e's first
  EXPECT_FALSE(isEqualToKeyedData(d, KeyedBytes(c), 0));  // d's second value differs
  EXPECT_FALSE(isEqualToKeyedData(a, std::nullopt, 0));
  EXPECT_FALSE(isEqualToKeyedData(a, KeyedBytes(c), 0));  // different counts
  EXPECT_TRUE(isEqualToKeyedData(a, KeyedBytes(b), kKeyedStringTag));
}

TEST(KeyedDataTest, StringsFileRoundTrip) {
  testing::TempDir dir;
  const auto path = dir.path() / "deep" / "folder" / "strings";
  const std::vector<std::u16string> strings = {u"alpha", u"\u00FCber", u"\U0001F600"};
  ASSERT_TRUE(writeKeyedStringsToFile(strings, path, true));
  std::vector<std::u16string> read = {u"old"};
  ASSERT_TRUE(readKeyedStringsFromFile(read, path));
  EXPECT_EQ(read, strings);
  // A file that cannot be read leaves nothing of what the receiver held.
  EXPECT_FALSE(readKeyedStringsFromFile(read, dir.path() / "missing"));
  EXPECT_TRUE(read.empty());
}

TEST(KeyedDataTest, FilesReadPlainUncachedAndMapped) {
  testing::TempDir dir;
  KeyedBuffer data;
  addUnsigned(data, 42, 1);
  const auto path = dir.writeFile("records", std::string(data.begin(), data.end()));
  EXPECT_EQ(dataWithKeyedFile(path), data);
  EXPECT_EQ(dataWithUncachedKeyedFile(path), data);
  const auto mapped = dataWithMappedKeyedFile(path);
  ASSERT_TRUE(mapped.has_value());
  EXPECT_EQ(unsignedForKey(mapped->bytes(), 1), 42u);
  EXPECT_FALSE(dataWithKeyedFile(dir.path() / "missing").has_value());
  EXPECT_TRUE(dataWithMappedKeyedFile(dir.writeFile("empty", ""))->bytes().empty());
  // Only a regular file is read, and one over the limit is refused before a byte is read: a
  // device without an end is never read until memory runs out.
  EXPECT_FALSE(dataWithKeyedFile("/dev/zero").has_value());
  const auto sparse = dir.writeFile("sparse", "");
  std::filesystem::resize_file(sparse, kMaxFileBytes + 1);
  EXPECT_FALSE(dataWithKeyedFile(sparse).has_value());
}

}  // namespace
}  // namespace orvel

namespace orvel {
namespace {

// Damaged buffers never crash a reader: every operation answers from what is well-formed.
TEST(KeyedDataTest, RandomDamageNeverCrashesAReader) {
  KeyedBuffer good;
  addUnsigned(good, 1, 1);
  addString(good, u"text", 2);
  addBytes(good, "raw", 3, 3);
  addDouble(good, 2.5, 4);
  std::mt19937 generator(4);
  for (int round = 0; round < 2000; ++round) {
    KeyedBuffer data = good;
    for (int flips = 0; flips < 3; ++flips) data[generator() % data.size()] ^= generator() & 0xFF;
    data.resize(generator() % (data.size() + 1));
    static_cast<void>(isValid(data));
    static_cast<void>(stringForKey(data, 2));
    static_cast<void>(dataForKey(data, 3));
    static_cast<void>(doubleForKey(data, 4));
    static_cast<void>(numberOfKeyedData(data, 0));
    static_cast<void>(stringsForKey(data, 2));
    static_cast<void>(isEqualToKeyedData(data, KeyedBytes(good), 0));
    static_cast<void>(handleKeyedDataUsingHandler(
        data, [](std::uint32_t, KeyedKey, const void*, void*) { return true; }, 0, true, false,
        nullptr));
    walkKeyedRecords(data, [](const KeyedRecordView&) {});
    removeUnsignedForKey(data, 1);
    EXPECT_TRUE(data.empty() || isValid(data)) << round;  // removal cuts damage off
  }
}

}  // namespace
}  // namespace orvel
