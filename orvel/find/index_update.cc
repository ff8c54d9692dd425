// Building and updating a collection index, merging its segments, and checking it.
#include <algorithm>
#include <atomic>
#include <chrono>
#include <system_error>
#include <thread>

#include <fcntl.h>
#include <unistd.h>

#include "orvel/find/collection_index.h"
#include "orvel/find/internal/index_manifest.h"
#include "orvel/find/internal/index_terms.h"

namespace orvel {

using internal::IndexedDocument;
using internal::IndexReader;
using internal::Manifest;
using internal::SegmentInfo;
using internal::SegmentReader;

namespace {

namespace fs = std::filesystem;

// A new segment is written once the postings gathered in memory take about this much.
constexpr std::size_t kSegmentMemory = 24 << 20;
// Segments are merged into one when there are more than this many, or when documents that
// newer versions or removal made dead are more than this share of all.
constexpr std::size_t kMaxSegments = 6;
constexpr double kMaxDeadShare = 0.25;
// A file changed less than this long before it was read is not trusted by its times: a
// change within the same tick of the file system's clock would not show in them.
constexpr std::int64_t kRacyNanoseconds = 2'000'000'000;

std::int64_t nowNanoseconds() {
  return std::chrono::duration_cast<std::chrono::nanoseconds>(
             std::chrono::system_clock::now().time_since_epoch())
      .count();
}

// The segments of an update: those of the index before it, with which of their documents
// are still the newest versions of files the walk found unchanged, and those it wrote.
struct Segments {
  std::vector<SegmentInfo> infos;
  std::vector<std::vector<bool>> live;  // per segment, per document
};

class Update {
 public:
  Update(const fs::path& index, const WalkInputs& inputs) : _index(index), _inputs(inputs) {
    try {
      _old = internal::readManifest(index);
      _reader = std::make_unique<IndexReader>(index, _old);
    } catch (const IndexError&) {
      // No index yet, or one that cannot be trusted: built anew.
      _old = Manifest{};
      _reader.reset();
    }
    _segments.infos = _old.segments;
    for (const SegmentInfo& info : _old.segments) {
      _segments.live.emplace_back(info.documents, false);
    }
  }

  IndexUpdate run(bool merge) {
    walk();
    writeSegment();
    if (_reader) _report.removed = _reader->places().size() - _report.unchanged - _known;
    Manifest next;
    next.generation = _old.generation + 1;
    for (const fs::path& root : _inputs.paths) {
      next.roots.push_back(internal::indexedPath(root.string()));
    }
    std::uint64_t all = 0, live = 0;
    for (const auto& bits : _segments.live) {
      all += bits.size();
      live += static_cast<std::uint64_t>(std::count(bits.begin(), bits.end(), true));
    }
    const bool tooDead = all > 0 && static_cast<double>(all - live) > kMaxDeadShare * all;
    if (_segments.infos.size() > 1 && (merge || _segments.infos.size() > kMaxSegments || tooDead)) {
      next.segments = {mergeAll(next.generation)};
      _report.merged = true;
    } else {
      next.segments = _segments.infos;
    }
    _reader.reset();  // its files may be removed below
    internal::writeManifest(_index, next);
    removeUnused(next);
    _report.segments = next.segments.size();
    return _report;
  }

 private:
  // A file to read, and what reading it found.
  struct Pending {
    IndexedDocument document;
    internal::TextKeys keys;
    bool read;
  };
  // Files are read a batch at a time, the batch shared by every core.
  static constexpr std::size_t kBatch = 256;

  void walk();
  void read(Pending& pending);
  void readPending();
  void writeSegment();
  SegmentInfo mergeAll(std::uint64_t generation);
  void removeUnused(const Manifest& kept);

  std::string newName(std::uint64_t generation, const std::string& part) const {
    return _index.filename().string() + ".seg-" + std::to_string(generation) + "-" + part;
  }

