#include "orvel/records/keyed_data.h"

#include <algorithm>
#include <bit>
#include <cerrno>
#include <cstring>
#include <ctime>
#include <new>
#include <utility>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include "orvel/base/assert.h"
#include "orvel/base/big_endian.h"
#include "orvel/base/calendar.h"
#include "orvel/base/file_bytes.h"
#include "orvel/base/log.h"
#include "orvel/base/utf8.h"
#include "orvel/text/encoding_converters.h"

namespace orvel {
namespace {

// One record as the scans see it: its size is 16, or 16 plus the stored payload length,
// whether or not the buffer holds that much.
struct Record {
  std::uint32_t tag;
  KeyedKey key;
  std::size_t offset;
  std::size_t size;
};

Record recordAt(KeyedBytes data, std::size_t offset) {
  const std::uint8_t* p = data.data() + offset;
  const std::uint32_t tag = loadBigEndian32(p);
  const std::size_t size =
      kKeyedHeaderSize + (isVariableKeyedTag(tag) ? loadBigEndian32(p + 8) : 0);
  return Record{tag, loadBigEndian32(p + 4), offset, size};
}

// The lookup scan: visits records in order until `visit` answers true, an unknown tag, a
// record that reaches or overruns the end, or a remainder of fewer than 16 bytes.
template <typename Visit>
void scanRecords(KeyedBytes data, Visit visit) {
  if (data.data() == nullptr || data.size() < kKeyedHeaderSize) return;
  std::size_t offset = 0;
  std::size_t remaining = data.size();
  for (;;) {
    const Record record = recordAt(data, offset);
    if (!isKnownKeyedTag(record.tag)) return;
    if (visit(record)) return;
    if (remaining <= record.size) return;
    remaining -= record.size;
    if (remaining < kKeyedHeaderSize) return;
    offset += record.size;
  }
}

std::optional<Record> findRecord(KeyedBytes data, std::uint32_t tag, KeyedKey key) {
  std::optional<Record> found;
  scanRecords(data, [&](const Record& record) {
    if (record.tag == tag && record.key == key) found = record;
    return found.has_value();
  });
  return found;
}

// A variable record's payload; nullopt when it would run past the buffer (readers trust
// stored lengths, but never read outside the buffer).
std::optional<KeyedBytes> payloadOf(KeyedBytes data, const Record& record) {
  if (record.size > data.size() - record.offset) return std::nullopt;
  return data.subspan(record.offset + kKeyedHeaderSize, record.size - kKeyedHeaderSize);
}

// Host values to and from the big-endian value field.
template <typename T>
std::uint64_t bitsOf(T value) {
  if constexpr (std::is_same_v<T, float>) {
    return std::bit_cast<std::uint32_t>(value);
  } else if constexpr (std::is_same_v<T, double>) {
    return std::bit_cast<std::uint64_t>(value);
  } else {
    return static_cast<std::uint64_t>(value);
  }
}

template <typename T>
void storeValue(std::uint8_t* field, T value) {
  if constexpr (sizeof(T) == 1) {
    field[0] = static_cast<std::uint8_t>(value);
  } else if constexpr (sizeof(T) == 4) {
    storeBigEndian32(field, static_cast<std::uint32_t>(bitsOf(value)));
  } else {
    storeBigEndian64(field, bitsOf(value));
  }
}

template <typename T>
T loadValue(const std::uint8_t* field) {
  if constexpr (sizeof(T) == 1) {
    return static_cast<T>(field[0]);
  } else if constexpr (std::is_same_v<T, float>) {
    return std::bit_cast<float>(loadBigEndian32(field));
  } else if constexpr (std::is_same_v<T, double>) {
    return std::bit_cast<double>(loadBigEndian64(field));
  } else if constexpr (sizeof(T) == 4) {
    return static_cast<T>(loadBigEndian32(field));
  } else {
    return static_cast<T>(loadBigEndian64(field));
  }
}

template <typename T>
std::optional<T> readFixed(KeyedBytes data, std::uint32_t tag, KeyedKey key) {
  const auto record = findRecord(data, tag, key);
  if (!record) return std::nullopt;
  return loadValue<T>(data.data() + record->offset + 8);
}

void appendHeader(KeyedBuffer& data, std::uint32_t tag, KeyedKey key, std::uint32_t length) {
  std::uint8_t header[kKeyedHeaderSize] = {};
  storeBigEndian32(header, tag);
  storeBigEndian32(header + 4, key);
  storeBigEndian32(header + 8, length);
  data.insert(data.end(), header, header + kKeyedHeaderSize);
}

template <typename T>
void appendFixed(KeyedBuffer& data, std::uint32_t tag, KeyedKey key, T value) {
  appendHeader(data, tag, key, 0);
  storeValue(data.data() + data.size() - 8, value);
}

// Overwrites only the value's own bytes of the first record, else appends one.
template <typename T>
void setFixed(KeyedBuffer& data, std::uint32_t tag, KeyedKey key, T value) {
  if (const auto record = findRecord(data, tag, key)) {
    storeValue(data.data() + record->offset + 8, value);
  } else {
    appendFixed(data, tag, key, value);
  }
}

void appendVariable(KeyedBuffer& data, std::uint32_t tag, KeyedKey key, KeyedBytes payload) {
  appendHeader(data, tag, key, static_cast<std::uint32_t>(payload.size()));
  data.insert(data.end(), payload.begin(), payload.end());
}

// The removal walk: drops the records `remove` answers true for, moving the kept ones
// down; stops at an unknown tag, an overrunning record or a remainder below 16 bytes, and
// cuts everything from there off.
template <typename Remove>
void compactRecords(KeyedBuffer& data, Remove remove) {
  if (data.empty()) return;
  const std::size_t length = data.size();
  std::size_t read = 0, write = 0;
  while (length - read >= kKeyedHeaderSize) {
    const Record record = recordAt(data, read);
    if (!isKnownKeyedTag(record.tag) || record.size > length - read) break;
    if (!remove(record)) {
      if (read != write) std::memmove(data.data() + write, data.data() + read, record.size);
      write += record.size;
    }
    read += record.size;
  }
  ORVEL_ASSERT(write <= length);
  data.resize(write);
}

bool removeFirst(KeyedBuffer& data, std::uint32_t tag, KeyedKey key) {
  bool removed = false;
  compactRecords(data, [&](const Record& record) {
    const bool match = !removed && record.tag == tag && record.key == key;
    removed = removed || match;
    return match;
  });
  return removed;
}

bool removeAll(KeyedBuffer& data, std::uint32_t tag, KeyedKey key) {
  bool removed = false;
  compactRecords(data, [&](const Record& record) {
    const bool match = record.tag == tag && record.key == key;
    removed = removed || match;
    return match;
  });
  return removed;
}

std::optional<std::u16string> decodeUtf8(KeyedBytes payload) {
  return utf8ToUtf16(
      std::string_view(reinterpret_cast<const char*>(payload.data()), payload.size()));
}

std::optional<std::string_view> validUtf8(KeyedBytes payload) {
  const std::string_view bytes(reinterpret_cast<const char*>(payload.data()), payload.size());
  if (!utf8ToUtf16(bytes)) return std::nullopt;
  return bytes;
}

// Every string record of the key, in order.
template <typename Visit>
void forEachString(KeyedBytes data, KeyedKey key, Visit visit) {
  scanRecords(data, [&](const Record& record) {
    if (record.tag == kKeyedStringTag && record.key == key) {
      if (const auto payload = payloadOf(data, record)) visit(*payload);
    }
    return false;
  });
}

// Whole files are read up to kMaxFileBytes, and only regular files: a device or FIFO has no
// end (and a FIFO without a writer would hold the open), and a file can be larger than memory.
std::optional<KeyedBuffer> readWholeFile(const std::filesystem::path& path, bool dropFromCache) {
  const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
  if (fd < 0) return std::nullopt;
  struct stat info {};
  KeyedBuffer bytes;
  std::uint8_t buffer[1 << 16];
  bool failed = ::fstat(fd, &info) != 0 || !S_ISREG(info.st_mode) ||
                static_cast<std::uint64_t>(info.st_size) > kMaxFileBytes;
  try {
    if (!failed) bytes.reserve(static_cast<std::size_t>(info.st_size));
    while (!failed) {
      const ssize_t n = ::read(fd, buffer, sizeof buffer);
      if (n == 0) break;
      if (n < 0) {
        failed = errno != EINTR;
        continue;
      }
      bytes.insert(bytes.end(), buffer, buffer + n);
      failed = bytes.size() > kMaxFileBytes;
    }
  } catch (const std::bad_alloc&) {
    failed = true;
  }
  if (dropFromCache) ::posix_fadvise(fd, 0, 0, POSIX_FADV_DONTNEED);
  ::close(fd);
  if (failed) return std::nullopt;
  return bytes;
}

}  // namespace

std::optional<KeyedBuffer> dataWithKeyedFile(const std::filesystem::path& path) {
  return readWholeFile(path, false);
}

std::optional<KeyedBuffer> dataWithUncachedKeyedFile(const std::filesystem::path& path) {
  return readWholeFile(path, true);
}

std::optional<MappedKeyedFile> MappedKeyedFile::open(const std::filesystem::path& path) {
  const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) return std::nullopt;
  struct stat info {};
  if (::fstat(fd, &info) != 0) {
    ::close(fd);
    return std::nullopt;
  }
  const auto size = static_cast<std::size_t>(info.st_size);
  void* address = size > 0 ? ::mmap(nullptr, size, PROT_READ, MAP_PRIVATE, fd, 0) : nullptr;
  ::close(fd);
  if (address == MAP_FAILED) return std::nullopt;
  return MappedKeyedFile(static_cast<const std::uint8_t*>(address), size);
}

