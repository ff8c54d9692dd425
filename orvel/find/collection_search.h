// Searching a collection of documents with the query language: the files under folders and
// in lists, of every document kind, on several threads, with the results in the order of
// the walk as soon as they are ready.
//
//   orvel::SearchRequest request;
//   request.query = u"harbour NEAR/5 ship";
//   request.paths = {"/home/me/Documents"};
//   orvel::CollectionSearch search(std::move(request));
//   while (auto result = search.next()) {
//     if (result->status != orvel::SearchStatus::kMatched) continue;
//     for (const orvel::FoundOccurrence& occurrence : result->occurrences)
//       std::cout << result->path << ':' << occurrence.line << ':' << result->snippet(occurrence);
//   }
//
// A file's trouble (missing, unreadable, a folder that cannot be read, a file gone since it
// was found) is a result of its own, in its place; the search goes on. Nothing is thrown.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "orvel/base/range.h"
#include "orvel/find/collection_walk.h"
#include "orvel/formats/documents.h"

namespace orvel {

class LanguageFilter;
struct SearchResult;

// What a search answers for each matching file.
enum class SearchWant {
  kFiles,        // that it matches: the quickest, a file is left as soon as it is settled
  kCounts,       // the number of occurrences of the query's positive terms
  kOccurrences,  // each occurrence with its line and snippet
};

// Files, bytes and results so far, for a progress display.
struct SearchProgress {
  std::uint64_t filesSearched = 0;
  std::uint64_t bytesRead = 0;
  std::uint64_t filesFound = 0;  // files the walk has found so far (it finds them as it goes)
  bool walkDone = false;         // filesFound is the total
};

struct SearchRequest {
  // The query, and how its terms compare.
  std::u16string query;
  bool caseSensitive = false;
  bool wildcard = false;  // terms are wildcard patterns
  // Compared through the accent-folding table: "dignite" finds "dignité". Such a search
  // decodes every file it reads (no byte shortcuts).
  bool ignoreAccents = false;

  // What is searched; with neither paths nor a list, nothing.
  WalkInputs inputs;
  std::vector<DocumentKind> kinds;  // only documents of these kinds (all when empty)
  // A file's Finder comment (its folder's .DS_Store, else the comment attribute) can match
  // too, even for a file that is no text; it comes first among the occurrences, as line 0.
  bool comments = false;
  // Files clearly in another language than the filter's are left out (see LanguageFilter).
  std::shared_ptr<const LanguageFilter> languageFilter;

  SearchWant want = SearchWant::kOccurrences;
  // With kCounts and kOccurrences: at most this many occurrences a file (the first; the
  // Finder comment counts as one), and its count stops there; 0 for all.
  std::size_t maxCount = 0;
  bool paragraphs = false;  // snippets are lines, not sentences
  // With kOccurrences: each occurrence's range in the document's text, in UTF-16 units.
  // Without it ranges are left out (location NSNotFound), which lets a file of UTF-8 be
  // searched on its bytes.
  bool ranges = true;
  // With kOccurrences: where the query's terms are inside each snippet (FoundTerm), for
  // marking them, and the line and column of each, for jumping to it.
  bool terms = false;
  // A gzip file (whose bytes begin with its magic number) is searched as the document it
  // holds, inflated up to 1 GiB and 200 times its size (past that it is a failure: a gzip
  // bomb is not inflated), its kind that of its name without ".gz".
  bool searchZip = false;
  // Report files found in folders that are skipped as no text (a named file always is).
  bool reportSkipped = false;
  // Every file read whole, decoded and evaluated, without the byte shortcuts: the slow path
  // that the shortcuts must agree with (also set by ORVEL_SEARCH_PLAIN in the environment).
  bool plain = false;

