// Building ".DS_Store" files byte by byte for the tests: blocks, the root block with its
// address table and table of contents, tree nodes and records.
#pragma once

#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "orvel/base/big_endian.h"
#include "orvel/dsstore/ds_store_entry.h"

namespace orvel::testing {

using Bytes = std::vector<std::uint8_t>;

inline void append32(Bytes& bytes, std::uint32_t value) {
  bytes.resize(bytes.size() + 4);
  storeBigEndian32(bytes.data() + bytes.size() - 4, value);
}

inline void append64(Bytes& bytes, std::uint64_t value) {
  bytes.resize(bytes.size() + 8);
  storeBigEndian64(bytes.data() + bytes.size() - 8, value);
}

inline void appendUnits(Bytes& bytes, std::u16string_view text) {
  const Bytes units = bigEndianUnitsOf(text);
  bytes.insert(bytes.end(), units.begin(), units.end());
}

// A record: name, identifier, type and the value's bytes as stored.
inline Bytes record(std::u16string_view name, const char (&codec)[5], const char (&type)[5],
                    const Bytes& value) {
  Bytes bytes;
  append32(bytes, static_cast<std::uint32_t>(name.size()));
  appendUnits(bytes, name);
  append32(bytes, fourCharCode(codec));
  append32(bytes, fourCharCode(type));
  bytes.insert(bytes.end(), value.begin(), value.end());
  return bytes;
}

inline Bytes ustrValue(std::u16string_view text) {
  Bytes bytes;
  append32(bytes, static_cast<std::uint32_t>(text.size()));
  appendUnits(bytes, text);
  return bytes;
}

inline Bytes commentRecord(std::u16string_view name, std::u16string_view comment) {
  return record(name, "cmmt", "ustr", ustrValue(comment));
}

inline Bytes leafNode(const std::vector<Bytes>& records) {
  Bytes bytes;
  append32(bytes, 0);
  append32(bytes, static_cast<std::uint32_t>(records.size()));
  for (const Bytes& r : records) bytes.insert(bytes.end(), r.begin(), r.end());
  return bytes;
}

// An internal node: (child block index, record) pairs, then the rightmost child.
inline Bytes internalNode(std::uint32_t rightmost,
                          const std::vector<std::pair<std::uint32_t, Bytes>>& items) {
  Bytes bytes;
  append32(bytes, rightmost);
  append32(bytes, static_cast<std::uint32_t>(items.size()));
  for (const auto& [child, r] : items) {
    append32(bytes, child);
    bytes.insert(bytes.end(), r.begin(), r.end());
  }
  return bytes;
}

inline Bytes treeHeader(std::uint32_t rootNode) {
  Bytes bytes;
  for (const std::uint32_t field : {rootNode, 0u, 0u, 0u, 4096u}) append32(bytes, field);
  return bytes;
}

// A whole file. Block 0 is the tree header named "DSDB" unless named otherwise; blocks are
// laid out after the 32 bytes of the file header, each at a multiple of 32, padded to the
// power of two that holds it.
class StoreBuilder {
 public:
  // The index of the new block.
  std::uint32_t addBlock(const Bytes& content) {
    _blocks.push_back(content);
    return static_cast<std::uint32_t>(_blocks.size() - 1);
  }
  // A slot marked unused (address 0).
  std::uint32_t addUnusedSlot() {
    _blocks.emplace_back();
    return static_cast<std::uint32_t>(_blocks.size() - 1);
  }
  void name(std::string tocName, std::uint32_t index) {
    _names.emplace_back(std::move(tocName), index);
  }

  [[nodiscard]] Bytes build() const {
    Bytes blockSpace(32, 0);  // block offsets count from file offset 4
    std::vector<std::uint32_t> addresses;
    for (const Bytes& content : _blocks) {
      if (content.empty()) {
        addresses.push_back(0);
        continue;
      }
      unsigned log2 = 5;
      while ((std::size_t{1} << log2) < content.size()) ++log2;
      const auto offset = static_cast<std::uint32_t>(blockSpace.size());
      addresses.push_back(offset | log2);
      blockSpace.insert(blockSpace.end(), content.begin(), content.end());
      blockSpace.resize(offset + (std::size_t{1} << log2), 0);
    }
    Bytes root;
    append32(root, static_cast<std::uint32_t>(addresses.size()));
    append32(root, 0);
    const std::size_t slots = (addresses.size() + 255) / 256 * 256;
    for (std::size_t k = 0; k < slots; ++k) append32(root, k < addresses.size() ? addresses[k] : 0);
    append32(root, static_cast<std::uint32_t>(_names.size()));
    for (const auto& [tocName, index] : _names) {
      root.push_back(static_cast<std::uint8_t>(tocName.size()));
      root.insert(root.end(), tocName.begin(), tocName.end());
      append32(root, index);
    }
    const auto rootOffset = static_cast<std::uint32_t>(blockSpace.size());
    blockSpace.insert(blockSpace.end(), root.begin(), root.end());
    Bytes file;
    append32(file, 1);
    file.insert(file.end(), blockSpace.begin(), blockSpace.end());
    storeBigEndian32(file.data() + 4, 0x42756431);
    storeBigEndian32(file.data() + 8, rootOffset);
    storeBigEndian32(file.data() + 12, static_cast<std::uint32_t>(root.size()));
    storeBigEndian32(file.data() + 16, rootOffset);
    return file;
  }

 private:
  std::vector<Bytes> _blocks;
  std::vector<std::pair<std::string, std::uint32_t>> _names;
};

// A one-level store (a leaf root) holding the records: block 0 "DSDB", block 1 the leaf.
inline Bytes leafStore(const std::vector<Bytes>& records) {
  StoreBuilder builder;
  builder.name("DSDB", builder.addBlock(treeHeader(1)));
  builder.addBlock(leafNode(records));
  return builder.build();
}

// The bytes as a read-only stream in memory (closed by whoever owns it).
inline std::FILE* memoryFile(const Bytes& bytes) {
  return fmemopen(const_cast<std::uint8_t*>(bytes.data()), bytes.size(), "rb");
}

}  // namespace orvel::testing
