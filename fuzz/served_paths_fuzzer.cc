// The paths orvel serve is asked for: whatever a request names, alone or below a served
// folder, the file it is given is below a served folder (links resolved), and checking a
// request's target never crashes. A tree with links in and out is made once, in /tmp.
// Input: the path, or a request target.
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <string>

#include <unistd.h>

#include "fuzz/fuzz_support.h"
#include "tools/orvel/serve/served_folders.h"

namespace {

namespace fs = std::filesystem;

// served/ holds a file, a folder, a link to a folder within and one to a folder outside.
fs::path makeTree() {
  const fs::path root =
      fs::temp_directory_path() / ("orvel-fuzz-served-" + std::to_string(::getpid()));
  fs::create_directories(root / "served" / "sub");
  fs::create_directories(root / "outside");
  std::ofstream(root / "served" / "a.txt") << "a";
  std::ofstream(root / "outside" / "secret.txt") << "secret";
  std::error_code ignored;
  fs::create_symlink(root / "outside", root / "served" / "out", ignored);
  fs::create_symlink(root / "served" / "sub", root / "served" / "in", ignored);
  return fs::canonical(root);
}

// The tree, removed when the process ends.
struct Tree {
  Tree() : root(makeTree()) {}
  ~Tree() {
    std::error_code ignored;
    fs::remove_all(root, ignored);
  }
  Tree(const Tree&) = delete;
  Tree& operator=(const Tree&) = delete;
  fs::path root;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const Tree tree;
  const fs::path& root = tree.root;
  static const orvel::serve::ServedFolders folders({(root / "served").string()});
  const std::string asked(orvel::fuzz::bytesOf(data, size));
  static_cast<void>(orvel::serve::isSuspiciousTarget(asked));
  const std::string served = (root / "served").string();
  for (const std::string& path : {asked, served + "/" + asked}) {
    const auto file = folders.resolve(path);
    if (!file) continue;
    const std::string answer = file->string();
    ORVEL_FUZZ_CHECK(answer == served || answer.starts_with(served + "/"));
    ORVEL_FUZZ_CHECK(fs::exists(*file));
  }
  return 0;
}
