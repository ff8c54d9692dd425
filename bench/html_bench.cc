// HTML to plain text against the parsers a user would pick instead, over the same pages in
// the same run: the HTML documentation Debian's python3.11-doc installs (about 500 pages)
// and the saved pages beside the project.
//
//   ours        stringByConvertingHtml2PlainText's conversion of the page read from its
//               bytes (readWebPage: the encoding found and decoded, then the conversion,
//               which works in the page's own string instead of a copy)
//   libxml2     htmlReadMemory, then a walk that collects the text nodes
//   gumbo       gumbo_parse, then the same walk
//   html2text,  the Python modules, timed in-process by bench/html_python_peers.py
//   bs4+lxml    (run once from here, before the benchmarks)
//
// Target: at least 10x the fastest of them. Also the scanner alone (a handler that does
// nothing, over the decoded pages) against libxml2's SAX parser with empty callbacks,
// target 5x; and entity decoding of text dense with references, in MB/s of UTF-16.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>
#include <gumbo.h>
#include <libxml/HTMLparser.h>
#include <libxml/tree.h>

#include "orvel/markup/entities.h"
#include "orvel/markup/html_to_text.h"
#include "orvel/markup/tag_scanner.h"
#include "orvel/markup/web_page.h"

#include "bench/bench_support.h"
#include "bench/html_corpus.h"

namespace {

using orvel::bench::htmlCorpus;

void countBytes(benchmark::State& state) {
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(htmlCorpus().bytes));
}

void BM_orvel_html2text(benchmark::State& state) {
  for (auto _ : state) {
    for (const std::string& page : htmlCorpus().pages) {
      benchmark::DoNotOptimize(
          orvel::convertHtml2PlainText(orvel::readWebPage(page).text, orvel::Html2TextOptions{}));
    }
  }
  countBytes(state);
}
BENCHMARK(BM_orvel_html2text)->Unit(benchmark::kMillisecond)->Repetitions(3);

void collectText(xmlNode* node, std::string& text) {
  for (; node != nullptr; node = node->next) {
    if (node->type == XML_TEXT_NODE && node->content != nullptr) {
      text += reinterpret_cast<const char*>(node->content);
    }
    collectText(node->children, text);
  }
}

constexpr int kLibxml2Options =
    HTML_PARSE_RECOVER | HTML_PARSE_NOERROR | HTML_PARSE_NOWARNING | HTML_PARSE_NONET;

void BM_libxml2_text(benchmark::State& state) {
  for (auto _ : state) {
    for (const std::string& page : htmlCorpus().pages) {
      htmlDocPtr document = htmlReadMemory(page.data(), static_cast<int>(page.size()), nullptr,
                                           nullptr, kLibxml2Options);
      std::string text;
      if (document != nullptr) collectText(xmlDocGetRootElement(document), text);
      benchmark::DoNotOptimize(text);
      xmlFreeDoc(document);
    }
  }
  countBytes(state);
}
BENCHMARK(BM_libxml2_text)->Unit(benchmark::kMillisecond)->Repetitions(3);

void collectText(const GumboNode* node, std::string& text) {
  if (node->type == GUMBO_NODE_TEXT || node->type == GUMBO_NODE_WHITESPACE) {
    text += node->v.text.text;
    return;
  }
  if (node->type != GUMBO_NODE_ELEMENT && node->type != GUMBO_NODE_DOCUMENT) return;
  const GumboVector& children =
      node->type == GUMBO_NODE_ELEMENT ? node->v.element.children : node->v.document.children;
  for (unsigned k = 0; k < children.length; ++k) {
    collectText(static_cast<const GumboNode*>(children.data[k]), text);
  }
}

void BM_gumbo_text(benchmark::State& state) {
  for (auto _ : state) {
    for (const std::string& page : htmlCorpus().pages) {
      GumboOutput* output =
          gumbo_parse_with_options(&kGumboDefaultOptions, page.data(), page.size());
      std::string text;
      collectText(output->root, text);
      benchmark::DoNotOptimize(text);
      gumbo_destroy_output(&kGumboDefaultOptions, output);
    }
  }
  countBytes(state);
}
BENCHMARK(BM_gumbo_text)->Unit(benchmark::kMillisecond)->Repetitions(3);

