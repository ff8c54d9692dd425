#include "orvel/search/language_filter.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <fstream>
#include <new>
#include <unordered_map>

#include "orvel/base/assert.h"
#include "orvel/base/file_bytes.h"
#include "orvel/base/types.h"
#include "orvel/base/utf8.h"
#include "orvel/search/separation.h"
#include "orvel/text/character_sets.h"
#include "orvel/text/conversion_tables.h"

namespace orvel {
namespace {

constexpr std::size_t kSamples = 4;  // distinct stop words a language needs to win
constexpr std::size_t kScripts = 5;  // in challenger order: other, Cyrillic, Hebrew, Greek, Arabic
constexpr std::size_t kScriptCodes[kScripts] = {LanguageFilter::kOtherScript,
                                                LanguageFilter::kCyrillic, LanguageFilter::kHebrew,
                                                LanguageFilter::kGreek, LanguageFilter::kArabic};
constexpr std::u16string_view kScriptKeys[kScripts] = {u"**", u"RU", u"HE", u"EL", u"AR"};

// The script slot (index into kScriptCodes) of a non-Latin word by its first unit.
std::size_t scriptSlotOf(unichar c) {
  if (c >= 0x0400 && c <= 0x04FF) return 1;
  if (c >= 0x0590 && c <= 0x05FF) return 2;
  if ((c >= 0x0370 && c <= 0x03FF) || (c >= 0x1F00 && c <= 0x1FFF)) return 3;
  if ((c >= 0x0600 && c <= 0x06FF) || (c >= 0x0750 && c <= 0x077F)) return 4;
  return 0;
}

std::uint64_t hashOf(const unichar* units, std::size_t length) {
  std::uint64_t hash = 14695981039346656037ull;  // FNV-1a
  for (std::size_t k = 0; k < length; ++k) hash = (hash ^ units[k]) * 1099511628211ull;
  return hash;
}

}  // namespace

// The stop words: per language a sorted list (for writing and sizes), and one open-addressed
// table from a word to the languages whose lists hold it, so that scoring a word costs one
// probe whatever the number of languages.
struct LanguageFilter::Lists {
  struct Slot {
    std::uint32_t wordOffset = 0;
    std::uint32_t wordLength = 0;  // 0: an empty slot
    std::uint32_t languagesOffset = 0;
    std::uint32_t languagesCount = 0;
  };

  std::vector<std::u16string> keys;
  std::vector<std::vector<std::u16string>> words;  // per key, sorted, unique
  std::vector<unichar> wordUnits;
  std::vector<std::uint16_t> languageIndexes;
  std::vector<Slot> slots;
  std::uint64_t mask = 0;

  void buildTable() {
    std::unordered_map<std::u16string, std::vector<std::uint16_t>> languagesOfWord;
    for (std::size_t language = 0; language < words.size(); ++language) {
      for (const std::u16string& word : words[language]) {
        languagesOfWord[word].push_back(static_cast<std::uint16_t>(language));
      }
    }
    std::size_t capacity = 16;
    while (capacity < 2 * languagesOfWord.size()) capacity *= 2;
    slots.assign(capacity, Slot{});
    mask = capacity - 1;
    for (const auto& [word, languages] : languagesOfWord) {
      std::uint64_t at = hashOf(word.data(), word.size()) & mask;
      while (slots[at].wordLength != 0) at = (at + 1) & mask;
      slots[at] = Slot{static_cast<std::uint32_t>(wordUnits.size()),
                       static_cast<std::uint32_t>(word.size()),
                       static_cast<std::uint32_t>(languageIndexes.size()),
                       static_cast<std::uint32_t>(languages.size())};
      wordUnits.insert(wordUnits.end(), word.begin(), word.end());
      languageIndexes.insert(languageIndexes.end(), languages.begin(), languages.end());
    }
  }

  // The slot of a word, or null.
  [[nodiscard]] const Slot* find(const unichar* units, std::size_t length) const {
    std::uint64_t at = hashOf(units, length) & mask;
    for (;; at = (at + 1) & mask) {
      const Slot& slot = slots[at];
      if (slot.wordLength == 0) return nullptr;
      if (slot.wordLength == length &&
          std::equal(units, units + length, wordUnits.data() + slot.wordOffset)) {
        return &slot;
      }
    }
  }
};

namespace {

// What one text's words add up to.
struct Score {
  const LanguageFilter::Lists* lists = nullptr;
  CharacterSetRep alpha = nullptr;
  ConversionTable lowerUmlauts = nullptr;
  ConversionTable lower = nullptr;  // the fold of Latin words before lookup
  std::size_t maxWordLen = 0;

