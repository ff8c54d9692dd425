// orvel dsstore, orvel comment and orvel search --comments, run as a user runs them.
#include <string>

#include <gtest/gtest.h>
#include <sys/xattr.h>

#include "orvel/dsstore/ds_store_test_support.h"
#include "orvel/testing/temp_dir.h"

#include "tools/orvel/cli_test_support.h"

namespace orvel {
namespace {

using testing::Bytes;

class DSStoreCommandTest : public ::testing::Test {
 protected:
  void SetUp() override {
    Bytes blob = {0, 0, 0, 2, 0xAB, 0xCD};
    Bytes date;
    testing::append64(date, 0xDA3191800000ull);  // 2020-01-01 in 1/65536 s since 1904
    const Bytes bytes = testing::leafStore({
        testing::record(u".", "vstl", "type", {'i', 'c', 'n', 'v'}),
        testing::commentRecord(u"photo.jpg", u"Our caf\u00e9\nby the river"),
        testing::record(u"photo.jpg", "Iloc", "blob", blob),
        testing::record(u"photo.jpg", "modD", "dutc", date),
        testing::record(u"report.txt", "dscl", "bool", {1}),
        testing::commentRecord(u"report.txt", u"quarterly figures"),
    });
    _dir.writeFile(".DS_Store", std::string(bytes.begin(), bytes.end()));
    _dir.writeFile("photo.jpg", std::string("\xFF\xD8\xFF\x00 not text", 12));
    _dir.writeFile("report.txt", "Revenue rose in the third quarter.");
    _dir.writeFile("other.txt", "Nothing about a river here.");
  }
  std::string root() const { return _dir.path().string(); }
  testing::TempDir _dir;
};

TEST_F(DSStoreCommandTest, ListsEveryRecordAsLinesOrJson) {
  expectSuccess(orvel({"dsstore", "ls", root()}),
                ".\tvstl\ttype\ticnv\n"
                "photo.jpg\tcmmt\tustr\tOur café\\nby the river\n"
                "photo.jpg\tIloc\tblob\tabcd\n"
                "photo.jpg\tmodD\tdutc\t2020-01-01T00:00:00Z\n"
                "report.txt\tdscl\tbool\t1\n"
                "report.txt\tcmmt\tustr\tquarterly figures\n");
  const ProgramResult json = orvel({"dsstore", "ls", "--json", root() + "/.DS_Store"});
  EXPECT_EQ(json.exitCode, 0) << json.err;
  EXPECT_NE(json.out.find("{\"id\":\"cmmt\",\"name\":\"photo.jpg\",\"type\":\"ustr\","
                          "\"value\":\"Our café\\nby the river\"}\n"),
            std::string::npos);
  // A four-character code, and the number it is stored as.
  EXPECT_NE(json.out.find("{\"code\":1768124022,\"id\":\"vstl\",\"name\":\".\",\"type\":"
                          "\"type\",\"value\":\"icnv\"}\n"),
            std::string::npos);
  EXPECT_NE(json.out.find("{\"id\":\"dscl\",\"name\":\"report.txt\",\"type\":\"bool\","
                          "\"value\":true}\n"),
            std::string::npos);
}

TEST_F(DSStoreCommandTest, GetsOneValueOrExitsOne) {
  expectSuccess(orvel({"dsstore", "get", root(), "report.txt"}), "quarterly figures\n");
  expectSuccess(orvel({"dsstore", "get", root(), "photo.jpg", "Iloc"}), "abcd\n");
  expectFailure(orvel({"dsstore", "get", root(), "other.txt"}), 1,
                "orvel: " + root() + ": no 'cmmt' record for other.txt\n");
  const ProgramResult badId = orvel({"dsstore", "get", root(), "photo.jpg", "toolong"});
  EXPECT_EQ(badId.exitCode, 2);
}

TEST_F(DSStoreCommandTest, InfoAndDamagedFiles) {
  expectSuccess(orvel({"dsstore", "info", root()}),
                "DSStore: 256 blocks, Root: 1, Entries:\n{\n    DSDB = 0;\n}\n"
                "levels 0, records 0, nodes 0, page size 4096\n");
  const testing::TempDir other;
  const std::string broken = other.writeFile("broken.DS_Store", "Bud1 and nothing else").string();
  expectFailure(orvel({"dsstore", "ls", broken}), 1,
                "orvel: " + broken +
                    ": not a readable .DS_Store file (bad header or tables, or locked by a "
                    "writer)\n");
  expectFailure(orvel({"dsstore", "ls", other.path().string()}), 1,
                "orvel: " + other.path().string() + ": no .DS_Store file in this folder\n");
  expectFailure(orvel({"dsstore", "info", "/no/such/folder"}), 1,
                "orvel: /no/such/folder: No such file or directory\n");
}

TEST_F(DSStoreCommandTest, CommentsOfFiles) {
  const ProgramResult comments = orvel({"comment", root() + "/photo.jpg", root() + "/other.txt",
                                        root() + "/report.txt", root() + "/missing"});
  EXPECT_EQ(comments.exitCode, 1);
  EXPECT_EQ(comments.out, root() + "/photo.jpg: Our café\nby the river\n" + root() +
                              "/report.txt: quarterly figures\n");
  EXPECT_EQ(comments.err, "orvel: " + root() + "/missing: No such file or directory\n");
}

TEST_F(DSStoreCommandTest, SearchFindsFilesByTheirComments) {
  // The picture is no text: only its comment can match, and --comments lets it.
  expectSuccess(orvel({"search", "-j", "1", "river", root()}),
                root() + "/other.txt\n1:Nothing about a river here\n");
  expectSuccess(orvel({"search", "-j", "1", "--comments", "river", root()}),
                root() + "/other.txt\n1:Nothing about a river here\n" + root() +
                    "/photo.jpg\n0:Our café by the river\n");
  expectSuccess(orvel({"search", "--comments", "-c", "quarterly OR quarter", root()}),
                root() + "/report.txt:2\n");
  expectSuccess(orvel({"search", "--comments", "--json=files", "figures", root()}),
                "{\"kind\":\"text\",\"occurrences\":[{\"line\":0,\"range\":[0,17],"
                "\"string\":\"quarterly figures\"}],\"path\":\"" +
                    root() + "/report.txt\"}\n");
  expectSuccess(orvel({"search", "--comments", "-l", "café", root()}), root() + "/photo.jpg\n");
}

TEST(CommentCommandTest, TheDesktopCommentIsSetAndRead) {
  const testing::TempDir dir;
  const std::string file = dir.writeFile("notes.txt", "x").string();
  if (::setxattr(file.c_str(), "user.xdg.comment", "t", 1, 0) != 0) {
    GTEST_SKIP() << "no extended attributes here";
  }
  expectSuccess(orvel({"comment", "--set", "draft for Tuesday", file}), "");
  expectSuccess(orvel({"comment", file}), file + ": draft for Tuesday\n");
  expectSuccess(orvel({"search", "--comments", "-l", "tuesday", dir.path().string()}), file + "\n");
  expectSuccess(orvel({"comment", "--set", "", file}), "");
  expectSuccess(orvel({"comment", file}), "");
  const ProgramResult two = orvel({"comment", "--set", "x", file, file});
  EXPECT_EQ(two.exitCode, 2);
  // A comment is text: bytes that are no UTF-8 are refused, and the comment stays as it was.
  expectSuccess(orvel({"comment", "--set", "kept", file}), "");
  expectFailure(orvel({"comment", "--set", "caf\xE9", file}), 1,
                "orvel: --set: invalid UTF-8 at byte offset 3\n");
  expectSuccess(orvel({"comment", file}), file + ": kept\n");
}

}  // namespace
}  // namespace orvel