bool ignorePiece(std::u16string_view, const orvel::unichar*, std::size_t, std::size_t, std::size_t,
                 std::size_t, std::size_t, int, void*) {
  return false;
}

void BM_orvel_scanner(benchmark::State& state) {
  for (auto _ : state) {
    for (const std::u16string& text : htmlCorpus().texts) {
      orvel::GetTagsOfString(text, ignorePiece, nullptr, false);
    }
  }
  countBytes(state);
}
BENCHMARK(BM_orvel_scanner)->Unit(benchmark::kMillisecond)->Repetitions(3);

void ignoreElement(void*, const xmlChar*, const xmlChar**) {}
void ignoreEnd(void*, const xmlChar*) {}
void ignoreCharacters(void*, const xmlChar*, int) {}

void BM_libxml2_sax(benchmark::State& state) {
  htmlSAXHandler handler{};
  handler.startElement = ignoreElement;
  handler.endElement = ignoreEnd;
  handler.characters = ignoreCharacters;
  handler.ignorableWhitespace = ignoreCharacters;
  for (auto _ : state) {
    for (const std::string& page : htmlCorpus().pages) {
      htmlParserCtxtPtr context =
          htmlCreateMemoryParserCtxt(page.data(), static_cast<int>(page.size()));
      if (context == nullptr) continue;
      *context->sax = handler;
      htmlCtxtUseOptions(context, kLibxml2Options);
      htmlParseDocument(context);
      htmlFreeParserCtxt(context);
    }
  }
  countBytes(state);
}
BENCHMARK(BM_libxml2_sax)->Unit(benchmark::kMillisecond)->Repetitions(3);

const std::u16string& referenceDenseText() {
  static const std::u16string text = [] {
    const std::u16string piece =
        u"caf&eacute; &lt;b&gt; cr&#232;me &#x1F600; &amp; &Uuml;ber&nbsp;alles &copy; ";
    std::u16string all;
    while (all.size() < (std::size_t{4} << 20)) all += piece;
    return all;
  }();
  return text;
}

void BM_orvel_entities(benchmark::State& state) {
  for (auto _ : state) {
    benchmark::DoNotOptimize(orvel::stringByConvertingEntitiesToCharacters(referenceDenseText()));
  }
}
BENCHMARK(BM_orvel_entities)->Unit(benchmark::kMillisecond)->Repetitions(3);

using orvel::bench::PythonPeer;

// Runs the Python peers over the same page list, in one interpreter.
std::vector<PythonPeer> runPythonPeers() {
  const std::string command = "/usr/bin/python3 '" ORVEL_BENCH_DIR "/html_python_peers.py' '" +
                              orvel::bench::writeHtmlPageList().string() + "' text";
  return orvel::bench::runPeerCommand(command);
}

}  // namespace

int main(int argc, char** argv) {
  xmlInitParser();
  const std::vector<PythonPeer> python = std::getenv("ORVEL_BENCH_NO_PYTHON") != nullptr
                                             ? std::vector<PythonPeer>()
                                             : runPythonPeers();
  PythonPeer fastestPython{"python", 0};
  for (const PythonPeer& peer : python) {
    if (peer.bytesPerSecond > fastestPython.bytesPerSecond) fastestPython = peer;
  }
  const double bytes = static_cast<double>(htmlCorpus().bytes);
  std::printf("corpus: %zu pages, %.1f MB\n", htmlCorpus().pages.size(), bytes / 1e6);
  const int result = orvel::bench::runAndCompare(
      argc, argv,
      {{"BM_orvel_html2text", "BM_libxml2_text", 10.0},
       {"BM_orvel_html2text", "BM_gumbo_text", 10.0},
       {"BM_orvel_scanner", "BM_libxml2_sax", 5.0}},
      {{"BM_orvel_html2text", bytes, "bytes", 10.0 * fastestPython.bytesPerSecond,
        fastestPython.name, fastestPython.bytesPerSecond},
       {"BM_orvel_scanner", bytes, "bytes", 0},
       {"BM_orvel_entities", 2.0 * static_cast<double>(referenceDenseText().size()), "bytes", 0}});
  xmlCleanupParser();
  return result;
}
