// Reading whole files and listing folders, for tests and benchmarks that work on files
// beside the project (../shared/testdata). Header-only, so that the benchmarks use it too.
#pragma once

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <initializer_list>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

namespace orvel::testing {

// The regular files in the folders (and below them when recursive) whose names end in
// `extension` (any when empty), sorted; a missing folder gives none.
inline std::vector<std::filesystem::path> regularFilesIn(
    std::initializer_list<std::filesystem::path> folders, bool recursive = false,
    std::string_view extension = {}) {
  std::vector<std::filesystem::path> paths;
  const auto take = [&](const std::filesystem::directory_entry& entry) {
    if (entry.is_regular_file() && (extension.empty() || entry.path().extension() == extension)) {
      paths.push_back(entry.path());
    }
  };
  for (const std::filesystem::path& folder : folders) {
    std::error_code missing;
    if (recursive) {
      for (const auto& entry : std::filesystem::recursive_directory_iterator(folder, missing)) {
        take(entry);
      }
    } else {
      for (const auto& entry : std::filesystem::directory_iterator(folder, missing)) take(entry);
    }
  }
  std::sort(paths.begin(), paths.end());
  return paths;
}

// The file's bytes; empty when it cannot be read.
inline std::string fileBytes(const std::filesystem::path& path) {
  std::ifstream in(path, std::ios::binary);
  std::stringstream bytes;
  bytes << in.rdbuf();
  return bytes.str();
}

}  // namespace orvel::testing
