// Writing archives for the tests with libarchive's writer: entries of every kind, hostile
// ones included, as ZIP or tar.
#pragma once

#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include <archive.h>
#include <archive_entry.h>

namespace orvel::testing {

struct ArchiveEntry {
  ArchiveEntry(std::string path, std::string content = {}, unsigned type = AE_IFREG,
               std::string link = {}, bool hardLink = false, unsigned mode = 0644)
      : path(std::move(path)),
        content(std::move(content)),
        type(type),
        link(std::move(link)),
        hardLink(hardLink),
        mode(mode) {}

  std::string path;
  std::string content;  // for files
  unsigned type;        // AE_IFREG, AE_IFDIR, AE_IFLNK, AE_IFCHR, ...
  std::string link;     // a symbolic link's target, or a hard link's source
  bool hardLink;
  unsigned mode;
};

// Writes the entries as a ZIP (zip) or a pax tar archive; false when libarchive fails.
inline bool writeArchive(const std::filesystem::path& path,
                         const std::vector<ArchiveEntry>& entries, bool zip = true) {
  archive* writer = archive_write_new();
  if (zip) {
    archive_write_set_format_zip(writer);
  } else {
    archive_write_set_format_pax_restricted(writer);
  }
  bool ok = archive_write_open_filename(writer, path.c_str()) == ARCHIVE_OK;
  for (const ArchiveEntry& item : entries) {
    archive_entry* entry = archive_entry_new();
    archive_entry_set_pathname(entry, item.path.c_str());
    archive_entry_set_filetype(entry, item.type);
    archive_entry_set_perm(entry, item.mode);
    if (item.type == AE_IFLNK) archive_entry_set_symlink(entry, item.link.c_str());
    if (item.hardLink) archive_entry_set_hardlink(entry, item.link.c_str());
    if (item.type == AE_IFREG)
      archive_entry_set_size(entry, static_cast<la_int64_t>(item.content.size()));
    ok = ok && archive_write_header(writer, entry) == ARCHIVE_OK;
    if (item.type == AE_IFREG && !item.content.empty()) {
      ok = ok && archive_write_data(writer, item.content.data(), item.content.size()) ==
                     static_cast<la_ssize_t>(item.content.size());
    }
    archive_entry_free(entry);
  }
  ok = archive_write_close(writer) == ARCHIVE_OK && ok;
  archive_write_free(writer);
  return ok;
}

}  // namespace orvel::testing
