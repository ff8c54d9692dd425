#include "orvel/records/keyed_storage.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <string>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <stdio_ext.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include "orvel/base/assert.h"
#include "orvel/base/big_endian.h"
#include "orvel/base/locked_file.h"
#include "orvel/base/log.h"
#include "orvel/records/compression.h"
#include "orvel/records/keyed_storage_format.h"
#include "orvel/text/crc32.h"

namespace orvel {
namespace {

constexpr int kCompressionLevel = 1;
// The stream buffer: 1 KiB where reads and writes interleave (updating); a storage that
// only reads or only appends goes through its blocks in order, and a 1 KiB buffer would
// cost a system call or two for every block of a kilobyte.
constexpr std::size_t kStreamBuffer = 1024;
constexpr std::size_t kSequentialStreamBuffer = 64 * 1024;
constexpr std::size_t kZeroPiece = 2048;

std::array<std::uint8_t, kBlockHeaderSize> blockHeader(std::uint32_t marker, std::uint32_t length,
                                                       std::uint32_t slack,
                                                       std::uint32_t checksum) {
  std::array<std::uint8_t, kBlockHeaderSize> header;
  storeBigEndian32(header.data(), marker);
  storeBigEndian32(header.data() + 4, length);
  storeBigEndian32(header.data() + 8, slack);
  storeBigEndian32(header.data() + 12, checksum);
  return header;
}

bool seekToFileOffset(std::FILE* file, std::uint64_t offset) {
  return fseeko(file, static_cast<off_t>(offset), SEEK_SET) == 0;
}

bool writeAll(std::FILE* file, const void* bytes, std::size_t length) {
  return length == 0 || std::fwrite(bytes, 1, length, file) == length;
}

bool samePath(const std::filesystem::path& a, const std::filesystem::path& b) {
  const std::string x = a.string(), y = b.string();
  return x.size() == y.size() && std::equal(x.begin(), x.end(), y.begin(), [](char p, char q) {
           return std::tolower(static_cast<unsigned char>(p)) ==
                  std::tolower(static_cast<unsigned char>(q));
         });
}

}  // namespace

KeyedStorage KeyedStorage::open(const std::filesystem::path& path, int flags, const char* mode,
                                int lock, bool append) {
  KeyedStorage storage;
  std::FILE* file = openLockedFile(path, flags, mode, lock);
  if (file == nullptr) return storage;
  const int fd = fileno(file);
  // The stream gets a buffer of its own: given none, glibc ignores the size asked for and
  // uses the file system's block size.
  const bool sequential = lock == LOCK_SH || append;
  const std::size_t bufferSize = sequential ? kSequentialStreamBuffer : kStreamBuffer;
  storage._buffer = std::make_unique_for_overwrite<char[]>(bufferSize);
  std::setvbuf(file, storage._buffer.get(), _IOFBF, bufferSize);
  // One thread uses a storage at a time, so the stream's own lock is only cost.
  __fsetlocking(file, FSETLOCKING_BYCALLER);
  // Appended blocks are not read back soon: ask the kernel not to keep them cached.
  if (append) ::posix_fadvise(fd, 0, 0, POSIX_FADV_NOREUSE);
  storage._file = file;
  storage._path = path;
  fseeko(file, 0, append ? SEEK_END : SEEK_SET);
  return storage;
}

KeyedStorage KeyedStorage::forReading(const std::filesystem::path& path) {
  return open(path, O_RDONLY, "rb", LOCK_SH, false);
}

KeyedStorage KeyedStorage::forUpdating(const std::filesystem::path& path) {
  const int created = ::open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0644);
  if (created >= 0) ::close(created);
  return open(path, O_RDWR, "rb+", LOCK_EX, false);
}

KeyedStorage KeyedStorage::forAppending(const std::filesystem::path& path) {
  return open(path, O_WRONLY | O_APPEND | O_CREAT, "a", LOCK_EX, true);
}

KeyedStorage::KeyedStorage(KeyedStorage&& other) noexcept
    : _file(std::exchange(other._file, nullptr)),
      _path(std::move(other._path)),
      _lastPosition(other._lastPosition),
      _lastLength(other._lastLength),
      _blockSize(other._blockSize),
      _compressed(other._compressed),
      _buffer(std::move(other._buffer)) {}

