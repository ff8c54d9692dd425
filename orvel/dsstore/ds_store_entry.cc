#include "orvel/dsstore/ds_store_entry.h"

#include <cstring>

#include "orvel/base/big_endian.h"
#include "orvel/base/utf8.h"

namespace orvel {
namespace {

constexpr std::uint32_t kLong = fourCharCode("long");
constexpr std::uint32_t kShor = fourCharCode("shor");
constexpr std::uint32_t kType = fourCharCode("type");
constexpr std::uint32_t kBool = fourCharCode("bool");
constexpr std::uint32_t kBlob = fourCharCode("blob");
constexpr std::uint32_t kUstr = fourCharCode("ustr");
constexpr std::uint32_t kComp = fourCharCode("comp");
constexpr std::uint32_t kDutc = fourCharCode("dutc");

std::u16string unitsOfBigEndian(const std::uint8_t* bytes, std::size_t length) {
  std::u16string text(length / 2, u'\0');
  for (std::size_t k = 0; k < text.size(); ++k) text[k] = loadBigEndian16(bytes + 2 * k);
  return text;
}

// Whether the type's value has a length that can be read or skipped.
bool isKnownType(std::uint32_t type) {
  return type == kLong || type == kShor || type == kType || type == kBool || type == kBlob ||
         type == kUstr || type == kComp || type == kDutc;
}

std::optional<DSStoreValue> readValue(DSStoreStream& stream, std::uint32_t type) {
  switch (type) {
    case kLong:
    case kShor:
    case kType: return static_cast<std::int32_t>(stream.readUInt32());
    case kBool: return stream.readUInt8() != 0;
    case kComp:
    case kDutc: return static_cast<std::int64_t>(stream.readUInt64());
    case kBlob: {
      const std::uint32_t length = stream.readUInt32();
      if (length == 0) return std::nullopt;
      auto bytes = stream.readDataOfLength(length);
      if (!bytes) return std::nullopt;
      return std::move(*bytes);
    }
    case kUstr: {
      const std::size_t units = stream.readUInt32();
      if (units == 0) return std::nullopt;
      const auto bytes = stream.readDataOfLength(2 * units);
      if (!bytes) return std::nullopt;
      return unitsOfBigEndian(bytes->data(), bytes->size());
    }
    default: return std::nullopt;
  }
}

void skipValue(DSStoreStream& stream, std::uint32_t type) {
  switch (type) {
    case kLong:
    case kShor:
    case kType: stream.skipBytes(4); break;
    case kBool: stream.skipBytes(1); break;
    case kComp:
    case kDutc: stream.skipBytes(8); break;
    case kBlob: stream.skipBytes(stream.readUInt32()); break;
    case kUstr: stream.skipBytes(2 * std::size_t{stream.readUInt32()}); break;
    default: break;
  }
}

}  // namespace

std::string stringOfFourCharCode(std::uint32_t code) {
  std::string text = "'";
  for (int shift = 24; shift >= 0; shift -= 8) text += static_cast<char>(code >> shift);
  return text + "'";
}

std::vector<std::uint8_t> bigEndianUnitsOf(std::u16string_view text) {
  std::vector<std::uint8_t> bytes(2 * text.size());
  for (std::size_t k = 0; k < text.size(); ++k) storeBigEndian16(bytes.data() + 2 * k, text[k]);
  return bytes;
}

DSStoreEntry::DSStoreEntry(std::u16string filename, std::uint32_t codec, std::uint32_t type,
                           std::optional<DSStoreValue> value)
    : _filename(std::move(filename)), _codec(codec), _type(type), _value(std::move(value)) {}

DSStoreEntry DSStoreEntry::initWithFilenameWithBytes(const std::uint8_t* bytes, std::size_t length,
                                                     std::uint32_t codec, std::uint32_t type,
                                                     std::optional<DSStoreValue> value) {
  return DSStoreEntry(unitsOfBigEndian(bytes, length), codec, type, std::move(value));
}

std::string DSStoreEntry::description() const {
  return "DSStoreEntry <" + utf16ToUtf8(_filename) + ">: " + stringOfFourCharCode(_codec) + ":" +
         stringOfFourCharCode(_type);
}

std::optional<DSStoreValue> DSStoreEntry::valueForFilenameWithBytes(const std::uint8_t* bytes,
                                                                    std::size_t length,
                                                                    std::uint32_t codec,
                                                                    DSStoreStream* stream,
                                                                    std::uint32_t* type) {
  if (codec == 0 || stream == nullptr) return std::nullopt;
  const std::size_t nameBytes = 2 * std::size_t{stream->readUInt32()};
  if (nameBytes == 0) return std::nullopt;
  // Names are short: most are compared in place, on the stack.
  std::uint8_t small[512];
  std::vector<std::uint8_t> large;
  std::uint8_t* name = small;
  if (nameBytes > sizeof small) {
    if (nameBytes > stream->remainingBytes()) {
      stream->skipBytes(nameBytes);
      return std::nullopt;
    }
    large.resize(nameBytes);
    name = large.data();
  }
  if (stream->readBytes(name, nameBytes) != nameBytes) return std::nullopt;
  const std::uint32_t recordCodec = stream->readUInt32();
  const std::uint32_t recordType = stream->readUInt32();
  if (type != nullptr) *type = recordType;
  if (nameBytes == length && recordCodec == codec && std::memcmp(name, bytes, length) == 0) {
    return readValue(*stream, recordType);
  }
  skipValue(*stream, recordType);
  return std::nullopt;
}

std::optional<DSStoreValue> DSStoreEntry::valueForFilename(std::u16string_view filename,
                                                           std::uint32_t codec,
                                                           DSStoreStream* stream,
                                                           std::uint32_t* type) {
  const std::vector<std::uint8_t> bytes = bigEndianUnitsOf(filename);
  return valueForFilenameWithBytes(bytes.data(), bytes.size(), codec, stream, type);
}

std::optional<DSStoreEntry> DSStoreEntry::entryForFilenameWithBytes(const std::uint8_t* bytes,
                                                                    std::size_t length,
                                                                    std::uint32_t codec,
                                                                    DSStoreStream* stream) {
  std::uint32_t type = 0;
  auto value = valueForFilenameWithBytes(bytes, length, codec, stream, &type);
  if (!value) return std::nullopt;
  return initWithFilenameWithBytes(bytes, length, codec, type, std::move(value));
}

std::optional<DSStoreEntry> DSStoreEntry::entryForFilename(std::u16string_view filename,
                                                           std::uint32_t codec,
                                                           DSStoreStream* stream) {
  const std::vector<std::uint8_t> bytes = bigEndianUnitsOf(filename);
  return entryForFilenameWithBytes(bytes.data(), bytes.size(), codec, stream);
}

std::optional<DSStoreEntry> DSStoreEntry::readEntry(DSStoreStream& stream, bool* knownType) {
  if (knownType != nullptr) *knownType = false;
  const std::size_t nameBytes = 2 * std::size_t{stream.readUInt32()};
  if (nameBytes == 0) return std::nullopt;
  const auto name = stream.readDataOfLength(nameBytes);
  if (!name) return std::nullopt;
  const std::uint32_t codec = stream.readUInt32();
  const std::uint32_t type = stream.readUInt32();
  if (knownType != nullptr) *knownType = isKnownType(type);
  return initWithFilenameWithBytes(name->data(), name->size(), codec, type,
                                   readValue(stream, type));
}

}  // namespace orvel
