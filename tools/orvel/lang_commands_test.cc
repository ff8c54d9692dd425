// orvel lang and orvel search --lang, run as a user runs them.
#include <filesystem>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "orvel/testing/files.h"
#include "orvel/testing/temp_dir.h"

#include "tools/orvel/cli_test_support.h"

namespace orvel {
namespace {

const std::string kEnglish =
    "All human beings are born free and equal in dignity and rights. They are endowed with "
    "reason and conscience and should act towards one another in a spirit of brotherhood.";
const std::string kGerman =
    "Alle Menschen sind frei und gleich an W\xC3\xBCrde und Rechten geboren. Sie sind mit "
    "Vernunft und Gewissen begabt und sollen einander im Geist der Br\xC3\xBC"
    "derlichkeit "
    "begegnen.";
const std::string kRussian =
    "\xD0\x92\xD1\x81\xD0\xB5 \xD0\xBB\xD1\x8E\xD0\xB4\xD0\xB8 \xD1\x80\xD0\xBE\xD0\xB6\xD0\xB4"
    "\xD0\xB0\xD1\x8E\xD1\x82\xD1\x81\xD1\x8F \xD1\x81\xD0\xB2\xD0\xBE\xD0\xB1\xD0\xBE\xD0\xB4"
    "\xD0\xBD\xD1\x8B\xD0\xBC\xD0\xB8 \xD0\xB8 \xD1\x80\xD0\xB0\xD0\xB2\xD0\xBD\xD1\x8B\xD0\xBC"
    "\xD0\xB8";

class LangCommandTest : public ::testing::Test {
 protected:
  void SetUp() override {
    _dir.writeFile("en.txt", kEnglish + "\n");
    _dir.writeFile("de.txt", kGerman + "\n");
    _dir.writeFile("ru.txt", kRussian + "\n");
    _dir.writeFile("mixed.txt", kEnglish + "\n\nok\n" + kGerman + "\n");
  }
  std::string file(const char* name) const { return (_dir.path() / name).string(); }
  testing::TempDir _dir;
};

TEST_F(LangCommandTest, FilesAndParagraphs) {
  expectSuccess(orvel({"lang", file("en.txt"), file("de.txt"), file("ru.txt")}),
                file("en.txt") + ": EN\n" + file("de.txt") + ": DE\n" + file("ru.txt") + ": RU\n");
  expectSuccess(orvel({"lang", "--paragraphs", file("mixed.txt")}),
                file("mixed.txt") + ":1: EN\n" + file("mixed.txt") + ":3: -\n" + file("mixed.txt") +
                    ":4: DE\n");
  expectSuccess(orvel({"lang"}, "too short"), "stdin: -\n");
  const ProgramResult ratio = orvel({"lang", "--ratio"}, kEnglish);
  EXPECT_EQ(ratio.out.substr(0, 10), "stdin: EN ");
  EXPECT_GT(std::stod(ratio.out.substr(10)), 0.1);
  expectFailure(orvel({"lang", file("missing.txt")}), 1,
                "orvel: " + file("missing.txt") + ": No such file or directory\n");
}

TEST_F(LangCommandTest, FilteringAndSearching) {
  expectSuccess(orvel({"lang", "--filter", "en", file("en.txt"), file("de.txt"), file("ru.txt")}),
                file("de.txt") + "\n" + file("ru.txt") + "\n");
  const ProgramResult none = orvel({"lang", "--filter", "DE", file("de.txt")});
  EXPECT_EQ(none.exitCode, 1);
  EXPECT_EQ(none.out, "");
  // Searching in one language: the German file mentions no "free", the English one does.
  const std::string root = _dir.path().string();
  expectSuccess(orvel({"search", "-l", "-j", "1", "--lang", "de", "frei OR free", root}),
                root + "/de.txt\n" + root + "/mixed.txt\n");
  expectSuccess(orvel({"search", "-l", "-j", "1", "--lang", "EN", "frei OR free", root}),
                root + "/en.txt\n" + root + "/mixed.txt\n");
  // A language no list or script names filters nothing: refused, with the keys there are.
  const ProgramResult unknown = orvel({"search", "--lang", "QQ", "free", root});
  EXPECT_EQ(unknown.exitCode, 2);
  EXPECT_TRUE(unknown.err.starts_with("orvel: QQ: unknown language for --lang (known: "))
      << unknown.err;
  EXPECT_NE(unknown.err.find(", and by their scripts RU, AR, HE, EL)\n"), std::string::npos);
  const ProgramResult filter = orvel({"lang", "--filter", "QQ", file("en.txt")});
  EXPECT_EQ(filter.exitCode, 1);
  EXPECT_TRUE(filter.err.starts_with("orvel: QQ: unknown language for --filter (known: "))
      << filter.err;
}

TEST_F(LangCommandTest, ListsOfOnesOwn) {
  const testing::TempDir lists;
  lists.writeFile("StopWordsXX", "alle\nsind\nund\nmit\nsie\n");
  expectSuccess(orvel({"lang", "--stop-words", lists.path().string(), file("de.txt")}),
                file("de.txt") + ": XX\n");
  expectFailure(orvel({"lang", "--stop-words", file("none")}), 1,
                "orvel: " + file("none") + ": no such folder of stop-word lists\n");
  const ProgramResult empty = orvel({"lang", "--stop-words", _dir.path().string()}, kGerman);
  EXPECT_EQ(empty.exitCode, 1);
  EXPECT_EQ(empty.err, "orvel: " + _dir.path().string() + ": no StopWords* files\n");
}

// One real paragraph per language (the first of ten words or more of its declaration of human
// rights, beside the project) is named right by the shipped lists, accents kept and folded
// (short lists leave six of the sixteen Latin-script ones undecided).
TEST(LangShippedListsTest, ARealParagraphOfEachLanguage) {
  const std::filesystem::path udhr = ORVEL_SHARED_TESTDATA "/lang/udhr";
  if (!std::filesystem::exists(udhr)) GTEST_SKIP() << udhr << " is missing";
  const std::map<std::string, std::string> keys = {
      {"cs", "CS"}, {"da", "DA"}, {"de", "DE"}, {"en", "EN"}, {"es", "ES"},
      {"fi", "FI"}, {"fr", "FR"}, {"hu", "HU"}, {"it", "IT"}, {"nb", "NO"},
      {"nl", "NL"}, {"pl", "PL"}, {"pt", "PT"}, {"ro", "RO"}, {"sv", "SV"},
      {"tr", "TR"}, {"ru", "RU"}, {"el", "EL"}, {"he", "HE"}, {"ar", "AR"}};
  testing::TempDir dir;
  std::vector<std::string> arguments = {"lang"};
  std::string expected;
  for (const auto& path : testing::regularFilesIn({udhr}, false, ".txt")) {
    const std::string name = path.filename().string();
    const auto key = keys.find(name.substr(0, 2));
    if (key == keys.end() || name[2] != '_') continue;
    std::istringstream lines(testing::fileBytes(path));
    std::string paragraph;
    for (std::string line; paragraph.empty() && std::getline(lines, line);) {
      std::istringstream words(line);
      std::size_t count = 0;
      for (std::string word; words >> word;) ++count;
      if (count >= 10) paragraph = line;
    }
    const std::string file = dir.writeFile(key->first + ".txt", paragraph + "\n").string();
    arguments.push_back(file);
    expected += file + ": " + key->second + "\n";
  }
  ASSERT_EQ(arguments.size(), keys.size() + 1);
  expectSuccess(orvel(arguments), expected);
  arguments.insert(arguments.begin() + 1, "--ignore-umlauts");
  expectSuccess(orvel(arguments), expected);
}

}  // namespace
}  // namespace orvel
