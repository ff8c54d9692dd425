// How orvel search writes what it found: a heading per file or PATH:LINE: per occurrence, the
// editors' PATH:LINE:COLUMN: form, colour around paths, line numbers and the terms inside
// snippets, NUL after paths, and JSON lines in the shape ripgrep's --json has.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "orvel/find/collection_search.h"

namespace orvel::cli {

// One thing's colour as an SGR sequence is made of: a foreground and a background (a
// colour name, 0-255, or R,G,B), bold, underline, intense (the bright variants of the
// named colours).
struct TextColor {
  std::string foreground{};  // as given: "red", "208", "10,20,30"; empty for none
  std::string background{};
  bool bold = false;
  bool underline = false;
  bool intense = false;

  // The escape sequence that turns it on; empty when it sets nothing.
  [[nodiscard]] std::string sequence() const;
};

// The colours of a search's output, ripgrep's by default.
struct SearchColors {
  TextColor path{.foreground = "magenta"};
  TextColor line{.foreground = "green"};
  TextColor column{.foreground = "green"};
  TextColor match{.foreground = "red", .bold = true};

  // Applies a --colors setting in ripgrep's syntax: "TYPE:fg|bg:COLOR", "TYPE:style:STYLE"
  // (bold, nobold, underline, nounderline, intense, nointense) or "TYPE:none"; TYPE is path,
  // line, column or match. Answers what is wrong with it, empty when it was applied.
  [[nodiscard]] std::string apply(std::string_view setting);
};

enum class OutputForm {
  kSnippets,  // a heading line per file, then LINE:SNIPPET (or PATH:LINE:SNIPPET a line each)
  kFiles,     // -l
  kCounts,    // -c
  kVimgrep,   // PATH:LINE:COLUMN:SNIPPET, a line per occurrence
  kJson,      // ripgrep's JSON lines
  kJsonFiles  // one JSON object per file, with its kind and occurrences
};

struct OutputStyle {
  OutputForm form = OutputForm::kSnippets;
  bool heading = true;
  bool lineNumbers = true;
  bool column = false;  // LINE:COLUMN: of each occurrence's first term
  bool null = false;    // a NUL after each path instead of what follows it
  bool color = false;
  SearchColors colors;
  std::size_t snippetCharacters = 0;  // shorten snippets after this many (0: never)
};

// What a matching file prints.
[[nodiscard]] std::string resultText(const SearchResult& result, const OutputStyle& style);
// A path as --files and -l print it.
[[nodiscard]] std::string pathLine(std::string_view path, const OutputStyle& style);

// The totals of a search for the JSON summary.
struct SearchTotals {
  std::uint64_t filesSearched = 0;
  std::uint64_t filesMatched = 0;
  std::uint64_t occurrences = 0;
  std::uint64_t terms = 0;
  std::uint64_t bytesRead = 0;
  double seconds = 0;
};

// The last JSON line: {"type":"summary",...}.
[[nodiscard]] std::string jsonSummary(const SearchTotals& totals);

}  // namespace orvel::cli
