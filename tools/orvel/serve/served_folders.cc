#include "tools/orvel/serve/served_folders.h"

#include <algorithm>
#include <stdexcept>

namespace orvel::serve {
namespace {

namespace fs = std::filesystem;

// Whether `path` is `folder` or lies below it; both canonical.
bool isWithin(const fs::path& path, const fs::path& folder) {
  const auto [folderEnd, pathAt] =
      std::mismatch(folder.begin(), folder.end(), path.begin(), path.end());
  return folderEnd == folder.end();
}

bool lowerEquals(std::string_view text, std::string_view lower) {
  return std::equal(text.begin(), text.end(), lower.begin(), lower.end(),
                    [](char a, char b) { return (a >= 'A' && a <= 'Z' ? a + 32 : a) == b; });
}

}  // namespace

ServedFolders::ServedFolders(const std::vector<std::string>& folders) {
  for (const std::string& folder : folders) {
    std::error_code error;
    fs::path canonical = fs::canonical(folder, error);
    if (error) throw std::runtime_error(folder + ": " + error.message());
    if (!fs::is_directory(canonical, error)) throw std::runtime_error(folder + ": not a folder");
    _folders.push_back(std::move(canonical));
  }
}

std::optional<fs::path> ServedFolders::resolve(std::string_view asked) const {
  if (asked.empty() || asked.front() != '/' || asked.find('\0') != std::string_view::npos) {
    return std::nullopt;
  }
  const fs::path path(asked);
  for (const fs::path& part : path) {
    if (part == "..") return std::nullopt;
  }
  std::error_code error;
  const fs::path canonical = fs::canonical(path, error);
  if (error) return std::nullopt;
  const bool below = std::any_of(_folders.begin(), _folders.end(), [&](const fs::path& folder) {
    return isWithin(canonical, folder);
  });
  return below ? std::optional(canonical) : std::nullopt;
}

bool isSuspiciousTarget(std::string_view target) {
  const std::string_view path = target.substr(0, target.find('?'));
  for (std::size_t k = 0; k < target.size(); ++k) {
    if (target[k] == '\0') return true;
    if (target[k] != '%' || k + 2 >= target.size()) continue;
    const std::string_view code = target.substr(k + 1, 2);
    // In the path, an encoded slash or backslash; anywhere, an encoded NUL.
    if (code == "00" || (k < path.size() && (lowerEquals(code, "2f") || lowerEquals(code, "5c")))) {
      return true;
    }
  }
  for (std::size_t start = 0; start <= path.size();) {
    const std::size_t end = std::min(path.find('/', start), path.size());
    const std::string_view segment = path.substr(start, end - start);
    if (segment == "." || segment == ".." || lowerEquals(segment, "%2e") ||
        lowerEquals(segment, "%2e%2e") || lowerEquals(segment, ".%2e") ||
        lowerEquals(segment, "%2e.")) {
      return true;
    }
    start = end + 1;
  }
  return false;
}

}  // namespace orvel::serve
