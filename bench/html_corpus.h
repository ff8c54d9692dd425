// The HTML corpus of the markup benchmarks: the HTML documentation Debian's python3.11-doc
// installs (about 500 pages) and the saved pages beside the project, loaded once.
#pragma once

#include <cstddef>
#include <filesystem>
#include <string>
#include <vector>

namespace orvel::bench {

// The pages' paths, sorted.
[[nodiscard]] std::vector<std::filesystem::path> htmlPagePaths();

struct HtmlCorpus {
  std::vector<std::string> pages;     // as read
  std::vector<std::u16string> texts;  // decoded (readWebPage), for what works on text
  std::size_t bytes = 0;
};

[[nodiscard]] const HtmlCorpus& htmlCorpus();

// The paths, one a line, in a temporary file, for the Python peers.
[[nodiscard]] std::filesystem::path writeHtmlPageList();

}  // namespace orvel::bench
