// Which language a text is written in, from stop words and scripts.
//
// A filter holds one stop-word list per language, named by a key (the two letters of the
// list's file name, such as "EN"). A text's words are scored: each Latin word (its first and
// last units fold to ASCII letters) counts for every language whose list holds it, and each
// word of another script counts for that script (Cyrillic "RU", Arabic "AR", Hebrew "HE",
// Greek "EL", any other "**"). A language wins only with at least four distinct stop words
// found, a script when it has more words than the winner so far and covers half the text;
// and only a clear winner is named: more than one word in forty, and three more than the
// runner-up. Otherwise the answer is "don't know", which is what a filter wants.
//
// Stop-word lists are folders of UTF-8 files named "StopWords" and the key, one word a
// line. This library ships lists for 16 languages written in the Latin script; Russian,
// Arabic, Hebrew and Greek are told by their scripts, and a list under one of those keys
// would take the place of the script (see setLanguage).
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace orvel {

class LanguageFilter {
 public:
  // Script codes: the language indexes and answers of the script languages.
  static constexpr std::size_t kCyrillic = 1000;     // "RU"
  static constexpr std::size_t kArabic = 1001;       // "AR"
  static constexpr std::size_t kHebrew = 1002;       // "HE"
  static constexpr std::size_t kGreek = 1003;        // "EL"
  static constexpr std::size_t kOtherScript = 1004;  // "**"

  // Not allowed: a filter needs its lists (fails the debug assertion "FALSE").
  LanguageFilter();
  // Every file of the folder named "StopWords*", keyed by the rest of its name (a key "Gen",
  // in any case, is skipped; an unreadable file is an empty list).
  LanguageFilter(const std::filesystem::path& directory, bool ignoreUmlauts);
  // One word list per key (the counts must agree: debug assertion "cnt==[keys count]").
  // Words under 3 units, or with "'" or ".", are dropped; with ignoreUmlauts accents are
  // folded away, from the words and later from the texts. "EN" goes first.
  LanguageFilter(const std::vector<std::u16string>& keys,
                 const std::vector<std::vector<std::u16string>>& stopWords, bool ignoreUmlauts);
  ~LanguageFilter();
  LanguageFilter(LanguageFilter&&) noexcept;
  LanguageFilter& operator=(LanguageFilter&&) noexcept;

  // The lists this library ships, from the first folder that holds them: the environment
  // variable ORVEL_STOP_WORDS_DIR, the installed data folder, the source tree's data folder
  // (for programs run from the build tree); nullptr when none does.
  [[nodiscard]] static std::unique_ptr<LanguageFilter> defaultFilter(bool ignoreUmlauts = true);
  [[nodiscard]] static std::optional<std::filesystem::path> defaultStopWordsDirectory();

  // Writes each list, sorted, one word a line, to "StopWords" + key in the folder (each file
  // replaced whole); true when every write succeeded.
  bool writeToDirectory(const std::filesystem::path& directory) const;

  [[nodiscard]] const std::vector<std::u16string>& languages() const;
  // The words of a language's list (as stored: folded with ignoreUmlauts), sorted.
  [[nodiscard]] std::vector<std::u16string> stopWordsOfLanguage(std::size_t index) const;
  [[nodiscard]] bool ignoreUmlauts() const;
  [[nodiscard]] const std::optional<std::u16string>& language() const;
  [[nodiscard]] std::size_t languageIndex() const;
  [[nodiscard]] std::size_t minWordLen() const;
  [[nodiscard]] std::size_t maxWordLen() const;
  // Text words shorter than this are not looked at; never below 3.
  void setMinWordLen(std::size_t length);

  // The language texts are filtered against: a two-letter code, upper-cased; its index among
  // the keys, else the script code of "RU", "AR", "HE", "EL" or "**", else none (NSNotFound).
  // Anything but two units clears it.
  void setLanguage(std::optional<std::u16string_view> code);

  // A two-letter code as 16 bits: the first letter upper-cased in the high byte, the second
  // in the low one; 0 for anything else.
  [[nodiscard]] std::uint16_t ISOLanguageCode() const;
  [[nodiscard]] static std::uint16_t ISOCodeForLanguage(std::optional<std::u16string_view> code);
  [[nodiscard]] std::uint16_t ISOLanguageCodeOfText(std::u16string_view text) const;

  // Whether the text is clearly in another language than the chosen one (false when none is
  // chosen or there are no lists).
  [[nodiscard]] bool filterText(std::u16string_view text) const;
  // The key of the text's language, or nullopt when it is not clear.
  [[nodiscard]] std::optional<std::u16string> languageOfText(std::u16string_view text) const;
  // How strongly the text matches its best stop-word language: (hits / words) divided by
  // the square root of (list size / 750), so that long lists are not favoured; 0 for none.
  [[nodiscard]] double stopWordRatioOfText(std::u16string_view text) const;

  // The stop-word tables, opaque to callers.
  struct Lists;

 private:
  using WordSink = std::function<void(std::u16string_view)>;
  // Builds the lists of the keys, "EN" first, with room for about expectedWords words;
  // `wordsOf(k, sink)` gives the sink each word of the k-th key's list.
  void build(const std::vector<std::u16string>& keys, std::size_t expectedWords,
             const std::function<void(std::size_t, const WordSink&)>& wordsOf);

  std::unique_ptr<Lists> _lists;
  std::optional<std::u16string> _language;
  std::size_t _languageIndex;
  bool _ignoreUmlauts = false;
  std::size_t _minWordLen = 3;
  std::size_t _maxWordLen = 0;
};

}  // namespace orvel
