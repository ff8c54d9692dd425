// The folders a served site may read from, and the check every path asked for passes: a
// page's request names a file by its path, and the answer is that file only when its
// canonical path (links resolved) lies below one of the folders' canonical paths.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace orvel::serve {

class ServedFolders {
 public:
  // Throws std::runtime_error naming a folder that does not exist or is no folder.
  explicit ServedFolders(const std::vector<std::string>& folders);

  // The canonical path of the file or folder asked for, when it exists and lies below (or
  // is) one of the folders; nullopt for anything else: a relative path, a NUL, a ".."
  // component (refused as written, whatever it would resolve to), a link leading out.
  [[nodiscard]] std::optional<std::filesystem::path> resolve(std::string_view asked) const;

  [[nodiscard]] const std::vector<std::filesystem::path>& folders() const { return _folders; }

 private:
  std::vector<std::filesystem::path> _folders;  // canonical
};

// Whether a request's target, as sent (before any decoding), holds what no page of the
// site sends and a traversal attempt does: an encoded slash or backslash, an encoded NUL or
// a raw one, or a "." or ".." segment in its path.
[[nodiscard]] bool isSuspiciousTarget(std::string_view target);

}  // namespace orvel::serve
