// A persistent index of collections of documents, so that repeated searches of a large
// collection read only the files that may match, with exactly the answers of a search that
// reads them all.
//
//   orvel::updateCollectionIndex("/srv/docs/.orvel-index", {{"/srv/docs"}});
//   orvel::SearchRequest request;
//   request.query = u"harbour NEAR/5 quay";
//   request.inputs.paths = {"/srv/docs"};
//   request.inputs.index = orvel::selectWithIndex("/srv/docs/.orvel-index", request);
//   orvel::CollectionSearch search(std::move(request));
//
// The index only rules files out: a file it holds as text, unchanged since (size,
// modification and change times, inode), whose words lack what the query needs. Every other
// file the walk finds (new, changed, not text, a TextBundle, or read too soon after its last
// change to trust its times) is searched as without an index, so a stale index is slower,
// never wrong.
//
// On disk the index is a manifest (the file named) and segment files beside it named after
// it (".seg-GENERATION-N"), and a lock file (".lock"); all are KeyedStorage files of
// KeyedData records, every block checked by its checksum (see internal/index_segment.h). An
// update writes new segments, then a new manifest under a temporary name, and renames it
// over the old one: killed at any moment, the index is the old one or the new one. Readers
// never wait: segments are never changed once written, and a reader keeps the files it
// opened. Writers take the lock file in turn.
#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "orvel/find/collection_walk.h"

namespace orvel {

class QueryTerms;
struct SearchRequest;

// What goes wrong with an index: it is missing, damaged, or cannot be written.
struct IndexError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

// The name of an index at the top of a tree when none is given; the walk never searches
// files whose names start with it.
inline constexpr std::string_view kDefaultIndexName = ".orvel-index";

// What an update did.
struct IndexUpdate {
  std::uint64_t indexed = 0;    // files read (new or changed)
  std::uint64_t unchanged = 0;  // files kept as they were indexed
  std::uint64_t removed = 0;    // files indexed before and gone now
  std::uint64_t failed = 0;     // files that could not be read (left out)
  std::uint64_t bytesRead = 0;
  std::size_t segments = 0;  // segments afterwards
  bool merged = false;       // the segments were merged into one
};

struct IndexStatus {
  std::vector<std::string> roots;  // the trees the index covers (absolute)
  std::uint64_t documents = 0;     // documents in the newest version of each
  std::uint64_t textDocuments = 0;
  std::size_t segments = 0;
  std::uint64_t bytes = 0;  // the manifest and segment files together
  std::uint64_t generation = 0;
};

// Builds the index at `index`, or brings it up to date, for the trees of `inputs` (walked as
// a search walks them; the index's roots become these paths). Waits while another update
// holds the lock. `merge` merges every segment into one (compaction). Throws IndexError.
IndexUpdate updateCollectionIndex(const std::filesystem::path& index, const WalkInputs& inputs,
                                  bool merge = false);
// Throws IndexError when there is no index or its manifest is damaged.
[[nodiscard]] IndexStatus collectionIndexStatus(const std::filesystem::path& index);
// Reads every block of the index and checks what it holds; answers each problem found (a
// damaged block, a wrong count, terms out of order, a missing segment), empty when sound.
[[nodiscard]] std::vector<std::string> verifyCollectionIndex(const std::filesystem::path& index);
// The index of a tree when none is named: the default name at its top, if there is one
// there, else at the top of any folder above it (an index covers the trees below it).
[[nodiscard]] std::optional<std::filesystem::path> findCollectionIndex(
    const std::filesystem::path& path);

// What an index says of one query's files: those it rules out cannot match and need not be
// read. A walk given one (WalkInputs::index) asks once per folder it reads, then per entry.
class IndexSelection {
 public:
  // The indexed documents of one folder that the query rules out, unless they changed.
  struct Folder;

  virtual ~IndexSelection() = default;
  // The documents of the folder at the path (as the walk joined it), or null for none.
  [[nodiscard]] virtual const Folder* folder(const std::string& path) const = 0;
  // Whether the folder's entry (the folder open at folderFd) is one of them, unchanged.
  [[nodiscard]] virtual bool rulesOut(const Folder& folder, int folderFd,
                                      std::string_view name) const = 0;
  // The same for a file by its path (one given by the caller).
  [[nodiscard]] virtual bool rulesOut(const std::string& path) const = 0;
};

// Reads the index and works out which of its documents may match the request's query; put
// the answer in request.inputs.index. Null when the index cannot help: a request matching
// Finder comments (which lie outside the files), or a query for which the index rules out
// less than `minimumShare` of its documents, where the stat of every file it costs takes
// longer than reading the files it spares (a search without it decides most files on their
// first bytes; measured: ruling out 62 % still lost). Throws IndexError when the index is
// missing or damaged: search without it then.
inline constexpr double kIndexWorthwhileShare = 0.9;
[[nodiscard]] std::shared_ptr<const IndexSelection> selectWithIndex(
    const std::filesystem::path& index, const SearchRequest& request,
    double minimumShare = kIndexWorthwhileShare);

}  // namespace orvel
