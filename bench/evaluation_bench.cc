// matchesString of "a NEAR/5 b" over texts of 1, 2, 4 and 8 MB holding many occurrences of
// both words, never within five words of each other, so that every occurrence is examined.
// The time must grow close to linearly with the text: bytes_per_second stays about the same
// from 1 to 8 MB.
#include <cstdio>
#include <string>

#include <benchmark/benchmark.h>

#include "orvel/search/query_terms.h"

#include "bench/bench_support.h"

namespace {

std::u16string proximityText(std::size_t megabytes) {
  const std::u16string block = u"a w w w w w w w w w w w w b w w w w w w w w w w w w ";
  std::u16string text;
  const std::size_t units = megabytes * (1u << 20) / sizeof(char16_t);
  while (text.size() < units) text += block;
  return text;
}

void BM_matchesString_NEAR(benchmark::State& state) {
  const std::u16string text = proximityText(static_cast<std::size_t>(state.range(0)));
  const orvel::QueryTerms query(u"a NEAR/5 b");
  bool matched = false;
  for (auto _ : state) {
    matched = query.matchesString(text, false);
    benchmark::DoNotOptimize(matched);
  }
  if (matched) state.SkipWithError("the text was meant not to match");
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * text.size() * 2));
}
BENCHMARK(BM_matchesString_NEAR)->Arg(1)->Arg(2)->Arg(4)->Arg(8)->Unit(benchmark::kMillisecond);

}  // namespace

int main(int argc, char** argv) { return orvel::bench::runAndCompare(argc, argv, {}); }
