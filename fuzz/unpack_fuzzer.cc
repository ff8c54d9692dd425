// Any bytes unpacked as an archive into a private folder: nothing appears beside the
// destination, no link inside points out of it (followed as the kernel follows it), no file
// is a device or carries a setuid, setgid or sticky bit, and the limits hold. Reading one
// entry, or the text of the bytes as a TextPack, never writes anything; unpacking them as a
// TextPack beside a user's bundle puts at most one bundle folder beside it, and no more.
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <string>

#include <sys/stat.h>
#include <unistd.h>

#include "orvel/formats/file_operations.h"
#include "orvel/formats/markdown_files.h"

#include "fuzz/fuzz_support.h"

namespace fs = std::filesystem;

namespace {

// Every entry below the destination is a folder, a file or a link that stays inside.
void checkUnpacked(const fs::path& destination) {
  const fs::path root = fs::weakly_canonical(destination);
  for (auto it = fs::recursive_directory_iterator(destination);
       it != fs::recursive_directory_iterator(); ++it) {
    struct stat info {};
    ORVEL_FUZZ_CHECK(::lstat(it->path().c_str(), &info) == 0);
    ORVEL_FUZZ_CHECK(S_ISDIR(info.st_mode) || S_ISREG(info.st_mode) || S_ISLNK(info.st_mode));
    ORVEL_FUZZ_CHECK((info.st_mode & 07000) == 0);
    if (S_ISLNK(info.st_mode)) {
      const fs::path target = fs::weakly_canonical(it->path());
      const std::string inside = root.string() + "/";
      ORVEL_FUZZ_CHECK(target == root || target.string().rfind(inside, 0) == 0);
    }
  }
}

// Unpacked as a TextPack to home/Dest.textbundle beside the user's own bundle: the user's
// bundle stays as it was, and at most the one bundle folder appears.
void checkTextPackUnpacking(const fs::path& archive, const fs::path& home) {
  fs::create_directories(home / "Mine.textbundle");
  {
    std::FILE* file = std::fopen((home / "Mine.textbundle" / "text.md").c_str(), "wb");
    ORVEL_FUZZ_CHECK(file != nullptr);
    std::fputs("mine", file);
    std::fclose(file);
  }
  const bool unpacked = orvel::decompressTextBundleFile(archive, home / "Dest.textbundle");
  std::size_t others = 0;
  for (const auto& entry : fs::directory_iterator(home)) {
    if (entry.path().filename() == "Mine.textbundle") continue;
    ++others;
    ORVEL_FUZZ_CHECK(unpacked && fs::is_directory(fs::symlink_status(entry.path())));
    checkUnpacked(entry.path());
  }
  ORVEL_FUZZ_CHECK(others <= 1);
  ORVEL_FUZZ_CHECK(fs::file_size(home / "Mine.textbundle" / "text.md") == 4);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const auto base = orvel::uniqueTemporaryDirectory();
  if (!base) return 0;
  const fs::path work = *base / "case";
  fs::remove_all(work);
  fs::create_directories(work / "deep");
  const fs::path archive = work / "input.textpack";
  {
    std::FILE* file = std::fopen(archive.c_str(), "wb");
    if (file == nullptr) return 0;
    std::fwrite(data, 1, size, file);
    std::fclose(file);
  }
  const fs::path destination = work / "deep" / "out";
  const orvel::UnpackLimits limits{.maxBytes = 4 << 20, .maxRatio = 200};
  static_cast<void>(orvel::readArchiveEntry(
      archive, [](const std::string& path) { return !path.empty(); }, limits));
  static_cast<void>(orvel::stringWithContentsOfTextBundleFile(archive));
  ORVEL_FUZZ_CHECK(!fs::exists(destination));
  checkTextPackUnpacking(archive, work / "home");
  std::string error;
  if (!orvel::decompressFileAtPath(archive, destination, limits, &error)) {
    ORVEL_FUZZ_CHECK(!error.empty());
  }
  for (const auto& entry : fs::directory_iterator(work)) {
    const std::string name = entry.path().filename().string();
    ORVEL_FUZZ_CHECK(name == "deep" || name == "input.textpack" || name == "home");
  }
  for (const auto& entry : fs::directory_iterator(work / "deep")) {
    ORVEL_FUZZ_CHECK(entry.path().filename() == "out");
  }
  if (fs::exists(destination)) checkUnpacked(destination);
  return 0;
}