MappedKeyedFile::MappedKeyedFile(MappedKeyedFile&& other) noexcept
    : _address(std::exchange(other._address, nullptr)), _size(std::exchange(other._size, 0)) {}

MappedKeyedFile& MappedKeyedFile::operator=(MappedKeyedFile&& other) noexcept {
  if (this != &other) {
    if (_address != nullptr) ::munmap(const_cast<std::uint8_t*>(_address), _size);
    _address = std::exchange(other._address, nullptr);
    _size = std::exchange(other._size, 0);
  }
  return *this;
}

MappedKeyedFile::~MappedKeyedFile() {
  if (_address != nullptr) ::munmap(const_cast<std::uint8_t*>(_address), _size);
}

std::size_t walkKeyedRecords(KeyedBytes data,
                             const std::function<void(const KeyedRecordView&)>& visit) {
  if (data.data() == nullptr) return 0;
  std::size_t offset = 0;
  while (data.size() - offset >= kKeyedHeaderSize) {
    const Record record = recordAt(data, offset);
    if (!isKnownKeyedTag(record.tag) || record.size > data.size() - offset) return offset;
    if (visit) {
      visit(
          KeyedRecordView{record.tag, record.key, offset, data.subspan(offset + 8, 8),
                          data.subspan(offset + kKeyedHeaderSize, record.size - kKeyedHeaderSize)});
    }
    offset += record.size;
  }
  return offset;
}