  fs::path _index;
  const WalkInputs& _inputs;
  Manifest _old;
  std::unique_ptr<IndexReader> _reader;
  Segments _segments;
  internal::SegmentBuilder _builder;
  IndexUpdate _report;
  std::uint64_t _known = 0;  // files read again that the index held before
  std::vector<Pending> _pending;
  std::size_t _parts = 0;
};

void Update::walk() {
  // The index's own files, wherever it lies, are not indexed.
  const std::string own = internal::indexedPath(_index.string());
  CollectionWalk walk(_inputs);
  while (auto item = walk.next()) {
    if (item->error != 0) ++_report.failed;
    if (item->error != 0 || item->skipped || item->stream) continue;
    const std::string path = internal::indexedPath(item->path);
    if (path.starts_with(own)) continue;
    std::optional<IndexedDocument> now = internal::documentNow(AT_FDCWD, path);
    if (!now) {
      ++_report.failed;
      continue;
    }
    if (_reader) {
      const auto found = _reader->places().find(path);
      if (found != _reader->places().end()) {
        const IndexedDocument& indexed = _reader->document(found->second);
        if (!indexed.racy && now->text && internal::sameFile(indexed, *now)) {
          _segments.live[found->second.segment][found->second.document] = true;
          ++_report.unchanged;
          continue;
        }
        ++_known;
      }
    }
    now->path = path;
    _pending.push_back(Pending{std::move(*now), {}, false});
    if (_pending.size() == kBatch) readPending();
  }
  readPending();
}

// Reads a document and finds its keys, on whichever thread takes it.
void Update::read(Pending& pending) {
  const std::int64_t readAt = nowNanoseconds();
  std::string error;
  std::optional<DocumentText> document = documentTextAtPath(pending.document.path, &error);
  if (!document) return;
  IndexedDocument& now = pending.document;
  now.kind = document->kind;
  // A TextBundle folder's times do not change with its text: it is never trusted.
  now.text = now.text && document->text.has_value();
  now.racy = std::max(now.modified, now.changed) > readAt - kRacyNanoseconds;
  if (document->text) pending.keys = internal::TextKeys(*document->text);
  pending.read = true;
}

// Reads the documents waiting, on every core, and adds them in the walk's order.
void Update::readPending() {
  std::atomic<std::size_t> next{0};
  const auto work = [&] {
    for (std::size_t k; (k = next.fetch_add(1)) < _pending.size();) read(_pending[k]);
  };
  std::vector<std::thread> helpers;
  const unsigned cores = std::max(1u, std::thread::hardware_concurrency());
  for (unsigned t = 1; t < cores && t < _pending.size(); ++t) helpers.emplace_back(work);
  work();
  for (std::thread& helper : helpers) helper.join();
  for (Pending& pending : _pending) {
    if (!pending.read) {
      ++_report.failed;
      continue;
    }
    _report.bytesRead += pending.document.size;
    ++_report.indexed;
    _builder.add(std::move(pending.document), pending.keys);
    if (_builder.memoryUsed() > kSegmentMemory) writeSegment();
  }
  _pending.clear();
}

void Update::writeSegment() {
  if (_builder.documents() == 0) return;
  const std::string name = newName(_old.generation + 1, std::to_string(_parts++));
  _segments.live.emplace_back(_builder.documents(), true);
  _segments.infos.push_back(_builder.write(internal::segmentPath(_index, name), name));
  _builder = internal::SegmentBuilder();
}

// Merges the live documents of every segment into one, a term block of each at a time.
SegmentInfo Update::mergeAll(std::uint64_t generation) {
  std::vector<SegmentReader> readers;
  std::vector<std::vector<std::int64_t>> numbers;  // per segment, per document: new or -1
  std::vector<IndexedDocument> documents;
  for (std::size_t s = 0; s < _segments.infos.size(); ++s) {
    readers.emplace_back(internal::segmentPath(_index, _segments.infos[s].name),
                         _segments.infos[s]);
    readers[s].readDocuments();
    auto& renumbered = numbers.emplace_back(readers[s].documents().size(), -1);
    for (std::size_t d = 0; d < renumbered.size(); ++d) {
      if (!_segments.live[s][d]) continue;
      renumbered[d] = static_cast<std::int64_t>(documents.size());
      documents.push_back(readers[s].documents()[d]);
    }
  }
  const std::string name = newName(generation, "merged");
  internal::SegmentFileWriter writer(internal::segmentPath(_index, name), name);
  writer.writeDocuments(documents);
  // One cursor a segment: its current block's terms and the next to take.
  struct Cursor {
    std::size_t block = 0;
    std::vector<std::pair<std::string, std::vector<std::uint32_t>>> terms;
    std::size_t next = 0;
  };
  std::vector<Cursor> cursors(readers.size());
  const auto current = [&](std::size_t s) -> const std::string* {
    Cursor& cursor = cursors[s];
    while (cursor.next == cursor.terms.size()) {
      if (cursor.block == readers[s].termBlocks()) return nullptr;
      cursor.terms = readers[s].blockTerms(cursor.block++);
      cursor.next = 0;
    }
    return &cursor.terms[cursor.next].first;
  };
  std::vector<std::uint32_t> merged;
  for (;;) {
    const std::string* least = nullptr;
    for (std::size_t s = 0; s < readers.size(); ++s) {
      const std::string* key = current(s);
      if (key != nullptr && (least == nullptr || *key < *least)) least = key;
    }
    if (least == nullptr) break;
    const std::string key = *least;
    merged.clear();
    // Segments in order give ascending new numbers.
    for (std::size_t s = 0; s < readers.size(); ++s) {
      const std::string* at = current(s);
      if (at == nullptr || *at != key) continue;
      for (const std::uint32_t document : cursors[s].terms[cursors[s].next].second) {
        if (numbers[s][document] >= 0)
          merged.push_back(static_cast<std::uint32_t>(numbers[s][document]));
      }
      ++cursors[s].next;
    }
    if (!merged.empty()) writer.addTerm(key, merged);
  }
  return writer.finish();
}

// Removes the segments the new manifest no longer names, and what killed updates left.
void Update::removeUnused(const Manifest& kept) {
  const std::string prefix = _index.filename().string() + ".";
  const std::string ownTemporary =
      _index.filename().string() + ".new-" + std::to_string(::getpid());
  std::error_code error;
  for (const fs::directory_entry& entry : fs::directory_iterator(
           _index.parent_path().empty() ? fs::path(".") : _index.parent_path(), error)) {
    const std::string name = entry.path().filename().string();
    if (!name.starts_with(prefix) || name == ownTemporary) continue;
    const bool segment = name.starts_with(prefix + "seg-");
    const bool temporary = name.starts_with(prefix + "new-");
    const bool named = std::any_of(kept.segments.begin(), kept.segments.end(),
                                   [&](const SegmentInfo& info) { return info.name == name; });
    if ((segment && !named) || temporary) fs::remove(entry.path(), error);
  }
}

}  // namespace

IndexUpdate updateCollectionIndex(const fs::path& index, const WalkInputs& inputs, bool merge) {
  internal::WriterLock lock(index);
  return Update(index, inputs).run(merge);
}

std::vector<std::string> verifyCollectionIndex(const fs::path& index) {
  std::vector<std::string> problems;
  Manifest manifest;
  try {
    manifest = internal::readManifest(index);
  } catch (const IndexError& error) {
    return {error.what()};
  }
  for (const SegmentInfo& info : manifest.segments) {
    try {
      SegmentReader reader(internal::segmentPath(index, info.name), info);
      reader.readDocuments();
      reader.forEachTerm([&](std::string_view, std::vector<std::uint32_t>&) {});
    } catch (const IndexError& error) {
      problems.emplace_back(error.what());
    }
  }
  return problems;
}

}  // namespace orvel
