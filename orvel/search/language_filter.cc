#include "orvel/search/language_filter.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <fstream>
#include <new>

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

// The stop words: one open-addressed table from a word to the languages whose lists hold it,
// so that scoring a word costs one probe whatever the number of languages. Every word's units
// are in one buffer; a word's languages are a chain of links. Nothing is kept per word beside
// that (a list of strings per language cost several times the lists' own size to build and
// hold), and a language's list is read back from the table when asked for.
//
// Building: the words are staged in the order they come, then put into the table in the
// order of their home slots, so that the table is filled from one end to the other instead
// of at random (a cache miss a word, for a quarter of a million words).
struct LanguageFilter::Lists {
  static constexpr std::uint32_t kNoLink = 0xFFFFFFFF;
  struct Slot {
    std::uint32_t wordOffset = 0;
    std::uint32_t wordLength = 0;  // 0: an empty slot
    std::uint32_t firstLink = kNoLink;
  };
  struct Link {
    std::uint32_t language;
    std::uint32_t next;
  };
  struct Staged {
    std::uint64_t hash;
    std::uint32_t wordOffset;
    std::uint16_t wordLength;
    std::uint16_t language;
  };

  std::vector<std::u16string> keys;
  std::vector<std::size_t> sizes;  // per key, its distinct words
  std::vector<unichar> wordUnits;
  std::vector<Link> links;
  std::vector<Slot> slots;
  std::uint64_t mask = 0;
  std::vector<Staged> staged;  // while building

  // Stages a word of a language's list, each unit through `fold` when one is given.
  void add(std::uint32_t language, std::u16string_view word, ConversionTable fold) {
    const std::size_t offset = wordUnits.size();
    wordUnits.insert(wordUnits.end(), word.begin(), word.end());
    unichar* units = wordUnits.data() + offset;
    if (fold != nullptr) {
      for (std::size_t k = 0; k < word.size(); ++k) units[k] = fold[units[k]];
    }
    staged.push_back(Staged{hashOf(units, word.size()), static_cast<std::uint32_t>(offset),
                            static_cast<std::uint16_t>(word.size()),
                            static_cast<std::uint16_t>(language)});
  }

  // Puts the staged words into the table, each word once with the languages that list it.
  void finish() {
    // At most three slots in four taken, even if every staged word is another.
    std::size_t capacity = 16;
    while (3 * capacity < 4 * staged.size()) capacity *= 2;
    slots.assign(capacity, Slot{});
    mask = capacity - 1;
    // The staged words by home slot, in one counting pass; stable, so that a word's entries
    // keep the order of their languages, and a word listed twice by one language meets that
    // language at the head of its chain.
    std::vector<std::uint32_t> order(staged.size());
    {
      std::vector<std::uint32_t> starts(capacity + 1, 0);
      for (const Staged& word : staged) ++starts[(word.hash & mask) + 1];
      for (std::size_t k = 1; k <= capacity; ++k) starts[k] += starts[k - 1];
      for (std::uint32_t k = 0; k < staged.size(); ++k) order[starts[staged[k].hash & mask]++] = k;
    }
    links.reserve(staged.size());
    for (const std::uint32_t index : order) {
      const Staged& word = staged[index];
      Slot& slot = slots[probe(word.hash, wordUnits.data() + word.wordOffset, word.wordLength)];
      if (slot.wordLength == 0) {
        slot.wordOffset = word.wordOffset;
        slot.wordLength = word.wordLength;
      } else if (links[slot.firstLink].language == word.language) {
        continue;  // listed twice
      }
      links.push_back(Link{word.language, slot.firstLink});
      slot.firstLink = static_cast<std::uint32_t>(links.size() - 1);
      ++sizes[word.language];
    }
    staged = {};
  }

  // The slot of a word, or null.
  [[nodiscard]] const Slot* find(const unichar* units, std::size_t length) const {
    const Slot& slot = slots[probe(hashOf(units, length), units, length)];
    return slot.wordLength != 0 ? &slot : nullptr;
  }

  // A language's words, sorted.
  [[nodiscard]] std::vector<std::u16string> wordsOf(std::uint32_t language) const {
    std::vector<std::u16string> words;
    for (const Slot& slot : slots) {
      for (std::uint32_t link = slot.wordLength != 0 ? slot.firstLink : kNoLink; link != kNoLink;
           link = links[link].next) {
        if (links[link].language != language) continue;
        words.emplace_back(wordUnits.data() + slot.wordOffset, slot.wordLength);
        break;
      }
    }
    std::sort(words.begin(), words.end());
    return words;
  }

