// The query language: any text parses (plain and wildcard mode), writes back in every
// format, parses again from its standardized form, and evaluates and finds its snippets in
// a fixed text and in the text after the query's first line.
#include <cstdint>
#include <string>

#include "orvel/search/query_occurrences.h"
#include "orvel/search/query_outline.h"
#include "orvel/search/query_terms.h"
#include "orvel/search/query_wildcards.h"

#include "fuzz/fuzz_support.h"

namespace {

constexpr char16_t kFixedText[] =
    u"All human beings are born free and equal in dignity and rights. They are endowed\n"
    u"with reason and conscience (Article 1) \u2014 \u00ABe-mail\u00BB, C++ and caf\u00E9s.";

void write(const orvel::QueryTerms& tree) {
  for (const std::uint32_t format : {orvel::kStandardizedQueryFormat, orvel::kNormalizedQueryFormat,
                                     orvel::kDescriptionQueryFormat, 0u, 0x3FFFFu}) {
    static_cast<void>(tree.queryText(format));
  }
  static_cast<void>(orvel::queryTreeOutline(tree));
  static_cast<void>(tree.minTermLen());
  static_cast<void>(tree.plusWords());
  static_cast<void>(tree.plusWildcards());
  static_cast<void>(tree.extendedPlusWildcards());
}

void evaluate(const orvel::QueryTerms& tree, bool wildcard, std::u16string_view text) {
  const orvel::WildcardComparison insensitive{orvel::kWildcardCaseInsensitive};
  if (wildcard) {
    static_cast<void>(tree.matchesString(text, insensitive));
    static_cast<void>(tree.containsString(text, orvel::WildcardComparison{}));
    if (const auto patterns = tree.plusWildcards()) {
      static_cast<void>(orvel::getOccurrencesOfWildcards(text, *patterns, insensitive, 1, false));
      static_cast<void>(orvel::assembleOccurrencesOfWildcards(text, *patterns, true, false,
                                                              insensitive, 1, true, u" | ", 80));
    }
    return;
  }
  static_cast<void>(tree.matchesString(text, false));
  static_cast<void>(tree.matchesString(text, true));
  static_cast<void>(tree.containsString(text, false));
  const auto parts = tree.plusParts();
  static_cast<void>(orvel::getOccurrencesOfQueryTerm(text, parts, false, true, false, false));
  static_cast<void>(orvel::assembleOccurrencesOfQueryTerm(text, parts, false, true, true, true,
                                                          false, false, std::nullopt, 60));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto [queryBytes, textBytes] =
      orvel::fuzz::splitFirstLine(orvel::fuzz::bytesOf(data, size));
  const std::u16string query = orvel::fuzz::unitsOf(queryBytes);
  const std::u16string text = orvel::fuzz::unitsOf(textBytes);
  for (const bool wildcard : {false, true}) {
    const orvel::QueryTerms tree =
        wildcard ? orvel::QueryTerms::withWildcard(query) : orvel::QueryTerms(query);
    write(tree);
    evaluate(tree, wildcard, kFixedText);
    if (!text.empty()) evaluate(tree, wildcard, text);
    // The standardized form is a query too.
    const std::u16string again = tree.standardizedQueryTerm();
    write(wildcard ? orvel::QueryTerms::withWildcard(again) : orvel::QueryTerms(again));
  }
  return 0;
}
