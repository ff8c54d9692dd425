#include "orvel/testing/temp_dir.h"

#include <fstream>
#include <string>

#include <gtest/gtest.h>
#include <stdlib.h>

namespace orvel::testing {

TempDir::TempDir() {
  std::string pattern = (std::filesystem::temp_directory_path() / "orvel-test-XXXXXX").string();
  const char* made = mkdtemp(pattern.data());
  if (made == nullptr) ADD_FAILURE() << "mkdtemp failed for " << pattern;
  _path = pattern;
}

TempDir::~TempDir() {
  std::error_code ignored;
  std::filesystem::remove_all(_path, ignored);
}

std::filesystem::path TempDir::writeFile(std::string_view name, std::string_view contents) const {
  const std::filesystem::path file = _path / name;
  std::filesystem::create_directories(file.parent_path());
  std::ofstream out(file, std::ios::binary);
  out.write(contents.data(), static_cast<std::streamsize>(contents.size()));
  if (!out) ADD_FAILURE() << "cannot write " << file;
  return file;
}

}  // namespace orvel::testing
