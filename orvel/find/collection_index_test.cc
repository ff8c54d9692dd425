// The collection index: a search with it answers exactly as one without, for random queries
// over a generated tree edited at random between updates and after them; the index rules
// files out where it should; damage of any byte, truncation and killed updates never change
// an answer; merging keeps every document once; two writers take turns.
#include "orvel/find/collection_index.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include "orvel/base/utf8.h"
#include "orvel/find/collection_search.h"
#include "orvel/testing/files.h"
#include "orvel/testing/temp_dir.h"
#include "orvel/text/conversion_tables.h"

namespace orvel {
namespace {

namespace fs = std::filesystem;

// Everything a search answers, a line per result and occurrence.
std::string answers(SearchRequest request) {
  std::string all;
  searchCollection(std::move(request), [&](SearchResult& result) {
    all += result.path + " " + std::to_string(static_cast<int>(result.status)) + " " +
           result.message + " " + std::to_string(result.count) + "\n";
    for (const FoundOccurrence& occurrence : result.occurrences) {
      all += std::to_string(occurrence.line) + ":" + std::string(result.snippet(occurrence)) + "\n";
    }
    return true;
  });
  return all;
}

const std::vector<std::string> kWords = {"harbour",
                                         "quay",
                                         "ship",
                                         "Ship",
                                         "caf\xC3\xA9",
                                         "CAFE",
                                         "stra\xC3\x9F"
                                         "e",
                                         "e-mail",
                                         "C++",
                                         "x",
                                         "spin_lock_irq",
                                         "lock",
                                         "irq",
                                         "\xD0\xB4\xD0\xBE\xD0\xBC",
                                         "na\xC3\xAFve",
                                         "naive",
                                         "rare",
                                         "wall"};

std::string randomText(std::mt19937& random) {
  const std::vector<std::string> gaps = {" ", ", ", ". ", "\n", " - ", "("};
  std::string text;
  for (int k = 0, n = 3 + static_cast<int>(random() % 40); k < n; ++k) {
    text += kWords[random() % kWords.size()] + gaps[random() % gaps.size()];
  }
  return text;
}

std::string randomQuery(std::mt19937& random) {
  const std::vector<std::string> joins = {" ",     " AND ",      " OR ",  " -",    " NEAR/2 ",
                                          " XOR ", " BEFORE/3 ", " NOT ", " OPT ", " AFTER "};
  std::string query;
  for (int t = 0, n = 1 + static_cast<int>(random() % 3); t < n; ++t) {
    if (t > 0) query += joins[random() % joins.size()];
    std::string word = kWords[random() % kWords.size()];
    if (random() % 6 == 0) word = "\"" + word + " " + kWords[random() % kWords.size()] + "\"";
    if (random() % 10 == 0) word = "~" + word.substr(0, 3);
    query += word;
  }
  return random() % 5 == 0 ? "(" + query + ") OR rare" : query;
}

// A tree of random documents of every kind, some in folders.
void writeTree(const testing::TempDir& dir, std::mt19937& random) {
  for (int f = 0; f < 40; ++f) {
    // Twenty folders: enough for a search to check ahead of its walk on another thread.
    const std::string folder = "d" + std::to_string(f % 20) + "/";
    const std::string text = randomText(random);
    switch (f % 5) {
      case 0: dir.writeFile(folder + "f" + std::to_string(f) + ".md", "# " + text); break;
      case 1:
        dir.writeFile(folder + "f" + std::to_string(f) + ".html", "<p>" + text + "</p>");
        break;
      case 2: dir.writeFile(folder + "f" + std::to_string(f) + ".bin", text + '\0'); break;
      default: dir.writeFile(folder + "f" + std::to_string(f) + ".txt", text); break;
    }
  }
}

// Rewrites, removes, adds, renames, and replaces a file by a folder.
void editTree(const testing::TempDir& dir, std::mt19937& random) {
  std::vector<fs::path> files;
  for (const auto& entry : fs::recursive_directory_iterator(dir.path())) {
    if (entry.is_regular_file() && !entry.path().filename().string().starts_with(".orvel-index")) {
      files.push_back(entry.path());
    }
  }
  std::sort(files.begin(), files.end());
  for (int k = 0; k < 6 && !files.empty(); ++k) {
    const fs::path& file = files[random() % files.size()];
    if (!fs::is_regular_file(file)) continue;  // removed, or a folder now
    switch (random() % 5) {
      case 0: fs::remove(file); break;
      case 1: fs::rename(file, file.string() + ".txt"); break;
      case 2:
        fs::remove(file);
        fs::create_directories(file);
        dir.writeFile(fs::relative(file / "inner.txt", dir.path()).string(), randomText(random));
        break;
      default: dir.writeFile(fs::relative(file, dir.path()).string(), randomText(random)); break;
    }
  }
  dir.writeFile("new" + std::to_string(random() % 1000) + ".txt", randomText(random));
}

SearchRequest requestFor(const std::string& query, const fs::path& root, bool wildcard = false) {
  SearchRequest request;
  request.query = utf8ToUtf16Lenient(query);
  request.inputs.paths = {root};
  request.wildcard = wildcard;
  request.reportSkipped = true;
  request.threads = 2;
  return request;
}

WalkInputs treeAt(const fs::path& root) {
  WalkInputs inputs;
  inputs.paths = {root};
  return inputs;
}

// Updates the index once its files are old enough to be trusted by their times.
IndexUpdate settledUpdate(const fs::path& index, const fs::path& root) {
  std::this_thread::sleep_for(std::chrono::milliseconds(2100));
  return updateCollectionIndex(index, treeAt(root));
}

// A folder, and the index at its top; generate() fills the folder with a random tree.
class CollectionIndexTest : public ::testing::Test {
 protected:
  void generate(unsigned seed) {
    random.seed(seed);
    writeTree(dir, random);
  }

