// Parsing a realistic 20-term query (phrases, groups, negation, proximity) from UTF-8,
// against Xapian's QueryParser on the same text (Xapian is linked here only, as the peer).
// Target: 10 times Xapian.
#include <string>

#include <benchmark/benchmark.h>
#include <xapian.h>

#include "orvel/base/utf8.h"
#include "orvel/search/query_terms.h"

#include "bench/bench_support.h"

namespace {

const std::string kQuery =
    "\"human rights\" AND (freedom OR liberty OR dignity) -slavery NEAR/5 education "
    "\"equal protection\" NOT torture (marriage OR family) nationality NEAR asylum "
    "property OR religion -\"arbitrary arrest\" assembly work";

void BM_orvel_QueryTerms(benchmark::State& state) {
  for (auto _ : state) {
    const orvel::QueryTerms tree(*orvel::utf8ToUtf16(kQuery));
    benchmark::DoNotOptimize(tree.children().data());
  }
}
BENCHMARK(BM_orvel_QueryTerms);

void BM_xapian_QueryParser(benchmark::State& state) {
  Xapian::QueryParser parser;
  parser.set_default_op(Xapian::Query::OP_AND);
  const unsigned flags = Xapian::QueryParser::FLAG_PHRASE | Xapian::QueryParser::FLAG_BOOLEAN |
                         Xapian::QueryParser::FLAG_LOVEHATE |
                         Xapian::QueryParser::FLAG_BOOLEAN_ANY_CASE;
  for (auto _ : state) {
    Xapian::Query query = parser.parse_query(kQuery, flags);
    benchmark::DoNotOptimize(query);
  }
}
BENCHMARK(BM_xapian_QueryParser);

}  // namespace

int main(int argc, char** argv) {
  const orvel::QueryTerms tree(*orvel::utf8ToUtf16(kQuery));
  std::printf("positive terms: %zu\n", tree.plusParts().size());
  return orvel::bench::runAndCompare(
      argc, argv, {{"BM_orvel_QueryTerms", "BM_xapian_QueryParser", 10.0}},
      {{"BM_orvel_QueryTerms", 1, "queries", 0}, {"BM_xapian_QueryParser", 1, "queries", 0}});
}
