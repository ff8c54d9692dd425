// A search of a folder through the library's collection search, printing what
// `orvel search -l` or `-c` prints: the peer of the program in
// bench/search_library_vs_program.sh, which shows that the library costs the program
// nothing. Usage: library_search -l|-c THREADS QUERY PATH...
#include <cstdio>
#include <cstring>
#include <string>

#include "orvel/base/utf8.h"
#include "orvel/find/collection_search.h"

int main(int argc, char** argv) {
  if (argc < 5 || (std::strcmp(argv[1], "-l") != 0 && std::strcmp(argv[1], "-c") != 0)) {
    std::fputs("usage: library_search -l|-c THREADS QUERY PATH...\n", stderr);
    return 2;
  }
  const bool counts = std::strcmp(argv[1], "-c") == 0;
  orvel::SearchRequest request;
  request.threads = static_cast<unsigned>(std::stoul(argv[2]));
  request.query = orvel::utf8ToUtf16Lenient(argv[3]);
  for (int k = 4; k < argc; ++k) request.inputs.paths.emplace_back(argv[k]);
  request.want = counts ? orvel::SearchWant::kCounts : orvel::SearchWant::kFiles;
  std::string line;
  orvel::searchCollection(std::move(request), [&](orvel::SearchResult& result) {
    if (result.status != orvel::SearchStatus::kMatched) return true;
    line = result.path;
    if (counts) line += ':' + std::to_string(result.count);
    line += '\n';
    std::fwrite(line.data(), 1, line.size(), stdout);
    return true;
  });
  return 0;
}