bool isValid(KeyedBytes data) {
  return data.size() >= kKeyedHeaderSize && walkKeyedRecords(data, nullptr) == data.size();
}

std::size_t offsetOfKeyedRecord(KeyedBytes data, std::uint32_t tag, KeyedKey key) {
  const auto record = findRecord(data, tag, key);
  return record ? record->offset : NSNotFound;
}

// The six operations of a fixed-size family, all through the shared helpers above.
#define ORVEL_KEYED_FIXED_FAMILY(Name, getter, Type, tag)             \
  bool contains##Name##ForKey(KeyedBytes data, KeyedKey key) {        \
    return offsetOfKeyedRecord(data, tag, key) != NSNotFound;         \
  }                                                                   \
  std::size_t offsetOf##Name##ForKey(KeyedBytes data, KeyedKey key) { \
    return offsetOfKeyedRecord(data, tag, key);                       \
  }                                                                   \
  Type getter(KeyedBytes data, KeyedKey key) {                        \
    return readFixed<Type>(data, tag, key).value_or(Type{});          \
  }                                                                   \
  bool remove##Name##ForKey(KeyedBuffer& data, KeyedKey key) {        \
    return removeFirst(data, tag, key);                               \
  }                                                                   \
  bool add##Name(KeyedBuffer& data, Type value, KeyedKey key) {       \
    appendFixed(data, tag, key, value);                               \
    return true;                                                      \
  }                                                                   \
  bool set##Name(KeyedBuffer& data, Type value, KeyedKey key) {       \
    setFixed(data, tag, key, value);                                  \
    return true;                                                      \
  }

