// Reading the Finder's folder-settings files (".DS_Store"): the physical layer.
//
// The file is a buddy-allocated block file, all integers big-endian:
//
//   offset 0   4  prefix, 1
//          4   4  magic "Bud1"
//          8   4  root block offset R
//         12   4  root block size
//         16   4  R again (must agree)
//
// Every block offset is relative to file offset 4: a block at offset o starts at file
// offset 4 + o. The root block holds the block count c, 4 unused bytes, the address table
// (c rounded up to a multiple of 256 addresses), the table of contents (a count, then per
// entry a length byte, that many ASCII name bytes and a 4-byte block index) and free lists
// (not read). An address keeps the block's offset in its upper 27 bits and the base-2
// logarithm of its size in its low 5; 0 marks an unused slot.
//
// Streams read a span of the file lazily, blocks read theirs into memory once. Reads never
// fail loudly: an integer that cannot be read is 0, and a read that would run past the end
// moves the position to the end and reads nothing.
#pragma once

#include <cstdint>
#include <cstdio>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace orvel {

class DSStoreStream {
 public:
  // A reader over `size` bytes from block offset `offset` of the file (not owned).
  DSStoreStream(std::FILE* file, std::uint32_t offset, std::uint32_t size);
  virtual ~DSStoreStream() = default;
  DSStoreStream(const DSStoreStream&) = delete;
  DSStoreStream& operator=(const DSStoreStream&) = delete;

  [[nodiscard]] static std::unique_ptr<DSStoreStream> streamWithFile(std::FILE* file,
                                                                     std::uint32_t offset,
                                                                     std::uint32_t size);

  [[nodiscard]] std::FILE* file() const { return _file; }
  // Where block offsets count from in the file: 4 for blocks, 0 for the whole file.
  [[nodiscard]] virtual std::uint32_t headerOffset() const { return 4; }
  [[nodiscard]] std::uint32_t offset() const { return _offset; }
  [[nodiscard]] std::uint32_t position() const { return _pos; }
  [[nodiscard]] std::uint32_t size() const { return _size; }
  [[nodiscard]] std::uint32_t remainingBytes() const { return _pos < _size ? _size - _pos : 0; }
  [[nodiscard]] bool isEOF() const { return _pos >= _size; }

  // Big-endian integers; 0 when they cannot be read whole.
  std::uint8_t readUInt8();
  std::uint16_t readUInt16();
  std::uint32_t readUInt32();
  std::uint64_t readUInt64();

  // All or nothing: past the end, the position jumps to the end and 0 is answered; else the
  // bytes read (the position advances by them). A null buffer or length 0 reads nothing.
  virtual std::size_t readBytes(void* buffer, std::size_t length);
  // The same as bytes of their own; nullopt on an overrun (position at the end) or a short
  // read (position unmoved).
  [[nodiscard]] virtual std::optional<std::vector<std::uint8_t>> readDataOfLength(
      std::size_t length);
  // Advances the position, at most to the end.
  void skipBytes(std::size_t length);

  // Releases the advisory lock on the file, closes it and forgets it: for the one reader
  // that owns the file.
  void close();

  // The same span of a file.
  [[nodiscard]] bool isEqual(const DSStoreStream& other) const {
    return _offset == other._offset && _size == other._size;
  }
  // "DSStoreStream: 512 bytes at offset 4096".
  [[nodiscard]] virtual std::string description() const;

 protected:
  [[nodiscard]] virtual const char* className() const { return "DSStoreStream"; }
  void moveTo(std::uint32_t position) { _pos = position; }

  std::FILE* _file;
  std::uint32_t _offset;
  std::uint32_t _pos = 0;
  std::uint32_t _size;
};

// A block read into memory when made; every read fails when that read did.
class DSStoreBlock : public DSStoreStream {
 public:
  DSStoreBlock(std::FILE* file, std::uint32_t offset, std::uint32_t size);

  // nullptr for size 0.
  [[nodiscard]] static std::unique_ptr<DSStoreBlock> blockWithFile(std::FILE* file,
                                                                   std::uint32_t offset,
                                                                   std::uint32_t size);

  // Past the end of the bytes: the position jumps to their end, the buffer is zeroed and 0
  // is answered.
  std::size_t readBytes(void* buffer, std::size_t length) override;
  [[nodiscard]] std::optional<std::vector<std::uint8_t>> readDataOfLength(
      std::size_t length) override;

  // The block's bytes; nullopt when they could not be read.
  [[nodiscard]] const std::optional<std::vector<std::uint8_t>>& value() const { return _value; }

 protected:
  [[nodiscard]] const char* className() const override { return "DSStoreBlock"; }

 private:
  std::optional<std::vector<std::uint8_t>> _value;
};

}  // namespace orvel
