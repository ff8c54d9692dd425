// The search of a document's bytes against the search of its decoded text: for any query
// (the first line) and any bytes (the rest), when the bytes can be searched without being
// decoded, the occurrences found there have the decoded text's snippets, lines and number,
// and in plain ASCII its ranges.
#include <cstdint>
#include <string>

#include "orvel/base/utf8.h"
#include "orvel/search/text_query.h"

#include "fuzz/fuzz_support.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto [queryBytes, bytes] = orvel::fuzz::splitFirstLine(orvel::fuzz::bytesOf(data, size));
  const std::u16string query = orvel::fuzz::unitsOf(queryBytes);
  for (const bool caseSensitive : {false, true}) {
    const orvel::TextQuery textQuery(query, caseSensitive);
    for (const bool paragraphs : {false, true}) {
      const auto found = textQuery.byteOccurrencePlaces(bytes, paragraphs, true, false);
      if (!found) continue;
      // Bytes searched so are well-formed UTF-8: decoding them loses nothing.
      const auto text = orvel::utf8ToUtf16(bytes);
      ORVEL_FUZZ_CHECK(text.has_value());
      const auto expected = textQuery.matchingOccurrencePlaces(*text, paragraphs);
      ORVEL_FUZZ_CHECK(found->size() == (expected ? expected->size() : 0));
      const bool plain = textQuery.byteOccurrencePlaces(bytes, paragraphs, true, true).has_value();
      for (std::size_t k = 0; k < found->size(); ++k) {
        const orvel::Range range = (*found)[k].range, wanted = (*expected)[k].range;
        ORVEL_FUZZ_CHECK((*found)[k].line == (*expected)[k].line);
        ORVEL_FUZZ_CHECK(
            bytes.substr(range.location, range.length) ==
            orvel::utf16ToUtf8(std::u16string_view(*text).substr(wanted.location, wanted.length)));
        ORVEL_FUZZ_CHECK(!plain || range == wanted);
      }
    }
  }
  return 0;
}