ORVEL_KEYED_FIXED_FAMILY(Bool, boolForKey, std::int8_t, kKeyedBoolTag)
ORVEL_KEYED_FIXED_FAMILY(Unsigned, unsignedForKey, std::uint32_t, kKeyedUnsignedTag)
ORVEL_KEYED_FIXED_FAMILY(Signed, signedForKey, std::int32_t, kKeyedSignedTag)
ORVEL_KEYED_FIXED_FAMILY(UnsignedLongLong, unsignedLongLongForKey, std::uint64_t,
                         kKeyedUnsignedLongLongTag)
ORVEL_KEYED_FIXED_FAMILY(SignedLongLong, signedLongLongForKey, std::int64_t,
                         kKeyedSignedLongLongTag)
ORVEL_KEYED_FIXED_FAMILY(Float, floatForKey, float, kKeyedFloatTag)
ORVEL_KEYED_FIXED_FAMILY(Double, doubleForKey, double, kKeyedDoubleTag)

#undef ORVEL_KEYED_FIXED_FAMILY

bool containsDateForKey(KeyedBytes data, KeyedKey key) {
  return offsetOfKeyedRecord(data, kKeyedDateTag, key) != NSNotFound;
}
std::size_t offsetOfDateForKey(KeyedBytes data, KeyedKey key) {
  return offsetOfKeyedRecord(data, kKeyedDateTag, key);
}
std::optional<TimeInterval> dateForKey(KeyedBytes data, KeyedKey key) {
  return readFixed<double>(data, kKeyedDateTag, key);
}
TimeInterval timeIntervalSinceReferenceDateForKey(KeyedBytes data, KeyedKey key) {
  return dateForKey(data, key).value_or(0.0);
}
std::optional<std::string> descriptionWithCalendarFormat(KeyedBytes data, const std::string& format,
                                                         KeyedKey key) {
  const auto date = dateForKey(data, key);
  if (!date) return std::nullopt;
  std::tm calendar{};
  if (!calendarDateOfTimeInterval(*date, &calendar)) return std::nullopt;
  char text[256];
  const std::size_t length = std::strftime(text, sizeof text, format.c_str(), &calendar);
  return std::string(text, length);
}
bool removeDateForKey(KeyedBuffer& data, KeyedKey key) {
  return removeFirst(data, kKeyedDateTag, key);
}
bool addDate(KeyedBuffer& data, std::optional<TimeInterval> date, KeyedKey key) {
  return date && addTimeIntervalSinceReferenceDate(data, *date, key);
}
bool addTimeIntervalSinceReferenceDate(KeyedBuffer& data, TimeInterval seconds, KeyedKey key) {
  appendFixed(data, kKeyedDateTag, key, seconds);
  return true;
}
bool setDate(KeyedBuffer& data, std::optional<TimeInterval> date, KeyedKey key) {
  return date && setTimeIntervalSinceReferenceDate(data, *date, key);
}
bool setTimeIntervalSinceReferenceDate(KeyedBuffer& data, TimeInterval seconds, KeyedKey key) {
  setFixed(data, kKeyedDateTag, key, seconds);
  return true;
}

