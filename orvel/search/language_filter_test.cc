#include "orvel/search/language_filter.h"

#include <filesystem>
#include <fstream>
#include <map>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "orvel/base/types.h"
#include "orvel/base/utf8.h"
#include "orvel/testing/files.h"
#include "orvel/testing/temp_dir.h"

namespace orvel {
namespace {

using ::testing::ElementsAre;
using Words = std::vector<std::u16string>;

// Three made-up languages with four-letter stop words, so that texts can be built to score
// exactly: "aaap" to "aaay" are AA's, "bbbp"... BB's, "cccp"... CC's.
LanguageFilter threeLanguages() {
  const auto words = [](char16_t letter) {
    Words list;
    for (char16_t last = u'p'; last <= u'y'; ++last)
      list.push_back(std::u16string(3, letter) + last);
    return list;
  };
  return LanguageFilter({u"AA", u"BB", u"CC"}, {words(u'a'), words(u'b'), words(u'c')}, false);
}

// n hits of a language, cycling over four distinct words (fewer with `distinct`).
std::u16string hits(char16_t letter, int n, int distinct = 4) {
  std::u16string text;
  for (int k = 0; k < n; ++k) {
    text += std::u16string(3, letter) + static_cast<char16_t>(u'p' + k % distinct) + u' ';
  }
  return text;
}

std::optional<std::string> languageOf(const LanguageFilter& filter, std::u16string_view text) {
  const auto key = filter.languageOfText(text);
  return key ? std::optional(utf16ToUtf8(*key)) : std::nullopt;
}

TEST(LanguageFilterLoadingTest, KeysWordsAndLengthsFromAFolder) {
  const testing::TempDir dir;
  dir.writeFile("StopWordsde",
                "und\nder die\ndas's\nz.B.\nso\n\xC3\xBC"
                "ber\n");
  dir.writeFile("StopWordsEN", "the and\nwhich\n");
  dir.writeFile("StopWordsGen", "general words\n");
  dir.writeFile("StopWordsgEN", "general words\n");
  dir.writeFile("Readme", "not a list\n");
  std::filesystem::create_directories(dir.path() / "StopWordsXX");  // cannot be read: empty
  const LanguageFilter filter(dir.path(), false);
  EXPECT_THAT(filter.languages(), ElementsAre(u"EN", u"XX", u"de"));  // EN first, then by name
  // Words as the default separation cuts them: "das's" gives "das", "z.B." nothing.
  EXPECT_THAT(filter.stopWordsOfLanguage(2),
              ElementsAre(u"das", u"der", u"die", u"und", u"\u00fcber"));
  EXPECT_THAT(filter.stopWordsOfLanguage(1), ElementsAre());
  EXPECT_EQ(filter.maxWordLen(), 5u);  // "which"
  EXPECT_EQ(filter.minWordLen(), 3u);
  const LanguageFilter folded(dir.path(), true);
  EXPECT_THAT(folded.stopWordsOfLanguage(2), ElementsAre(u"das", u"der", u"die", u"uber", u"und"));
  EXPECT_TRUE(folded.ignoreUmlauts());
}

TEST(LanguageFilterLoadingTest, WrittenListsReadBackTheSame) {
  const LanguageFilter filter = threeLanguages();
  const testing::TempDir dir;
  ASSERT_TRUE(filter.writeToDirectory(dir.path()));
  EXPECT_EQ(testing::fileBytes(dir.path() / "StopWordsBB").substr(0, 10), "bbbp\nbbbq\n");
  const LanguageFilter again(dir.path(), false);
  EXPECT_EQ(again.languages(), filter.languages());
  for (std::size_t k = 0; k < 3; ++k) {
    EXPECT_EQ(again.stopWordsOfLanguage(k), filter.stopWordsOfLanguage(k));
  }
  EXPECT_FALSE(filter.writeToDirectory(dir.path() / "missing" / "folder"));
  EXPECT_TRUE(LanguageFilter(Words{}, {}, false).writeToDirectory(dir.path() / "missing"));
}

TEST(LanguageFilterDeathTest, AFilterNeedsItsLists) {
  EXPECT_DEATH(LanguageFilter(), "Classes/LanguageFilter:114: Failed debug assertion `FALSE'");
  EXPECT_DEATH(LanguageFilter({u"EN"}, {}, false),
               "Classes/LanguageFilter:148: Failed debug assertion `cnt==\\[keys count\\]'");
}

TEST(LanguageFilterSettingsTest, LanguagesScriptsAndCodes) {
  LanguageFilter filter = threeLanguages();
  filter.setMinWordLen(1);
  EXPECT_EQ(filter.minWordLen(), 3u);
  filter.setMinWordLen(5);
  EXPECT_EQ(filter.minWordLen(), 5u);
  filter.setLanguage(u"bb");
  EXPECT_EQ(filter.language(), u"BB");
  EXPECT_EQ(filter.languageIndex(), 1u);
  EXPECT_EQ(filter.ISOLanguageCode(), 0x4242);
  const std::map<std::u16string, std::size_t> scripts = {
      {u"ru", LanguageFilter::kCyrillic},    {u"Ar", LanguageFilter::kArabic},
      {u"HE", LanguageFilter::kHebrew},      {u"el", LanguageFilter::kGreek},
      {u"**", LanguageFilter::kOtherScript}, {u"QQ", NSNotFound}};
  for (const auto& [code, index] : scripts) {
    filter.setLanguage(code);
    EXPECT_EQ(filter.languageIndex(), index) << utf16ToUtf8(code);
  }
  filter.setLanguage(u"qq");
  EXPECT_EQ(filter.language(), u"QQ");
  filter.setLanguage(u"BBB");
  EXPECT_EQ(filter.language(), std::nullopt);
  EXPECT_EQ(filter.languageIndex(), NSNotFound);
  EXPECT_EQ(filter.ISOLanguageCode(), 0);
  filter.setLanguage(std::nullopt);
  EXPECT_EQ(filter.languageIndex(), NSNotFound);
  // A list under a script's key takes the place of the script.
  LanguageFilter withRussian({u"RU"}, {{u"\u0438\u043b\u0438"}}, false);
  withRussian.setLanguage(u"ru");
  EXPECT_EQ(withRussian.languageIndex(), 0u);
  EXPECT_EQ(LanguageFilter::ISOCodeForLanguage(u"en"), 0x454E);
  EXPECT_EQ(LanguageFilter::ISOCodeForLanguage(u"e"), 0);
  EXPECT_EQ(LanguageFilter::ISOCodeForLanguage(std::nullopt), 0);
  EXPECT_EQ(threeLanguages().ISOLanguageCodeOfText(hits(u'c', 8)), 0x4343);
}

TEST(LanguageFilterScoringTest, AWinnerNeedsFourDistinctStopWords) {
  const LanguageFilter filter = threeLanguages();
  EXPECT_EQ(languageOf(filter, hits(u'a', 12, 3)), std::nullopt);  // three distinct words
  EXPECT_EQ(languageOf(filter, hits(u'a', 4)), "AA");
  EXPECT_EQ(languageOf(filter, hits(u'a', 3)), std::nullopt);
  EXPECT_EQ(filter.stopWordRatioOfText(hits(u'a', 12, 3)), 0.0);
  // Words under the minimum length and longer than the longest stop word are not looked at.
  EXPECT_EQ(languageOf(filter, u"aa aa aa aa " + hits(u'a', 3) + u"aaapx aaaqx"), std::nullopt);
  EXPECT_EQ(languageOf(filter, u"AAAP Aaaq aAar aaAs"), "AA");  // letter case is folded
}

TEST(LanguageFilterScoringTest, TheRunnerUpIsTheBestThatWasReplaced) {
  const LanguageFilter filter = threeLanguages();
  // AA 5, then BB 9 replaces it (runner-up 5), CC 7 lies between and is not counted.
  EXPECT_EQ(languageOf(filter, hits(u'a', 5) + hits(u'b', 9) + hits(u'c', 7)), "BB");
  // AA 5, BB 7 (runner-up 5): a margin of 2 decides nothing.
  EXPECT_EQ(languageOf(filter, hits(u'a', 5) + hits(u'b', 7)), std::nullopt);
  // AA 7 first, BB 5 never replaces it, so there is no runner-up at all.
  EXPECT_EQ(languageOf(filter, hits(u'a', 7) + hits(u'b', 5)), "AA");
  // A tie keeps the earlier language.
  EXPECT_EQ(languageOf(filter, hits(u'b', 6) + hits(u'c', 6)), "BB");
}

TEST(LanguageFilterScoringTest, OneWordInFortyIsTheLeast) {
  const LanguageFilter filter = threeLanguages();
  std::u16string filler;
  for (int k = 0; k < 196; ++k) filler += u"word ";
  EXPECT_EQ(languageOf(filter, hits(u'a', 5) + filler), std::nullopt);  // 5 of 201: not > 5
  EXPECT_EQ(languageOf(filter, hits(u'a', 6) + filler), "AA");          // 6 of 202
}

TEST(LanguageFilterScoringTest, ScriptsChallengeInTheirOrder) {
  const LanguageFilter filter = threeLanguages();
  EXPECT_EQ(languageOf(filter,
                       u"\u041f\u0440\u0438\u0432\u0435\u0442 \u043c\u0438\u0440 "
                       u"\u0432\u0441\u0435\u043c"),
            "RU");
  EXPECT_EQ(languageOf(filter, u"\u03b1\u03b2\u03b3 \u03b4\u03b5\u03b6 \u1f00\u03b2\u03b3"), "EL");
  EXPECT_EQ(languageOf(filter, u"\u05d0\u05d1\u05d2 \u05d3\u05d4\u05d5 \u05d6\u05d7\u05d8"), "HE");
  EXPECT_EQ(languageOf(filter, u"\u0627\u0628\u062a \u062b\u062c\u062d \u0750\u0628\u062a"), "AR");
  EXPECT_EQ(languageOf(filter, u"\u65e5\u672c\u8a9e \u6587\u7ae0\u3067\u3059 \u3072\u3089\u304c"),
            "**");
  // A script must outnumber the stop words and cover half of the letter words or units.
  const std::u16string cyrillic = u"\u0434\u043e\u043c ";
  EXPECT_EQ(languageOf(filter, hits(u'a', 4) + cyrillic + cyrillic + cyrillic), "AA");
  std::u16string many;
  for (int k = 0; k < 8; ++k) many += cyrillic;
  EXPECT_EQ(languageOf(filter, hits(u'a', 4) + many), "RU");
  // Words that start or end with no letter count for no language and no script.
  EXPECT_EQ(languageOf(filter, u"aaap1 1aaaq aaar2 3aaas \u0434\u043e\u043c1"), std::nullopt);
}

TEST(LanguageFilterFilteringTest, ClearlyAnotherLanguage) {
  LanguageFilter filter = threeLanguages();
  EXPECT_FALSE(filter.filterText(hits(u'b', 8)));  // no language chosen
  filter.setLanguage(u"AA");
  EXPECT_FALSE(filter.filterText(hits(u'a', 8)));
  EXPECT_TRUE(filter.filterText(hits(u'b', 8)));
  EXPECT_FALSE(filter.filterText(hits(u'a', 4) + hits(u'b', 6)));  // not by more than 2
  EXPECT_TRUE(filter.filterText(hits(u'a', 4) + hits(u'b', 7)));
  EXPECT_FALSE(filter.filterText(u"unknown words only here"));
  // Russian text against a chosen language: the Cyrillic words must outnumber its hits by 3.
  std::u16string russian;
  for (int k = 0; k < 5; ++k) russian += u"\u0434\u043e\u043c\u0430 ";
  EXPECT_TRUE(filter.filterText(russian));
  EXPECT_FALSE(filter.filterText(russian + hits(u'a', 4)));
  filter.setLanguage(u"RU");
  EXPECT_FALSE(filter.filterText(russian));
  EXPECT_TRUE(filter.filterText(hits(u'b', 8)));
  EXPECT_FALSE(LanguageFilter(Words{}, {}, false).filterText(russian));
}

TEST(LanguageFilterRatioTest, HitsPerWordOverTheRootOfTheListSize) {
  // 4 hits in 5 words with a list of 750 words: 0.8; of 3,000 words: 0.4.
  const auto listOf = [](std::size_t size) {
    Words words = {u"alpha", u"beta", u"gamma", u"delta"};
    for (std::size_t k = words.size(); k < size; ++k)
      words.push_back(u"w" + utf8ToUtf16Lenient(std::to_string(100000 + k)));
    return words;
  };
  const std::u16string text = u"alpha beta gamma delta other";
  EXPECT_DOUBLE_EQ(LanguageFilter({u"XX"}, {listOf(750)}, false).stopWordRatioOfText(text), 0.8);
  EXPECT_DOUBLE_EQ(LanguageFilter({u"XX"}, {listOf(3000)}, false).stopWordRatioOfText(text), 0.4);
  EXPECT_EQ(LanguageFilter(Words{}, {}, false).stopWordRatioOfText(text), 0.0);
}

TEST(LanguageFilterRatioTest, AccentsFoldOnlyWhenAsked) {
  const LanguageFilter plain({u"DE"}, {{u"\u00fcber", u"f\u00fcr", u"und", u"oder"}}, false);
  const LanguageFilter folded({u"DE"}, {{u"\u00fcber", u"f\u00fcr", u"und", u"oder"}}, true);
  const std::u16string text = u"\u00dcber und oder f\u00fcr";
  EXPECT_EQ(languageOf(plain, text), "DE");
  EXPECT_EQ(languageOf(folded, text), "DE");
  EXPECT_EQ(languageOf(plain, u"uber und oder fur"), std::nullopt);
  EXPECT_EQ(languageOf(folded, u"uber und oder fur"), "DE");
}

// The shipped lists on one paragraph of each declaration beside the project.
TEST(ShippedStopWordsTest, OneParagraphOfEachLanguage) {
  const std::filesystem::path udhr = ORVEL_SHARED_TESTDATA "/lang/udhr";
  if (!std::filesystem::exists(udhr)) GTEST_SKIP() << "no declarations beside the project";
  const auto filter = LanguageFilter::defaultFilter();
  ASSERT_NE(filter, nullptr);
  EXPECT_EQ(filter->languages().front(), u"EN");
  const std::map<std::string, std::string> keys = {
      {"ar", "AR"}, {"cs", "CS"}, {"da", "DA"}, {"de", "DE"}, {"el", "EL"},
      {"en", "EN"}, {"es", "ES"}, {"fi", "FI"}, {"fr", "FR"}, {"he", "HE"},
      {"hu", "HU"}, {"it", "IT"}, {"nb", "NO"}, {"nl", "NL"}, {"pl", "PL"},
      {"pt", "PT"}, {"ro", "RO"}, {"ru", "RU"}, {"sv", "SV"}, {"tr", "TR"}};
  for (const auto& path : testing::regularFilesIn({udhr}, false, ".txt")) {
    const std::string name = path.filename().string();
    const auto key = keys.find(name.substr(0, 2));
    if (key == keys.end() || name[2] != '_') continue;
    // The longest paragraph: the one that proclaims the declaration.
    std::ifstream in(path);
    std::string line;
    for (std::string next; std::getline(in, next);) {
      if (next.size() > line.size()) line = next;
    }
    EXPECT_EQ(languageOf(*filter, utf8ToUtf16Lenient(line)), key->second) << name << ": " << line;
  }
}

}  // namespace
}  // namespace orvel
