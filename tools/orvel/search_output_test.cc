// What orvel search writes for terminals, editors and scripts: colour only around paths,
// numbers and the query's terms (stripped, the plain output), the editors' LINE:COLUMN forms,
// NUL after paths, and JSON lines whose offsets slice exactly the terms, in bytes and in
// UTF-16 units, on the byte shortcut and on the decoded path alike.
#include <algorithm>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "orvel/base/utf8.h"
#include "orvel/testing/temp_dir.h"

#include "tools/orvel/cli_test_support.h"

namespace orvel {
namespace {

// The text without its SGR sequences (ESC [ digits and semicolons m).
std::string withoutColour(const std::string& text) {
  std::string out;
  for (std::size_t k = 0; k < text.size(); ++k) {
    if (text[k] != '\x1b') {
      out += text[k];
      continue;
    }
    k = text.find('m', k);
    if (k == std::string::npos) break;
  }
  return out;
}

// The texts between each "on" sequence and the reset after it.
std::vector<std::string> coloured(const std::string& text, const std::string& on) {
  std::vector<std::string> pieces;
  for (std::size_t at = text.find(on); at != std::string::npos; at = text.find(on, at)) {
    at += on.size();
    const std::size_t end = text.find("\x1b[0m", at);
    pieces.push_back(text.substr(at, end - at));
  }
  return pieces;
}

std::string lower(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return text;
}

class SearchOutputTest : public ::testing::Test {
 protected:
  void SetUp() override {
    _a = _dir.writeFile("a.txt",
                        "Caf\xC3\xA9 \xF0\x9D\x84\x9E harbour wall and\nthe HARBOUR wall.\n"
                        "No match.\n\tHarbourmaster of the harbour, then quay and harbour.\n")
             .string();
    _root = _dir.path().string();
  }