bool containsDataForKey(KeyedBytes data, KeyedKey key) {
  return offsetOfKeyedRecord(data, kKeyedDataTag, key) != NSNotFound;
}
std::size_t offsetOfDataForKey(KeyedBytes data, KeyedKey key) {
  return offsetOfKeyedRecord(data, kKeyedDataTag, key);
}
std::optional<KeyedBytes> dataNoCopyForKey(KeyedBytes data, KeyedKey key) {
  const auto record = findRecord(data, kKeyedDataTag, key);
  return record ? payloadOf(data, *record) : std::nullopt;
}
std::optional<KeyedBuffer> dataForKey(KeyedBytes data, KeyedKey key) {
  const auto payload = dataNoCopyForKey(data, key);
  if (!payload) return std::nullopt;
  return KeyedBuffer(payload->begin(), payload->end());
}
bool removeDataForKey(KeyedBuffer& data, KeyedKey key) {
  return removeFirst(data, kKeyedDataTag, key);
}
bool addData(KeyedBuffer& data, KeyedBytes bytes, KeyedKey key) {
  if (bytes.empty() || bytes.data() == nullptr) return false;
  appendVariable(data, kKeyedDataTag, key, bytes);
  return true;
}
bool addBytes(KeyedBuffer& data, const void* bytes, std::size_t length, KeyedKey key) {
  return bytes != nullptr &&
         addData(data, KeyedBytes(static_cast<const std::uint8_t*>(bytes), length), key);
}
bool setData(KeyedBuffer& data, KeyedBytes bytes, KeyedKey key) {
  removeFirst(data, kKeyedDataTag, key);
  return addData(data, bytes, key);
}
bool setBytes(KeyedBuffer& data, const void* bytes, std::size_t length, KeyedKey key) {
  removeFirst(data, kKeyedDataTag, key);
  return addBytes(data, bytes, length, key);
}

bool containsStringForKey(KeyedBytes data, KeyedKey key) {
  return offsetOfKeyedRecord(data, kKeyedStringTag, key) != NSNotFound;
}
bool containsString(KeyedBytes data, std::u16string_view string, KeyedKey key) {
  if (string.empty()) return false;
  const auto utf8 = encodeString(string, kCFStringEncodingUTF8);
  if (!utf8) return false;
  bool found = false;
  forEachString(data, key, [&](KeyedBytes payload) {
    found = found || std::equal(payload.begin(), payload.end(), utf8->begin(), utf8->end());
  });
  return found;
}
std::size_t offsetOfStringForKey(KeyedBytes data, KeyedKey key) {
  return offsetOfKeyedRecord(data, kKeyedStringTag, key);
}
std::optional<std::string_view> stringNoCopyForKey(KeyedBytes data, KeyedKey key) {
  const auto record = findRecord(data, kKeyedStringTag, key);
  if (!record) return std::nullopt;
  const auto payload = payloadOf(data, *record);
  return payload ? validUtf8(*payload) : std::nullopt;
}
std::optional<std::u16string> stringForKey(KeyedBytes data, KeyedKey key) {
  const auto utf8 = stringNoCopyForKey(data, key);
  if (!utf8) return std::nullopt;
  return utf8ToUtf16(*utf8);
}
std::optional<KeyedBuffer> stringDataForKey(KeyedBytes data, KeyedKey key) {
  const auto record = findRecord(data, kKeyedStringTag, key);
  if (!record) return std::nullopt;
  const auto payload = payloadOf(data, *record);
  if (!payload) return std::nullopt;
  return KeyedBuffer(payload->begin(), payload->end());
}
bool removeStringForKey(KeyedBuffer& data, KeyedKey key) {
  return removeFirst(data, kKeyedStringTag, key);
}
bool removeStringsForKey(KeyedBuffer& data, KeyedKey key) {
  return removeAll(data, kKeyedStringTag, key);
}
bool addString(KeyedBuffer& data, std::u16string_view string, KeyedKey key) {
  return addStringToKeyedDataUsingEncoding(data, string, key);
}
bool addStrings(KeyedBuffer& data, const std::vector<std::u16string>& strings, KeyedKey key) {
  for (const std::u16string& string : strings) addString(data, string, key);
  return !strings.empty();
}
bool setString(KeyedBuffer& data, std::u16string_view string, KeyedKey key) {
  removeFirst(data, kKeyedStringTag, key);
  return addString(data, string, key);
}
std::size_t numberOfStringsForKey(KeyedBytes data, KeyedKey key) {
  std::size_t count = 0;
  forEachString(data, key, [&](KeyedBytes) { ++count; });
  return count;
}
std::optional<std::vector<std::u16string>> stringsForKey(KeyedBytes data, KeyedKey key) {
  std::vector<std::u16string> strings;
  addStringsForKey(data, key, strings);
  if (strings.empty()) return std::nullopt;
  return strings;
}
std::optional<std::vector<std::string_view>> stringsNoCopyForKey(KeyedBytes data, KeyedKey key) {
  std::vector<std::string_view> strings;
  forEachString(data, key, [&](KeyedBytes payload) {
    if (const auto utf8 = validUtf8(payload)) strings.push_back(*utf8);
  });
  if (strings.empty()) return std::nullopt;
  return strings;
}
std::size_t addStringsForKey(KeyedBytes data, KeyedKey key, std::vector<std::u16string>& target) {
  const std::size_t before = target.size();
  forEachString(data, key, [&](KeyedBytes payload) {
    if (auto string = decodeUtf8(payload)) target.push_back(std::move(*string));
  });
  return target.size() - before;
}
std::size_t handleStringsForKey(KeyedBytes data, KeyedKey key, KeyedStringHandler handler,
                                void* context) {
  std::size_t yes = 0;
  forEachString(data, key, [&](KeyedBytes payload) {
    if (const auto string = decodeUtf8(payload)) yes += handler(*string, context);
  });
  return yes;
}
std::size_t handleStringsNoCopyForKey(KeyedBytes data, KeyedKey key,
                                      KeyedStringNoCopyHandler handler, void* context) {
  std::size_t yes = 0;
  forEachString(data, key, [&](KeyedBytes payload) {
    if (const auto utf8 = validUtf8(payload)) yes += handler(*utf8, context);
  });
  return yes;
}

