#include "orvel/find/collection_index.h"

#include <algorithm>
#include <unordered_map>

#include <fcntl.h>

#include "orvel/find/collection_search.h"
#include "orvel/find/internal/index_manifest.h"
#include "orvel/find/internal/index_terms.h"
#include "orvel/search/query_terms.h"

namespace orvel {

using internal::DocumentSet;
using internal::IndexedDocument;
using internal::SegmentInfo;
using internal::SegmentReader;

struct IndexSelection::Folder {
  std::vector<std::pair<std::string_view, const internal::IndexedDocument*>> documents;
};

namespace {

namespace fs = std::filesystem;
using internal::IndexReader;

// A folder's documents that the query rules out, by name.
using RuledOut = std::vector<std::pair<std::string_view, const IndexedDocument*>>;

class Selection final : public IndexSelection {
 public:
  // The reader's document tables are read here, after the sets of documents that may match.
  Selection(std::unique_ptr<IndexReader> reader, const std::vector<DocumentSet>& mayMatch)
      : _reader(std::move(reader)) {
    _reader->readDocuments();
    // Only the newest version of a path counts, and only a text trusted by its times can be
    // ruled out: those are grouped by folder, each folder's names sorted.
    for (const auto& [path, place] : _reader->places()) {
      const IndexedDocument& document = _reader->document(place);
      if (mayMatch[place.segment].contains(place.document) || !document.text || document.racy) {
        continue;
      }
      const std::size_t slash = path.rfind('/');
      _folders[path.substr(0, slash)].documents.emplace_back(path.substr(slash + 1), &document);
      ++_ruledOut;
    }
    _documents = _reader->places().size();
    for (auto& [folder, entries] : _folders) {
      std::sort(entries.documents.begin(), entries.documents.end());
    }
  }

  const Folder* folder(const std::string& path) const override {
    const auto found = _folders.find(internal::indexedPath(path));
    return found == _folders.end() ? nullptr : &found->second;
  }

  bool rulesOut(const Folder& folder, int folderFd, std::string_view name) const override {
    const IndexedDocument* indexed = find(folder, name);
    return indexed != nullptr && unchanged(*indexed, folderFd, std::string(name));
  }

  // The share of the documents it rules out.
  [[nodiscard]] double share() const {
    return _documents == 0 ? 0.0 : static_cast<double>(_ruledOut) / static_cast<double>(_documents);
  }

  bool rulesOut(const std::string& path) const override {
    const std::string absolute = internal::indexedPath(path);
    const std::size_t slash = absolute.rfind('/');
    const Folder* documents = folder(absolute.substr(0, slash));
    const IndexedDocument* indexed =
        documents != nullptr ? find(*documents, std::string_view(absolute).substr(slash + 1))
                             : nullptr;
    return indexed != nullptr && unchanged(*indexed, AT_FDCWD, absolute);
  }

 private:
  static const IndexedDocument* find(const Folder& folder, std::string_view name) {
    const RuledOut& documents = folder.documents;
    const auto found =
        std::lower_bound(documents.begin(), documents.end(), name,
                         [](const auto& entry, std::string_view key) { return entry.first < key; });
    return found != documents.end() && found->first == name ? found->second : nullptr;
  }

  static bool unchanged(const IndexedDocument& indexed, int folderFd, const std::string& name) {
    const std::optional<IndexedDocument> now = internal::documentNow(folderFd, name);
    return now && now->text && internal::sameFile(indexed, *now);
  }

  std::unique_ptr<IndexReader> _reader;
  std::unordered_map<std::string_view, Folder> _folders;
  std::size_t _ruledOut = 0;
  std::size_t _documents = 0;
};

}  // namespace

std::shared_ptr<const IndexSelection> selectWithIndex(const fs::path& index,
                                                      const SearchRequest& request,
                                                      double minimumShare) {
  std::unique_ptr<IndexReader> reader = internal::openIndexReader(index, false);
  if (request.comments) return nullptr;
  // The tree as written: the keys fold case and accents whatever the comparison.
  const QueryTerms tree =
      request.wildcard ? QueryTerms::withWildcard(request.query) : QueryTerms(request.query);
  std::vector<DocumentSet> mayMatch;
  std::size_t documents = 0, mayBeRuledOut = 0;
  for (SegmentReader& segment : reader->segments()) {
    mayMatch.push_back(internal::documentsThatMayMatch(
        tree, request.wildcard, segment.documentCount(),
        [&segment](std::string_view key) { return segment.postings(key); }));
    const DocumentSet& set = mayMatch.back();
    documents += segment.documentCount();
    if (!set.all) {
      mayBeRuledOut += segment.documentCount() - static_cast<std::size_t>(std::count(
                                                     set.members.begin(), set.members.end(), true));
    }
  }
  // Most documents may match: not worth reading the document tables to find out exactly.
  if (static_cast<double>(mayBeRuledOut) < minimumShare * static_cast<double>(documents)) {
    return nullptr;
  }
  auto selection = std::make_shared<Selection>(std::move(reader), mayMatch);
  if (selection->share() < minimumShare) return nullptr;
  return selection;
}

IndexStatus collectionIndexStatus(const fs::path& index) {
  const std::unique_ptr<IndexReader> opened = internal::openIndexReader(index);
  const IndexReader& reader = *opened;
  const internal::Manifest& manifest = reader.manifest();
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
