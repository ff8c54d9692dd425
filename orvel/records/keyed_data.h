// KeyedData: reading and writing the typed, keyed records of keyed_data_format.h in byte
// buffers. Lookups scan from the first byte and answer the first record of the type and
// key (the oldest, since records are appended); an unknown tag ends every scan, and
// absence reads as 0, false, 0.0 or nullopt. Only isValid checks a whole buffer: readers
// trust the length of the record they return.
//
// Families, one per type: contains (found?), offsetOf (the record's byte offset, or
// NSNotFound), the getter, remove (the first record of the type and key only; later
// duplicates stay), add (append), set (fixed-size types: overwrite the first record's value
// in place, else append; variable types: remove the first record, then append, so the
// value moves to the end).
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "orvel/base/types.h"
#include "orvel/records/keyed_data_format.h"

namespace orvel {

using KeyedBytes = std::span<const std::uint8_t>;
using KeyedBuffer = std::vector<std::uint8_t>;

// Reading a whole file: plainly; without leaving it in the page cache (the pages read are
// dropped from the cache afterwards); or mapped into memory. Nullopt when it cannot be
// read. Nothing is validated.
[[nodiscard]] std::optional<KeyedBuffer> dataWithKeyedFile(const std::filesystem::path& path);
[[nodiscard]] std::optional<KeyedBuffer> dataWithUncachedKeyedFile(
    const std::filesystem::path& path);

// A read-only mapping of a file, unmapped when the object goes.
class MappedKeyedFile {
 public:
  [[nodiscard]] static std::optional<MappedKeyedFile> open(const std::filesystem::path& path);
  MappedKeyedFile(MappedKeyedFile&& other) noexcept;
  MappedKeyedFile& operator=(MappedKeyedFile&& other) noexcept;
  ~MappedKeyedFile();

  [[nodiscard]] KeyedBytes bytes() const { return {_address, _size}; }