  testing::TempDir _dir;
  std::string _a, _root;
};

TEST_F(SearchOutputTest, ColourIsOnlyAroundPathsNumbersAndTerms) {
  for (const std::vector<std::string>& form : {std::vector<std::string>{},
                                               {"--no-heading"},
                                               {"-c"},
                                               {"-l"},
                                               {"--vimgrep"},
                                               {"-N"},
                                               {"--snippet-chars", "12"},
                                               {"--column", "-0"}}) {
    std::vector<std::string> plain = {"search", "harbour OR quay", _root};
    plain.insert(plain.begin() + 1, form.begin(), form.end());
    std::vector<std::string> coloured = plain;
    coloured.insert(coloured.begin() + 1, "--color=always");
    const ProgramResult withColour = orvel(coloured);
    EXPECT_NE(withColour.out, orvel(plain).out);
    EXPECT_EQ(withoutColour(withColour.out), orvel(plain).out);
  }
  // Every coloured stretch inside a snippet is a term; each term is coloured.
  const std::string out = orvel({"search", "--color", "always", "harbour OR quay", _a}).out;
  std::vector<std::string> terms;
  for (const std::string& term : coloured(out, "\x1b[1;31m")) terms.push_back(lower(term));
  EXPECT_EQ(terms, (std::vector<std::string>{"harbour", "harbour", "harbour", "quay", "harbour"}));
  // Not on a pipe, nor with "never"; --colors changes them as ripgrep's syntax says.
  EXPECT_EQ(orvel({"search", "harbour", _a}).out.find('\x1b'), std::string::npos);
  EXPECT_EQ(orvel({"search", "--color", "never", "harbour", _a}).out.find('\x1b'),
            std::string::npos);
  const std::string blue = orvel({"search", "--color", "always", "--colors", "match:fg:blue",
                                  "--colors", "match:style:nobold", "--colors", "path:none",
                                  "--colors", "line:bg:10,20,30", "quay", _a})
                               .out;
  EXPECT_EQ(blue, _a +
                      "\n\x1b[32;48;2;10;20;30m4\x1b[0m:Harbourmaster of the harbour, then \x1b[34m"
                      "quay\x1b[0m and harbour\n");
  const ProgramResult wrong = orvel({"search", "--colors", "match:fg:mauve", "quay", _a});
  EXPECT_EQ(wrong.exitCode, 2);
  EXPECT_NE(wrong.err.find("unknown colour 'mauve'"), std::string::npos) << wrong.err;
}

TEST_F(SearchOutputTest, EditorsGetTheLineAndByteColumnOfEachSnippetsFirstTerm) {
  // The tab and the four-byte character count as the bytes they are.
  expectSuccess(orvel({"search", "--vimgrep", "harbour", _a}),
                _a + ":1:12:Caf\xC3\xA9 \xF0\x9D\x84\x9E harbour wall and\n" + _a +
                    ":2:5:the HARBOUR wall\n" + _a +
                    ":4:23:Harbourmaster of the harbour, then quay and harbour\n");
  expectSuccess(orvel({"search", "--column", "--no-heading", "quay OR wall", _a}),
                _a + ":1:20:Caf\xC3\xA9 \xF0\x9D\x84\x9E harbour wall and\n" + _a +
                    ":2:13:the HARBOUR wall\n" + _a +
                    ":4:37:Harbourmaster of the harbour, then quay and harbour\n");
}

TEST_F(SearchOutputTest, NullFollowsEveryPathPrinted) {
  expectSuccess(orvel({"search", "-l", "-0", "quay", _root}), _a + '\0');
  expectSuccess(orvel({"search", "-c", "--null", "quay", _root}), _a + '\0' + "1\n");
  expectSuccess(orvel({"search", "--no-heading", "-0", "quay", _a}),
                _a + '\0' + "4:Harbourmaster of the harbour, then quay and harbour\n");
  expectSuccess(orvel({"search", "--files", "-0", _root}), _a + '\0');
}

// The JSON lines of a search, each checked to be an object with a type.
std::vector<nlohmann::json> jsonLines(const std::string& out) {
  std::vector<nlohmann::json> lines;
  std::size_t start = 0;
  for (std::size_t end; (end = out.find('\n', start)) != std::string::npos; start = end + 1) {
    lines.push_back(nlohmann::json::parse(out.substr(start, end - start)));
    EXPECT_TRUE(lines.back().contains("type"));
  }
  EXPECT_EQ(start, out.size()) << "the last line is not ended";
  return lines;
}

TEST_F(SearchOutputTest, JsonOffsetsSliceExactlyTheTermsOnEveryPath) {
  const std::string ascii =
      _dir.writeFile("b.txt", "A quay.\nThe harbour and the quay.\n").string();
  for (const char* plain : {"", "1"}) {
    SCOPED_TRACE(*plain ? "decoded" : "shortcuts");
    ::setenv("ORVEL_SEARCH_PLAIN", plain, 1);
    if (!*plain) ::unsetenv("ORVEL_SEARCH_PLAIN");
    const ProgramResult result = orvel({"search", "--json", "-j", "1", "harbour OR quay", _root});
    ASSERT_EQ(result.exitCode, 0) << result.err;
    const std::vector<nlohmann::json> lines = jsonLines(result.out);
    std::vector<std::string> types;
    std::size_t submatches = 0;
    for (const nlohmann::json& line : lines) {
      types.push_back(line["type"]);
      if (line["type"] != "match") continue;
      const std::string text = line["data"]["lines"]["text"];
      const std::u16string units = utf8ToUtf16Lenient(text);
      for (const nlohmann::json& sub : line["data"]["submatches"]) {
        const std::string term = sub["match"]["text"];
        const std::size_t start = sub["start"], end = sub["end"];
        EXPECT_EQ(text.substr(start, end - start), term);
        const std::size_t start16 = sub["start_utf16"], end16 = sub["end_utf16"];
        EXPECT_EQ(utf16ToUtf8(units.substr(start16, end16 - start16)), term);
        EXPECT_TRUE(lower(term) == "harbour" || lower(term) == "quay") << term;
        ++submatches;
      }
    }
    EXPECT_EQ(types, (std::vector<std::string>{"begin", "match", "match", "match", "end", "begin",
                                               "match", "match", "end", "summary"}));
    EXPECT_EQ(submatches, 8u);
    EXPECT_EQ(lines.back()["data"]["stats"]["matches"], 8);
    EXPECT_EQ(lines.back()["data"]["stats"]["searches_with_match"], 2);
    EXPECT_EQ(lines[5]["data"]["path"]["text"], ascii);
  }
  ::unsetenv("ORVEL_SEARCH_PLAIN");
}

std::string fromBase64(const std::string& text) {
  const std::string digits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string bytes;
  unsigned bits = 0, count = 0;
  for (char c : text) {
    if (c == '=') break;
    bits = (bits << 6) | static_cast<unsigned>(digits.find(c));
    if ((count += 6) >= 8) bytes += static_cast<char>((bits >> (count -= 8)) & 0xFF);
  }
  return bytes;
}

TEST_F(SearchOutputTest, APathThatIsNoUtf8ComesBackAsItsBytes) {
  const std::string name = _root + "/caf\xE9.txt";
  _dir.writeFile("caf\xE9.txt", "quay\n");
  const ProgramResult result = orvel({"search", "--json", "quay", name});
  ASSERT_EQ(result.exitCode, 0) << result.err;
  const nlohmann::json begin = jsonLines(result.out).front();
  ASSERT_TRUE(begin["data"]["path"].contains("bytes"));
  EXPECT_EQ(fromBase64(begin["data"]["path"]["bytes"]), name);
}

// Lines written by hand are written as a JSON library writes them: each, read and written
// again, comes back byte for byte, whatever characters the snippet holds.
TEST_F(SearchOutputTest, JsonLinesAreWhatAJsonLibraryWrites) {
  std::string text = "quay";
  for (char c = 1; c < 0x20; ++c) {
    if (c != '\n' && c != '\r') text += std::string(" ") + c + "quay";
  }
  text += " \"quay\" \\quay/ caf\xC3\xA9 \xF0\x9F\x98\x80 quay\x7F \xE2\x80\xA8quay\n";
  const std::string file = _dir.writeFile("controls.txt", text).string();
  const ProgramResult result = orvel({"search", "--json", "quay", file});
  ASSERT_EQ(result.exitCode, 0) << result.err;
  std::size_t matches = 0;
  for (std::size_t at = 0, end; (end = result.out.find('\n', at)) != std::string::npos;
       at = end + 1) {
    const std::string line = result.out.substr(at, end - at);
    const nlohmann::ordered_json parsed = nlohmann::ordered_json::parse(line);
    if (parsed["type"] == "summary") continue;  // its times are written by the library
    EXPECT_EQ(parsed.dump(), line);
    matches += parsed["type"] == "match" ? 1 : 0;
  }
  EXPECT_GT(matches, 0u);
}

}  // namespace
}  // namespace orvel
