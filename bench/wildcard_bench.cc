// Case-insensitive matching of one million real words against prefix, suffix, infix, "?"
// and bracket-set patterns, against fnmatch(3) with FNM_CASEFOLD on the same words (as
// UTF-8, in the C locale). Target: 3 times fnmatch.
#include <benchmark/benchmark.h>
#include <fnmatch.h>

#include <string>
#include <vector>

#include "bench/bench_support.h"
#include "orvel/base/utf8.h"
#include "orvel/search/separation.h"
#include "orvel/search/wildcard.h"

namespace {

constexpr std::size_t kWords = 1000000;
const char* const kPatterns[] = {"un*", "*tion", "*ight*", "r?ght", "[a-f]*s"};

struct Words {
  std::vector<std::u16string> utf16;
  std::vector<std::string> utf8;
};

const Words& words() {
  static const Words all = [] {
    Words result;
    const std::u16string text = orvel::bench::realText(kWords * 12);
    for (std::u16string& word : orvel::wordsUsingDefaultSeparation(text)) {
      if (result.utf16.size() == kWords) break;
      result.utf8.push_back(orvel::utf16ToUtf8(word));
      result.utf16.push_back(std::move(word));
    }
    return result;
  }();
  return all;
}

void BM_orvel_wildcard(benchmark::State& state) {
  orvel::ConversionTable upper = orvel::initUpperCharsTable();
  std::vector<std::u16string> patterns;
  for (const char* pattern : kPatterns) {
    std::u16string folded(pattern, pattern + std::char_traits<char>::length(pattern));
    orvel::prepareWildcardUsingUnicharTable(folded.data(), folded.data() + folded.size(), upper);
    patterns.push_back(std::move(folded));
  }
  std::size_t matches = 0;
  for (auto _ : state) {
    matches = 0;
    for (const std::u16string& pattern : patterns) {
      const char16_t* p = pattern.data();
      for (const std::u16string& word : words().utf16) {
        matches += orvel::stringMatchesUnixWildcardUsingUnicharTable(
            word.data(), word.data() + word.size(), p, p + pattern.size(), upper);
      }
    }
    benchmark::DoNotOptimize(matches);
  }
  state.counters["matches"] = static_cast<double>(matches);
}
BENCHMARK(BM_orvel_wildcard)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_fnmatch_casefold(benchmark::State& state) {
  std::size_t matches = 0;
  for (auto _ : state) {
    matches = 0;
    for (const char* pattern : kPatterns) {
      for (const std::string& word : words().utf8) {
        matches += fnmatch(pattern, word.c_str(), FNM_CASEFOLD) == 0;
      }
    }
    benchmark::DoNotOptimize(matches);
  }
  state.counters["matches"] = static_cast<double>(matches);
}
BENCHMARK(BM_fnmatch_casefold)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace

int main(int argc, char** argv) {
  const double tests = static_cast<double>(words().utf16.size() * std::size(kPatterns));
  return orvel::bench::runAndCompare(argc, argv,
                                     {{"BM_orvel_wildcard", "BM_fnmatch_casefold", 3.0}},
                                     {{"BM_orvel_wildcard", tests, "word tests", 0},
                                      {"BM_fnmatch_casefold", tests, "word tests", 0}});
}
