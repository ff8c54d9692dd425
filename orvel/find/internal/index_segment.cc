#include "orvel/find/internal/index_segment.h"

#include <algorithm>

#include "orvel/find/internal/varint.h"
#include "orvel/records/keyed_data.h"

namespace orvel::internal {
namespace {

constexpr KeyedKey kDocumentsTag = fourCharCode("DOCS");
constexpr KeyedKey kTermsTag = fourCharCode("TERM");
constexpr KeyedKey kTermIndexTag = fourCharCode("TIDX");
// A term block is closed once it holds this many bytes: a lookup inflates one block.
constexpr std::size_t kTermBlockBytes = 32 * 1024;
// The most documents a segment holds: numbers fit 32 bits with room to spare.
constexpr std::uint64_t kMaxSegmentDocuments = std::uint64_t{1} << 31;

KeyedBytes bytesOf(std::string_view text) {
  return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

// A payload of one KeyedData record of the tag holding the bytes (never empty: each starts
// with a count).
Block recordBlock(KeyedKey tag, std::string_view bytes) {
  KeyedBuffer buffer;
  addData(buffer, bytesOf(bytes), tag);
  return buffer;
}

void appendPostings(std::string& out, const std::vector<std::uint32_t>& documents) {
  appendVarint(out, documents.size());
  std::uint32_t previous = 0;
  for (std::size_t k = 0; k < documents.size(); ++k) {
    appendVarint(out, k == 0 ? documents[k] : documents[k] - previous);
    previous = documents[k];
  }
}

}  // namespace

SegmentFileWriter::SegmentFileWriter(const std::filesystem::path& path, std::string name)
    : _storage(KeyedStorage::forAppending(path)) {
  if (!_storage.isValid()) throw IndexError(path.filename().string() + ": cannot be written");
  _storage.setCompressed(true);
  _info.name = std::move(name);
}

void SegmentFileWriter::writeDocuments(const std::vector<IndexedDocument>& documents) {
  std::string table;
  appendVarint(table, documents.size());
  for (const IndexedDocument& document : documents) {
    appendText(table, document.path);
    appendVarint(table, document.size);
    appendVarint(table, static_cast<std::uint64_t>(document.modified));
    appendVarint(table, static_cast<std::uint64_t>(document.changed));
    appendVarint(table, document.inode);
    appendVarint(table, static_cast<std::uint64_t>(document.kind));
    appendVarint(table, (document.text ? 1 : 0) | (document.racy ? 2 : 0));
  }
  _info.documents = documents.size();
  _info.tableOffset = _storage.lengthOfFile();
  // Stored as it is: every selection reads it whole, and inflating it would cost more than
  // reading its few hundred kilobytes from the page cache.
  _storage.setCompressed(false);
  const bool written = _storage.appendBlock(recordBlock(kDocumentsTag, table));
  _storage.setCompressed(true);
  if (!written) throw IndexError(_storage.path().filename().string() + ": cannot be written");
}

void SegmentFileWriter::addTerm(std::string_view key, const std::vector<std::uint32_t>& documents) {
  if (_blockTerms == 0) _firstKey = key;
  appendText(_block, key);
  appendPostings(_block, documents);
  ++_blockTerms;
  if (_block.size() >= kTermBlockBytes) flushTerms();
}

void SegmentFileWriter::flushTerms() {
  if (_blockTerms == 0) return;
  std::string block;
  appendVarint(block, _blockTerms);
  block += _block;
  appendText(_index, _firstKey);
  appendVarint(_index, _storage.lengthOfFile());
  ++_blocks;
  if (!_storage.appendBlock(recordBlock(kTermsTag, block))) {
    throw IndexError(_storage.path().filename().string() + ": cannot be written");
  }
  _block.clear();
  _blockTerms = 0;
}

SegmentInfo SegmentFileWriter::finish() {
  flushTerms();
  std::string index;
  appendVarint(index, _blocks);
  index += _index;
  _info.termIndexOffset = _storage.lengthOfFile();
  if (!_storage.appendBlock(recordBlock(kTermIndexTag, index)) || !_storage.synchronizeFile() ||
      _storage.closeFile()) {
    throw IndexError(_storage.path().filename().string() + ": cannot be written");
  }
  return _info;
}

void SegmentBuilder::add(IndexedDocument document, const TextKeys& keys) {
  const auto number = static_cast<std::uint32_t>(_documents.size());
  _memory += document.path.size() + sizeof(IndexedDocument);
  _documents.push_back(std::move(document));
  for (std::size_t k = 0; k < keys.size(); ++k) {
    const std::string_view key = keys[k];
    const auto next = static_cast<std::uint32_t>(_terms.size());
    const auto [index, added] = _slots.findOrAdd(
        keys.hash(k), next, [&](std::uint32_t term) { return _terms[term].key == key; });
    if (added) {
      _terms.push_back(Term{std::string(key), {}});
      _memory += key.size() + sizeof(Term) + 16;
    }
    _terms[index].documents.push_back(number);
    _memory += sizeof(std::uint32_t);
  }
}

SegmentInfo SegmentBuilder::write(const std::filesystem::path& path, std::string name) {
  SegmentFileWriter writer(path, std::move(name));
  writer.writeDocuments(_documents);
  std::sort(_terms.begin(), _terms.end(),
            [](const Term& a, const Term& b) { return a.key < b.key; });
  for (const Term& term : _terms) writer.addTerm(term.key, term.documents);
  return writer.finish();
}

SegmentReader::SegmentReader(const std::filesystem::path& path, const SegmentInfo& info)
    : _storage(KeyedStorage::forReading(path)),
      _path(path),
      _count(info.documents),
      _tableOffset(info.tableOffset) {
  if (!_storage.isValid()) throw IndexError(path.filename().string() + ": cannot be read");
  if (info.documents > kMaxSegmentDocuments) {
    throw IndexError(path.filename().string() + ": damaged");
  }
  readTermIndex(info);
}

void SegmentReader::readDocuments() {
  if (_documentsRead) return;
  const std::string name = _path.filename().string();
  const std::string tableBytes = readBlock(_tableOffset, kDocumentsTag);
  VarintReader table(tableBytes);
  const std::uint64_t count = table.number();
  if (count != _count) throw IndexError(name + ": damaged document table");
  // Each document takes at least seven bytes: a damaged count cannot reserve more than that.
  _documents.reserve(std::min<std::uint64_t>(count, tableBytes.size() / 7));
  for (std::uint64_t k = 0; k < count && table.ok(); ++k) {
    IndexedDocument& document = _documents.emplace_back();
    document.path = table.text();
    document.size = table.number();
    document.modified = static_cast<std::int64_t>(table.number());
    document.changed = static_cast<std::int64_t>(table.number());
    document.inode = table.number();
    document.kind = static_cast<DocumentKind>(
        table.numberUpTo(static_cast<std::uint64_t>(DocumentKind::kTextBundle)));
    const std::uint64_t flags = table.numberUpTo(3);
    document.text = (flags & 1) != 0;
    document.racy = (flags & 2) != 0;
  }
  if (!table.ok() || !table.atEnd()) throw IndexError(name + ": damaged document table");
  _documentsRead = true;
}

void SegmentReader::readTermIndex(const SegmentInfo& info) {
  const std::filesystem::path& path = _path;
  const std::string indexBytes = readBlock(info.termIndexOffset, kTermIndexTag);
  VarintReader index(indexBytes);
  const std::uint64_t blocks = index.numberUpTo(info.termIndexOffset);
  for (std::uint64_t k = 0; k < blocks && index.ok(); ++k) {
    _blockKeys.emplace_back(index.text());
    _blockOffsets.push_back(index.numberUpTo(info.termIndexOffset));
    if (k > 0 && (_blockKeys[k] <= _blockKeys[k - 1] || _blockOffsets[k] <= _blockOffsets[k - 1])) {
      throw IndexError(path.filename().string() + ": damaged term index");
    }
  }
  if (!index.ok() || !index.atEnd())
    throw IndexError(path.filename().string() + ": damaged term index");
}

std::string SegmentReader::readBlock(std::uint64_t offset, std::uint32_t tag) {
  bool damaged = false;
  std::optional<Block> block;
  if (_storage.seekToFileOffset(offset)) block = _storage.nextAvailableBlock(nullptr, &damaged);
  // The block must be the one asked for: a damaged header could lead to another.
  if (!block || damaged || _storage.offsetOfLastBlock() != offset) {
    throw IndexError(_path.filename().string() + ": damaged block at " + std::to_string(offset));
  }
  const std::optional<KeyedBytes> record = dataNoCopyForKey(*block, tag);
  if (!record || !isValid(*block)) {
    throw IndexError(_path.filename().string() + ": damaged block at " + std::to_string(offset));
  }
  return std::string(reinterpret_cast<const char*>(record->data()), record->size());
}

void SegmentReader::decodeTerms(
    std::string_view block,
    const std::function<bool(std::string_view, std::vector<std::uint32_t>&)>& visit) {
  VarintReader reader(block);
  const std::uint64_t terms = reader.numberUpTo(block.size());
  std::vector<std::uint32_t> documents;
  std::string_view previous;
  for (std::uint64_t k = 0; k < terms && reader.ok(); ++k) {
    const std::string_view key = reader.text();
    const std::uint64_t count = reader.numberUpTo(_count);
    documents.clear();
    std::uint64_t number = 0;
    for (std::uint64_t d = 0; d < count && reader.ok(); ++d) {
      const std::uint64_t gap = reader.numberUpTo(_count);
      if (d > 0 && gap == 0) break;  // numbers ascend strictly
      number += gap;
      if (number >= _count) break;
      documents.push_back(static_cast<std::uint32_t>(number));
    }
    if (!reader.ok() || documents.size() != count || (k > 0 && key <= previous)) {
      throw IndexError(_path.filename().string() + ": damaged term block");
    }
    previous = key;
    if (!visit(key, documents)) return;
  }
  if (!reader.ok() || !reader.atEnd())
    throw IndexError(_path.filename().string() + ": damaged term block");
}

std::vector<std::uint32_t> SegmentReader::postings(std::string_view key) {
  // The block whose first key is the last at or before the key.
  const auto after = std::upper_bound(_blockKeys.begin(), _blockKeys.end(), key);
  if (after == _blockKeys.begin()) return {};
  const std::size_t block = static_cast<std::size_t>(after - _blockKeys.begin()) - 1;
  std::vector<std::uint32_t> found;
  decodeTerms(readBlock(_blockOffsets[block], kTermsTag),
              [&](std::string_view term, std::vector<std::uint32_t>& documents) {
                if (term < key) return true;
                if (term == key) found = std::move(documents);
                return false;
              });
  return found;
}

std::vector<std::pair<std::string, std::vector<std::uint32_t>>> SegmentReader::blockTerms(
    std::size_t block) {
  std::vector<std::pair<std::string, std::vector<std::uint32_t>>> terms;
  decodeTerms(readBlock(_blockOffsets[block], kTermsTag),
              [&](std::string_view key, std::vector<std::uint32_t>& documents) {
                terms.emplace_back(std::string(key), std::move(documents));
                return true;
              });
  return terms;
}

void SegmentReader::forEachTerm(
    const std::function<void(std::string_view, std::vector<std::uint32_t>&)>& visit) {
  std::string last;
  for (std::size_t block = 0; block < _blockOffsets.size(); ++block) {
    decodeTerms(readBlock(_blockOffsets[block], kTermsTag),
                [&](std::string_view key, std::vector<std::uint32_t>& documents) {
                  if (!last.empty() && key <= last) {
                    throw IndexError(_path.filename().string() + ": terms out of order");
                  }
                  last = key;
                  visit(key, documents);
                  return true;
                });
  }
}

}  // namespace orvel::internal
