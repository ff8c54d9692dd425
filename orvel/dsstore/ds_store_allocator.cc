#include "orvel/dsstore/ds_store_allocator.h"

#include "orvel/base/types.h"

namespace orvel {
namespace {

constexpr std::uint32_t kPrefix = 1;
constexpr std::uint32_t kMagic = 0x42756431;  // "Bud1"
constexpr std::uint32_t kHeaderSize = 20;
constexpr std::uint32_t kAddressesPerChunk = 256;

// The file's length, by seeking to its end; nullopt when it cannot be had or exceeds what a
// 32-bit offset reaches.
std::optional<std::uint32_t> lengthOf(std::FILE* file) {
  if (fseeko(file, 0, SEEK_END) != 0) return std::nullopt;
  const off_t length = ftello(file);
  if (length < 0 || length > off_t{UINT32_MAX}) return std::nullopt;
  return static_cast<std::uint32_t>(length);
}

}  // namespace

DSStoreAllocator::DSStoreAllocator(std::FILE* file, std::uint32_t fileLength)
    : DSStoreStream(file, 0, fileLength) {}

DSStoreAllocator::~DSStoreAllocator() { close(); }

std::unique_ptr<DSStoreAllocator> DSStoreAllocator::allocatorWithFile(std::FILE* file) {
  if (file == nullptr) return nullptr;
  const auto length = lengthOf(file);
  if (!length) {
    std::fclose(file);
    return nullptr;
  }
  std::unique_ptr<DSStoreAllocator> allocator(new DSStoreAllocator(file, *length));
  if (!allocator->parse()) return nullptr;
  return allocator;
}

bool DSStoreAllocator::parse() {
  if (readUInt32() != kPrefix || readUInt32() != kMagic) return false;
  const std::uint32_t rootOffset = readUInt32();
  const std::uint32_t rootSize = readUInt32();
  if (readUInt32() != rootOffset) return false;
  _root = DSStoreBlock::blockWithFile(_file, rootOffset, rootSize);
  if (_root == nullptr) return false;

  const std::uint32_t count = _root->readUInt32();
  // The count rounded up to whole chunks of 256, computed in 64 bits: a damaged count near
  // 2^32 must not wrap to a small table.
  const std::uint64_t slots = (std::uint64_t{count} + 255) & ~std::uint64_t{255};
  _root->skipBytes(4);
  if (slots == 0 || slots * 4 > size() - kHeaderSize) return false;
  _numOffsets = static_cast<std::uint32_t>(slots);
  _offsets.resize(_numOffsets);
  for (std::uint32_t k = 0; k < _numOffsets; k += kAddressesPerChunk) {
    for (std::uint32_t j = k; j < k + kAddressesPerChunk; ++j) _offsets[j] = _root->readUInt32();
  }

  const std::uint32_t tableCount = _root->readUInt32();
  if (tableCount == 0) return false;
  for (std::uint32_t k = 0; k < tableCount; ++k) {
    const std::uint8_t nameLength = _root->readUInt8();
    if (nameLength == 0) break;
    std::string name(nameLength, '\0');
    if (_root->readBytes(name.data(), nameLength) != nameLength) break;
    _entries[name] = _root->readUInt32();
  }
  return true;
}

std::size_t DSStoreAllocator::indexOfEntryNamed(std::optional<std::string_view> name) const {
  if (!name || name->empty()) return NSNotFound;
  const auto entry = _entries.find(std::string(*name));
  return entry == _entries.end() ? NSNotFound : entry->second;
}

std::uint32_t DSStoreAllocator::offsetAtIndex(std::size_t index) const {
  return index < _numOffsets ? _offsets[index] & ~0x1Fu : 0;
}

std::uint32_t DSStoreAllocator::sizeAtIndex(std::size_t index) const {
  if (index >= _numOffsets || _offsets[index] == 0) return 0;
  return std::uint32_t{1} << (_offsets[index] & 0x1F);
}

std::unique_ptr<DSStoreBlock> DSStoreAllocator::blockAtIndex(std::size_t index) const {
  const std::uint32_t blockSize = sizeAtIndex(index);
  if (blockSize == 0) return nullptr;
  const std::uint64_t end = std::uint64_t{offsetAtIndex(index)} + blockSize;
  if (end > size()) return nullptr;
  return DSStoreBlock::blockWithFile(_file, offsetAtIndex(index), blockSize);
}

std::unique_ptr<DSStoreBlock> DSStoreAllocator::blockForEntryNamed(
    std::optional<std::string_view> name) const {
  return blockAtIndex(indexOfEntryNamed(name));
}

std::unique_ptr<DSStoreStream> DSStoreAllocator::streamAtIndex(std::size_t index) const {
  if (index >= _numOffsets) return nullptr;
  return DSStoreStream::streamWithFile(_file, offsetAtIndex(index), sizeAtIndex(index));
}

std::unique_ptr<DSStoreStream> DSStoreAllocator::streamForEntryNamed(
    std::optional<std::string_view> name) const {
  return streamAtIndex(indexOfEntryNamed(name));
}

std::string DSStoreAllocator::description() const {
  std::string text = "DSStoreAllocator: " + std::to_string(_numOffsets) + " blocks, Entries:\n{\n";
  for (const auto& [name, index] : _entries) {
    text += "    " + name + " = " + std::to_string(index) + ";\n";
  }
  return text + "}";
}

}  // namespace orvel
