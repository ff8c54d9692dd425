#include "orvel/find/collection_index.h"

#include "orvel/find/collection_search.h"
#include "orvel/find/internal/index_manifest.h"
#include "orvel/find/internal/index_terms.h"
#include "orvel/search/text_query.h"

namespace orvel {

using internal::DocumentSet;
using internal::IndexedDocument;
using internal::SegmentInfo;
using internal::SegmentReader;

namespace {

namespace fs = std::filesystem;
using internal::IndexReader;

class Selection final : public IndexSelection {
 public:
  Selection(std::unique_ptr<IndexReader> reader, const QueryTerms& tree, bool wildcard)
      : _reader(std::move(reader)) {
    for (SegmentReader& segment : _reader->segments()) {
      _mayMatch.push_back(internal::documentsThatMayMatch(
          tree, wildcard, segment.documents().size(),
          [&segment](std::string_view key) { return segment.postings(key); }));
    }
  }

  bool rulesOut(const std::string& path) const override {
    const std::string key = internal::indexedPath(path);
    const auto found = _reader->places().find(key);
    if (found == _reader->places().end()) return false;
    const auto [segment, document] = found->second;
    if (_mayMatch[segment].contains(document)) return false;
    const IndexedDocument& indexed = _reader->segments()[segment].documents()[document];
    if (!indexed.text || indexed.racy) return false;
    const std::optional<IndexedDocument> now = internal::documentNow(key);
    return now && now->text && internal::sameFile(indexed, *now);
  }

 private:
  std::unique_ptr<IndexReader> _reader;
  std::vector<DocumentSet> _mayMatch;
};

// A selection that rules nothing out.
class NoSelection final : public IndexSelection {
 public:
  bool rulesOut(const std::string&) const override { return false; }
};

}  // namespace

std::shared_ptr<const IndexSelection> selectWithIndex(const fs::path& index,
                                                      const SearchRequest& request) {
  auto reader = std::make_unique<IndexReader>(index, internal::readManifest(index));
  if (request.comments) return std::make_shared<NoSelection>();
  const TextQuery query(request.query, request.caseSensitive, request.wildcard,
                        request.ignoreAccents);
  return std::make_shared<Selection>(std::move(reader), query.tree(), request.wildcard);
}

IndexStatus collectionIndexStatus(const fs::path& index) {
  const internal::Manifest manifest = internal::readManifest(index);
  IndexReader reader(index, manifest);
  IndexStatus status;
  status.roots = manifest.roots;
  status.segments = manifest.segments.size();
  status.generation = manifest.generation;
  status.documents = reader.places().size();
  for (const auto& [path, place] : reader.places()) {
    if (reader.document(place).text) ++status.textDocuments;
  }
  std::error_code error;
  status.bytes = fs::file_size(index, error);
  for (const SegmentInfo& info : manifest.segments) {
    status.bytes += fs::file_size(internal::segmentPath(index, info.name), error);
  }
  return status;
}

std::optional<fs::path> findCollectionIndex(const fs::path& path) {
  std::error_code error;
  fs::path folder = fs::absolute(path, error).lexically_normal();
  if (error) return std::nullopt;
  if (!fs::is_directory(folder, error)) folder = folder.parent_path();
  for (;;) {
    const fs::path candidate = folder / kDefaultIndexName;
    if (fs::is_regular_file(candidate, error)) return candidate;
    if (!folder.has_relative_path()) return std::nullopt;
    folder = folder.parent_path();
  }
}

}  // namespace orvel
