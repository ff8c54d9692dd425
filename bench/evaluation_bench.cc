// matchesString of "a NEAR/5 b" over texts of 1, 2, 4 and 8 MB holding many occurrences of
// both words, never within five words of each other, so that every occurrence is examined.
// The time must grow close to linearly with the text: bytes_per_second stays about the same
// from 1 to 8 MB. Then the same query shape over real text (the reStructuredText sources of
// Debian's python3.11-doc, 12 MB), never matching, so that the whole text is read:
// "file NEAR/5 zyzzogeton" (the second word never occurs) and "zyzzogeton NEAR/5 open" (every
// "open" is looked around), counted in bytes of UTF-8 text (target: 1 GB/s).
#include <cstdio>
#include <string>

#include <benchmark/benchmark.h>

#include "orvel/base/utf8.h"
#include "orvel/search/query_occurrences.h"
#include "orvel/search/query_terms.h"
#include "orvel/testing/files.h"

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

// The documentation sources as one text, and their size in UTF-8.
const std::pair<std::u16string, std::size_t>& documentation() {
  static const std::pair<std::u16string, std::size_t> text = [] {
    std::string bytes;
    for (const auto& path : orvel::testing::regularFilesIn(
             {"/usr/share/doc/python3.11/html/_sources"}, true, ".txt")) {
      bytes += orvel::testing::fileBytes(path);
    }
    return std::make_pair(orvel::utf8ToUtf16Lenient(bytes), bytes.size());
  }();
  return text;
}

void BM_matchesString_NEAR_Documentation(benchmark::State& state, const char16_t* query) {
  const auto& [text, utf8Bytes] = documentation();
  if (text.empty()) {
    state.SkipWithError("python3.11-doc is not installed");
    return;
  }
  const orvel::QueryTerms terms(query);
  for (auto _ : state) benchmark::DoNotOptimize(terms.matchesString(text, false));
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * utf8Bytes));
}
BENCHMARK_CAPTURE(BM_matchesString_NEAR_Documentation, file_near_never, u"file NEAR/5 zyzzogeton")
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_matchesString_NEAR_Documentation, never_near_open, u"zyzzogeton NEAR/5 open")
    ->Unit(benchmark::kMillisecond);

// The occurrences of "zebra" or "the" in 1 to 4 MB of "the. " with one "zebra" at the end:
// each term's search reads the text once, so the time grows linearly (a search of every term
// afresh at each occurrence read the text once per "the").
void BM_occurrencesOfAFarTerm(benchmark::State& state) {
  std::u16string text;
  const std::size_t units = static_cast<std::size_t>(state.range(0)) * (1u << 20) / 2;
  while (text.size() < units) text += u"the. ";
  text += u"zebra.";
  const std::vector<std::u16string> terms = {u"zebra", u"the"};
  for (auto _ : state) {
    benchmark::DoNotOptimize(
        orvel::getOccurrencesOfQueryTerm(text, terms, false, true, false, false));
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * text.size() * 2));
}
BENCHMARK(BM_occurrencesOfAFarTerm)->Arg(1)->Arg(2)->Arg(4)->Unit(benchmark::kMillisecond);

}  // namespace

int main(int argc, char** argv) { return orvel::bench::runAndCompare(argc, argv, {}); }
