// Links and frames of pages against the parsers a crawler would use instead, over the HTML
// corpus of the markup benchmarks, from bytes, in the same run:
//
//   ours      readWebPage (the encoding found and decoded), then htmlLinksAndFramesBaseURL:
//             a and area links and frame and iframe sources, cleaned, each once, with the
//             base URL
//   libxml2   htmlReadMemory, then a walk collecting a/area href and frame/iframe src
//   lxml      lxml.html.document_fromstring and iterlinks(), timed in-process by
//             bench/html_python_peers.py
//
// Target: at least 5x the faster peer. Also link cleaning alone: normalizedStringURL and
// filterLink over every href and src value of the corpus, in links per second.
#include <algorithm>
#include <cstdlib>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>
#include <libxml/HTMLparser.h>
#include <libxml/tree.h>

#include "orvel/markup/tag_attributes.h"
#include "orvel/markup/tag_scanner.h"
#include "orvel/markup/web_page.h"
#include "orvel/url/link_cleaning.h"
#include "orvel/url/page_links.h"

#include "bench/bench_support.h"
#include "bench/html_corpus.h"

namespace {

using orvel::bench::htmlCorpus;

void countBytes(benchmark::State& state) {
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(htmlCorpus().bytes));
}

void BM_orvel_links(benchmark::State& state) {
  for (auto _ : state) {
    for (const std::string& page : htmlCorpus().pages) {
      std::optional<orvel::URL> base;
      benchmark::DoNotOptimize(
          orvel::htmlLinksAndFramesBaseURL(orvel::readWebPage(page).text, &base));
    }
  }
  countBytes(state);
}
BENCHMARK(BM_orvel_links)->Unit(benchmark::kMillisecond)->Repetitions(3);

bool namedOneOf(const xmlNode* node, std::initializer_list<const char*> names) {
  return std::any_of(names.begin(), names.end(), [&](const char* name) {
    return xmlStrcasecmp(node->name, reinterpret_cast<const xmlChar*>(name)) == 0;
  });
}

void collectLinks(xmlNode* node, std::vector<std::string>& links) {
  for (; node != nullptr; node = node->next) {
    if (node->type == XML_ELEMENT_NODE) {
      const char* attribute = namedOneOf(node, {"a", "area"})         ? "href"
                              : namedOneOf(node, {"frame", "iframe"}) ? "src"
                                                                      : nullptr;
      if (attribute != nullptr) {
        if (xmlChar* value = xmlGetProp(node, reinterpret_cast<const xmlChar*>(attribute))) {
          links.emplace_back(reinterpret_cast<const char*>(value));
          xmlFree(value);
        }
      }
    }
    collectLinks(node->children, links);
  }
}

constexpr int kLibxml2Options =
    HTML_PARSE_RECOVER | HTML_PARSE_NOERROR | HTML_PARSE_NOWARNING | HTML_PARSE_NONET;

void BM_libxml2_links(benchmark::State& state) {
  for (auto _ : state) {
    for (const std::string& page : htmlCorpus().pages) {
      htmlDocPtr document = htmlReadMemory(page.data(), static_cast<int>(page.size()), nullptr,
                                           nullptr, kLibxml2Options);
      std::vector<std::string> links;
      if (document != nullptr) collectLinks(xmlDocGetRootElement(document), links);
      benchmark::DoNotOptimize(links);
      xmlFreeDoc(document);
    }
  }
  countBytes(state);
}
BENCHMARK(BM_libxml2_links)->Unit(benchmark::kMillisecond)->Repetitions(3);

bool collectRawLink(std::u16string_view, const orvel::unichar* characters, std::size_t nameStart,
                    std::size_t nameLength, std::size_t tagStart, std::size_t tagLength,
                    std::size_t, int kind, void* context) {
  if (kind != orvel::kTagKindTag || nameStart == orvel::NSNotFound || nameLength > 6) return false;
  auto& links = *static_cast<std::vector<std::u16string>*>(context);
  for (const char* name : {"HREF", "SRC"}) {
    if (auto value = orvel::attributeOfTagCharacters(characters, {tagStart, tagLength}, name)) {
      links.push_back(std::move(*value));
    }
  }
  return false;
}

// Every href and src value of the corpus, as written.
const std::vector<std::u16string>& rawLinks() {
  static const std::vector<std::u16string> links = [] {
    std::vector<std::u16string> all;
    for (const std::u16string& text : htmlCorpus().texts) {
      orvel::GetTagsOfString(text, collectRawLink, &all, false);
    }
    return all;
  }();
  return links;
}

void BM_orvel_link_cleaning(benchmark::State& state) {
  for (auto _ : state) {
    for (const std::u16string& link : rawLinks()) {
      const auto cleaned = orvel::normalizedStringURL(link);
      benchmark::DoNotOptimize(cleaned && !orvel::filterLink(*cleaned));
    }
  }
}
BENCHMARK(BM_orvel_link_cleaning)->Unit(benchmark::kMillisecond)->Repetitions(3);

}  // namespace

int main(int argc, char** argv) {
  xmlInitParser();
  const bool noPython = std::getenv("ORVEL_BENCH_NO_PYTHON") != nullptr;
  const auto python = noPython
                          ? std::vector<orvel::bench::PythonPeer>()
                          : orvel::bench::runPeerCommand(
                                "/usr/bin/python3 '" ORVEL_BENCH_DIR "/html_python_peers.py' '" +
                                orvel::bench::writeHtmlPageList().string() + "' links");
  const double bytes = static_cast<double>(htmlCorpus().bytes);
  std::printf("corpus: %zu pages, %.1f MB, %zu href and src values\n", htmlCorpus().pages.size(),
              bytes / 1e6, rawLinks().size());
  const double lxml = python.empty() ? 0 : python.front().bytesPerSecond;
  const int result = orvel::bench::runAndCompare(
      argc, argv, {{"BM_orvel_links", "BM_libxml2_links", 5.0}},
      {{"BM_orvel_links", bytes, "bytes", 5.0 * lxml, "lxml-iterlinks", lxml},
       {"BM_orvel_link_cleaning", static_cast<double>(rawLinks().size()), "links", 0}});
  xmlCleanupParser();
  return result;
}
