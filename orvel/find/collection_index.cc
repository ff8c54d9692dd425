#include "orvel/find/collection_index.h"

#include <algorithm>
#include <atomic>
#include <thread>
#include <unordered_map>

#include <fcntl.h>
#include <unistd.h>

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
  // What a stat found of each document, by whichever thread looked first (the walk, or the
  // thread checking ahead of it): kUnknown, kUnchanged or kChanged.
  std::unique_ptr<std::atomic<std::uint8_t>[]> verdicts;
  // Set when the walk reaches the folder: the thread checking ahead leaves it alone.
  mutable std::atomic<bool> reached{false};
};

namespace {

namespace fs = std::filesystem;
using internal::IndexReader;

// A folder's documents that the query rules out, by name.
using RuledOut = std::vector<std::pair<std::string_view, const IndexedDocument*>>;

enum Verdict : std::uint8_t { kUnknown, kUnchanged, kChanged };

// Checking ahead pays for its thread from this many folders on.
constexpr std::size_t kFoldersWorthCheckingAhead = 16;

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
    for (auto& [path, folder] : _folders) {
      std::sort(folder.documents.begin(), folder.documents.end());
      folder.verdicts = std::make_unique<std::atomic<std::uint8_t>[]>(folder.documents.size());
      _order.emplace_back(path, &folder);
    }
    std::sort(_order.begin(), _order.end());
  }

  ~Selection() override {
    _stop.store(true);
    if (_ahead.joinable()) _ahead.join();
  }
  Selection(const Selection&) = delete;
  Selection& operator=(const Selection&) = delete;

  // Starts a thread that stats the documents folder by folder from the last in path order,
  // while the walk goes from the first: the two meet about the middle, each stat done once,
  // on both cores. The stat is the whole cost of ruling a file out.
  void checkAhead() {
    if (_order.size() < kFoldersWorthCheckingAhead || std::thread::hardware_concurrency() < 2) {
      return;
    }
    _ahead = std::thread([this] {
      for (auto at = _order.rbegin(); at != _order.rend() && !_stop.load(); ++at) {
        Folder& folder = *at->second;
        if (folder.reached.load()) continue;
        const std::string path(at->first);
        const int fd = ::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
        if (fd < 0) continue;
        for (std::size_t k = 0; k < folder.documents.size() && !folder.reached.load(); ++k) {
          if (folder.verdicts[k].load(std::memory_order_relaxed) == kUnknown) judge(folder, k, fd);
        }
        ::close(fd);
      }
    });
  }

  const Folder* folder(const std::string& path) const override {
    const auto found = _folders.find(internal::indexedPath(path));
    if (found == _folders.end()) return nullptr;
    found->second.reached.store(true);
    return &found->second;
  }

  bool rulesOut(const Folder& folder, int folderFd, std::string_view name) const override {
    const std::optional<std::size_t> k = position(folder, name);
    if (!k) return false;
    const std::uint8_t verdict = folder.verdicts[*k].load(std::memory_order_relaxed);
    return (verdict == kUnknown ? judge(folder, *k, folderFd) : verdict) == kUnchanged;
  }

  // The share of the documents it rules out.
  [[nodiscard]] double share() const {
    return _documents == 0 ? 0.0 : static_cast<double>(_ruledOut) / static_cast<double>(_documents);
  }

  bool rulesOut(const std::string& path) const override {
    const std::string absolute = internal::indexedPath(path);
    const std::size_t slash = absolute.rfind('/');
    const auto found = _folders.find(std::string_view(absolute).substr(0, slash));
    if (found == _folders.end()) return false;
    const Folder& documents = found->second;
    const std::optional<std::size_t> k =
        position(documents, std::string_view(absolute).substr(slash + 1));
    return k && unchanged(*documents.documents[*k].second, AT_FDCWD, absolute);
  }

 private:
  // Where the name stands among the folder's documents, if it is one of them.
  static std::optional<std::size_t> position(const Folder& folder, std::string_view name) {
    const RuledOut& documents = folder.documents;
    const auto found =
        std::lower_bound(documents.begin(), documents.end(), name,
                         [](const auto& entry, std::string_view key) { return entry.first < key; });
    if (found == documents.end() || found->first != name) return std::nullopt;
    return static_cast<std::size_t>(found - documents.begin());
  }

  // Stats the folder's k-th document and records what it found.
  static std::uint8_t judge(const Folder& folder, std::size_t k, int folderFd) {
    const auto& [name, indexed] = folder.documents[k];
    const std::uint8_t verdict =
        unchanged(*indexed, folderFd, std::string(name)) ? kUnchanged : kChanged;
    folder.verdicts[k].store(verdict, std::memory_order_relaxed);
    return verdict;
  }

  static bool unchanged(const IndexedDocument& indexed, int folderFd, const std::string& name) {
    const std::optional<IndexedDocument> now = internal::documentNow(folderFd, name);
    return now && now->text && internal::sameFile(indexed, *now);
  }

  std::unique_ptr<IndexReader> _reader;
  std::unordered_map<std::string_view, Folder> _folders;
  std::vector<std::pair<std::string_view, Folder*>> _order;  // by path
  std::atomic<bool> _stop{false};
  std::thread _ahead;
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
  selection->checkAhead();
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
