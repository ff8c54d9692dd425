// The manifest of a collection index and the reading of all its segments, shared by the
// searches that select with an index, its updates and its checks.
#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "orvel/find/internal/index_segment.h"

namespace orvel::internal {

struct Manifest {
  std::uint64_t generation = 0;
  std::vector<std::string> roots;
  std::vector<SegmentInfo> segments;  // oldest first
};

// Throws IndexError when the manifest is missing or damaged.
[[nodiscard]] Manifest readManifest(const std::filesystem::path& index);
// Writes the manifest under a temporary name and renames it over the old one, durably.
void writeManifest(const std::filesystem::path& index, const Manifest& manifest);
[[nodiscard]] std::filesystem::path segmentPath(const std::filesystem::path& index,
                                                const std::string& name);

// A path as the index keys it: absolute and lexically normal.
[[nodiscard]] std::string indexedPath(const std::string& path);
// The file at the path (relative to the folder open at folderFd, or AT_FDCWD) as the file
// system shows it now (size, times, inode; text false for anything but a regular file);
// nullopt when it cannot be seen. Symbolic links are followed, as the walk follows them.
[[nodiscard]] std::optional<IndexedDocument> documentNow(int folderFd, const std::string& path);
[[nodiscard]] bool sameFile(const IndexedDocument& indexed, const IndexedDocument& now);

struct DocumentPlace {
  std::uint32_t segment;
  std::uint32_t document;
};

// Every segment of a manifest, and where the newest version of each path is (once the
// document tables are read).
class IndexReader {
 public:
  IndexReader(const std::filesystem::path& index, Manifest manifest, bool withDocuments = true);
  // Reads the document tables, if not yet read, and where each path is.
  void readDocuments();

  [[nodiscard]] const Manifest& manifest() const { return _manifest; }
  [[nodiscard]] std::vector<SegmentReader>& segments() { return _segments; }
  [[nodiscard]] const std::vector<SegmentReader>& segments() const { return _segments; }
  [[nodiscard]] const std::unordered_map<std::string_view, DocumentPlace>& places() const {
    return _places;
  }
  [[nodiscard]] const IndexedDocument& document(DocumentPlace place) const {
    return _segments[place.segment].documents()[place.document];
  }

 private:
  Manifest _manifest;
  std::vector<SegmentReader> _segments;
  std::unordered_map<std::string_view, DocumentPlace> _places;  // views of the tables' paths
};

// Reads the manifest and every segment it names. A writer may replace the manifest and
// remove segments it merged away in between: then the new manifest is read again.
[[nodiscard]] std::unique_ptr<IndexReader> openIndexReader(const std::filesystem::path& index,
                                                           bool withDocuments = true);

// Holds the lock that writers take in turn (waiting for it), released when it goes.
class WriterLock {
 public:
  explicit WriterLock(const std::filesystem::path& index);
  ~WriterLock();
  WriterLock(const WriterLock&) = delete;
  WriterLock& operator=(const WriterLock&) = delete;

 private:
  int _fd = -1;
};

}  // namespace orvel::internal
