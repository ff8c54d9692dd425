// A fresh temporary folder, removed with everything in it when the object goes.
#pragma once

#include <filesystem>
#include <string_view>

namespace orvel::testing {

class TempDir {
 public:
  TempDir();
  ~TempDir();
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;

  [[nodiscard]] const std::filesystem::path& path() const { return _path; }

  // Writes `contents` to the file `name` inside the folder (making the folders on its way)
  // and returns its path.
  std::filesystem::path writeFile(std::string_view name, std::string_view contents) const;

 private:
  std::filesystem::path _path;
};

}  // namespace orvel::testing
