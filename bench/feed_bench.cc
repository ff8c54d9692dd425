// Items of feeds against feedparser, the feed parser everyone uses, over every feed beside
// the project (../shared/testdata/feeds: the small test feeds and the large real ones),
// from bytes, in the same run:
//
//   ours        readWebPage (the XML declaration's encoding, else UTF-8, else Windows
//               Latin 1), then getItemsOfFeed
//   feedparser  feedparser.parse of the bytes, timed in-process by bench/feed_python_peer.py
//
// Target: at least 50x. Also the display page (stringByConvertingFeed) of the same feeds.
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

#include "orvel/markup/web_page.h"
#include "orvel/testing/files.h"
#include "orvel/url/feeds.h"

#include "bench/bench_support.h"

namespace {

namespace fs = std::filesystem;

std::vector<fs::path> feedPaths() {
  return orvel::testing::regularFilesIn(
      {ORVEL_SHARED_TESTDATA "/feeds/small", ORVEL_SHARED_TESTDATA "/feeds/large"});
}

struct FeedCorpus {
  std::vector<std::string> feeds;
  std::size_t bytes = 0;
  std::size_t items = 0;
};

const FeedCorpus& feedCorpus() {
  static const FeedCorpus loaded = [] {
    FeedCorpus c;
    for (const fs::path& path : feedPaths()) {
      c.feeds.push_back(orvel::testing::fileBytes(path));
      c.bytes += c.feeds.back().size();
      c.items += orvel::getItemsOfFeed(orvel::webPageText(c.feeds.back())).size();
    }
    return c;
  }();
  return loaded;
}

void countBytes(benchmark::State& state) {
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(feedCorpus().bytes));
}

void BM_orvel_feed_items(benchmark::State& state) {
  for (auto _ : state) {
    for (const std::string& feed : feedCorpus().feeds) {
      benchmark::DoNotOptimize(orvel::getItemsOfFeed(orvel::readWebPage(feed).text));
    }
  }
  countBytes(state);
}
BENCHMARK(BM_orvel_feed_items)->Unit(benchmark::kMillisecond)->Repetitions(3);

void BM_orvel_feed_page(benchmark::State& state) {
  for (auto _ : state) {
    for (const std::string& feed : feedCorpus().feeds) {
      benchmark::DoNotOptimize(
          orvel::stringByConvertingFeed(orvel::readWebPage(feed).text, std::nullopt, true));
    }
  }
  countBytes(state);
}
BENCHMARK(BM_orvel_feed_page)->Unit(benchmark::kMillisecond)->Repetitions(3);

}  // namespace

int main(int argc, char** argv) {
  if (feedCorpus().feeds.empty()) {
    std::printf("no feeds at %s/feeds: nothing to measure\n", ORVEL_SHARED_TESTDATA);
    return 0;
  }
  std::vector<orvel::bench::PythonPeer> python;
  if (std::getenv("ORVEL_BENCH_NO_PYTHON") == nullptr) {
    const fs::path list = fs::temp_directory_path() / "orvel-feed-bench-feeds.txt";
    {
      std::ofstream out(list);
      for (const fs::path& path : feedPaths()) out << path.string() << "\n";
    }
    python = orvel::bench::runPeerCommand(
        "/usr/bin/python3 '" ORVEL_BENCH_DIR "/feed_python_peer.py' '" + list.string() + "'");
  }
  const double bytes = static_cast<double>(feedCorpus().bytes);
  std::printf("corpus: %zu feeds, %.1f MB, %zu items\n", feedCorpus().feeds.size(), bytes / 1e6,
              feedCorpus().items);
  const double feedparser = python.empty() ? 0 : python.front().bytesPerSecond;
  return orvel::bench::runAndCompare(
      argc, argv, {},
      {{"BM_orvel_feed_items", bytes, "bytes", 50.0 * feedparser, "feedparser", feedparser},
       {"BM_orvel_feed_page", bytes, "bytes", 0}});
}