KeyedStorage& KeyedStorage::operator=(KeyedStorage&& other) noexcept {
  if (this != &other) {
    closeFile();
    _file = std::exchange(other._file, nullptr);
    _path = std::move(other._path);
    _lastPosition = other._lastPosition;
    _lastLength = other._lastLength;
    _blockSize = other._blockSize;
    _compressed = other._compressed;
    _buffer = std::move(other._buffer);
  }
  return *this;
}

KeyedStorage::~KeyedStorage() { closeFile(); }

void KeyedStorage::setBlockSize(std::uint64_t blockSize) {
  // clang-format off
  ORVEL_NONFATAL_ASSERT((blockSize%512)==0);
  // clang-format on
  _blockSize = blockSize;
}

std::uint64_t KeyedStorage::offsetInFile() {
  if (_file == nullptr) return 0;
  const off_t offset = ftello(_file);
  return offset < 0 ? 0 : static_cast<std::uint64_t>(offset);
}

std::uint64_t KeyedStorage::lengthOfFile() { return seekToEndOfFile(); }

std::uint64_t KeyedStorage::seekToEndOfFile() {
  if (_file == nullptr || fseeko(_file, 0, SEEK_END) != 0) return 0;
  return offsetInFile();
}

bool KeyedStorage::seekToFileOffset(std::uint64_t offset) {
  return _file != nullptr && orvel::seekToFileOffset(_file, offset);
}

std::uint64_t KeyedStorage::fileSize() const {
  struct stat info {};
  return ::fstat(fileno(_file), &info) == 0 ? static_cast<std::uint64_t>(info.st_size) : 0;
}

std::size_t KeyedStorage::readAt(std::uint64_t offset, std::uint8_t* destination,
                                 std::size_t count) {
  if (offsetInFile() != offset && !orvel::seekToFileOffset(_file, offset)) return 0;
  return std::fread(destination, 1, count, _file);
}

std::optional<Block> KeyedStorage::nextAvailableBlock(std::optional<Block>* storedCompressed,
                                                      bool* damaged) {
  if (storedCompressed != nullptr) storedCompressed->reset();
  if (_file == nullptr) return std::nullopt;
  auto damage = [damaged] {
    if (damaged != nullptr) *damaged = true;
  };
  // Payload lengths this large are checked against the file before anything is allocated.
  constexpr std::uint64_t kCheckedLength = 1 << 20;
  std::uint64_t position = offsetInFile();
  for (;;) {
    std::uint8_t header[kBlockHeaderSize];
    const std::size_t got = readAt(position, header, kBlockHeaderSize);
    // Exactly at the end is the clean end; beyond it, a block's slack pointed past the
    // file, which is damage.
    if (got == 0 && position <= fileSize()) return std::nullopt;
    const std::uint32_t marker = loadBigEndian32(header);
    if (got < kBlockHeaderSize || !isKnownBlockMarker(marker)) {
      damage();
      log("Invalid header at %lld", static_cast<long long>(position));
      return std::nullopt;
    }
    const std::uint64_t length = loadBigEndian32(header + 4);
    _lastPosition = position;
    _lastLength = kBlockHeaderSize + length + loadBigEndian32(header + 8);
    const std::uint64_t next = position + _lastLength;
    const std::uint64_t payloadStart = position + kBlockHeaderSize;
    if (length == 0) {
      position = next;
      continue;
    }
    // A length beyond the end of the file is a torn block; it is never allocated.
    Block payload;
    if (length < kCheckedLength || payloadStart + length <= fileSize()) {
      payload.resize(length);
      payload.resize(readAt(payloadStart, payload.data(), length));
    }
    if (payload.size() < length) {
      damage();
      log("Truncated data at %lld", static_cast<long long>(_lastPosition));
      return std::nullopt;
    }
    if (CRC32(payload.data(), payload.size()) != loadBigEndian32(header + 12)) {
      damage();
      log("Invalid checksum at %lld", static_cast<long long>(_lastPosition));
      position = next;
      continue;
    }
    if (payloadStart + length != next) {
      using orvel::seekToFileOffset;  // the stream function, not the member
      const std::uint64_t n = next;
      std::uint64_t o = 0;
      // clang-format off
      ORVEL_NONFATAL_ASSERT(seekToFileOffset(_file,o=n));
      // clang-format on
    }
    if (marker != kCompressedBlockMarker) return payload;
    auto inflated = dataByInflatingData(payload);
    if (inflated && storedCompressed != nullptr) *storedCompressed = std::move(payload);
    return inflated;
  }
}

