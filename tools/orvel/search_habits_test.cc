// orvel search with the options grep-tool users type: case (-i, -s, -S, the last one given
// holding), -w, -q, -m, -N, --no-heading, -t with the kinds' other names, and standard input
// as "-" or as the pipe a search with no path reads.
#include <filesystem>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "orvel/records/compression.h"
#include "orvel/testing/temp_dir.h"

#include "tools/orvel/cli_test_support.h"

namespace orvel {
namespace {

class SearchHabitsTest : public ::testing::Test {
 protected:
  void SetUp() override {
    _a = _dir.writeFile("a.txt", "The Harbour is calm.\nA harbour wall. Another harbour.\n")
             .string();
    _b = _dir.writeFile("b.md", "# Harbour AND quay\n").string();
    _root = _dir.path().string();
  }

  testing::TempDir _dir;
  std::string _a, _b, _root;
};

TEST_F(SearchHabitsTest, TheLastCaseOptionHoldsAndSmartCaseLooksAtTermsOnly) {
  const std::string all = _a + "\n1:The Harbour is calm\n2:A harbour wall\n2:Another harbour\n";
  const std::string capital = _a + "\n1:The Harbour is calm\n";
  expectSuccess(orvel({"search", "harbour", _a}), all);
  expectSuccess(orvel({"search", "-i", "harbour", _a}), all);
  expectSuccess(orvel({"search", "-s", "Harbour", _a}), capital);
  expectSuccess(orvel({"search", "-s", "-i", "Harbour", _a}), all);
  expectFailure(orvel({"search", "-i", "--case-sensitive", "HARBOUR", _a}), 1, "");
  // Smart case: sensitive for a capital in a term, not for the capitals of an operator.
  expectSuccess(orvel({"search", "-S", "Harbour", _a}), capital);
  expectSuccess(orvel({"search", "-S", "harbour OR zebra", _a}), all);
  expectSuccess(orvel({"search", "-l", "--smart-case", "harbour AND quay", _b}), _b + "\n");
  expectFailure(orvel({"search", "-l", "-S", "Quay", _b}), 1, "");
  expectSuccess(orvel({"search", "-S", "-i", "Harbour", _a}), all);
  // Words always match whole: -w changes nothing.
  expectSuccess(orvel({"search", "-w", "harbour", _a}), all);
  expectFailure(orvel({"search", "-w", "harb", _a}), 1, "");
}

TEST_F(SearchHabitsTest, IgnoringAccentsFindsEverySpelling) {
  const std::string fr = _dir.writeFile("fr.txt", "La dignit\u00e9 humaine.\nDignite.\n").string();
  expectSuccess(orvel({"search", "dignite", fr}), fr + "\n2:Dignite\n");
  expectSuccess(orvel({"search", "-a", "dignite", fr}),
                fr + "\n1:La dignit\u00e9 humaine\n2:Dignite\n");
  expectSuccess(orvel({"search", "--ignore-accents", "-c", "DIGNIT\u00c9", fr}), fr + ":2\n");
  expectSuccess(orvel({"search", "-a", "-l", "dignite AND humaine", _root}), fr + "\n");
}

TEST_F(SearchHabitsTest, IgnoreFilesAreHonouredUnlessTurnedOff) {
  _dir.writeFile(".gitignore", "build/\n");
  _dir.writeFile("src/.orvelignore", "*.md\n");
  const std::string built = _dir.writeFile("build/out.txt", "harbour").string();
  const std::string notes = _dir.writeFile("src/notes.md", "harbour").string();
  const std::string code = _dir.writeFile("src/code.txt", "harbour").string();
  expectSuccess(orvel({"search", "-l", "-j", "1", "harbour", _root}),
                _a + "\n" + _b + "\n" + code + "\n");
  expectSuccess(orvel({"search", "--files", _root + "/src"}), code + "\n");
  expectSuccess(orvel({"search", "-l", "-j", "1", "--no-ignore", "harbour", _root}),
                _a + "\n" + _b + "\n" + built + "\n" + code + "\n" + notes + "\n");
  // A file named is searched whatever the rules say.
  expectSuccess(orvel({"search", "-l", "harbour", notes}), notes + "\n");
}

TEST_F(SearchHabitsTest, OutputFormsForEditorsAndScripts) {
  expectSuccess(orvel({"search", "--no-heading", "-j", "1", "harbour", _root}),
                _a + ":1:The Harbour is calm\n" + _a + ":2:A harbour wall\n" + _a +
                    ":2:Another harbour\n" + _b + ":1:Harbour AND quay\n");
  expectSuccess(orvel({"search", "-N", "quay", _b}), _b + "\nHarbour AND quay\n");
  expectSuccess(orvel({"search", "-N", "--no-heading", "quay", _b}), _b + ":Harbour AND quay\n");
  // -m keeps the first occurrences of each file, and -c counts up to it.
  expectSuccess(orvel({"search", "-m", "2", "harbour", _a}),
                _a + "\n1:The Harbour is calm\n2:A harbour wall\n");
  expectSuccess(orvel({"search", "-c", "--max-count", "1", "-j", "1", "harbour", _root}),
                _a + ":1\n" + _b + ":1\n");
  // -q prints nothing: 0 at a match, 1 for none, 2 for an error with no match.
  expectSuccess(orvel({"search", "-q", "harbour", _root}), "");
  expectFailure(orvel({"search", "--quiet", "zebra", _root}), 1, "");
  const ProgramResult missing = orvel({"search", "-q", "harbour", _root + "/nope"});
  EXPECT_EQ(missing.exitCode, 2);
  EXPECT_EQ(missing.out, "");
}

TEST_F(SearchHabitsTest, KindsGoByTheirOtherNamesToo) {
  expectSuccess(orvel({"search", "-l", "-t", "md", "harbour", _root}), _b + "\n");
  expectSuccess(orvel({"search", "-l", "--type", "txt", "harbour", _root}), _a + "\n");
  expectSuccess(orvel({"search", "-l", "-t", "markdown", "-t", "txt", "-j", "1", "harbour", _root}),
                _a + "\n" + _b + "\n");
  const ProgramResult unknown = orvel({"search", "-t", "pdf", "harbour", _root});
  EXPECT_EQ(unknown.exitCode, 2);
  EXPECT_NE(unknown.err.find("unknown kind 'pdf'"), std::string::npos) << unknown.err;
}

TEST_F(SearchHabitsTest, FilesDepthAndStats) {
  const std::string deep = _dir.writeFile("sub/deeper/c.txt", "harbour").string();
  const std::string shallow = _dir.writeFile("sub/d.txt", "harbour").string();
  // --files lists what a search would read, in its order, and searches nothing.
  expectSuccess(orvel({"search", "--files", _root}),
                _a + "\n" + _b + "\n" + shallow + "\n" + deep + "\n");
  expectSuccess(orvel({"search", "--files", "-t", "md", _root}), _b + "\n");
  expectSuccess(orvel({"search", "--files", "--max-depth", "1", _root}), _a + "\n" + _b + "\n");
  // --max-depth: 1 takes a folder's own files, 2 one level more, 0 nothing in it.
  expectSuccess(orvel({"search", "-l", "--max-depth", "2", "-j", "1", "harbour", _root}),
                _a + "\n" + _b + "\n" + shallow + "\n");
  expectFailure(orvel({"search", "-l", "--max-depth", "0", "harbour", _root}), 1, "");
  // --stats after the results.
  const ProgramResult stats = orvel({"search", "-c", "--stats", "-j", "1", "harbour", _root});
  EXPECT_EQ(stats.exitCode, 0);
  EXPECT_TRUE(stats.out.starts_with(_a + ":3\n" + _b + ":1\n" + shallow + ":1\n" + deep +
                                    ":1\nfiles searched: 4\nfiles matched: 4\noccurrences: 6\n"
                                    "bytes read: "))
      << stats.out;
  EXPECT_NE(stats.out.find("\nseconds: "), std::string::npos);
}

TEST_F(SearchHabitsTest, LinksAreFollowedWithLAndALoopIsNamedNotWalked) {
  namespace fs = std::filesystem;
  const std::string inner = _dir.writeFile("tree/deep/x.txt", "harbour").string();
  fs::create_directory_symlink("..", _dir.path() / "tree/deep/up");            // a loop
  fs::create_symlink("deep/x.txt", _dir.path() / "tree/linked.txt");           // a file
  fs::create_directory_symlink("deep", _dir.path() / "tree/shortcut");         // a folder
  fs::create_symlink(_dir.path() / "missing", _dir.path() / "tree/dead.txt");  // nowhere
  const std::string tree = _root + "/tree";
  // Not followed: only the file itself; --verbose names every link passed over.
  expectSuccess(orvel({"search", "-l", "harbour", tree}), inner + "\n");
  const ProgramResult verbose = orvel({"search", "-l", "--verbose", "harbour", tree});
  EXPECT_EQ(verbose.exitCode, 0);
  for (const char* link : {"/dead.txt", "/deep/up", "/linked.txt", "/shortcut"}) {
    EXPECT_NE(verbose.err.find(tree + link + ": skipped: a symbolic link, not followed\n"),
              std::string::npos)
        << link << "\n"
        << verbose.err;
  }
  // Followed: the linked file and folder are searched; the loop is named, wherever the walk
  // meets it (under the linked folder too), and not walked.
  const ProgramResult followed = orvel({"search", "-l", "-L", "-j", "1", "harbour", tree});
  EXPECT_EQ(followed.exitCode, 2);
  EXPECT_EQ(followed.out, inner + "\n" + tree + "/linked.txt\n" + tree + "/shortcut/x.txt\n");
  const std::string loop =
      ": a symbolic link to a folder already on the path (a loop): not "
      "followed\n";
  EXPECT_EQ(followed.err,
            "orvel: " + tree + "/deep/up" + loop + "orvel: " + tree + "/shortcut/up" + loop);
}

TEST_F(SearchHabitsTest, GzipFilesAreSearchedWithZAndABombIsRefused) {
  const auto gzip = [](const std::string& text) {
    const auto packed = dataByGzippingBytes(text.data(), text.size());
    return std::string(packed->begin(), packed->end());
  };
  const std::string notes = _dir.writeFile("z/notes.md.gz", gzip("# The harbour\n")).string();
  // 20 MB of one byte pack into a few kilobytes: far past 200 times.
  const std::string bomb =
      _dir.writeFile("z/bomb.txt.gz", gzip(std::string(20 << 20, 'a'))).string();
  const std::string z = _root + "/z";
  // Without -z a gzip file is binary, passed over.
  expectFailure(orvel({"search", "-l", "harbour", z}), 1, "");
  const ProgramResult found = orvel({"search", "-z", "--json=files", "harbour", z});
  EXPECT_EQ(found.exitCode, 2);
  EXPECT_EQ(found.out,
            "{\"kind\":\"markdown\",\"occurrences\":[{\"line\":1,\"range\":[2,11],"
            "\"string\":\"The harbour\"}],\"path\":\"" +
                notes + "\"}\n");
  EXPECT_EQ(found.err, "orvel: " + bomb +
                           ": a gzip file that inflates past 200 times its size or 1 GiB: not "
                           "searched\n");
  expectSuccess(orvel({"search", "-z", "-l", "-t", "md", "harbour", notes}), notes + "\n");
}

TEST_F(SearchHabitsTest, GlobsTakeAndLeaveOutFilesAndFolders) {
  const std::string g = _root + "/g";
  const std::string md = _dir.writeFile("g/src/a.md", "harbour").string();
  const std::string txt = _dir.writeFile("g/src/b.txt", "harbour").string();
  const std::string built = _dir.writeFile("g/build/c.md", "harbour").string();
  _dir.writeFile("g/src/d.textbundle/text.md", "harbour");
  const auto listed = [&](std::vector<std::string> globs) {
    std::vector<std::string> arguments = {"search", "-l", "-j", "1"};
    for (const std::string& glob : globs) arguments.insert(arguments.end(), {"-g", glob});
    arguments.insert(arguments.end(), {"harbour", g});
    return orvel(arguments).out;
  };
  // A name glob, anywhere below; a .textbundle folder is a document, matched by its name.
  EXPECT_EQ(listed({"*.md"}), built + "\n" + md + "\n");
  EXPECT_EQ(listed({"*.textbundle", "*.txt"}), txt + "\n" + g + "/src/d.textbundle\n");
  // "!" leaves out a folder (not walked into) or files; the last word is with the excluders.
  EXPECT_EQ(listed({"!build"}), md + "\n" + txt + "\n" + g + "/src/d.textbundle\n");
  EXPECT_EQ(listed({"*.md", "!build"}), md + "\n");
  // A glob with a / matches the path below the folder given.
  EXPECT_EQ(listed({"src/*", "!*.txt"}), md + "\n" + g + "/src/d.textbundle\n");
  EXPECT_EQ(listed({"[bc]*/*.md"}), built + "\n");
  // Paths given are always taken.
  expectSuccess(orvel({"search", "-l", "-g", "*.md", "harbour", txt}), txt + "\n");
}

TEST_F(SearchHabitsTest, StandardInputIsSearchedAsADashOrAPipe) {
  const std::string text = "Calm sea.\nThe ferry leaves the harbour.\n";
  expectSuccess(orvel({"search", "harbour", "-"}, text),
                "<stdin>\n2:The ferry leaves the harbour\n");
  // With no path, a pipe on standard input is what is searched, as grep tools do.
  expectSuccess(orvel({"search", "-c", "harbour"}, text), "<stdin>:1\n");
  expectFailure(orvel({"search", "harbour"}, "nothing here\n"), 1, "");
  // In its place among the paths; a page on standard input is told by its first bytes.
  expectSuccess(orvel({"search", "-l", "calm", _a, "-"}, "<html><body>calm</body></html>"),
                _a + "\n<stdin>\n");
  expectSuccess(orvel({"search", "--json=files", "ferry", "-"}, text),
                "{\"kind\":\"text\",\"occurrences\":[{\"line\":2,\"range\":[10,28],"
                "\"string\":\"The ferry leaves the harbour\"}],\"path\":\"<stdin>\"}\n");
  // Binary input is refused as a named file is, by its first bytes.
  expectFailure(orvel({"search", "harbour", "-"}, std::string("harbour\0", 8)), 2,
                "orvel: <stdin>: not searched: binary (holds NUL bytes)\n");
  const ProgramResult both = orvel({"search", "--files-from", "-", "harbour", "-"}, _a + "\n");
  EXPECT_EQ(both.exitCode, 2);
  EXPECT_NE(both.err.find("standard input cannot be both"), std::string::npos) << both.err;
}

}  // namespace
}  // namespace orvel
