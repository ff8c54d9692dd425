// A collection index read from damaged files: any bytes as its manifest and as its segment
// never crash a check, a selection or a search with it, and a search with an index that
// opens answers as the search without it. Input: two bytes giving the manifest's length
// (little-endian), the manifest, then the segment (written as "idx.seg-1-0"). The files lie
// in a folder of their own beside one document.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <string>

#include <unistd.h>

#include "orvel/find/collection_index.h"
#include "orvel/find/collection_search.h"

#include "fuzz/fuzz_support.h"

namespace {

char gFolder[] = "/tmp/orvel-index-fuzz-XXXXXX";

void write(const std::string& path, std::string_view bytes) {
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

void removeFolder() {
  const std::string folder = gFolder;
  for (const char* name : {"/idx", "/idx.seg-1-0", "/idx.lock", "/a.txt"}) {
    ::unlink((folder + name).c_str());
  }
  ::rmdir(folder.c_str());
}

std::string answers(orvel::SearchRequest request) {
  std::string all;
  orvel::searchCollection(std::move(request), [&](orvel::SearchResult& result) {
    all += result.path + ":" + std::to_string(result.count) + "\n";
    return true;
  });
  return all;
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  if (::mkdtemp(gFolder) == nullptr) std::abort();
  std::atexit(removeFolder);
  write(std::string(gFolder) + "/a.txt", "The harbour and the quay.");
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 2) return 0;
  const std::size_t manifestSize = std::min<std::size_t>(data[0] | (data[1] << 8), size - 2);
  const std::string_view bytes = orvel::fuzz::bytesOf(data + 2, size - 2);
  const std::string folder = gFolder;
  write(folder + "/idx", bytes.substr(0, manifestSize));
  write(folder + "/idx.seg-1-0", bytes.substr(manifestSize));

  static_cast<void>(orvel::verifyCollectionIndex(folder + "/idx"));
  orvel::SearchRequest request;
  request.query = u"harbour OR \"the quay\" -zebra";
  request.inputs.paths = {folder};
  request.want = orvel::SearchWant::kCounts;
  request.threads = 1;
  const std::string scanned = answers(request);
  try {
    request.inputs.index = orvel::selectWithIndex(folder + "/idx", request, 0);
  } catch (const orvel::IndexError&) {
    return 0;
  }
  ORVEL_FUZZ_CHECK(answers(request) == scanned);
  return 0;
}
