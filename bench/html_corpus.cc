#include "bench/html_corpus.h"

#include <algorithm>
#include <fstream>
#include <sstream>

#include "orvel/markup/web_page.h"

namespace orvel::bench {

namespace fs = std::filesystem;

std::vector<fs::path> htmlPagePaths() {
  std::vector<fs::path> paths;
  for (const char* folder : {"/usr/share/doc/python3.11/html", ORVEL_SHARED_TESTDATA "/html"}) {
    std::error_code missing;
    for (const auto& entry : fs::recursive_directory_iterator(folder, missing)) {
      if (entry.is_regular_file() && entry.path().extension() == ".html") {
        paths.push_back(entry.path());
      }
    }
  }
  std::sort(paths.begin(), paths.end());
  return paths;
}

const HtmlCorpus& htmlCorpus() {
  static const HtmlCorpus loaded = [] {
    HtmlCorpus c;
    for (const fs::path& path : htmlPagePaths()) {
      std::ifstream in(path, std::ios::binary);
      std::stringstream bytes;
      bytes << in.rdbuf();
      c.pages.push_back(bytes.str());
      c.texts.push_back(webPageText(c.pages.back()));
      c.bytes += c.pages.back().size();
    }
    return c;
  }();
  return loaded;
}

fs::path writeHtmlPageList() {
  const fs::path list = fs::temp_directory_path() / "orvel-html-bench-pages.txt";
  std::ofstream out(list);
  for (const fs::path& path : htmlPagePaths()) out << path.string() << "\n";
  return list;
}

}  // namespace orvel::bench