  testing::TempDir dir;
  std::mt19937 random;
  const fs::path index = dir.path() / kDefaultIndexName;
};

// What a search answers with the index, however little it rules out.
std::string answersWithIndex(const fs::path& index, SearchRequest request) {
  request.inputs.index = selectWithIndex(index, request, 0);
  return answers(std::move(request));
}

TEST(CollectionIndexFoldingTest, FoldedKeysAreCoarserThanEveryComparison) {
  const ConversionTable key = upperUmlautsCharsTable();
  const ConversionTable upper = upperCharsTable();
  const ConversionTable accents = umlautsCharsTable();
  for (unsigned c = 0; c < 65536; ++c) {
    ASSERT_EQ(key[upper[c]], key[c]) << c;
    ASSERT_EQ(key[accents[c]], key[c]) << c;
  }
}

TEST_F(CollectionIndexTest, IndexedSearchesAnswerExactlyAsTheScanThroughEdits) {
  generate(27);
  std::size_t ruledOut = 0;
  for (int round = 0; round < 3; ++round) {
    SCOPED_TRACE("round " + std::to_string(round));
    settledUpdate(index, dir.path());
    if (round > 0) editTree(dir, random);  // after the update: the index is stale
    for (int q = 0; q < 25; ++q) {
      const std::string query = randomQuery(random);
      SCOPED_TRACE(query);
      for (const bool wildcard : {false, q % 5 == 0}) {
        SearchRequest request = requestFor(query, dir.path(), wildcard);
        request.want = static_cast<SearchWant>(q % 3);
        request.ignoreAccents = q % 4 == 1;
        const std::string scanned = answers(request);
        request.inputs.index = selectWithIndex(index, request, 0);
        // Half the time the thread checking ahead of the walk has judged every file first.
        if (q % 2 == 0) std::this_thread::sleep_for(std::chrono::milliseconds(20));
        EXPECT_EQ(answers(request), scanned);
        for (const auto& entry : fs::recursive_directory_iterator(dir.path())) {
          ruledOut += request.inputs.index->rulesOut(entry.path().string()) ? 1 : 0;
        }
      }
    }
    editTree(dir, random);
  }
  EXPECT_GT(ruledOut, 500u) << "the index hardly ever spares reading a file";
}

// Thousands of distinct words of every length from 1 to 24 bytes, some outside ASCII, each
// file holding a random part of them many times over: every word a file holds is found in it
// through the index, and the files that lack it are ruled out.
TEST_F(CollectionIndexTest, AWideVocabularyIsKeptWhole) {
  random.seed(3);
  const std::vector<std::string> letters = {"a", "q", "z", "\xC3\xA9", "\xD0\xB4"};
  std::vector<std::string> vocabulary;
  for (int k = 0; k < 5000; ++k) {
    std::string word = "w" + std::to_string(k);
    while (word.size() < 1 + static_cast<std::size_t>(k % 24)) word += letters[random() % 5];
    vocabulary.push_back(word);
  }
  std::vector<std::vector<bool>> holds(8, std::vector<bool>(vocabulary.size()));
  for (std::size_t f = 0; f < holds.size(); ++f) {
    std::string text;
    for (int n = 0; n < 12000; ++n) {
      const std::size_t word = random() % vocabulary.size();
      if (word % holds.size() == f) continue;  // a share of the words each file lacks
      holds[f][word] = true;
      text += vocabulary[word] + (n % 9 == 0 ? "\n" : " ");
    }
    dir.writeFile("f" + std::to_string(f) + ".txt", text);
  }
  settledUpdate(index, dir.path());
  for (std::size_t word = 0; word < vocabulary.size(); word += 97) {
    SearchRequest request = requestFor(vocabulary[word], dir.path());
    request.inputs.index = selectWithIndex(index, request, 0);
    for (std::size_t f = 0; f < holds.size(); ++f) {
      const std::string file = (dir.path() / ("f" + std::to_string(f) + ".txt")).string();
      EXPECT_EQ(request.inputs.index->rulesOut(file), !holds[f][word]) << vocabulary[word];
    }
  }
}

TEST_F(CollectionIndexTest, UpdatesReadOnlyWhatChangedAndMergingKeepsEachDocumentOnce) {
  generate(5);
  const IndexUpdate first = settledUpdate(index, dir.path());
  EXPECT_EQ(first.indexed, 40u);
  const IndexUpdate again = settledUpdate(index, dir.path());
  EXPECT_EQ(again.indexed, 0u);
  EXPECT_EQ(again.unchanged, 40u);
  dir.writeFile("d0/f0.md", "changed harbour");
  fs::remove(dir.path() / "d1" / "f1.html");
  const IndexUpdate changed = settledUpdate(index, dir.path());
  EXPECT_EQ(changed.indexed, 1u);
  EXPECT_EQ(changed.removed, 1u);
  EXPECT_EQ(collectionIndexStatus(index).segments, 2u);
  const IndexUpdate compacted = updateCollectionIndex(index, treeAt(dir.path()), true);
  EXPECT_TRUE(compacted.merged);
  const IndexStatus status = collectionIndexStatus(index);
  EXPECT_EQ(status.segments, 1u);
  EXPECT_EQ(status.documents, 39u);
  EXPECT_TRUE(verifyCollectionIndex(index).empty());
  // The merged index still answers as the scan.
  const SearchRequest request = requestFor("harbour OR quay", dir.path());
  EXPECT_EQ(answersWithIndex(index, request), answers(request));
}

// Writes the bytes over the file in place (a new inode would look like another file).
void replaceFile(const fs::path& file, const std::string& bytes) {
  std::ofstream out(file, std::ios::binary | std::ios::trunc);
  out << bytes;
}

// Every file of the index, the manifest first.
std::vector<fs::path> indexFiles(const fs::path& index) {
  std::vector<fs::path> files = {index};
  for (const auto& entry : fs::directory_iterator(index.parent_path())) {
    const std::string name = entry.path().filename().string();
    if (name.starts_with(index.filename().string() + ".seg-")) files.push_back(entry.path());
  }
  return files;
}

TEST_F(CollectionIndexTest, DamageIsReportedAndNeverChangesAnAnswer) {
  generate(9);
  settledUpdate(index, dir.path());
  SearchRequest request = requestFor("harbour OR \"quay ship\" -rare", dir.path());
  const std::string scanned = answers(request);
  for (const fs::path& file : indexFiles(index)) {
    const std::string original = testing::fileBytes(file);
    for (std::size_t at = 0; at < original.size(); at += 1 + random() % 97) {
      std::string damaged = original;
      damaged[at] = static_cast<char>(damaged[at] ^ (1 + random() % 255));
      replaceFile(file, damaged);
      try {
        request.inputs.index = selectWithIndex(index, request, 0);
        EXPECT_EQ(answers(request), scanned) << file << " byte " << at;
      } catch (const IndexError&) {
        EXPECT_FALSE(verifyCollectionIndex(index).empty()) << file << " byte " << at;
      }
    }
    for (std::size_t length : {std::size_t{0}, original.size() / 2, original.size() - 1}) {
      replaceFile(file, original.substr(0, length));
      EXPECT_THROW(request.inputs.index = selectWithIndex(index, request, 0), IndexError) << length;
      EXPECT_FALSE(verifyCollectionIndex(index).empty());
    }
    replaceFile(file, original);
  }
  EXPECT_TRUE(verifyCollectionIndex(index).empty());
}

TEST_F(CollectionIndexTest, AnUpdateKilledAnywhereLeavesTheOldIndexOrTheNew) {
  generate(13);
  updateCollectionIndex(index, treeAt(dir.path()));
  const SearchRequest request = requestFor("harbour OR quay NEAR/3 ship", dir.path());
  for (int kill = 0; kill < 300; ++kill) {
    const pid_t child = ::fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
      // Edits and updates until killed; merges now and then.
      std::mt19937 own(static_cast<unsigned>(kill));
      for (int k = 0;; ++k) {
        dir.writeFile("d" + std::to_string(own() % 4) + "/f" + std::to_string(own() % 40) + ".txt",
                      randomText(own));
        updateCollectionIndex(index, treeAt(dir.path()), k % 3 == 2);
      }
    }
    std::this_thread::sleep_for(std::chrono::microseconds(random() % 30000));
    ::kill(child, SIGKILL);
    int status = 0;
    ::waitpid(child, &status, 0);
    ASSERT_TRUE(verifyCollectionIndex(index).empty()) << "after kill " << kill;
    ASSERT_EQ(answersWithIndex(index, request), answers(request)) << "after kill " << kill;
  }
}

TEST_F(CollectionIndexTest, TwoWritersTakeTurnsWhileReadersGoOn) {
  generate(21);
  updateCollectionIndex(index, treeAt(dir.path()));
  const SearchRequest request = requestFor("harbour OR quay", dir.path());
  const std::string scanned = answers(request);
  std::atomic<bool> writing{true};
  std::vector<std::thread> writers;
  for (int w = 0; w < 2; ++w) {
    writers.emplace_back([&, w] {
      for (int k = 0; k < 6; ++k) updateCollectionIndex(index, treeAt(dir.path()), w == 1);
    });
  }
  // Readers never wait for the writers, and never see a half-written index.
  std::size_t reads = 0;
  std::thread reader([&] {
    while (writing) {
      EXPECT_EQ(answersWithIndex(index, request), scanned);
      ++reads;
    }
  });
  for (std::thread& writer : writers) writer.join();
  writing = false;
  reader.join();
  EXPECT_GT(reads, 0u);
  EXPECT_TRUE(verifyCollectionIndex(index).empty());
  EXPECT_EQ(collectionIndexStatus(index).documents, 40u);
}

TEST_F(CollectionIndexTest, LinksAndMissingIndexes) {
  dir.writeFile("real/a.txt", "harbour");
  fs::create_directory_symlink(dir.path() / "real", dir.path() / "link");
  EXPECT_THROW((void)selectWithIndex(index, requestFor("harbour", dir.path()), 0), IndexError);
  EXPECT_FALSE(findCollectionIndex(dir.path() / "real").has_value());
  WalkInputs inputs = treeAt(dir.path());
  inputs.followLinks = true;
  settledUpdate(index, dir.path());
  updateCollectionIndex(index, inputs);
  EXPECT_EQ(findCollectionIndex(dir.path() / "real" / "a.txt"), index);
  const SearchRequest request = requestFor("harbour", dir.path() / "link");
  const std::string scanned = answers(request);
  EXPECT_EQ(answersWithIndex(index, request), scanned);
  EXPECT_NE(scanned.find("link/a.txt"), std::string::npos);
}

}  // namespace
}  // namespace orvel
