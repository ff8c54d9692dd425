#include "orvel/base/file_extension.h"

namespace orvel {

std::string_view fileExtension(const std::filesystem::path& path) {
  const std::string_view native = path.native();
  const std::size_t slash = native.rfind('/');
  const std::string_view name = slash == std::string_view::npos ? native : native.substr(slash + 1);
  const std::size_t dot = name.rfind('.');
  if (dot == std::string_view::npos || dot == 0 || name == "..") return {};
  return name.substr(dot + 1);
}

std::u16string fileExtensionUnits(const std::filesystem::path& path) {
  const std::string_view extension = fileExtension(path);
  return std::u16string(extension.begin(), extension.end());
}

}  // namespace orvel
