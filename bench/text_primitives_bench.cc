// Throughput of two inner loops over 64 MiB of real text (32 Mi UTF-16 units of the
// example documents, repeated): case-insensitive containment of a needle that does not
// occur (a full scan), and counting the members of a character set. Reported in bytes of
// UTF-16 per second.
#include <benchmark/benchmark.h>

#include "orvel/text/character_classes.h"
#include "orvel/text/fast_compare.h"

#include "bench/bench_support.h"

namespace {

const std::u16string& text() {
  static const std::u16string units = orvel::bench::realText(orvel::bench::k64MiB / 2);
  return units;
}

void setBytes(benchmark::State& state) {
  state.SetBytesProcessed(
      static_cast<std::int64_t>(state.iterations() * text().size() * sizeof(char16_t)));
}

void BM_fastCaseInsensitiveContainsUnichars(benchmark::State& state) {
  const std::u16string needle = u"Menschenw\u00FCrde-Zyklotron";
  for (auto _ : state) {
    benchmark::DoNotOptimize(orvel::fastCaseInsensitiveContainsUnichars(
        text().data(), text().size(), needle.data(), needle.size()));
  }
  setBytes(state);
}
BENCHMARK(BM_fastCaseInsensitiveContainsUnichars)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_countCharactersPartOfSet(benchmark::State& state) {
  orvel::CharacterSetRep letters = orvel::alphaCharacterSetRep();
  for (auto _ : state) {
    benchmark::DoNotOptimize(orvel::countCharactersPartOfSet(text(), letters));
  }
  setBytes(state);
}
BENCHMARK(BM_countCharactersPartOfSet)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace

int main(int argc, char** argv) { return orvel::bench::runAndCompare(argc, argv, {}); }
