// The shortcuts of a collection search (the byte pre-filter, files decided on a prefix or on
// their bytes, occurrences found on the bytes) against the plain path, which reads, decodes
// and evaluates every file whole: for
// the query shapes of the benchmark and for random queries, over generated files with
// non-ASCII text, lookalike letters, invalid UTF-8, CR LF line ends and terms at the very
// start and end of files, both must answer the same files, counts and occurrences, and the
// same terms inside the snippets, at the same lines and byte columns.
#include <algorithm>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "orvel/base/utf8.h"
#include "orvel/find/collection_search.h"
#include "orvel/testing/temp_dir.h"

namespace orvel {
namespace {

// Everything a search answers, one line per result and occurrence.
std::string answers(SearchRequest request) {
  std::string all;
  searchCollection(std::move(request), [&](SearchResult& result) {
    all += result.path + " " + std::to_string(static_cast<int>(result.status)) + " " +
           std::string(documentKindName(result.kind)) + " " + result.message + " " +
           std::to_string(result.count) + "\n";
    for (const FoundOccurrence& occurrence : result.occurrences) {
      all += std::to_string(occurrence.line) + " " + std::to_string(occurrence.range.location) +
             "+" + std::to_string(occurrence.range.length) + " " +
             std::string(result.snippet(occurrence)) + "\n";
      for (const FoundTerm& term : result.termsOf(occurrence)) {
        all += "  " + std::to_string(term.line) + ":" + std::to_string(term.column) + " [" +
               std::string(result.snippet(occurrence).substr(term.start, term.length)) + "]\n";
      }
    }
    return true;
  });
  return all;
}

const std::vector<std::string> kWords = {"the",
                                         "function",
                                         "return",
                                         "deprecated",
                                         "file",
                                         "open",
                                         "for",
                                         "example",
                                         "asyncio",
                                         "socket",
                                         "thread",
                                         "caf\xC3\xA9",
                                         "Stra\xC3\x9F"
                                         "e",
                                         "\xD0\xB4\xD0\xBE\xD0\xBC",
                                         "l\xC4\xB1st" /* dotless i: folds to "LIST" */,
                                         "C++",
                                         "x",
                                         "list"};

// Files of words from the vocabulary in random order and separators, some long enough for
// the prefix shortcut, some with CR LF line ends, invalid UTF-8 after the first kilobytes,
// or a term as their very first or last bytes.
void writeFiles(const testing::TempDir& dir, std::mt19937& random) {
  const std::vector<std::string> gaps = {" ", ", ", ". ", "\n", "\r\n", " - ", "\t", "("};
  for (int f = 0; f < 60; ++f) {
    // A third of the files are plain ASCII, which a search may read on its bytes.
    const bool ascii = f % 3 == 1;
    std::string text;
    const std::size_t size = f % 4 == 0 ? 9000 : 40 + random() % 400;
    while (text.size() < size) {
      const std::string& word = kWords[random() % kWords.size()];
      if (ascii && !std::all_of(word.begin(), word.end(), [](char c) { return c > 0; })) continue;
      text += word;
      text += gaps[random() % gaps.size()];
    }
    if (f % 7 == 3 && !ascii) text += "\xFF\xFE broken";  // invalid, past the window when long
    if (f % 8 == 0 && !ascii)
      text +=
          "\xE2"
          "the \xC3"
          "function\xA9 x";  // words beside broken sequences
    if (f % 5 == 1) text = "return" + text;
    if (f % 6 == 2) text += "thread";
    dir.writeFile("d" + std::to_string(f % 3) + "/f" + std::to_string(f) + ".txt", text);
  }
  // A word spelt with a lookalike only, and words glued to non-ASCII letters and marks.
  dir.writeFile("lookalike.txt", "a l\xC4\xB1st of things");
  dir.writeFile("glued.txt", std::string("the\xD0\xB4\xD0\xBE\xD0\xBC \xC3\xA9") +
                                 "function asyncio\xCC\x81 \xE2\x80\x94" + "socket\xE2\x80\x94");
}

std::string randomQuery(std::mt19937& random) {
  const std::vector<std::string> joins = {" ",        " AND ",    " OR ",       " -",
                                          " NEAR/2 ", " NEAR/5 ", " BEFORE/3 ", " NOT "};
  std::string query;
  const int terms = 1 + static_cast<int>(random() % 3);
  for (int t = 0; t < terms; ++t) {
    if (t > 0) query += joins[random() % joins.size()];
    std::string word = kWords[random() % kWords.size()];
    if (random() % 6 == 0) word = "\"" + word + " " + kWords[random() % kWords.size()] + "\"";
    query += word;
  }
  return random() % 5 == 0 ? "(" + query + ") OR socket" : query;
}

TEST(SearchShortcutsTest, ShortcutsAnswerAsThePlainPathDoes) {
  testing::TempDir dir;
  std::mt19937 random(2026);
  writeFiles(dir, random);
  std::vector<std::string> queries = {"the",
                                      "function",
                                      "asyncio",
                                      "zyzzogeton",
                                      "\"for example\"",
                                      "function AND return -deprecated",
                                      "asyncio OR socket OR thread",
                                      "file NEAR/5 open",
                                      "list",
                                      "caf\xC3\xA9"};
  for (int q = 0; q < 20; ++q) queries.push_back(randomQuery(random));
  struct Mode {
    SearchWant want;
    bool ranges;
    bool paragraphs;
    bool terms = false;
  };
  const std::vector<Mode> modes = {
      {SearchWant::kFiles, false, false},          {SearchWant::kCounts, false, false},
      {SearchWant::kOccurrences, true, false},     {SearchWant::kOccurrences, false, true},
      {SearchWant::kOccurrences, false, false},    {SearchWant::kOccurrences, false, false, true},
      {SearchWant::kOccurrences, true, true, true}};
  for (const std::string& query : queries) {
    SCOPED_TRACE(query);
    for (std::size_t m = 0; m < modes.size(); ++m) {
      SearchRequest request;
      request.query = utf8ToUtf16Lenient(query);
      request.inputs.paths = {dir.path()};
      request.want = modes[m].want;
      request.ranges = modes[m].ranges;
      request.paragraphs = modes[m].paragraphs;
      request.terms = modes[m].terms;
      request.threads = 2;
      const std::string fast = answers(request);
      request.plain = true;
      EXPECT_EQ(fast, answers(request)) << "mode " << m;
    }
  }
}

}  // namespace
}  // namespace orvel
