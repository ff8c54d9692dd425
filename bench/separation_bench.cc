// Word splitting in ranges mode with the default separators over 64 MiB of real text,
// against ICU's word BreakIterator over the same text (keeping the word segments, as a
// caller would). Targets: 1 G code units per second, and 20 times ICU.
#include <vector>

#include <benchmark/benchmark.h>
#include <unicode/ubrk.h>

#include "orvel/search/separation.h"

#include "bench/bench_support.h"

namespace {

const std::u16string& text() {
  static const std::u16string units = orvel::bench::realText(orvel::bench::k64MiB / 2);
  return units;
}

void BM_orvel_wordsOfCharacters(benchmark::State& state) {
  std::vector<orvel::Range> ranges(text().size());
  std::size_t words = 0;
  for (auto _ : state) {
    words = orvel::wordsOfCharacters(text().data(), text().size(), nullptr, false, 1, false,
                                     ranges.data());
    benchmark::DoNotOptimize(ranges.data());
  }
  state.counters["words"] = static_cast<double>(words);
}
BENCHMARK(BM_orvel_wordsOfCharacters)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_icu_BreakIterator(benchmark::State& state) {
  std::vector<orvel::Range> ranges(text().size());
  std::size_t words = 0;
  for (auto _ : state) {
    UErrorCode status = U_ZERO_ERROR;
    UBreakIterator* iterator =
        ubrk_open(UBRK_WORD, "", reinterpret_cast<const UChar*>(text().data()),
                  static_cast<int32_t>(text().size()), &status);
    if (U_FAILURE(status)) {
      state.SkipWithError("ubrk_open failed");
      return;
    }
    words = 0;
    int32_t start = ubrk_first(iterator);
    for (int32_t end = ubrk_next(iterator); end != UBRK_DONE;
         start = end, end = ubrk_next(iterator)) {
      if (ubrk_getRuleStatus(iterator) != UBRK_WORD_NONE) {
        ranges[words++] =
            orvel::Range{static_cast<std::size_t>(start), static_cast<std::size_t>(end - start)};
      }
    }
    ubrk_close(iterator);
    benchmark::DoNotOptimize(ranges.data());
  }
  state.counters["words"] = static_cast<double>(words);
}
BENCHMARK(BM_icu_BreakIterator)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace

int main(int argc, char** argv) {
  const double units = static_cast<double>(text().size());
  return orvel::bench::runAndCompare(argc, argv,
                                     {{"BM_orvel_wordsOfCharacters", "BM_icu_BreakIterator", 20.0}},
                                     {{"BM_orvel_wordsOfCharacters", units, "code units", 1e9},
                                      {"BM_icu_BreakIterator", units, "code units", 0}});
}