std::optional<KeyedStorage::StoredBlock> KeyedStorage::blockForWriting(BlockBytes payload) const {
  if (payload.empty() || payload.data() == nullptr) return std::nullopt;
  if (_compressed) {
    auto compressed = dataByDeflatingData(payload, kCompressionLevel);
    if (compressed && compressed->size() < payload.size()) {
      StoredBlock stored{std::move(compressed), {}, kCompressedBlockMarker};
      stored.bytes = *stored.compressed;
      return stored;
    }
  }
  return StoredBlock{std::nullopt, payload, kPlainBlockMarker};
}

// Writes header, stored bytes and slack at the current position.
bool KeyedStorage::writeBlock(BlockBytes stored, std::uint32_t marker, std::uint64_t slack) {
  if (stored.size() > UINT32_MAX || slack > UINT32_MAX) return false;  // the header's widths
  const auto header =
      blockHeader(marker, static_cast<std::uint32_t>(stored.size()),
                  static_cast<std::uint32_t>(slack), CRC32(stored.data(), stored.size()));
  return writeAll(_file, header.data(), header.size()) &&
         writeAll(_file, stored.data(), stored.size()) && writeZeros(slack);
}

bool KeyedStorage::writeZeros(std::uint64_t count) {
  static const std::uint8_t kZeros[kZeroPiece] = {};
  while (count > 0) {
    const std::size_t piece = static_cast<std::size_t>(std::min<std::uint64_t>(count, kZeroPiece));
    if (!writeAll(_file, kZeros, piece)) return false;
    count -= piece;
  }
  return true;
}

bool KeyedStorage::writeAppended(BlockBytes stored, std::uint32_t marker) {
  if (_file == nullptr || stored.empty() || stored.data() == nullptr) return false;
  return writeBlock(stored, marker, blockSlack(stored.size(), _blockSize));
}

bool KeyedStorage::appendStored(BlockBytes stored, std::uint32_t marker) {
  // Flushed before answering: a block whose append returned survives the process.
  return writeAppended(stored, marker) && std::fflush(_file) == 0;
}

bool KeyedStorage::appendBlock(BlockBytes payload) {
  const auto form = blockForWriting(payload);
  return form && appendStored(form->bytes, form->marker);
}

bool KeyedStorage::appendBlocks(std::span<const BlockBytes> payloads) {
  for (const BlockBytes payload : payloads) {
    const auto form = blockForWriting(payload);
    if (!form || !writeAppended(form->bytes, form->marker)) return false;
  }
  return _file != nullptr && std::fflush(_file) == 0;
}

bool KeyedStorage::appendCompressedBlock(BlockBytes stored) {
  return appendStored(stored, kCompressedBlockMarker);
}

bool KeyedStorage::appendUncompressedBlock(BlockBytes payload) {
  return appendStored(payload, kPlainBlockMarker);
}

std::optional<std::array<std::uint8_t, 16>> KeyedStorage::readHeaderAt(std::uint64_t offset,
                                                                       bool* nothing) {
  *nothing = true;
  if (_file == nullptr || !orvel::seekToFileOffset(_file, offset)) return std::nullopt;
  std::array<std::uint8_t, 16> header;
  const std::size_t got = std::fread(header.data(), 1, header.size(), _file);
  if (got == 0) return std::nullopt;
  *nothing = false;
  if (got < header.size() || !isKnownBlockMarker(loadBigEndian32(header.data()))) {
    log("Invalid header at %lld", static_cast<long long>(offset));
    return std::nullopt;
  }
  return header;
}

bool KeyedStorage::updateBlock(BlockBytes payload, std::uint64_t offset) {
  const auto form = blockForWriting(payload);
  if (_file == nullptr || !form) return false;
  bool nothing = false;
  const auto header = readHeaderAt(offset, &nothing);
  if (!header) return false;
  const std::uint64_t room =
      std::uint64_t{loadBigEndian32(header->data() + 4)} + loadBigEndian32(header->data() + 8);
  const BlockBytes stored = form->bytes;
  if (stored.size() > room || room - stored.size() > UINT32_MAX) return false;
  const auto newHeader = blockHeader(form->marker, static_cast<std::uint32_t>(stored.size()),
                                     static_cast<std::uint32_t>(room - stored.size()),
                                     CRC32(stored.data(), stored.size()));
  return orvel::seekToFileOffset(_file, offset) &&
         writeAll(_file, newHeader.data(), newHeader.size()) &&
         writeAll(_file, stored.data(), stored.size()) && std::fflush(_file) == 0;
}

