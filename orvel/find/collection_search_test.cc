// A collection search as a program uses it: results in the walk's order however many threads
// search, troubles as results in their place while the walk goes on, and a search stopped
// from its consumer or its progress callback.
#include "orvel/find/collection_search.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "orvel/testing/temp_dir.h"

namespace orvel {
namespace {

namespace fs = std::filesystem;

SearchRequest requestFor(std::u16string query, std::vector<fs::path> paths,
                         SearchWant want = SearchWant::kOccurrences, unsigned threads = 1) {
  SearchRequest request;
  request.query = std::move(query);
  request.inputs.paths = std::move(paths);
  request.want = want;
  request.threads = threads;
  return request;
}

// "path" for a match, "path!message" for a failure, "path?message" for a skipped file.
std::vector<std::string> outcomes(SearchRequest request) {
  std::vector<std::string> seen;
  searchCollection(std::move(request), [&](SearchResult& result) {
    switch (result.status) {
      case SearchStatus::kMatched: seen.push_back(result.path); break;
      case SearchStatus::kFailed: seen.push_back(result.path + "!" + result.message); break;
      case SearchStatus::kSkipped: seen.push_back(result.path + "?" + result.message); break;
    }
    return true;
  });
  return seen;
}

TEST(CollectionSearchTest, ResultsComeInTheWalksOrderOnOneThreadAndOnEight) {
  testing::TempDir dir;
  std::vector<std::string> expected;
  // Sizes that differ a thousandfold, so that threads finish out of order.
  for (int f = 0; f < 300; ++f) {
    const std::string name = "d" + std::to_string(f % 7) + "/sub/f" + std::to_string(1000 + f);
    const std::size_t repeats = f % 10 == 0 ? 20000 : 20;
    std::string text;
    for (std::size_t r = 0; r < repeats; ++r) text += "filler words ";
    if (f % 3 != 0) text += "harbour";
    const fs::path path = dir.writeFile(name + ".txt", text);
    if (f % 3 != 0) expected.push_back(path.string());
  }
  std::sort(expected.begin(), expected.end());
  for (unsigned threads : {1u, 8u}) {
    for (SearchWant want : {SearchWant::kFiles, SearchWant::kCounts, SearchWant::kOccurrences}) {
      EXPECT_EQ(outcomes(requestFor(u"harbour", {dir.path()}, want, threads)), expected)
          << threads << " threads";
    }
  }
}

// What a caller prepares on the searching threads arrives with each match, in order; each
// match is prepared once, and nothing else is.
TEST(CollectionSearchTest, MatchesArePreparedOnTheSearchingThreads) {
  testing::TempDir dir;
  for (int f = 0; f < 200; ++f) {
    dir.writeFile("f" + std::to_string(1000 + f) + ".txt", f % 2 == 0 ? "harbour" : "quay");
  }
  SearchRequest request = requestFor(u"harbour", {dir.path()}, SearchWant::kOccurrences, 4);
  std::atomic<int> calls{0};
  request.prepare = [&](SearchResult& result) {
    ++calls;
    result.prepared = std::string(result.snippet(result.occurrences.front())) + " at " +
                      fs::path(result.path).filename().string();
  };
  std::vector<std::string> prepared;
  searchCollection(std::move(request), [&](SearchResult& result) {
    prepared.push_back(result.prepared);
    return true;
  });
  ASSERT_EQ(prepared.size(), 100u);
  for (int k = 0; k < 100; ++k) {
    EXPECT_EQ(prepared[k], "harbour at f" + std::to_string(1000 + 2 * k) + ".txt");
  }
  EXPECT_EQ(calls, 100);
}

TEST(CollectionSearchTest, OccurrencesCarryLinesRangesAndSnippets) {
  testing::TempDir dir;
  const fs::path path = dir.writeFile("a.txt", "First line.\nThe caf\xC3\xA9 is by the harbour.");
  for (bool ranges : {true, false}) {
    SearchRequest request = requestFor(u"harbour OR first", {path});
    request.ranges = ranges;
    CollectionSearch search(std::move(request));
    const auto result = search.next();
    ASSERT_TRUE(result.has_value());
    EXPECT_EQ(result->count, 2u);
    ASSERT_EQ(result->occurrences.size(), 2u);
    const FoundOccurrence& second = result->occurrences[1];
    EXPECT_EQ(second.line, 2u);
    EXPECT_EQ(result->snippet(second), "The caf\xC3\xA9 is by the harbour");
    // Units of the decoded text: "é" is one unit, two bytes.
    EXPECT_EQ(second.range, ranges ? (Range{12, 26}) : Range::notFound());
    EXPECT_FALSE(search.next().has_value());
  }
}

// Each term as "line:column:text", the text sliced from its snippet by the term's offsets.
std::vector<std::string> termsFound(const SearchResult& result) {
  std::vector<std::string> terms;
  for (const FoundOccurrence& occurrence : result.occurrences) {
    for (const FoundTerm& term : result.termsOf(occurrence)) {
      terms.push_back(std::to_string(term.line) + ":" + std::to_string(term.column) + ":" +
                      std::string(result.snippet(occurrence).substr(term.start, term.length)));
    }
  }
  return terms;
}

TEST(CollectionSearchTest, TermsAreFoundInsideSnippetsWithTheirLinesAndByteColumns) {
  testing::TempDir dir;
  // A sentence over two lines, a phrase, a substring term, non-ASCII before the terms, a
  // character outside the BMP, and CR LF line ends.
  const fs::path path = dir.writeFile(
      "a.txt",
      "Caf\xC3\xA9 \xF0\x9D\x84\x9E harbour wall and\r\nthe HARBOUR wall.\nNo match here.\n"
      "Harbourmaster of the harbour wall.");
  for (bool plain : {false, true}) {
    SearchRequest request = requestFor(u"caf\u00e9 OR \"harbour wall\" OR ~master", {path});
    request.terms = true;
    request.plain = plain;
    CollectionSearch search(std::move(request));
    const auto result = search.next();
    ASSERT_TRUE(result.has_value());
    EXPECT_EQ(termsFound(*result),
              (std::vector<std::string>{"1:1:Caf\xC3\xA9", "1:12:harbour wall", "2:5:HARBOUR wall",
                                        "4:8:master", "4:22:harbour wall"}));
  }
  // Without asking, no terms.
  CollectionSearch search(requestFor(u"harbour", {path}));
  EXPECT_TRUE(search.next()->terms.empty());
}

TEST(CollectionSearchTest, TroublesAreResultsInTheirPlaceAndTheWalkGoesOn) {
  testing::TempDir dir;
  for (const char* name : {"a/1.txt", "a/2.txt", "a/3.txt", "b/1.txt", "c/1.txt"}) {
    dir.writeFile(name, "harbour");
  }
  const fs::path missing = dir.path() / "missing.txt";
  const fs::path fifo = dir.path() / "fifo";
  ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
  // One thread and a pull at a time: nothing is read ahead of the results taken, so what
  // goes between two pulls is gone when the walk comes to it.
  CollectionSearch search(requestFor(u"harbour", {missing, dir.path(), fifo}));
  std::vector<std::string> seen;
  auto take = [&] {
    auto result = search.next();
    if (!result) return false;
    seen.push_back(fs::relative(result->path, dir.path()).string() +
                   (result->status == SearchStatus::kFailed
                        ? "!" + result->message + " " + std::to_string(result->error)
                        : ""));
    return true;
  };
  ASSERT_TRUE(take());                 // the missing path
  ASSERT_TRUE(take());                 // a/1.txt
  fs::remove(dir.path() / "a/2.txt");  // a file that vanishes after its folder was read
  fs::remove_all(dir.path() / "b");    // a folder that becomes a file
  dir.writeFile("b", "harbour");
  while (take()) {
  }
  const std::string gone = "No such file or directory " + std::to_string(ENOENT);
  EXPECT_EQ(seen, (std::vector<std::string>{
                      "missing.txt!" + gone, "a/1.txt", "a/2.txt!" + gone, "a/3.txt",
                      "b!Not a directory " + std::to_string(ENOTDIR), "c/1.txt",
                      "fifo!not a regular file or folder (a FIFO, device or socket is not "
                      "searched) -1"}));
}

TEST(CollectionSearchTest, AnUnreadableFolderIsAFailureAndTheRestIsSearched) {
  if (::geteuid() == 0) GTEST_SKIP() << "root reads every folder";
  testing::TempDir dir;
  dir.writeFile("a/1.txt", "harbour");
  dir.writeFile("b/1.txt", "harbour");
  ASSERT_EQ(::chmod((dir.path() / "a").c_str(), 0), 0);
  const auto seen = outcomes(requestFor(u"harbour", {dir.path()}, SearchWant::kFiles, 2));
  ::chmod((dir.path() / "a").c_str(), 0700);
  EXPECT_EQ(seen, (std::vector<std::string>{(dir.path() / "a").string() + "!Permission denied",
                                            (dir.path() / "b/1.txt").string()}));
}

TEST(CollectionSearchTest, ListedPathsAreWalkedAndABadListEndsWithAFailure) {
  testing::TempDir dir;
  const fs::path a = dir.writeFile("a.txt", "harbour");
  dir.writeFile("sub/b.txt", "harbour");
  const fs::path list =
      dir.writeFile("list", a.string() + "\r\n\n" + (dir.path() / "sub").string() + "\n" +
                                std::string(5000, 'x') + "\n" + a.string() + "\n");
  SearchRequest request = requestFor(u"harbour", {}, SearchWant::kFiles);
  request.inputs.pathList = list;
  EXPECT_EQ(outcomes(std::move(request)),
            (std::vector<std::string>{a.string(), (dir.path() / "sub/b.txt").string(),
                                      list.string() + "!a listed path is longer than 4096 bytes"}));
}

// A tree large enough that a search stopped early has searched a small part of it.
std::vector<fs::path> manyFiles(const testing::TempDir& dir) {
  for (int f = 0; f < 2000; ++f) dir.writeFile("f" + std::to_string(f) + ".txt", "harbour");
  return {dir.path()};
}

TEST(CollectionSearchTest, ASearchStopsWhenItsConsumerSaysSo) {
  testing::TempDir dir;
  const auto paths = manyFiles(dir);
  for (unsigned threads : {1u, 8u}) {
    std::size_t taken = 0;
    const SearchProgress progress =
        searchCollection(requestFor(u"harbour", paths, SearchWant::kFiles, threads),
                         [&](SearchResult&) { return ++taken < 3; });
    EXPECT_EQ(taken, 3u);
    // The threads read ahead a few files each, no more.
    EXPECT_LT(progress.filesSearched, 3u + 32u * threads + 4u * threads) << threads << " threads";
  }
}

TEST(CollectionSearchTest, ASearchStopsFromItsProgressCallback) {
  testing::TempDir dir;
  SearchRequest request = requestFor(u"harbour", manyFiles(dir), SearchWant::kFiles, 2);
  request.progressInterval = std::chrono::milliseconds(0);
  CollectionSearch* running = nullptr;
  // Called from the searching threads, until the search is destroyed.
  std::atomic<std::uint64_t> lastSearched{0};
  request.progress = [&](const SearchProgress& progress) {
    lastSearched.store(progress.filesSearched);
    if (progress.filesSearched >= 10) running->cancel();
  };
  SearchProgress atEnd;
  std::size_t taken = 0;
  {
    CollectionSearch search(std::move(request));
    running = &search;
    while (search.next()) ++taken;
    atEnd = search.progress();
  }
  EXPECT_LT(taken, 100u);
  EXPECT_GE(lastSearched.load(), 10u);
  EXPECT_LT(atEnd.filesSearched, 100u);
  EXPECT_LE(atEnd.filesSearched, atEnd.filesFound);
}

TEST(CollectionSearchTest, APipeNamedWithReadStreamsIsReadToItsEnd) {
  testing::TempDir dir;
  const fs::path fifo = dir.path() / "pipe";
  ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
  // Written in pieces with pauses, so that reads come back short before the end.
  std::thread writer([&] {
    std::FILE* out = std::fopen(fifo.c_str(), "w");
    for (int piece = 0; piece < 5; ++piece) {
      std::fputs(std::string(3000, 'x').c_str(), out);
      std::fputs(piece == 4 ? "\nthe harbour at last\n" : "\n", out);
      std::fflush(out);
      std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    std::fclose(out);
  });
  SearchRequest request = requestFor(u"harbour", {fifo});
  request.inputs.readStreams = true;
  std::vector<std::string> lines;
  searchCollection(std::move(request), [&](SearchResult& result) {
    for (const FoundOccurrence& found : result.occurrences) {
      lines.push_back(std::to_string(found.line) + ":" + std::string(result.snippet(found)));
    }
    return true;
  });
  writer.join();
  EXPECT_EQ(lines, std::vector<std::string>{"6:the harbour at last"});
}

TEST(CollectionSearchTest, KindsAndSkippedFilesAreAsAsked) {
  testing::TempDir dir;
  const fs::path page = dir.writeFile("p.html", "<p>the harbour</p>");
  const fs::path notes = dir.writeFile("n.md", "# harbour");
  const fs::path binary = dir.writeFile("z.dat", std::string("harbour\0", 8));
  SearchRequest request = requestFor(u"harbour", {dir.path()});
  request.kinds = {DocumentKind::kHtml};
  EXPECT_EQ(outcomes(request), std::vector<std::string>{page.string()});
  request.kinds.clear();
  EXPECT_EQ(outcomes(request), (std::vector<std::string>{notes.string(), page.string()}));
  request.reportSkipped = true;
  EXPECT_EQ(outcomes(request),
            (std::vector<std::string>{notes.string(), page.string(),
                                      binary.string() + "?binary (holds NUL bytes)"}));
}

}  // namespace
}  // namespace orvel