bool addStringToKeyedDataUsingEncoding(KeyedBuffer& data, std::u16string_view string,
                                       KeyedKey key) {
  if (string.empty()) return false;
  const auto utf8 = encodeString(string, kCFStringEncodingUTF8);
  if (!utf8 || utf8->empty()) {
    log("Failed addStringToKeyedDataUsingEncoding: %s", utf16ToUtf8(string).c_str());
    return false;
  }
  appendVariable(data, kKeyedStringTag, key, *utf8);
  return true;
}

std::size_t handleKeyedDataUsingHandler(KeyedBytes data, KeyedDataHandler handler,
                                        std::uint32_t marker, bool strings, bool noCopy,
                                        void* context) {
  if (marker == kKeyedDataTag || (marker == kKeyedStringTag && !strings) || handler == nullptr) {
    return 0;
  }
  std::size_t yes = 0;
  scanRecords(data, [&](const Record& record) {
    if (marker != 0 && marker != record.tag) return false;
    const std::uint8_t* value = data.data() + record.offset + 8;
    auto call = [&](const auto& decoded) {
      yes += handler(record.tag, record.key, &decoded, context);
    };
    switch (record.tag) {
      case kKeyedBoolTag: call(loadValue<std::int8_t>(value)); break;
      case kKeyedUnsignedTag: call(loadValue<std::uint32_t>(value)); break;
      case kKeyedSignedTag: call(loadValue<std::int32_t>(value)); break;
      case kKeyedUnsignedLongLongTag: call(loadValue<std::uint64_t>(value)); break;
      case kKeyedSignedLongLongTag: call(loadValue<std::int64_t>(value)); break;
      case kKeyedFloatTag: call(loadValue<float>(value)); break;
      case kKeyedDoubleTag:
      case kKeyedDateTag: call(loadValue<double>(value)); break;
      case kKeyedStringTag:
        if (!strings) break;
        if (const auto payload = payloadOf(data, record)) {
          if (noCopy) {
            if (const auto utf8 = validUtf8(*payload)) call(*utf8);
          } else if (const auto string = decodeUtf8(*payload)) {
            call(*string);
          }
        }
        break;
      default:  // data records are never delivered
        break;
    }
    return false;
  });
  return yes;
}

std::size_t numberOfKeyedData(KeyedBytes data, std::uint32_t marker) {
  if (data.data() == nullptr || data.size() < kKeyedHeaderSize) return 0;
  std::size_t count = 0;
  std::size_t offset = 0;
  std::size_t remaining = data.size();
  for (;;) {
    const std::uint32_t tag = loadBigEndian32(data.data() + offset);
    const std::size_t size =
        kKeyedHeaderSize +
        (isVariableKeyedTag(tag) ? loadBigEndian32(data.data() + offset + 8) : 0);
    if (marker == 0 || marker == tag) ++count;
    if (remaining <= size) break;
    remaining -= size;
    if (remaining < kKeyedHeaderSize) break;
    offset += size;
  }
  return count;
}

