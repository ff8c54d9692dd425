// Case-insensitive matching of one million real words against prefix, suffix, infix, "?"
// and bracket-set patterns (each compiled once into a WildcardMatcher), against fnmatch(3)
// with FNM_CASEFOLD on the same words (as UTF-8, in the C locale). Target: 3 times fnmatch.
#include <string>
#include <vector>

#include <benchmark/benchmark.h>
#include <fnmatch.h>

#include "orvel/base/utf8.h"
#include "orvel/search/separation.h"
#include "orvel/search/wildcard_matcher.h"

#include "bench/bench_support.h"

namespace {

constexpr std::size_t kWords = 1000000;
const char* const kPatterns[] = {"un*", "*tion", "*ight*", "r?ght", "[a-f]*s"};

// The words packed one after another, as a word list or an index keeps them: UTF-16 units
// with their ranges, and NUL-terminated UTF-8 for fnmatch.
struct Words {
  std::u16string units;
  std::vector<orvel::Range> ranges;
  std::string bytes;
  std::vector<std::size_t> starts;
};

const Words& words() {
  static const Words all = [] {
    Words result;
    const std::u16string text = orvel::bench::realText(kWords * 12);
    for (const std::u16string& word : orvel::wordsUsingDefaultSeparation(text)) {
      if (result.ranges.size() == kWords) break;
      result.ranges.push_back(orvel::Range{result.units.size(), word.size()});
      result.units += word;
      result.starts.push_back(result.bytes.size());
      result.bytes += orvel::utf16ToUtf8(word);
      result.bytes += '\0';
    }
    return result;
  }();
  return all;
}

void BM_orvel_wildcard(benchmark::State& state) {
  std::vector<orvel::WildcardMatcher> matchers;
  for (const char* pattern : kPatterns) {
    const std::u16string text(pattern, pattern + std::char_traits<char>::length(pattern));
    matchers.emplace_back(text, true, orvel::initUpperCharsTable());
  }
  const char16_t* units = words().units.data();
  std::size_t matches = 0;
  for (auto _ : state) {
    matches = 0;
    for (const orvel::WildcardMatcher& matcher : matchers) {
      for (const orvel::Range& word : words().ranges) {
        matches += matcher.matches(units + word.location, word.length);
      }
    }
    benchmark::DoNotOptimize(matches);
  }
  state.counters["matches"] = static_cast<double>(matches);
}
BENCHMARK(BM_orvel_wildcard)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_fnmatch_casefold(benchmark::State& state) {
  const char* bytes = words().bytes.data();
  std::size_t matches = 0;
  for (auto _ : state) {
    matches = 0;
    for (const char* pattern : kPatterns) {
      for (std::size_t start : words().starts) {
        matches += fnmatch(pattern, bytes + start, FNM_CASEFOLD) == 0;
      }
    }
    benchmark::DoNotOptimize(matches);
  }
  state.counters["matches"] = static_cast<double>(matches);
}
BENCHMARK(BM_fnmatch_casefold)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace

int main(int argc, char** argv) {
  const double tests = static_cast<double>(words().ranges.size() * std::size(kPatterns));
  return orvel::bench::runAndCompare(argc, argv,
                                     {{"BM_orvel_wildcard", "BM_fnmatch_casefold", 3.0}},
                                     {{"BM_orvel_wildcard", tests, "word tests", 0},
                                      {"BM_fnmatch_casefold", tests, "word tests", 0}});
}
