// One segment of a collection index: a KeyedStorage file (compressed blocks, each checked by
// its checksum) written once and never changed, holding
//
//   the document table   one block, a KeyedData record "DOCS": the number of documents, then
//                        for each its path, size, modification and change times (ns since
//                        the epoch), inode, kind and flags (1: text, 2: racy), every number a
//                        varint (varint.h), a path as its length and bytes;
//   the term blocks      KeyedData records "TERM", each the number of terms in it, then per
//                        term (in byte order of their keys, each block's after the last of
//                        the one before) its key (the folded word, UTF-8), the number of
//                        documents holding it, and their numbers (0 for the table's first)
//                        as gaps from the one before;
//   the term index       one block, a KeyedData record "TIDX": the number of term blocks,
//                        then per block its first key and its offset in the file.
//
// The manifest names each segment with the offsets of its table and its term index, so that
// a reader reads those two blocks and then only the term blocks of the keys it looks up.
// A segment holds no copy of any text.
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "orvel/find/collection_index.h"
#include "orvel/find/internal/index_terms.h"
#include "orvel/formats/documents.h"
#include "orvel/records/keyed_storage.h"

namespace orvel::internal {

// A document as the index knows it: where it is, what it was when it was read, and whether
// it was text.
struct IndexedDocument {
  std::string path;  // absolute, as the walk joined it
  std::uint64_t size = 0;
  std::int64_t modified = 0;  // ns since the epoch
  std::int64_t changed = 0;
  std::uint64_t inode = 0;
  DocumentKind kind = DocumentKind::kText;
  bool text = false;
  // Read so soon after its last change that a change within the same tick of the file
  // system's clock would not show in its times: never ruled out, read again by the next
  // update.
  bool racy = false;
};

// Where a segment is: its file (a name beside the manifest) and its two entry blocks.
struct SegmentInfo {
  std::string name;
  std::uint64_t documents = 0;
  std::uint64_t tableOffset = 0;
  std::uint64_t termIndexOffset = 0;
};

// Writes a segment file: the document table first, then the terms in key order.
class SegmentFileWriter {
 public:
  SegmentFileWriter(const std::filesystem::path& path, std::string name);
  void writeDocuments(const std::vector<IndexedDocument>& documents);
  // Keys must come in byte order; documents ascending.
  void addTerm(std::string_view key, const std::vector<std::uint32_t>& documents);
  // Writes the last term block and the term index, and makes the file durable.
  SegmentInfo finish();

 private:
  void flushTerms();

  KeyedStorage _storage;
  SegmentInfo _info;
  std::string _block;  // the terms of the block being filled
  std::size_t _blockTerms = 0;
  std::string _firstKey;
  std::string _index;  // first key and offset of each block written
  std::size_t _blocks = 0;
};

// Gathers the documents and words of a new segment in memory, then writes it in key order.
class SegmentBuilder {
 public:
  // Adds a document (numbered in order) and the distinct keys of its words.
  void add(IndexedDocument document, const TextKeys& keys);
  [[nodiscard]] std::size_t documents() const { return _documents.size(); }
  // About how much memory the gathered postings take.
  [[nodiscard]] std::size_t memoryUsed() const { return _memory; }
  SegmentInfo write(const std::filesystem::path& path, std::string name);

 private:
  struct Term {
    std::string key;
    std::vector<std::uint32_t> documents;
  };
  std::vector<IndexedDocument> _documents;
  // In the order first met, sorted on writing.
  std::vector<Term> _terms;
  KeySlots _slots;
  std::size_t _memory = 0;
};

// Reads a segment: its term index at once, its document table and term blocks when asked.
// Throws IndexError on damage.
class SegmentReader {
 public:
  SegmentReader(const std::filesystem::path& path, const SegmentInfo& info);

  // The number of documents, as the manifest gives it (readDocuments checks it).
  [[nodiscard]] std::size_t documentCount() const { return _count; }
  // Reads the document table, once.
  void readDocuments();
  // The documents, once read.
  [[nodiscard]] const std::vector<IndexedDocument>& documents() const { return _documents; }
  // The documents holding the key, ascending; empty when none does.
  [[nodiscard]] std::vector<std::uint32_t> postings(std::string_view key);
  // Every term in key order, for verifying.
  void forEachTerm(
      const std::function<void(std::string_view key, std::vector<std::uint32_t>&)>& visit);
  [[nodiscard]] std::size_t termBlocks() const { return _blockKeys.size(); }
  // The terms of one block, in key order, for merging a block at a time.
  [[nodiscard]] std::vector<std::pair<std::string, std::vector<std::uint32_t>>> blockTerms(
      std::size_t block);

 private:
  void readTermIndex(const SegmentInfo& info);
  std::string readBlock(std::uint64_t offset, std::uint32_t tag);
  // Decodes one term block, calling visit for each term (stop by answering false).
  void decodeTerms(std::string_view block,
                   const std::function<bool(std::string_view, std::vector<std::uint32_t>&)>& visit);

  KeyedStorage _storage;
  std::filesystem::path _path;
  std::size_t _count;
  std::uint64_t _tableOffset;
  bool _documentsRead = false;
  std::vector<IndexedDocument> _documents;
  std::vector<std::string> _blockKeys;
  std::vector<std::uint64_t> _blockOffsets;
};

}  // namespace orvel::internal
