#include "orvel/dsstore/ds_store.h"

#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "orvel/base/utf8.h"
#include "orvel/dsstore/ds_store_test_support.h"
#include "orvel/testing/files.h"
#include "orvel/testing/log_capture.h"
#include "orvel/testing/temp_dir.h"

namespace orvel {
namespace {

using testing::Bytes;
using ::testing::ElementsAre;
using testing::StoreBuilder;

std::unique_ptr<DSStore> storeOf(const Bytes& bytes) {
  return DSStore::storeWithFile(testing::memoryFile(bytes), "/folder");
}

Bytes bytesOf(std::initializer_list<std::uint8_t> list) { return Bytes(list); }

Bytes int32Value(std::uint32_t value) {
  Bytes bytes;
  testing::append32(bytes, value);
  return bytes;
}

// Names of the records in the order enumeration gives them.
std::vector<std::string> namesInOrder(const DSStore& store) {
  std::vector<std::string> names;
  store.enumerateEntries([&](const DSStoreEntry& entry) {
    names.push_back(utf16ToUtf8(entry.filename()) + "/" +
                    stringOfFourCharCode(entry.codec()).substr(1, 4));
    return true;
  });
  return names;
}

TEST(DSStoreTest, EveryRecordTypeDecodes) {
  Bytes blob;
  testing::append32(blob, 3);
  blob.insert(blob.end(), {1, 2, 3});
  Bytes comp;
  testing::append64(comp, 0xFFFFFFFFFFFFFFFEull);
  const Bytes bytes = testing::leafStore({
      testing::record(u"a", "Iloc", "blob", blob),
      testing::record(u"a", "bool", "bool", bytesOf({1})),
      testing::commentRecord(u"a", u"Caf\u00e9 notes"),
      testing::record(u"a", "icvl", "type", int32Value(0x69636E76)),
      testing::record(u"a", "logS", "comp", comp),
      testing::record(u"a", "modD", "dutc", comp),
      testing::record(u"a", "lg1S", "long", int32Value(0xFFFFFFFF)),
      testing::record(u"a", "fwvh", "shor", int32Value(300)),
      testing::record(u"a", "emty", "ustr", int32Value(0)),
  });
  const auto store = storeOf(bytes);
  ASSERT_NE(store, nullptr);
  const auto value = [&](const char(&codec)[5]) {
    return store->valueForFilename(u"a", fourCharCode(codec));
  };
  EXPECT_EQ(value("Iloc"), DSStoreValue(Bytes{1, 2, 3}));
  EXPECT_EQ(value("bool"), DSStoreValue(true));
  EXPECT_EQ(value("cmmt"), DSStoreValue(std::u16string(u"Caf\u00e9 notes")));
  EXPECT_EQ(value("icvl"), DSStoreValue(std::int32_t{0x69636E76}));
  EXPECT_EQ(value("logS"), DSStoreValue(std::int64_t{-2}));
  EXPECT_EQ(value("modD"), DSStoreValue(std::int64_t{-2}));
  EXPECT_EQ(value("lg1S"), DSStoreValue(std::int32_t{-1}));
  EXPECT_EQ(value("fwvh"), DSStoreValue(std::int32_t{300}));
  EXPECT_EQ(value("emty"), std::nullopt);  // an empty string is no value
  EXPECT_EQ(store->finderCommentForFilename(u"a"), u"Caf\u00e9 notes");
  EXPECT_EQ(store->finderCommentForFilename(u"b"), std::nullopt);
  EXPECT_EQ(store->finderCommentForFilename(u""), std::nullopt);
  const auto entry = store->entryForFilename(u"a", fourCharCode("lg1S"));
  ASSERT_TRUE(entry);
  EXPECT_EQ(entry->description(), "DSStoreEntry <a>: 'lg1S':'long'");
  EXPECT_EQ(entry->type(), fourCharCode("long"));
}

TEST(DSStoreTest, NamesCompareUnitForUnit) {
  const Bytes bytes = testing::leafStore({
      testing::commentRecord(u"caf\u00e9.txt", u"precomposed"),
      testing::commentRecord(u"Notes", u"capital"),
  });
  const auto store = storeOf(bytes);
  ASSERT_NE(store, nullptr);
  EXPECT_EQ(store->finderCommentForFilename(u"caf\u00e9.txt"), u"precomposed");
  EXPECT_EQ(store->finderCommentForFilename(u"cafe\u0301.txt"), std::nullopt);
  EXPECT_EQ(store->finderCommentForFilename(u"notes"), std::nullopt);
  EXPECT_EQ(store->finderCommentForFilename(u"Notes"), u"capital");
}

TEST(DSStoreTest, AnUnknownTypeHidesTheRestOfItsNode) {
  const Bytes bytes = testing::leafStore({
      testing::record(u"a", "odd!", "xxxx", int32Value(7)),
      testing::commentRecord(u"b", u"after the unknown record"),
  });
  const auto store = storeOf(bytes);
  ASSERT_NE(store, nullptr);
  EXPECT_EQ(store->finderCommentForFilename(u"b"), std::nullopt);
  std::vector<std::string> listed;
  store->enumerateEntries([&](const DSStoreEntry& entry) {
    listed.push_back(utf16ToUtf8(entry.filename()));
    EXPECT_FALSE(entry.value().has_value());
    return true;
  });
  EXPECT_THAT(listed, ElementsAre("a"));
}

// Two levels: an internal root (block 1) over three leaves, keys in the Finder's order.
Bytes twoLevelStore() {
  StoreBuilder builder;
  builder.name("DSDB", builder.addBlock(testing::treeHeader(1)));
  builder.addBlock(testing::internalNode(
      4, {{2, testing::commentRecord(u"b", u"B")}, {3, testing::commentRecord(u"d", u"D")}}));
  builder.addBlock(testing::leafNode({testing::commentRecord(u"a", u"A")}));
  builder.addBlock(testing::leafNode({testing::commentRecord(u"c", u"C")}));
  builder.addBlock(
      testing::leafNode({testing::commentRecord(u"e", u"E"), testing::commentRecord(u"f", u"F")}));
  return builder.build();
}

TEST(DSStoreTest, TwoLevelTreesAreWalkedWhole) {
  const Bytes bytes = twoLevelStore();
  const auto store = storeOf(bytes);
  ASSERT_NE(store, nullptr);
  for (const char16_t* name : {u"a", u"b", u"c", u"d", u"e", u"f"}) {
    EXPECT_EQ(store->finderCommentForFilename(name),
              std::u16string(1, static_cast<char16_t>(name[0] - 32)));
  }
  EXPECT_THAT(namesInOrder(*store),
              ElementsAre("a/cmmt", "b/cmmt", "c/cmmt", "d/cmmt", "e/cmmt", "f/cmmt"));
  bool first = true;
  std::size_t visits = 0;
  store->enumerateEntries([&](const DSStoreEntry&) {
    ++visits;
    return std::exchange(first, false);  // stop after the second
  });
  EXPECT_EQ(visits, 2u);
  EXPECT_EQ(store->rootNode(), 1u);
  EXPECT_EQ(store->pageSize(), 4096u);
  EXPECT_EQ(store->description(), "DSStore: 256 blocks, Root: 1, Entries:\n{\n    DSDB = 0;\n}");
}

TEST(DSStoreTest, ARecordIsFoundBeforeTheSubtreeLeftOfIt) {
  StoreBuilder builder;
  builder.name("DSDB", builder.addBlock(testing::treeHeader(1)));
  builder.addBlock(testing::internalNode(3, {{2, testing::commentRecord(u"dup", u"in the root")}}));
  builder.addBlock(testing::leafNode({testing::commentRecord(u"dup", u"in the leaf"),
                                      testing::record(u"dup", "cmmt", "long", int32Value(1))}));
  builder.addBlock(testing::leafNode({testing::record(u"num", "cmmt", "long", int32Value(5)),
                                      testing::commentRecord(u"num", u"shadowed")}));
  const Bytes bytes = builder.build();
  const auto store = storeOf(bytes);
  ASSERT_NE(store, nullptr);
  // Lookups and the comment index agree: the first record met in the lookup's walk wins,
  // and a comment that holds no string hides the later ones.
  EXPECT_EQ(store->valueForFilename(u"dup", kDSStoreCommentCodec),
            DSStoreValue(std::u16string(u"in the root")));
  EXPECT_EQ(store->finderCommentForFilename(u"dup"), u"in the root");
  EXPECT_EQ(store->valueForFilename(u"num", kDSStoreCommentCodec), DSStoreValue(std::int32_t{5}));
  EXPECT_EQ(store->finderCommentForFilename(u"num"), std::nullopt);
  EXPECT_THAT(namesInOrder(*store),
              ElementsAre("dup/cmmt", "dup/cmmt", "dup/cmmt", "num/cmmt", "num/cmmt"));
}

TEST(DSStoreTest, CyclesAndImpossibleChildrenEndTheirBranch) {
  const testing::LogCapture log;
  StoreBuilder builder;
  builder.name("DSDB", builder.addBlock(testing::treeHeader(1)));
  // The root names itself as a child and as its rightmost child, then a node that leads
  // back to the root, then a child past the table.
  builder.addBlock(testing::internalNode(1, {{1, testing::commentRecord(u"self", u"S")},
                                             {2, testing::commentRecord(u"x", u"X")},
                                             {999, testing::commentRecord(u"z", u"Z")}}));
  builder.addBlock(testing::internalNode(1, {{1, testing::commentRecord(u"y", u"Y")}}));
  const Bytes bytes = builder.build();
  const auto store = storeOf(bytes);
  ASSERT_NE(store, nullptr);
  EXPECT_EQ(store->finderCommentForFilename(u"z"), u"Z");
  EXPECT_EQ(store->finderCommentForFilename(u"nothing"), std::nullopt);
  EXPECT_THAT(log.lines(), ::testing::Contains("Node 1 already used."));
  EXPECT_THAT(log.lines(), ::testing::Contains("Invalid node 999 (max 256)."));
  EXPECT_THAT(namesInOrder(*store), ElementsAre("self/cmmt", "y/cmmt", "x/cmmt", "z/cmmt"));
}

TEST(DSStoreTest, StoresAreOpenedByFolder) {
  const testing::TempDir dir;
  EXPECT_EQ(DSStore::storeWithDirectory(dir.path()), nullptr);  // no file
  EXPECT_EQ(DSStore::storeWithDirectory(""), nullptr);
  const Bytes bytes = twoLevelStore();
  dir.writeFile(".DS_Store", std::string(bytes.begin(), bytes.end()));
  EXPECT_EQ(DSStore::storeWithDirectory(dir.path() / ".DS_Store"), nullptr);  // not a folder
  const auto store = DSStore::storeWithDirectory(dir.path());
  ASSERT_NE(store, nullptr);
  EXPECT_EQ(store->directory(), dir.path());
  EXPECT_EQ(store->finderCommentForFilename(u"e"), u"E");
  // No tree header: no store.
  StoreBuilder noTree;
  noTree.name("other", noTree.addBlock(Bytes(8, 0)));
  EXPECT_EQ(storeOf(noTree.build()), nullptr);
}

// The real files beside the project, where present: every one opens or is refused, and
// facts read from them by hand hold.
class RealStoresTest : public ::testing::Test {
 protected:
  static std::filesystem::path sample(const char* name) {
    return std::filesystem::path(ORVEL_SHARED_TESTDATA "/dsstore") / name;
  }
  static std::unique_ptr<DSStore> open(const char* name) {
    return DSStore::storeWithFile(std::fopen(sample(name).c_str(), "rb"), "/");
  }
  void SetUp() override {
    if (!std::filesystem::exists(sample("MANIFEST.tsv"))) GTEST_SKIP() << "no sample stores";
  }
};

std::size_t recordCount(const DSStore& store) {
  std::size_t count = 0;
  store.enumerateEntries([&](const DSStoreEntry&) { return ++count, true; });
  return count;
}

TEST_F(RealStoresTest, EveryFileOpensOrIsRefusedAndIsWalkedWhole) {
  const testing::LogCapture log;
  std::size_t opened = 0, records = 0;
  for (const auto& path : testing::regularFilesIn({sample("")}, false, ".DS_Store")) {
    const auto store = DSStore::storeWithFile(std::fopen(path.c_str(), "rb"), "/");
    if (store == nullptr) continue;
    ++opened;
    records += recordCount(*store);
    static_cast<void>(store->finderCommentForFilename(u"no such file"));
  }
  EXPECT_EQ(opened, 50u);  // the damaged one too: its tree is what is damaged
  EXPECT_GT(records, 10000u);
}

TEST_F(RealStoresTest, RecordCountsNamesAndComments) {
  const auto comments = open("52b667cb215d_15364.DS_Store");
  ASSERT_NE(comments, nullptr);
  EXPECT_EQ(recordCount(*comments), 11u);
  std::size_t commentCount = 0;
  comments->enumerateEntries([&](const DSStoreEntry& entry) {
    if (entry.codec() == kDSStoreCommentCodec) {
      ++commentCount;
      EXPECT_EQ(comments->finderCommentForFilename(entry.filename()),
                std::get<std::u16string>(*entry.value()));
    }
    return true;
  });
  EXPECT_EQ(commentCount, 4u);

  const auto large = open("4ab574f9772e_1134596.DS_Store");  // three levels, 9 internal nodes
  ASSERT_NE(large, nullptr);
  EXPECT_EQ(large->levels(), 2u);
  EXPECT_EQ(recordCount(*large), 10128u);
  EXPECT_EQ(large->records(), 10128u);

  const auto small = open("ecb9ea6ff5c7_6148.DS_Store");
  ASSERT_NE(small, nullptr);
  EXPECT_EQ(recordCount(*small), 9u);

  // Damaged on purpose: the tree header is all zeros, so the walk starts at block 0 (the
  // root block), whose rightmost child is a slot the table does not use.
  const auto damaged = open("218bf986b6d0_15364.DS_Store");
  ASSERT_NE(damaged, nullptr);
  EXPECT_EQ(recordCount(*damaged), 0u);
  EXPECT_EQ(damaged->finderCommentForFilename(u"x"), std::nullopt);

  // An internal root over two leaves, one of which runs past the end of the file: that
  // block is not read, and the 49 records in it are missing.
  const auto cut = open("26a6dbca39f7_14492.DS_Store");
  ASSERT_NE(cut, nullptr);
  EXPECT_EQ(recordCount(*cut), 1u + 51u);
}

}  // namespace
}  // namespace orvel