 private:
  // Where the word is, or the empty slot where it would go.
  [[nodiscard]] std::size_t probe(std::uint64_t hash, const unichar* units,
                                  std::size_t length) const {
    for (std::uint64_t at = hash & mask;; at = (at + 1) & mask) {
      const Slot& slot = slots[at];
      if (slot.wordLength == 0) return at;
      const unichar* word = wordUnits.data() + slot.wordOffset;
      if (slot.wordLength == length && word[0] == units[0] &&
          std::equal(units + 1, units + length, word + 1)) {
        return at;
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
    for (std::uint32_t link = slot.firstLink; link != LanguageFilter::Lists::kNoLink;
         link = lists->links[link].next) {
      const std::uint32_t language = lists->links[link].language;
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
    unichar folded[64];  // maxWordLen is at most 64
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

// Adds a word if a list may hold it: 3 units or more, without "'" or "."; with
// ignoreUmlauts, accents folded away. Answers its length when added, else 0. (The table
// keeps lengths and languages in 16 bits: a "word" of 65,536 units or more, or a list past
// the 65,536th, is no stop word.)
std::size_t addCleanedWord(LanguageFilter::Lists& lists, std::uint32_t language,
                           std::u16string_view word, bool ignoreUmlauts) {
  if (word.size() < 3 || word.find_first_of(u"'.") != std::u16string_view::npos) return 0;
  if (word.size() > 0xFFFF || language > 0xFFFF) return 0;
  lists.add(language, word, ignoreUmlauts ? initUmlautsCharsTable() : nullptr);
  return word.size();
}

// Calls the sink with each word of a stop-word file's text.
void forEachWordOfText(std::u16string_view text,
                       const std::function<void(std::u16string_view)>& sink) {
  parseWordsWithHandler(
      text.data(), text.size(),
      [](const unichar* chars, std::size_t start, std::size_t length, void* context) {
        (*static_cast<const std::function<void(std::u16string_view)>*>(context))(
            std::u16string_view(chars + start, length));
      },
      const_cast<std::function<void(std::u16string_view)>*>(&sink), nullptr, 1);
}

}  // namespace

LanguageFilter::LanguageFilter() : _languageIndex(NSNotFound) {
  // A filter is nothing without its lists.
  ::orvel::internal::failDebugAssertion("Classes/LanguageFilter", 114, "FALSE");
}

LanguageFilter::LanguageFilter(const std::vector<std::u16string>& keys,
                               const std::vector<std::vector<std::u16string>>& stopWords,
                               bool ignoreUmlauts)
    : _languageIndex(NSNotFound), _ignoreUmlauts(ignoreUmlauts) {
  if (stopWords.size() != keys.size()) {
    ::orvel::internal::failDebugAssertion("Classes/LanguageFilter", 148, "cnt==[keys count]");
  }
  std::size_t count = 0;
  for (const auto& words : stopWords) count += words.size();
  build(keys, count, [&](std::size_t k, const WordSink& sink) {
    for (const std::u16string& word : stopWords[k]) sink(word);
  });
}

LanguageFilter::LanguageFilter(const std::filesystem::path& directory, bool ignoreUmlauts)
    : _languageIndex(NSNotFound), _ignoreUmlauts(ignoreUmlauts) {
  // Keys and files together, sorted by file name for a stable order.
  std::vector<std::pair<std::u16string, std::filesystem::path>> files;
  std::error_code error;
  for (const auto& entry : std::filesystem::directory_iterator(directory, error)) {
    const std::string name = entry.path().filename().string();
    if (name.rfind("StopWords", 0) != 0) continue;
    const std::u16string key = utf8ToUtf16Lenient(name.substr(9));
    if (key.size() == 3 && (key[0] | 0x20) == u'g' && (key[1] | 0x20) == u'e' &&
        (key[2] | 0x20) == u'n') {
      continue;
    }
    files.emplace_back(key, entry.path());
  }
  std::sort(files.begin(), files.end());
  std::vector<std::u16string> keys;
  std::uintmax_t bytes = 0;
  for (const auto& file : files) {
    keys.push_back(file.first);
    bytes += std::filesystem::file_size(file.second, error);
  }
  // About one word in ten bytes (a list of words of 8 or 9 letters, one a line); reserved
  // for one in eight, so that the staging is not copied to grow.
  build(keys, static_cast<std::size_t>(bytes / 8), [&](std::size_t k, const WordSink& sink) {
    if (const std::optional<std::string> text = bytesOfFile(files[k].second)) {
      forEachWordOfText(utf8ToUtf16Lenient(*text), sink);
    }
  });
}

void LanguageFilter::build(const std::vector<std::u16string>& keys, std::size_t expectedWords,
                           const std::function<void(std::size_t, const WordSink&)>& wordsOf) {
  std::vector<std::size_t> order(keys.size());
  for (std::size_t k = 0; k < order.size(); ++k) order[k] = k;
  const auto english = std::find(keys.begin(), keys.end(), u"EN");
  if (english != keys.end()) {
    const auto at = english - keys.begin();
    std::rotate(order.begin(), order.begin() + at, order.begin() + at + 1);
  }
  _lists = std::make_unique<Lists>();
  _lists->sizes.assign(keys.size(), 0);
  _lists->staged.reserve(expectedWords);
  _lists->wordUnits.reserve(8 * expectedWords);
  for (std::size_t position = 0; position < order.size(); ++position) {
    _lists->keys.push_back(keys[order[position]]);
    const auto language = static_cast<std::uint32_t>(position);
    wordsOf(order[position], [&](std::u16string_view word) {
      _maxWordLen = std::max(_maxWordLen, addCleanedWord(*_lists, language, word, _ignoreUmlauts));
    });
  }
  _lists->finish();
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
    for (const std::u16string& word : _lists->wordsOf(static_cast<std::uint32_t>(language))) {
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
  return index < _lists->keys.size() ? _lists->wordsOf(static_cast<std::uint32_t>(index))
                                     : std::vector<std::u16string>();
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
  const double size = static_cast<double>(_lists->sizes[best.winner]);
  return (static_cast<double>(best.count) / static_cast<double>(score.words)) /
         std::sqrt(size / 750.0);
}

}  // namespace orvel