  unsigned threads = 0;  // 0: one per core
  // Called for each matching file's result on the thread that searched it, before the
  // result waits for its turn: work a caller would otherwise do on every result in order on
  // one thread (telling its language, formatting it) runs on every searching thread. It may
  // fill SearchResult::prepared. Called from several threads at once.
  std::function<void(SearchResult&)> prepare;
  // Called from a searching thread (one call at a time) every progressInterval while the
  // search runs, and possibly once cancelled, until the search is destroyed.
  std::function<void(const SearchProgress&)> progress;
  std::chrono::milliseconds progressInterval{200};
};

enum class SearchStatus {
  kMatched,  // the file matches: its occurrences (or count) follow
  kSkipped,  // not searched, no text (a named file, or with reportSkipped): see message
  kFailed,   // could not be walked or read: see message and error
};

// A term inside a snippet, where SearchRequest::terms asks for them: the first term of the
// snippet, then each next one after the end of the one before.
struct FoundTerm {
  std::size_t start = 0;   // in the snippet's UTF-8, in bytes
  std::size_t length = 0;  // in bytes
  std::size_t line = 0;    // where it starts: 1 for the first line (0 in the Finder comment)
  std::size_t column = 0;  // 1 for a line's first byte, counted in UTF-8 bytes
};

struct FoundOccurrence {
  std::size_t line = 0;          // 1 for the first line; 0 for the Finder comment
  Range range{NSNotFound, 0};    // the snippet in the document's text (UTF-16 units), if asked
  std::size_t snippetStart = 0;  // the snippet's UTF-8 in SearchResult::snippets
  std::size_t snippetLength = 0;
  std::size_t firstTerm = 0;  // its terms are SearchResult::terms[firstTerm, + termCount)
  std::size_t termCount = 0;
};

struct SearchResult {
  std::string path;    // as given, or the folder's path joined with the names walked
  bool named = false;  // given by the caller, not found in a folder
  SearchStatus status = SearchStatus::kMatched;
  DocumentKind kind = DocumentKind::kText;
  std::string message;    // kSkipped: why it is no text; kFailed: what went wrong
  int error = 0;          // kFailed: the system's error number, or -1 when there is none
  std::size_t count = 0;  // kCounts and kOccurrences: occurrences (the comment's included)
  std::vector<FoundOccurrence> occurrences;  // kOccurrences
  std::string snippets;                      // every snippet's UTF-8, one after another
  std::vector<FoundTerm> terms;              // with SearchRequest::terms
  std::uint64_t bytesRead = 0;
  std::string prepared;  // what SearchRequest::prepare made of it, for the caller

  [[nodiscard]] std::string_view snippet(const FoundOccurrence& occurrence) const {
    return std::string_view(snippets).substr(occurrence.snippetStart, occurrence.snippetLength);
  }
  [[nodiscard]] std::span<const FoundTerm> termsOf(const FoundOccurrence& occurrence) const {
    return std::span(terms).subspan(occurrence.firstTerm, occurrence.termCount);
  }
};

// A search under way. It starts with the first next(); on several threads it searches ahead
// of the results taken (at most 32 files a thread, and walks a few hundred ahead), and its
// threads stop when it is destroyed. On one thread it does nothing ahead: each file is
// walked to and searched when next() asks for the next result.
class CollectionSearch {
 public:
  explicit CollectionSearch(SearchRequest request);
  ~CollectionSearch();
  CollectionSearch(const CollectionSearch&) = delete;
  CollectionSearch& operator=(const CollectionSearch&) = delete;

  // The next result (a match, a skipped or a failed file) in the order of the walk, waiting
  // until it is ready; nullopt at the end, or after cancel().
  std::optional<SearchResult> next();
  // Whether the next file in order is searched already: next() answers it, or passes over it
  // when it did not match, without waiting for it. For a caller that gathers what is ready
  // before passing it on (from the thread that calls next()).
  [[nodiscard]] bool nextIsReady() const;
  // Stops the search from any thread (a progress callback too): no file is started after it.
  void cancel();
  [[nodiscard]] SearchProgress progress() const;

 private:
  struct State;
  std::unique_ptr<State> _state;
};

// Runs a search to its end, handing each result to `take` on the calling thread; `take`
// answers false to stop. Answers the progress at the end.
SearchProgress searchCollection(SearchRequest request,
                                const std::function<bool(SearchResult&)>& take);

}  // namespace orvel
