// The pages the site makes of one document: its readable text (as the search reads it: a
// page through HTML to text, a feed as its items, Markdown and bundles as their text) with
// the query's terms marked and a list of the occurrences to jump to; and a feed's display
// page, which carries the feed's own markup and is only ever shown in a sandboxed frame.
#pragma once

#include <filesystem>
#include <string>

#include "tools/orvel/serve/result_lines.h"

namespace orvel::serve {

// The document view of a file (canonical, already checked to be served) for a query ("" for
// none).
[[nodiscard]] std::string documentPage(const std::filesystem::path& file, const std::string& query,
                                       const Languages& languages);

// A feed's display page, UTF-8; nullopt when the file is no feed or cannot be read.
[[nodiscard]] std::optional<std::string> feedDisplayPage(const std::filesystem::path& file);

// The most terms a document view marks: the rest of a long document is shown unmarked.
inline constexpr std::size_t kMaxMarkedTerms = 2000;
// The most of a text a document view shows (UTF-16 units): a page of a few megabytes.
inline constexpr std::size_t kMaxShownUnits = 2'000'000;

}  // namespace orvel::serve