bool KeyedStorage::deleteBlockAtFileOffset(std::uint64_t offset) {
  bool nothing = false;
  const auto header = readHeaderAt(offset, &nothing);
  if (!header) return false;
  const std::uint32_t length = loadBigEndian32(header->data() + 4);
  if (length == 0) return true;
  const std::uint64_t slack = std::uint64_t{length} + loadBigEndian32(header->data() + 8);
  if (slack > UINT32_MAX) return false;  // too large to free as one block
  const auto freed = blockHeader(kPlainBlockMarker, 0, static_cast<std::uint32_t>(slack), 0);
  return orvel::seekToFileOffset(_file, offset) && writeAll(_file, freed.data(), freed.size()) &&
         std::fflush(_file) == 0;
}

bool KeyedStorage::optimizeLastBlock(BlockBytes payload, std::optional<BlockBytes> storedCompressed,
                                     std::uint64_t target, std::uint64_t* nextOffset) {
  const std::uint64_t oldEnd = _lastPosition + _lastLength;
  auto noGain = [&] {
    if (nextOffset != nullptr) *nextOffset = oldEnd;
    return false;
  };
  if (_file == nullptr || payload.empty()) return noGain();
  std::optional<StoredBlock> form;
  if (storedCompressed && _compressed) {
    form = StoredBlock{std::nullopt, *storedCompressed, kCompressedBlockMarker};
  } else {
    form = blockForWriting(payload);
  }
  if (!form) return noGain();
  const std::uint64_t slack = blockSlack(form->bytes.size(), _blockSize);
  const std::uint64_t size = form->bytes.size() + kBlockHeaderSize + slack;
  if (!((_lastPosition > target || _lastLength > size) && target + size <= oldEnd)) {
    return noGain();
  }
  if (nextOffset != nullptr) *nextOffset = target + size;
  return orvel::seekToFileOffset(_file, target) && writeBlock(form->bytes, form->marker, slack);
}

bool KeyedStorage::optimizeToPath(const std::filesystem::path& destination, bool skipErrors,
                                  KeyedStorageHandler* handler) {
  // The name compared as the format's tools always have, and the file itself besides: the
  // copy starts by emptying its destination.
  std::error_code error;
  if (destination.empty() || _file == nullptr || samePath(destination, _path) ||
      std::filesystem::equivalent(destination, _path, error)) {
    return false;
  }
  KeyedStorage copy = forAppending(destination);
  if (!copy.isValid()) return false;
  seekToFileOffset(0);
  copy.truncateFileAtOffset(0);
  copy.setBlockSize(_blockSize);
  bool damaged = false;
  std::optional<Block> stored;
  std::optional<Block> block = nextAvailableBlock(&stored, &damaged);
  bool result = true;
  while (block) {
    if (handler == nullptr || handler->handleData(copy, *block, copy.lengthOfFile())) {
      if (_compressed && stored) {
        copy.appendCompressedBlock(*stored);
      } else {
        copy.appendBlock(*block);
      }
    }
    if ((!skipErrors && damaged) ||
        (handler != nullptr && handler->shouldCancelIterationOfStorage(*this))) {
      result = false;
      break;
    }
    block = nextAvailableBlock(&stored, &damaged);
  }
  copy.closeFile();
  return result;
}

bool KeyedStorage::truncateFileAtOffset(std::uint64_t length) {
  return _file != nullptr && std::fflush(_file) == 0 &&
         ::ftruncate(fileno(_file), static_cast<off_t>(length)) == 0;
}

bool KeyedStorage::synchronizeFile() {
  return _file != nullptr && std::fflush(_file) == 0 && ::fsync(fileno(_file)) == 0;
}

bool KeyedStorage::closeFile() {
  if (_file == nullptr) return true;
  ::flock(fileno(_file), LOCK_UN);
  const int result = std::fclose(_file);
  _file = nullptr;
  _buffer.reset();  // only after the close has flushed through it
  return (result & 0xFF) != 0;
}

}  // namespace orvel
