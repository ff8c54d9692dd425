// Reading .DS_Store files:
//
//   open and list   every real store beside the project (../shared/testdata/dsstore, 50
//                   files written by Finders and by writer libraries) opened from its path
//                   and walked whole, in records per second
//   comments        finderCommentAtPath for each of 10,000 files of one folder whose store
//                   holds a comment for every one (a two-level tree, as the Finder writes
//                   large folders), through the per-thread cache: ns per call; against
//                   reading the same comments from the files' user.xdg.comment extended
//                   attributes, the Linux desktop's way (getxattr, one system call a file)
#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>
#include <sys/xattr.h>
#include <unistd.h>

#include "orvel/dsstore/ds_store.h"
#include "orvel/dsstore/ds_store_test_support.h"
#include "orvel/testing/files.h"

#include "bench/bench_support.h"

namespace {

namespace fs = std::filesystem;

constexpr std::size_t kFiles = 10000;
constexpr std::size_t kLeaves = 100;

const std::vector<fs::path>& storePaths() {
  static const std::vector<fs::path> paths =
      orvel::testing::regularFilesIn({ORVEL_SHARED_TESTDATA "/dsstore"}, false, ".DS_Store");
  return paths;
}

std::size_t recordsOfAllStores() {
  std::size_t records = 0;
  for (const fs::path& path : storePaths()) {
    if (const auto store = orvel::DSStore::storeAtPath(path)) {
      store->enumerateEntries([&](const orvel::DSStoreEntry&) { return ++records, true; });
    }
  }
  return records;
}

void BM_open_and_list(benchmark::State& state) {
  for (auto _ : state) benchmark::DoNotOptimize(recordsOfAllStores());
}
BENCHMARK(BM_open_and_list)->Unit(benchmark::kMillisecond)->Repetitions(3);

std::u16string fileName(std::size_t k) {
  const std::string name = "file" + std::to_string(100000 + k) + ".txt";  // sorts as numbers
  return std::u16string(name.begin(), name.end());
}

// A folder of kFiles empty files, each with a comment in the folder's store and in its
// extended attribute; made once, removed at exit.
struct CommentFolder {
  fs::path folder;
  std::vector<fs::path> files;
  bool xattrs = true;

  CommentFolder() {
    folder = fs::temp_directory_path() / ("orvel-dsstore-bench-" + std::to_string(::getpid()));
    fs::create_directories(folder);
    // Block 0 the tree header, block 1 the root, blocks 2... the leaves: leaf j holds the
    // files before the root's record j, the last leaf those after the last record.
    const std::size_t perLeaf = kFiles / kLeaves;
    const auto comment = [](std::size_t k) {
      return orvel::testing::commentRecord(fileName(k), u"comment " + fileName(k));
    };
    std::vector<std::pair<std::uint32_t, orvel::testing::Bytes>> separators;
    for (std::size_t leaf = 0; leaf + 1 < kLeaves; ++leaf) {
      separators.emplace_back(static_cast<std::uint32_t>(2 + leaf),
                              comment((leaf + 1) * perLeaf - 1));
    }
    orvel::testing::StoreBuilder builder;
    builder.name("DSDB", builder.addBlock(orvel::testing::treeHeader(1)));
    builder.addBlock(
        orvel::testing::internalNode(static_cast<std::uint32_t>(1 + kLeaves), separators));
    for (std::size_t leaf = 0; leaf < kLeaves; ++leaf) {
      std::vector<orvel::testing::Bytes> records;
      const std::size_t end = leaf + 1 < kLeaves ? (leaf + 1) * perLeaf - 1 : kFiles;
      for (std::size_t k = leaf * perLeaf; k < end; ++k) records.push_back(comment(k));
      builder.addBlock(orvel::testing::leafNode(records));
    }
    const orvel::testing::Bytes bytes = builder.build();
    std::FILE* store = std::fopen((folder / ".DS_Store").c_str(), "wb");
    std::fwrite(bytes.data(), 1, bytes.size(), store);
    std::fclose(store);
    for (std::size_t k = 0; k < kFiles; ++k) {
      const std::u16string name = fileName(k);
      files.push_back(folder / std::string(name.begin(), name.end()));
      std::fclose(std::fopen(files.back().c_str(), "wb"));
      const std::string comment = "comment " + std::string(name.begin(), name.end());
      xattrs = xattrs && ::setxattr(files.back().c_str(), "user.xdg.comment", comment.data(),
                                    comment.size(), 0) == 0;
    }
  }
  ~CommentFolder() { fs::remove_all(folder); }
};

const CommentFolder& commentFolder() {
  static const CommentFolder folder;
  return folder;
}

void BM_finder_comments_cached(benchmark::State& state) {
  const CommentFolder& folder = commentFolder();
  for (auto _ : state) {
    for (const fs::path& file : folder.files) {
      benchmark::DoNotOptimize(orvel::finderCommentAtPath(file));
    }
  }
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(kFiles));
}
BENCHMARK(BM_finder_comments_cached)->Unit(benchmark::kMillisecond)->Repetitions(3);

void BM_xattr_comments(benchmark::State& state) {
  const CommentFolder& folder = commentFolder();
  if (!folder.xattrs) {
    state.SkipWithError("no extended attributes in the temporary folder");
    return;
  }
  for (auto _ : state) {
    for (const fs::path& file : folder.files) {
      benchmark::DoNotOptimize(orvel::spotlightCommentAtPath(file));
    }
  }
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(kFiles));
}
BENCHMARK(BM_xattr_comments)->Unit(benchmark::kMillisecond)->Repetitions(3);

}  // namespace

int main(int argc, char** argv) {
  if (storePaths().empty()) {
    std::printf("no stores at %s/dsstore: nothing to measure\n", ORVEL_SHARED_TESTDATA);
    return 0;
  }
  const std::size_t records = recordsOfAllStores();
  std::printf("stores: %zu files, %zu records; comments: %zu files in one folder\n",
              storePaths().size(), records, kFiles);
  const auto& folder = commentFolder();
  if (orvel::finderCommentAtPath(folder.files[1234]) != u"comment file101234.txt") {
    std::printf("the comment folder does not answer as built\n");
    return 1;
  }
  return orvel::bench::runAndCompare(
      argc, argv, {{"BM_finder_comments_cached", "BM_xattr_comments", 1.0}},
      {{"BM_open_and_list", static_cast<double>(records), "records", 0},
       {"BM_finder_comments_cached", static_cast<double>(kFiles), "calls", 0}});
}
