#include "orvel/find/internal/index_manifest.h"

#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include "orvel/base/utf8.h"
#include "orvel/find/internal/varint.h"
#include "orvel/records/keyed_data.h"

namespace orvel::internal {
namespace {

namespace fs = std::filesystem;

// The manifest: one block of KeyedData records, "VERS" (the format, 1), "GENE" (the
// generation, one more at every update), "ROOT" (each tree covered, a string record) and
// "SEGS" (the number of segments, then for each, oldest first: its file name, documents,
// and the offsets of its table and term index, as varints).
constexpr KeyedKey kVersionTag = fourCharCode("VERS");
constexpr KeyedKey kGenerationTag = fourCharCode("GENE");
constexpr KeyedKey kRootTag = fourCharCode("ROOT");
constexpr KeyedKey kSegmentsTag = fourCharCode("SEGS");
constexpr std::uint32_t kIndexVersion = 1;

KeyedBytes bytesOf(std::string_view text) {
  return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

// Makes a rename inside the folder durable.
void syncFolder(const fs::path& folder) {
  const int fd = ::open(folder.empty() ? "." : folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (fd < 0) return;
  ::fsync(fd);
  ::close(fd);
}

std::int64_t nanoseconds(const timespec& time) {
  return static_cast<std::int64_t>(time.tv_sec) * 1'000'000'000 + time.tv_nsec;
}

}  // namespace

fs::path segmentPath(const fs::path& index, const std::string& name) {
  return index.parent_path() / name;
}

Manifest readManifest(const fs::path& index) {
  KeyedStorage storage = KeyedStorage::forReading(index);
  if (!storage.isValid()) {
    throw IndexError(std::string("no index (") + std::strerror(errno) + ")");
  }
  bool damaged = false;
  const std::optional<Block> block = storage.nextAvailableBlock(nullptr, &damaged);
  if (!block || damaged || !isValid(*block) ||
      unsignedForKey(*block, kVersionTag) != kIndexVersion) {
    throw IndexError("damaged index manifest");
  }
  Manifest manifest;
  manifest.generation = unsignedLongLongForKey(*block, kGenerationTag);
  if (auto roots = stringsNoCopyForKey(*block, kRootTag)) {
    for (std::string_view root : *roots) manifest.roots.emplace_back(root);
  }
  const std::optional<KeyedBytes> segments = dataNoCopyForKey(*block, kSegmentsTag);
  if (!segments) throw IndexError("damaged index manifest");
  VarintReader reader(
      std::string_view(reinterpret_cast<const char*>(segments->data()), segments->size()));
  const std::uint64_t count = reader.numberUpTo(segments->size());
  for (std::uint64_t k = 0; k < count && reader.ok(); ++k) {
    SegmentInfo& info = manifest.segments.emplace_back();
    info.name = reader.text();
    info.documents = reader.number();
    info.tableOffset = reader.number();
    info.termIndexOffset = reader.number();
    // A segment is a file beside the manifest, never a path elsewhere.
    if (info.name.empty() || info.name.find('/') != std::string::npos) break;
  }
  if (!reader.ok() || !reader.atEnd() || manifest.segments.size() != count) {
    throw IndexError("damaged index manifest");
  }
  return manifest;
}

void writeManifest(const fs::path& index, const Manifest& manifest) {
  KeyedBuffer block;
  addUnsigned(block, kIndexVersion, kVersionTag);
  addUnsignedLongLong(block, manifest.generation, kGenerationTag);
  for (const std::string& root : manifest.roots) {
    addString(block, utf8ToUtf16Lenient(root), kRootTag);
  }
  std::string segments;
  appendVarint(segments, manifest.segments.size());
  for (const SegmentInfo& info : manifest.segments) {
    appendText(segments, info.name);
    appendVarint(segments, info.documents);
    appendVarint(segments, info.tableOffset);
    appendVarint(segments, info.termIndexOffset);
  }
  addData(block, bytesOf(segments), kSegmentsTag);
  const fs::path temporary = index.string() + ".new-" + std::to_string(::getpid());
  std::error_code ignored;
  fs::remove(temporary, ignored);
  KeyedStorage storage = KeyedStorage::forAppending(temporary);
  if (!storage.isValid() || !storage.appendBlock(block) || !storage.synchronizeFile() ||
      storage.closeFile()) {
    fs::remove(temporary, ignored);
    throw IndexError("cannot write the index manifest");
  }
  if (::rename(temporary.c_str(), index.c_str()) != 0) {
    const int error = errno;
    fs::remove(temporary, ignored);
    throw IndexError(std::string("cannot write the index manifest: ") + std::strerror(error));
  }
  syncFolder(index.parent_path());
}

std::string indexedPath(const std::string& path) {
  if (!path.empty() && path.front() == '/' && path.find("/.") == std::string::npos &&
      path.find("//") == std::string::npos) {
    return path;  // the usual case, already normal
  }
  std::string normal = fs::absolute(fs::path(path)).lexically_normal().string();
  if (normal.size() > 1 && normal.back() == '/') normal.pop_back();  // "dir/." ends so
  return normal;
}

std::optional<IndexedDocument> documentNow(int folderFd, const std::string& path) {
  struct stat info {};
  if (::fstatat(folderFd, path.c_str(), &info, 0) != 0) return std::nullopt;
  IndexedDocument document;
  document.size = static_cast<std::uint64_t>(info.st_size);
  document.modified = nanoseconds(info.st_mtim);
  document.changed = nanoseconds(info.st_ctim);
  document.inode = info.st_ino;
  document.text = S_ISREG(info.st_mode);
  return document;
}

bool sameFile(const IndexedDocument& indexed, const IndexedDocument& now) {
  return indexed.size == now.size && indexed.modified == now.modified &&
         indexed.changed == now.changed && indexed.inode == now.inode;
}

IndexReader::IndexReader(const fs::path& index, Manifest manifest, bool withDocuments)
    : _manifest(std::move(manifest)) {
  _segments.reserve(_manifest.segments.size());
  for (const SegmentInfo& info : _manifest.segments) {
    _segments.emplace_back(segmentPath(index, info.name), info);
  }
  if (withDocuments) readDocuments();
}

void IndexReader::readDocuments() {
  if (!_places.empty()) return;
  for (SegmentReader& segment : _segments) segment.readDocuments();
  // Newest first: a path in a newer segment hides its older versions.
  std::size_t all = 0;
  for (const SegmentReader& segment : _segments) all += segment.documents().size();
  _places.reserve(all);
  for (std::size_t s = _segments.size(); s-- > 0;) {
    const auto& documents = _segments[s].documents();
    for (std::size_t d = 0; d < documents.size(); ++d) {
      _places.try_emplace(documents[d].path, DocumentPlace{static_cast<std::uint32_t>(s),
                                                           static_cast<std::uint32_t>(d)});
    }
  }
}

std::unique_ptr<IndexReader> openIndexReader(const fs::path& index, bool withDocuments) {
  for (int attempt = 0;; ++attempt) {
    Manifest manifest = readManifest(index);
    const std::uint64_t generation = manifest.generation;
    try {
      return std::make_unique<IndexReader>(index, std::move(manifest), withDocuments);
    } catch (const IndexError&) {
      if (attempt == 3 || readManifest(index).generation == generation) throw;
    }
  }
}

WriterLock::WriterLock(const fs::path& index) {
  const std::string path = index.string() + ".lock";
  _fd = ::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0644);
  if (_fd < 0 || ::flock(_fd, LOCK_EX) != 0) {
    const int error = errno;
    if (_fd >= 0) ::close(_fd);
    throw IndexError(path + ": cannot lock the index: " + std::strerror(error));
  }
}

WriterLock::~WriterLock() { ::close(_fd); }

}  // namespace orvel::internal