std::size_t numberOfStrings(KeyedBytes data) { return numberOfKeyedData(data, kKeyedStringTag); }

namespace {

// Whether `record` of `data` equals the first record of the same tag and key in `other`.
bool equalsFirstInOther(KeyedBytes data, const Record& record, KeyedBytes other) {
  if (other.size() < kKeyedHeaderSize) return false;
  const auto match = findRecord(other, record.tag, record.key);
  if (!match) return false;
  if (isVariableKeyedTag(record.tag)) {
    const auto mine = payloadOf(data, record);
    const auto theirs = payloadOf(other, *match);
    return mine && theirs && std::equal(mine->begin(), mine->end(), theirs->begin(), theirs->end());
  }
  return std::equal(data.begin() + static_cast<std::ptrdiff_t>(record.offset),
                    data.begin() + static_cast<std::ptrdiff_t>(record.offset + kKeyedHeaderSize),
                    other.begin() + static_cast<std::ptrdiff_t>(match->offset));
}

}  // namespace

bool isEqualToKeyedData(KeyedBytes data, std::optional<KeyedBytes> other, std::uint32_t marker) {
  if (!other) return false;
  if (numberOfKeyedData(data, marker) != numberOfKeyedData(*other, marker)) return false;
  if (data.empty() || other->empty() || data.data() == nullptr || other->data() == nullptr) {
    return data.size() == other->size();
  }
  if (data.size() < kKeyedHeaderSize) return true;
  if (marker == 0) {
    bool equal = true;
    scanRecords(data, [&](const Record& record) {
      equal = equalsFirstInOther(data, record, *other);
      return !equal;
    });
    return equal;
  }
  // With a marker, only records of its tag are compared; unknown tags are stepped over.
  std::size_t offset = 0;
  while (data.size() - offset >= kKeyedHeaderSize) {
    const Record record = recordAt(data, offset);
    if (record.tag == marker && !equalsFirstInOther(data, record, *other)) return false;
    const std::size_t step = isKnownKeyedTag(record.tag) ? record.size : kKeyedHeaderSize;
    if (step > data.size() - offset) break;
    offset += step;
  }
  return true;
}

void removeKeyedDataUsingHandler(KeyedBuffer& data, KeyedRemovalHandler handler, void* context) {
  if (handler == nullptr || data.empty()) return;
  compactRecords(data,
                 [&](const Record& record) { return handler(record.tag, record.key, context); });
}

bool writeKeyedStringsToFile(const std::vector<std::u16string>& strings,
                             const std::filesystem::path& path, bool /*atomically*/) {
  std::error_code error;
  if (path.has_parent_path()) std::filesystem::create_directories(path.parent_path(), error);
  const int fd = ::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0644);
  if (fd < 0) return false;
  bool ok = ::ftruncate(fd, 0) == 0;
  constexpr std::size_t kStaging = 1 << 20;
  KeyedBuffer staging;
  staging.reserve(kStaging + kKeyedHeaderSize);
  auto flush = [&] {
    std::size_t written = 0;
    while (ok && written < staging.size()) {
      const ssize_t n = ::write(fd, staging.data() + written, staging.size() - written);
      if (n < 0 && errno == EINTR) continue;
      ok = n > 0;
      if (ok) written += static_cast<std::size_t>(n);
    }
    staging.clear();
  };
  for (const std::u16string& string : strings) {
    addStringToKeyedDataUsingEncoding(staging, string, kKeyedStringsFileKey);
    if (staging.size() >= kStaging) flush();
  }
  flush();
  ok = ok && ::fsync(fd) == 0;
  ok = ::close(fd) == 0 && ok;
  return ok;
}

bool readKeyedStringsFromFile(std::vector<std::u16string>& strings,
                              const std::filesystem::path& path) {
  strings.clear();
  const auto data = dataWithKeyedFile(path);
  if (!data) return false;
  addStringsForKey(*data, kKeyedStringsFileKey, strings);
  return true;
}

}  // namespace orvel
