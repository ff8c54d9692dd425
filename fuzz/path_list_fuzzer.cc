// The list of paths a collection search reads (--files-from): for any bytes (the first byte
// picks line- or NUL-separated entries), the walk answers the listed entries in order, each
// as given (a CR before a line end dropped, empty entries skipped), until a refused entry ends
// the list with one failure naming it. Entries name nothing: the fuzzer works in an empty
// folder three levels down, and '/' bytes become '_', so that no entry leads out of it.
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include "orvel/find/collection_walk.h"

#include "fuzz/fuzz_support.h"

namespace {

// What the walk must answer: the entries, or "!" + why for the refusal that ends the list.
std::vector<std::string> expectedItems(const std::string& list, bool nulSeparated) {
  const char separator = nulSeparated ? '\0' : '\n';
  std::vector<std::string> items;
  std::size_t start = 0;
  while (start <= list.size()) {
    std::size_t end = list.find(separator, start);
    const bool last = end == std::string::npos;
    if (last) end = list.size();
    std::string entry = list.substr(start, end - start);
    if (entry.size() > orvel::kMaxListedPathBytes) {
      items.push_back("!long");
      return items;
    }
    if (!nulSeparated && !entry.empty() && entry.back() == '\r') entry.pop_back();
    if (entry.find('\0') != std::string::npos) {
      items.push_back("!nul");
      return items;
    }
    // "." and ".." are empty folders here: walked, they answer nothing.
    if (!entry.empty() && entry != "." && entry != "..") items.push_back(entry);
    if (last) break;
    start = end + 1;
  }
  return items;
}

// The empty folders the fuzzer works in, removed at exit.
char gFolder[] = "/tmp/orvel-path-list-XXXXXX";

void removeFolders() {
  const std::string top = gFolder;
  ::rmdir((top + "/a/b").c_str());
  ::rmdir((top + "/a").c_str());
  ::rmdir(top.c_str());
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  if (::mkdtemp(gFolder) == nullptr) std::abort();
  std::atexit(removeFolders);
  const std::string folder = gFolder;
  const std::string deep = folder + "/a/b";
  if (::mkdir((folder + "/a").c_str(), 0700) != 0 || ::mkdir(deep.c_str(), 0700) != 0 ||
      ::chdir(deep.c_str()) != 0) {
    std::abort();
  }
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  const bool nulSeparated = (data[0] & 1) != 0;
  std::string list(orvel::fuzz::bytesOf(data + 1, size - 1));
  for (char& c : list) c = c == '/' ? '_' : c;
  const int fd = ::memfd_create("list", MFD_CLOEXEC);
  ORVEL_FUZZ_CHECK(fd >= 0);
  ORVEL_FUZZ_CHECK(::write(fd, list.data(), list.size()) == static_cast<ssize_t>(list.size()));
  const std::string listPath = "/proc/self/fd/" + std::to_string(fd);

  orvel::WalkInputs inputs;
  inputs.pathList = listPath;
  inputs.pathListNulSeparated = nulSeparated;
  orvel::CollectionWalk walk(std::move(inputs));
  std::vector<std::string> answered;
  while (auto item = walk.next()) {
    ORVEL_FUZZ_CHECK(item->named);
    if (item->path == listPath) {
      ORVEL_FUZZ_CHECK(item->error == -1);
      answered.push_back(item->message.find("longer") != std::string::npos ? "!long" : "!nul");
    } else {
      // Nothing is there: each entry is missing (or too long a name for the system).
      ORVEL_FUZZ_CHECK(item->error == ENOENT || item->error == ENAMETOOLONG);
      answered.push_back(item->path);
    }
  }
  ::close(fd);
  ORVEL_FUZZ_CHECK(answered == expectedItems(list, nulSeparated));
  return 0;
}