  std::vector<std::uint32_t> hits;
  std::vector<std::array<const void*, kSamples>> samples;  // distinct words, by slot
  std::vector<std::uint8_t> sampleCounts;
  std::size_t words = 0;
  std::size_t lengthSum = 0;
  std::size_t nonAlphaWords = 0, nonAlphaUnits = 0;
  std::size_t scriptWords[kScripts] = {};
  std::size_t scriptUnits[kScripts] = {};

  void hit(const LanguageFilter::Lists::Slot& slot) {
    for (std::uint32_t k = 0; k < slot.languagesCount; ++k) {
      const std::uint16_t language = lists->languageIndexes[slot.languagesOffset + k];
      ++hits[language];
      std::uint8_t& count = sampleCounts[language];
      if (count < kSamples &&
          std::find(samples[language].begin(), samples[language].begin() + count, &slot) ==
              samples[language].begin() + count) {
        samples[language][count++] = &slot;
      }
    }
  }
};

void LanguageFilterHandler(const unichar* chars, std::size_t start, std::size_t length,
                           void* context) {
  Score& score = *static_cast<Score*>(context);
  const unichar* word = chars + start;
  ++score.words;
  score.lengthSum += length;
  const unichar first = word[0], last = word[length - 1];
  if (!isAlphaUnit(score.alpha, first) || !isAlphaUnit(score.alpha, last)) {
    ++score.nonAlphaWords;
    score.nonAlphaUnits += length;
    return;
  }
  if (score.lowerUmlauts[first] < 0x80 && score.lowerUmlauts[last] < 0x80) {
    if (length > score.maxWordLen) return;
    unichar folded[64];
    for (std::size_t k = 0; k < length; ++k) folded[k] = score.lower[word[k]];
    if (const auto* slot = score.lists->find(folded, length)) score.hit(*slot);
    return;
  }
  const std::size_t script = scriptSlotOf(first);
  ++score.scriptWords[script];
  score.scriptUnits[script] += length;
}

struct Decision {
  std::size_t winner = NSNotFound;  // a language index or a script code
  std::size_t count = 0;
  std::size_t runnerUp = 0;
};

// The best stop-word language: more hits than the best so far, and four distinct words.
Decision stopWordWinner(const Score& score) {
  Decision decision;
  for (std::size_t language = 0; language < score.hits.size(); ++language) {
    if (score.hits[language] > decision.count && score.sampleCounts[language] == kSamples) {
      if (decision.winner != NSNotFound) decision.runnerUp = decision.count;
      decision.winner = language;
      decision.count = score.hits[language];
    }
  }
  return decision;
}

Decision decide(const Score& score) {
  Decision decision = stopWordWinner(score);
  const std::size_t halfWords = (score.words - score.nonAlphaWords) / 2;
  const std::size_t halfUnits = (score.lengthSum - score.nonAlphaUnits) / 2;
  for (std::size_t script = 0; script < kScripts; ++script) {
    if (score.scriptWords[script] > decision.count &&
        (score.scriptUnits[script] >= halfUnits || score.scriptWords[script] >= halfWords)) {
      decision.runnerUp = decision.count;
      decision.winner = kScriptCodes[script];
      decision.count = score.scriptWords[script];
    }
  }
  return decision;
}

std::vector<std::u16string> cleanedWords(const std::vector<std::u16string>& words,
                                         bool ignoreUmlauts, std::size_t& maxWordLen) {
  const ConversionTable umlauts = initUmlautsCharsTable();
  std::vector<std::u16string> kept;
  for (std::u16string word : words) {
    if (word.size() < 3 || word.find_first_of(u"'.") != std::u16string::npos) continue;
    if (ignoreUmlauts) {
      for (unichar& c : word) c = umlauts[c];
    }
    maxWordLen = std::max(maxWordLen, word.size());
    kept.push_back(std::move(word));
  }
  std::sort(kept.begin(), kept.end());
  kept.erase(std::unique(kept.begin(), kept.end()), kept.end());
  return kept;
}

}  // namespace

LanguageFilter::LanguageFilter() : _languageIndex(NSNotFound) {
  // A filter is nothing without its lists.
  ::orvel::internal::failDebugAssertion("Classes/LanguageFilter", 114, "FALSE");
}

LanguageFilter::LanguageFilter(const std::vector<std::u16string>& keys,
                               const std::vector<std::vector<std::u16string>>& stopWords,
                               bool ignoreUmlauts)
    : _lists(std::make_unique<Lists>()), _languageIndex(NSNotFound), _ignoreUmlauts(ignoreUmlauts) {
  if (stopWords.size() != keys.size()) {
    ::orvel::internal::failDebugAssertion("Classes/LanguageFilter", 148, "cnt==[keys count]");
  }
  _lists->keys = keys;
  for (const auto& words : stopWords) {
    _lists->words.push_back(cleanedWords(words, ignoreUmlauts, _maxWordLen));
  }
  const auto english = std::find(_lists->keys.begin(), _lists->keys.end(), u"EN");
  if (english != _lists->keys.end() && english != _lists->keys.begin()) {
    const auto index = english - _lists->keys.begin();
    std::rotate(_lists->keys.begin(), english, english + 1);
    std::rotate(_lists->words.begin(), _lists->words.begin() + index,
                _lists->words.begin() + index + 1);
  }
  _lists->buildTable();
}

LanguageFilter::LanguageFilter(const std::filesystem::path& directory, bool ignoreUmlauts)
    : _languageIndex(NSNotFound) {
  // Keys and lists together, sorted by file name for a stable order.
  std::vector<std::pair<std::u16string, std::vector<std::u16string>>> lists;
  std::error_code error;
  for (const auto& entry : std::filesystem::directory_iterator(directory, error)) {
    const std::string name = entry.path().filename().string();
    if (name.rfind("StopWords", 0) != 0) continue;
    const std::u16string key = utf8ToUtf16Lenient(name.substr(9));
    if (key.size() == 3 && (key[0] | 0x20) == u'g' && (key[1] | 0x20) == u'e' &&
        (key[2] | 0x20) == u'n') {
      continue;
    }
    const std::optional<std::string> bytes = bytesOfFile(entry.path());
    lists.emplace_back(key, bytes ? wordsUsingDefaultSeparation(utf8ToUtf16Lenient(*bytes))
                                  : std::vector<std::u16string>());
  }
  std::sort(lists.begin(), lists.end());
  std::vector<std::u16string> keys;
  std::vector<std::vector<std::u16string>> words;
  for (auto& [key, list] : lists) {
    keys.push_back(std::move(key));
    words.push_back(std::move(list));
  }
  *this = LanguageFilter(keys, words, ignoreUmlauts);
}

LanguageFilter::~LanguageFilter() = default;
LanguageFilter::LanguageFilter(LanguageFilter&&) noexcept = default;
LanguageFilter& LanguageFilter::operator=(LanguageFilter&&) noexcept = default;

std::optional<std::filesystem::path> LanguageFilter::defaultStopWordsDirectory() {
  std::vector<std::filesystem::path> candidates;
  if (const char* variable = std::getenv("ORVEL_STOP_WORDS_DIR"); variable && *variable) {
    candidates.emplace_back(variable);
  }
  candidates.emplace_back(ORVEL_INSTALLED_DATA_DIR "/stopwords");
  candidates.emplace_back(ORVEL_SOURCE_DATA_DIR "/stopwords");
  for (const auto& folder : candidates) {
    std::error_code error;
    if (std::filesystem::exists(folder / "StopWordsEN", error)) return folder;
  }
  return std::nullopt;
}

std::unique_ptr<LanguageFilter> LanguageFilter::defaultFilter(bool ignoreUmlauts) {
  const auto folder = defaultStopWordsDirectory();
  if (!folder) return nullptr;
  return std::make_unique<LanguageFilter>(*folder, ignoreUmlauts);
}

bool LanguageFilter::writeToDirectory(const std::filesystem::path& directory) const {
  bool written = true;
  for (std::size_t language = 0; language < _lists->keys.size(); ++language) {
    std::u16string text;
    for (const std::u16string& word : _lists->words[language]) {
      if (!text.empty()) text += u'\n';
      text += word;
    }
    // Written beside, then moved over the old file: a reader sees the old list or the new.
    const std::filesystem::path file =
        directory / ("StopWords" + utf16ToUtf8(_lists->keys[language]));
    std::filesystem::path temporary = file;
    temporary += ".new";
    {
      std::ofstream out(temporary, std::ios::binary | std::ios::trunc);
      out << utf16ToUtf8(text);
      written = written && out.flush().good();
    }
    std::error_code error;
    std::filesystem::rename(temporary, file, error);
    written = written && !error;
  }
  return written;
}

const std::vector<std::u16string>& LanguageFilter::languages() const { return _lists->keys; }

std::vector<std::u16string> LanguageFilter::stopWordsOfLanguage(std::size_t index) const {
  return index < _lists->words.size() ? _lists->words[index] : std::vector<std::u16string>();
}

bool LanguageFilter::ignoreUmlauts() const { return _ignoreUmlauts; }
const std::optional<std::u16string>& LanguageFilter::language() const { return _language; }
std::size_t LanguageFilter::languageIndex() const { return _languageIndex; }
std::size_t LanguageFilter::minWordLen() const { return _minWordLen; }
std::size_t LanguageFilter::maxWordLen() const { return _maxWordLen; }
void LanguageFilter::setMinWordLen(std::size_t length) {
  _minWordLen = std::max<std::size_t>(length, 3);
}

void LanguageFilter::setLanguage(std::optional<std::u16string_view> code) {
  if (!code || code->size() != 2) {
    _language.reset();
    _languageIndex = NSNotFound;
    return;
  }
  const ConversionTable upper = initUpperCharsTable();
  std::u16string upperCode{upper[(*code)[0]], upper[(*code)[1]]};
  const auto key = std::find(_lists->keys.begin(), _lists->keys.end(), upperCode);
  _languageIndex = NSNotFound;
  if (key != _lists->keys.end()) {
    _languageIndex = static_cast<std::size_t>(key - _lists->keys.begin());
  } else {
    for (std::size_t script = 0; script < kScripts; ++script) {
      if (upperCode == kScriptKeys[script]) _languageIndex = kScriptCodes[script];
    }
  }
  _language = std::move(upperCode);
}

std::uint16_t LanguageFilter::ISOCodeForLanguage(std::optional<std::u16string_view> code) {
  if (!code || code->size() != 2) return 0;
  const ConversionTable upper = initUpperCharsTable();
  return static_cast<std::uint16_t>(((upper[(*code)[0]] & 0xFF) << 8) | (upper[(*code)[1]] & 0xFF));
}

std::uint16_t LanguageFilter::ISOLanguageCode() const { return ISOCodeForLanguage(_language); }

std::uint16_t LanguageFilter::ISOLanguageCodeOfText(std::u16string_view text) const {
  return ISOCodeForLanguage(languageOfText(text));
}

namespace {

// Scores a text's words; false when the scoring could not be allocated.
bool scoreText(const LanguageFilter::Lists& lists, bool ignoreUmlauts, std::size_t minWordLen,
               std::size_t maxWordLen, std::u16string_view text, Score& score) {
  try {
    score.lists = &lists;
    score.alpha = alphaCharacterSetRep();
    score.lowerUmlauts = initLowerUmlautsCharsTable();
    score.lower = ignoreUmlauts ? score.lowerUmlauts : initLowerCharsTable();
    score.maxWordLen = std::min<std::size_t>(maxWordLen, 64);
    score.hits.assign(lists.keys.size(), 0);
    score.samples.resize(lists.keys.size());
    score.sampleCounts.assign(lists.keys.size(), 0);
  } catch (const std::bad_alloc&) {
    return false;
  }
  parseWordsWithHandler(text.data(), text.size(), LanguageFilterHandler, &score,
                        defaultWordSeparators(), minWordLen);
  return true;
}

}  // namespace

bool LanguageFilter::filterText(std::u16string_view text) const {
  if (_languageIndex == NSNotFound || _lists->keys.empty()) return false;
  Score score;
  if (!scoreText(*_lists, _ignoreUmlauts, _minWordLen, _maxWordLen, text, score)) return false;
  const Decision decision = decide(score);
  std::size_t chosen = 0;
  if (_languageIndex >= kCyrillic) {
    const auto* code = std::find(std::begin(kScriptCodes), std::end(kScriptCodes), _languageIndex);
    chosen = score.scriptWords[code - std::begin(kScriptCodes)];
  } else {
    chosen = score.hits[_languageIndex];
  }
  return decision.winner != NSNotFound && decision.winner != _languageIndex &&
         decision.count > score.words / 40 && decision.count > chosen + 2;
}

std::optional<std::u16string> LanguageFilter::languageOfText(std::u16string_view text) const {
  Score score;
  if (!scoreText(*_lists, _ignoreUmlauts, _minWordLen, _maxWordLen, text, score)) {
    return std::nullopt;
  }
  const Decision decision = decide(score);
  if (decision.winner == NSNotFound || decision.count <= score.words / 40 ||
      decision.count < decision.runnerUp + 3) {
    return std::nullopt;
  }
  if (decision.winner < kCyrillic) return _lists->keys[decision.winner];
  const auto* code = std::find(std::begin(kScriptCodes), std::end(kScriptCodes), decision.winner);
  return std::u16string(kScriptKeys[code - std::begin(kScriptCodes)]);
}

double LanguageFilter::stopWordRatioOfText(std::u16string_view text) const {
  if (_lists->keys.empty()) return 0.0;
  Score score;
  if (!scoreText(*_lists, _ignoreUmlauts, _minWordLen, _maxWordLen, text, score)) return 0.0;
  const Decision best = stopWordWinner(score);
  if (best.winner == NSNotFound) return 0.0;
  const double size = static_cast<double>(_lists->words[best.winner].size());
  return (static_cast<double>(best.count) / static_cast<double>(score.words)) /
         std::sqrt(size / 750.0);
}

}  // namespace orvel
