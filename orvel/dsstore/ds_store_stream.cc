#include "orvel/dsstore/ds_store_stream.h"

#include <algorithm>
#include <cstring>

#include <sys/file.h>

#include "orvel/base/big_endian.h"

namespace orvel {

DSStoreStream::DSStoreStream(std::FILE* file, std::uint32_t offset, std::uint32_t size)
    : _file(file), _offset(offset), _size(size) {}

std::unique_ptr<DSStoreStream> DSStoreStream::streamWithFile(std::FILE* file, std::uint32_t offset,
                                                             std::uint32_t size) {
  return std::make_unique<DSStoreStream>(file, offset, size);
}

std::uint8_t DSStoreStream::readUInt8() {
  std::uint8_t byte = 0;
  return readBytes(&byte, 1) == 1 ? byte : 0;
}

std::uint16_t DSStoreStream::readUInt16() {
  std::uint8_t bytes[2];
  return readBytes(bytes, 2) == 2 ? loadBigEndian16(bytes) : 0;
}

std::uint32_t DSStoreStream::readUInt32() {
  std::uint8_t bytes[4];
  return readBytes(bytes, 4) == 4 ? loadBigEndian32(bytes) : 0;
}

std::uint64_t DSStoreStream::readUInt64() {
  std::uint8_t bytes[8];
  return readBytes(bytes, 8) == 8 ? loadBigEndian64(bytes) : 0;
}

std::size_t DSStoreStream::readBytes(void* buffer, std::size_t length) {
  if (buffer == nullptr || length == 0) return 0;
  if (length > remainingBytes()) {
    _pos = _size;
    return 0;
  }
  const auto fileOffset = static_cast<off_t>(headerOffset()) + _offset + _pos;
  if (_file == nullptr || fseeko(_file, fileOffset, SEEK_SET) != 0) return 0;
  const std::size_t read = std::fread(buffer, 1, length, _file);
  _pos += static_cast<std::uint32_t>(read);
  return read;
}

std::optional<std::vector<std::uint8_t>> DSStoreStream::readDataOfLength(std::size_t length) {
  if (length > remainingBytes()) {
    _pos = _size;
    return std::nullopt;
  }
  std::vector<std::uint8_t> data(length);
  const std::uint32_t start = _pos;
  if (length > 0 && readBytes(data.data(), length) != length) {
    _pos = start;
    return std::nullopt;
  }
  return data;
}

void DSStoreStream::skipBytes(std::size_t length) {
  _pos = length > remainingBytes() ? _size : _pos + static_cast<std::uint32_t>(length);
}

void DSStoreStream::close() {
  if (_file == nullptr) return;
  const int fd = fileno(_file);
  if (fd >= 0) ::flock(fd, LOCK_UN);
  std::fclose(_file);
  _file = nullptr;
}

std::string DSStoreStream::description() const {
  return std::string(className()) + ": " + std::to_string(_size) + " bytes at offset " +
         std::to_string(_offset);
}

DSStoreBlock::DSStoreBlock(std::FILE* file, std::uint32_t offset, std::uint32_t size)
    : DSStoreStream(file, offset, size) {
  // A damaged address can claim up to 4 GB: the file's length is asked first, so that only
  // bytes that are there are allocated.
  const auto fileOffset = static_cast<off_t>(headerOffset()) + offset;
  if (file == nullptr || fseeko(file, 0, SEEK_END) != 0 || ftello(file) - fileOffset < size) {
    return;
  }
  std::vector<std::uint8_t> bytes(size);
  if (fseeko(file, fileOffset, SEEK_SET) == 0 && std::fread(bytes.data(), 1, size, file) == size) {
    _value = std::move(bytes);
  }
}

std::unique_ptr<DSStoreBlock> DSStoreBlock::blockWithFile(std::FILE* file, std::uint32_t offset,
                                                          std::uint32_t size) {
  if (size == 0) return nullptr;
  return std::make_unique<DSStoreBlock>(file, offset, size);
}

std::size_t DSStoreBlock::readBytes(void* buffer, std::size_t length) {
  if (buffer == nullptr || length == 0) return 0;
  const std::size_t available = _value ? _value->size() : 0;
  if (_pos > available || length > available - _pos) {
    moveTo(static_cast<std::uint32_t>(available));
    std::memset(buffer, 0, length);
    return 0;
  }
  std::memcpy(buffer, _value->data() + _pos, length);
  _pos += static_cast<std::uint32_t>(length);
  return length;
}

std::optional<std::vector<std::uint8_t>> DSStoreBlock::readDataOfLength(std::size_t length) {
  const std::size_t available = _value ? _value->size() : 0;
  if (_pos > available || length > available - _pos) {
    moveTo(static_cast<std::uint32_t>(available));
    return std::nullopt;
  }
  std::vector<std::uint8_t> data(_value->begin() + _pos, _value->begin() + _pos + length);
  _pos += static_cast<std::uint32_t>(length);
  return data;
}

}  // namespace orvel
