// Finds a query's matches in a text and prints their lines, through the C++ headers of an
// installed copy; also gzips and restores bytes, a second subsystem with its own
// dependency (zlib) underneath.
#include <cstdio>
#include <string>
#include <vector>

#include "orvel/base/utf8.h"
#include "orvel/records/compression.h"
#include "orvel/search/text_query.h"

int main() {
  const orvel::TextQuery query(u"harbour AND \"north quay\" -storm");
  const std::u16string text = u"Calm seas.\nShips leave the harbour by the north quay at dawn.";
  if (!query.matches(text)) return 1;
  const std::vector<orvel::Occurrence> found = query.occurrences(text, true);
  if (found.size() != 1) return 2;
  for (const orvel::Occurrence& occurrence : found) {
    std::printf("%zu: %s\n", occurrence.line + 1, orvel::utf16ToUtf8(occurrence.string).c_str());
  }
  const std::string bytes(1000, 'x');
  const auto packed = orvel::dataByGzippingBytes(bytes.data(), bytes.size());
  const auto restored = packed ? orvel::dataByInflatingData(*packed) : std::nullopt;
  return restored && std::string(restored->begin(), restored->end()) == bytes ? 0 : 3;
}