 private:
  MappedKeyedFile(const std::uint8_t* address, std::size_t size) : _address(address), _size(size) {}
  const std::uint8_t* _address = nullptr;
  std::size_t _size = 0;
};
[[nodiscard]] inline std::optional<MappedKeyedFile> dataWithMappedKeyedFile(
    const std::filesystem::path& path) {
  return MappedKeyedFile::open(path);
}

// A gapless sequence of well-formed records ending exactly at the end (never an empty one).
[[nodiscard]] bool isValid(KeyedBytes data);

// One record as a walk sees it.
struct KeyedRecordView {
  std::uint32_t tag;
  KeyedKey key;
  std::size_t offset;
  KeyedBytes value;    // the 8 value bytes
  KeyedBytes payload;  // variable types: the payload; else empty
};
// Visits the well-formed records from the start and answers the offset where the buffer
// stops being well-formed: its size when it is valid (and not empty).
std::size_t walkKeyedRecords(KeyedBytes data,
                             const std::function<void(const KeyedRecordView&)>& visit);

// The offset of the first record with the tag and key, or NSNotFound.
[[nodiscard]] std::size_t offsetOfKeyedRecord(KeyedBytes data, std::uint32_t tag, KeyedKey key);

// bool records (kKeyedBoolTag).
[[nodiscard]] bool containsBoolForKey(KeyedBytes data, KeyedKey key);
[[nodiscard]] std::size_t offsetOfBoolForKey(KeyedBytes data, KeyedKey key);
[[nodiscard]] std::int8_t boolForKey(KeyedBytes data, KeyedKey key);
bool removeBoolForKey(KeyedBuffer& data, KeyedKey key);
bool addBool(KeyedBuffer& data, std::int8_t value, KeyedKey key);
bool setBool(KeyedBuffer& data, std::int8_t value, KeyedKey key);

// unsigned 32-bit records (kKeyedUnsignedTag).
[[nodiscard]] bool containsUnsignedForKey(KeyedBytes data, KeyedKey key);
[[nodiscard]] std::size_t offsetOfUnsignedForKey(KeyedBytes data, KeyedKey key);
[[nodiscard]] std::uint32_t unsignedForKey(KeyedBytes data, KeyedKey key);
bool removeUnsignedForKey(KeyedBuffer& data, KeyedKey key);
bool addUnsigned(KeyedBuffer& data, std::uint32_t value, KeyedKey key);
bool setUnsigned(KeyedBuffer& data, std::uint32_t value, KeyedKey key);

// signed 32-bit records (kKeyedSignedTag).
[[nodiscard]] bool containsSignedForKey(KeyedBytes data, KeyedKey key);
[[nodiscard]] std::size_t offsetOfSignedForKey(KeyedBytes data, KeyedKey key);
[[nodiscard]] std::int32_t signedForKey(KeyedBytes data, KeyedKey key);
bool removeSignedForKey(KeyedBuffer& data, KeyedKey key);
bool addSigned(KeyedBuffer& data, std::int32_t value, KeyedKey key);
bool setSigned(KeyedBuffer& data, std::int32_t value, KeyedKey key);

// unsigned 64-bit records (kKeyedUnsignedLongLongTag).
[[nodiscard]] bool containsUnsignedLongLongForKey(KeyedBytes data, KeyedKey key);
[[nodiscard]] std::size_t offsetOfUnsignedLongLongForKey(KeyedBytes data, KeyedKey key);
[[nodiscard]] std::uint64_t unsignedLongLongForKey(KeyedBytes data, KeyedKey key);
bool removeUnsignedLongLongForKey(KeyedBuffer& data, KeyedKey key);
bool addUnsignedLongLong(KeyedBuffer& data, std::uint64_t value, KeyedKey key);
bool setUnsignedLongLong(KeyedBuffer& data, std::uint64_t value, KeyedKey key);

// signed 64-bit records (kKeyedSignedLongLongTag).
[[nodiscard]] bool containsSignedLongLongForKey(KeyedBytes data, KeyedKey key);
[[nodiscard]] std::size_t offsetOfSignedLongLongForKey(KeyedBytes data, KeyedKey key);
[[nodiscard]] std::int64_t signedLongLongForKey(KeyedBytes data, KeyedKey key);
bool removeSignedLongLongForKey(KeyedBuffer& data, KeyedKey key);
bool addSignedLongLong(KeyedBuffer& data, std::int64_t value, KeyedKey key);
bool setSignedLongLong(KeyedBuffer& data, std::int64_t value, KeyedKey key);

// float records (kKeyedFloatTag).
[[nodiscard]] bool containsFloatForKey(KeyedBytes data, KeyedKey key);
[[nodiscard]] std::size_t offsetOfFloatForKey(KeyedBytes data, KeyedKey key);
[[nodiscard]] float floatForKey(KeyedBytes data, KeyedKey key);
bool removeFloatForKey(KeyedBuffer& data, KeyedKey key);
bool addFloat(KeyedBuffer& data, float value, KeyedKey key);
bool setFloat(KeyedBuffer& data, float value, KeyedKey key);

// double records (kKeyedDoubleTag).
[[nodiscard]] bool containsDoubleForKey(KeyedBytes data, KeyedKey key);
[[nodiscard]] std::size_t offsetOfDoubleForKey(KeyedBytes data, KeyedKey key);
[[nodiscard]] double doubleForKey(KeyedBytes data, KeyedKey key);
bool removeDoubleForKey(KeyedBuffer& data, KeyedKey key);
bool addDouble(KeyedBuffer& data, double value, KeyedKey key);
bool setDouble(KeyedBuffer& data, double value, KeyedKey key);

// date records (kKeyedDateTag): seconds since 2001-01-01 00:00:00 UTC.
[[nodiscard]] bool containsDateForKey(KeyedBytes data, KeyedKey key);
[[nodiscard]] std::size_t offsetOfDateForKey(KeyedBytes data, KeyedKey key);
[[nodiscard]] std::optional<TimeInterval> dateForKey(KeyedBytes data, KeyedKey key);
[[nodiscard]] TimeInterval timeIntervalSinceReferenceDateForKey(KeyedBytes data, KeyedKey key);
// The date formatted with strftime conversions (%Y-%m-%d %H:%M:%S ...) in UTC; nullopt
// also for a date no calendar shows (NaN, an infinity, a year beyond the range of int).
[[nodiscard]] std::optional<std::string> descriptionWithCalendarFormat(KeyedBytes data,
                                                                       const std::string& format,
                                                                       KeyedKey key);
bool removeDateForKey(KeyedBuffer& data, KeyedKey key);
bool addDate(KeyedBuffer& data, std::optional<TimeInterval> date, KeyedKey key);
bool addTimeIntervalSinceReferenceDate(KeyedBuffer& data, TimeInterval seconds, KeyedKey key);
bool setDate(KeyedBuffer& data, std::optional<TimeInterval> date, KeyedKey key);
bool setTimeIntervalSinceReferenceDate(KeyedBuffer& data, TimeInterval seconds, KeyedKey key);

// data records (kKeyedDataTag). The no-copy form views the payload inside data.
[[nodiscard]] bool containsDataForKey(KeyedBytes data, KeyedKey key);
[[nodiscard]] std::size_t offsetOfDataForKey(KeyedBytes data, KeyedKey key);
[[nodiscard]] std::optional<KeyedBuffer> dataForKey(KeyedBytes data, KeyedKey key);
[[nodiscard]] std::optional<KeyedBytes> dataNoCopyForKey(KeyedBytes data, KeyedKey key);
bool removeDataForKey(KeyedBuffer& data, KeyedKey key);
// False, appending nothing, for empty bytes.
bool addData(KeyedBuffer& data, KeyedBytes bytes, KeyedKey key);
bool addBytes(KeyedBuffer& data, const void* bytes, std::size_t length, KeyedKey key);
bool setData(KeyedBuffer& data, KeyedBytes bytes, KeyedKey key);
bool setBytes(KeyedBuffer& data, const void* bytes, std::size_t length, KeyedKey key);

// string records (kKeyedStringTag), UTF-8 payloads; a payload that is not UTF-8 reads as
// absent. The no-copy forms view the UTF-8 payload inside data.
[[nodiscard]] bool containsStringForKey(KeyedBytes data, KeyedKey key);
// Whether any string record of the key holds exactly this string.
[[nodiscard]] bool containsString(KeyedBytes data, std::u16string_view string, KeyedKey key);
[[nodiscard]] std::size_t offsetOfStringForKey(KeyedBytes data, KeyedKey key);
[[nodiscard]] std::optional<std::u16string> stringForKey(KeyedBytes data, KeyedKey key);
[[nodiscard]] std::optional<std::string_view> stringNoCopyForKey(KeyedBytes data, KeyedKey key);
[[nodiscard]] std::optional<KeyedBuffer> stringDataForKey(KeyedBytes data, KeyedKey key);
bool removeStringForKey(KeyedBuffer& data, KeyedKey key);
// Every string record of the key.
bool removeStringsForKey(KeyedBuffer& data, KeyedKey key);
bool addString(KeyedBuffer& data, std::u16string_view string, KeyedKey key);
// Each string in order; false only for an empty list.
bool addStrings(KeyedBuffer& data, const std::vector<std::u16string>& strings, KeyedKey key);
bool setString(KeyedBuffer& data, std::u16string_view string, KeyedKey key);
[[nodiscard]] std::size_t numberOfStringsForKey(KeyedBytes data, KeyedKey key);
// All string records of the key in buffer order (undecodable ones skipped); nullopt when
// there is none.
[[nodiscard]] std::optional<std::vector<std::u16string>> stringsForKey(KeyedBytes data,
                                                                       KeyedKey key);
[[nodiscard]] std::optional<std::vector<std::string_view>> stringsNoCopyForKey(KeyedBytes data,
                                                                               KeyedKey key);
// Appends them to target; answers how many.
std::size_t addStringsForKey(KeyedBytes data, KeyedKey key, std::vector<std::u16string>& target);
// Calls the handler for each; answers how many calls returned true (false does not stop).
using KeyedStringHandler = bool (*)(std::u16string_view string, void* context);
using KeyedStringNoCopyHandler = bool (*)(std::string_view utf8, void* context);
std::size_t handleStringsForKey(KeyedBytes data, KeyedKey key, KeyedStringHandler handler,
                                void* context);
std::size_t handleStringsNoCopyForKey(KeyedBytes data, KeyedKey key,
                                      KeyedStringNoCopyHandler handler, void* context);

// The one writer of string records: false for an empty string, and, with the log line
// "Failed addStringToKeyedDataUsingEncoding: STRING", for one that is not valid UTF-16.
bool addStringToKeyedDataUsingEncoding(KeyedBuffer& data, std::u16string_view string, KeyedKey key);

// Enumeration. The handler receives the tag, the key and a pointer to the value decoded in
// host order (int8_t, uint32_t, int32_t, uint64_t, int64_t, float, double, double for a
// date); string records only with `strings`, as a pointer to a std::u16string, or with
// noCopy to a std::string_view of the UTF-8 payload. Data records are never delivered (the
// marker kKeyedDataTag answers 0 at once); marker 0 means every tag. The handler's answer
// never stops the walk; the result counts the true answers.
using KeyedDataHandler = bool (*)(std::uint32_t tag, KeyedKey key, const void* value,
                                  void* context);
std::size_t handleKeyedDataUsingHandler(KeyedBytes data, KeyedDataHandler handler,
                                        std::uint32_t marker, bool strings, bool noCopy,
                                        void* context);
// Every record but strings and data.
inline std::size_t handleKeyedDataUsingHandler(KeyedBytes data, KeyedDataHandler handler,
                                               void* context) {
  return handleKeyedDataUsingHandler(data, handler, 0, false, false, context);
}

// Records whose tag is the marker (0: all), stepping over unknown tags as 16 bytes.
[[nodiscard]] std::size_t numberOfKeyedData(KeyedBytes data, std::uint32_t marker);
[[nodiscard]] std::size_t numberOfStrings(KeyedBytes data);

// Every record of data (of the marker's tag, unless 0) equals the FIRST record of the same
// tag and key in other; the counts by marker must agree.
[[nodiscard]] bool isEqualToKeyedData(KeyedBytes data, std::optional<KeyedBytes> other,
                                      std::uint32_t marker);

// Removes the records the handler answers true for, compacting the buffer; the walk stops
// at an unknown tag or an overrunning record, and everything from there on is cut off.
using KeyedRemovalHandler = bool (*)(std::uint32_t tag, KeyedKey key, void* context);
void removeKeyedDataUsingHandler(KeyedBuffer& data, KeyedRemovalHandler handler, void* context);

// The strings file: every string as a string record of key "STRI". Writing creates missing
// folders, writes in 1 MiB pieces and syncs to disk.
bool writeKeyedStringsToFile(const std::vector<std::u16string>& strings,
                             const std::filesystem::path& path, bool atomically);
// Empties strings, then fills them from the file; false when it cannot be read.
bool readKeyedStringsFromFile(std::vector<std::u16string>& strings,
                              const std::filesystem::path& path);

}  // namespace orvel
