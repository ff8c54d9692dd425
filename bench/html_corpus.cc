#include "bench/html_corpus.h"

#include <fstream>

#include "orvel/markup/web_page.h"
#include "orvel/testing/files.h"

namespace orvel::bench {

namespace fs = std::filesystem;

std::vector<fs::path> htmlPagePaths() {
  return testing::regularFilesIn({"/usr/share/doc/python3.11/html", ORVEL_SHARED_TESTDATA "/html"},
                                 true, ".html");
}

const HtmlCorpus& htmlCorpus() {
  static const HtmlCorpus loaded = [] {
    HtmlCorpus c;
    for (const fs::path& path : htmlPagePaths()) {
      c.pages.push_back(testing::fileBytes(path));
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
