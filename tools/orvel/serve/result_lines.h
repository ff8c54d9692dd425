// What the search page asks and what it is sent back: the query with its filters, and the
// results as JSON lines, one a line as the search finds them, then a line of totals.
//
//   {"type":"match","path":P,"kind":K,"language":L|null,"comment":C|null,"count":N,
//    "occurrences":[{"line":N,"snippet":S,"terms":[[START,END],...]},...]}
//   {"type":"end","searched":N,"matched":N,"seconds":S,"truncated":B,"indexed":B}
//
// A term's START and END count UTF-16 units of its snippet, as a script's strings do. A
// result's language is the one its snippets are written in, when they tell it clearly.
#pragma once

#include <chrono>
#include <cstddef>
#include <filesystem>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "orvel/find/collection_search.h"
#include "orvel/search/language_filter.h"

namespace orvel::serve {

// Stop-word lists, shared by every request: for telling a result's language, and for
// filtering by one (a filter per language, made on first use).
class Languages {
 public:
  Languages();
  // Whether lists were found (without them there is no language filter or label).
  [[nodiscard]] bool available() const { return _identify != nullptr; }
  // The codes of the languages known ("EN", ...), none without lists.
  [[nodiscard]] std::vector<std::string> codes() const;
  // The language of a text ("EN", ...), nullopt when undecided or without lists.
  [[nodiscard]] std::optional<std::string> languageOf(std::u16string_view text) const;
  // The filter keeping texts of the language, nullptr when it is not known.
  [[nodiscard]] std::shared_ptr<const LanguageFilter> filterFor(const std::string& code);

 private:
  std::unique_ptr<LanguageFilter> _identify;
  std::mutex _mutex;  // over the filters
  std::vector<std::pair<std::string, std::shared_ptr<const LanguageFilter>>> _filters;
};

// A query from the page, with its filters.
struct PageQuery {
  std::string query;
  std::vector<DocumentKind> kinds;  // all when empty
  std::string language;             // "" for any
  bool comments = false;            // Finder comments can match too
};

// The longest query accepted, in bytes.
inline constexpr std::size_t kMaxQueryBytes = 2000;

// Streams a search's results as lines, stopping after `maxResults` matches.
class ResultLines {
 public:
  ResultLines(SearchRequest request, std::size_t maxResults, bool indexed,
              const Languages& languages);

  // The next lines to send: the next match, waiting for the search, with the matches found
  // by then; after the last, the totals; then nullopt.
  std::optional<std::string> next();
  // While the search runs, `wanted` is asked now and then (from a searching thread) and the
  // search stops when it answers false: a client gone. An empty function ends the watch.
  void watch(std::function<bool()> wanted);

 private:
  std::string endLine();
  // A match's line (on a searching thread).
  [[nodiscard]] std::string matchLine(const SearchResult& result) const;
  // The request, with the watch's check as its progress callback.
  SearchRequest watched(SearchRequest request);

  std::mutex _watchMutex;
  std::function<bool()> _wanted;
  CollectionSearch _search;
  std::size_t _maxResults;
  bool _indexed;
  const Languages& _languages;
  std::size_t _matched = 0;
  bool _ended = false;
  std::chrono::steady_clock::time_point _start = std::chrono::steady_clock::now();
};

// The library's request for a page's query over the folders: the walk's defaults as the
// program's (ignore files read, hidden files left out), snippets with their terms.
[[nodiscard]] SearchRequest pageSearchRequest(const PageQuery& query,
                                              const std::vector<std::filesystem::path>& folders,
                                              Languages& languages);

}  // namespace orvel::serve
