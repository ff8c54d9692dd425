// The allocator of a ".DS_Store" file: its header, the address table of its blocks and the
// table of contents that names some of them (see ds_store_stream.h for the layout).
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "orvel/dsstore/ds_store_stream.h"

namespace orvel {

class DSStoreAllocator : public DSStoreStream {
 public:
  // Parses the header, the address table and the table of contents of an open file, which
  // the allocator then owns (closed, its lock released, when the allocator goes); nullptr,
  // the file closed, when any check fails: prefix 1, magic "Bud1", both copies of the root
  // offset equal, a non-zero table no larger than the file, a non-empty table of contents.
  [[nodiscard]] static std::unique_ptr<DSStoreAllocator> allocatorWithFile(std::FILE* file);
  ~DSStoreAllocator() override;

  [[nodiscard]] std::uint32_t headerOffset() const override { return 0; }

  // The slots of the address table (the block count rounded up to a multiple of 256).
  [[nodiscard]] std::uint32_t numberOfBlocks() const { return _numOffsets; }
  [[nodiscard]] std::uint32_t numberOfStreams() const { return _numOffsets; }

  // The block index the table of contents gives a name; NSNotFound for none, an empty or an
  // unknown name.
  [[nodiscard]] std::size_t indexOfEntryNamed(std::optional<std::string_view> name) const;
  // Decoded from the address; 0 for an index past the table or (size) an unused slot.
  [[nodiscard]] std::uint32_t offsetAtIndex(std::size_t index) const;
  [[nodiscard]] std::uint32_t sizeAtIndex(std::size_t index) const;

  // The block read into memory; nullptr for an index past the table, an unused slot or a
  // block that runs past the end of the file.
  [[nodiscard]] std::unique_ptr<DSStoreBlock> blockAtIndex(std::size_t index) const;
  [[nodiscard]] std::unique_ptr<DSStoreBlock> blockForEntryNamed(
      std::optional<std::string_view> name) const;
  // A stream that reads the block lazily (only the index is checked).
  [[nodiscard]] std::unique_ptr<DSStoreStream> streamAtIndex(std::size_t index) const;
  [[nodiscard]] std::unique_ptr<DSStoreStream> streamForEntryNamed(
      std::optional<std::string_view> name) const;

  [[nodiscard]] const std::map<std::string, std::uint32_t>& entries() const { return _entries; }
  // "DSStoreAllocator: 256 blocks, Entries:\n{\n    DSDB = 1;\n}": the table of contents as
  // the platform prints a dictionary.
  [[nodiscard]] std::string description() const override;

 protected:
  explicit DSStoreAllocator(std::FILE* file, std::uint32_t fileLength);
  // Reads the header and tables; false when the file is no store.
  bool parse();
  [[nodiscard]] const char* className() const override { return "DSStoreAllocator"; }

 private:
  std::unique_ptr<DSStoreBlock> _root;
  std::uint32_t _numOffsets = 0;
  std::vector<std::uint32_t> _offsets;
  std::map<std::string, std::uint32_t> _entries;
};

}  // namespace orvel
