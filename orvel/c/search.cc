// The C entry points of the collection search: a handle around CollectionSearch that keeps
// the result last answered, and its occurrences in C's shape, until the next call.
#include "orvel/c/search.h"

#include <cstdio>
#include <memory>
#include <new>
#include <string>
#include <vector>

#include "orvel/base/utf8.h"
#include "orvel/find/collection_index.h"
#include "orvel/find/collection_search.h"
#include "orvel/search/language_filter.h"

struct orvel_search {
  explicit orvel_search(orvel::SearchRequest request) : search(std::move(request)) {}

  orvel::CollectionSearch search;
  orvel::SearchResult current;
  std::vector<orvel_search_occurrence> occurrences;
  std::vector<orvel_search_term> terms;
  orvel_search_result answered{};
};

namespace {

static_assert(static_cast<int>(orvel::SearchStatus::kMatched) == ORVEL_SEARCH_MATCHED &&
              static_cast<int>(orvel::SearchStatus::kSkipped) == ORVEL_SEARCH_SKIPPED &&
              static_cast<int>(orvel::SearchStatus::kFailed) == ORVEL_SEARCH_FAILED);

void setError(char* error, std::size_t size, const std::string& message) {
  if (error != nullptr && size > 0) std::snprintf(error, size, "%s", message.c_str());
}

std::vector<orvel::DocumentKind> kindsOf(unsigned mask) {
  std::vector<orvel::DocumentKind> kinds;
  const orvel::DocumentKind all[] = {orvel::DocumentKind::kText, orvel::DocumentKind::kMarkdown,
                                     orvel::DocumentKind::kHtml, orvel::DocumentKind::kFeed,
                                     orvel::DocumentKind::kTextBundle};
  for (unsigned bit = 0; bit < 5; ++bit) {
    if ((mask & (1u << bit)) != 0) kinds.push_back(all[bit]);
  }
  return kinds;
}

// The request the options describe; false with the reason when they cannot be used.
bool requestOf(const orvel_search_options& options, orvel::SearchRequest& request,
               std::string& why) {
  const std::optional<std::u16string> query =
      orvel::utf8ToUtf16(options.query == nullptr ? "" : options.query);
  if (!query) {
    why = "the query is not UTF-8";
    return false;
  }
  request.query = *query;
  request.caseSensitive = options.case_sensitive;
  request.wildcard = options.wildcard;
  request.ignoreAccents = options.ignore_accents;
  for (std::size_t i = 0; i < options.path_count; ++i) {
    request.inputs.paths.emplace_back(options.paths[i]);
  }
  if (options.path_list != nullptr) request.inputs.pathList = options.path_list;
  request.inputs.pathListNulSeparated = options.path_list_nul_separated;
  request.inputs.hidden = options.hidden;
  request.inputs.ignoreFiles = options.ignore_files;
  request.terms = options.terms;
  request.kinds = kindsOf(options.kinds);
  request.comments = options.comments;
  if (options.language != nullptr) {
    std::shared_ptr<orvel::LanguageFilter> filter = orvel::LanguageFilter::defaultFilter(true);
    if (filter == nullptr) {
      why = "the stop-word lists are not installed";
      return false;
    }
    filter->setLanguage(orvel::utf8ToUtf16Lenient(options.language));
    if (filter->languageIndex() == orvel::NSNotFound) {
      why = std::string("unknown language ") + options.language;
      return false;
    }
    request.languageFilter = std::move(filter);
  }
  request.want = options.want == ORVEL_SEARCH_FILES    ? orvel::SearchWant::kFiles
                 : options.want == ORVEL_SEARCH_COUNTS ? orvel::SearchWant::kCounts
                                                       : orvel::SearchWant::kOccurrences;
  request.paragraphs = options.paragraphs;
  request.ranges = options.ranges;
  request.reportSkipped = options.report_skipped;
  request.threads = options.threads;
  if (options.index != nullptr) {
    try {
      request.inputs.index = orvel::selectWithIndex(options.index, request);
    } catch (const orvel::IndexError&) {
      // Searched without it: the answers are the same.
    }
  }
  return true;
}

}  // namespace

extern "C" {

void orvel_search_options_init(orvel_search_options* options) {
  *options = orvel_search_options{};
  options->want = ORVEL_SEARCH_OCCURRENCES;
}

orvel_search* orvel_search_open(const orvel_search_options* options, char* error,
                                size_t error_size) {
  try {
    orvel::SearchRequest request;
    std::string why;
    if (!requestOf(*options, request, why)) {
      setError(error, error_size, why);
      return nullptr;
    }
    return new orvel_search(std::move(request));
  } catch (const std::bad_alloc&) {
    setError(error, error_size, "out of memory");
    return nullptr;
  }
}

const orvel_search_result* orvel_search_next(orvel_search* search) {
  std::optional<orvel::SearchResult> next = search->search.next();
  if (!next) return nullptr;
  search->current = std::move(*next);
  const orvel::SearchResult& result = search->current;
  search->terms.clear();
  for (const orvel::FoundTerm& term : result.terms) {
    search->terms.push_back({term.start, term.length, term.line, term.column});
  }
  search->occurrences.clear();
  for (const orvel::FoundOccurrence& occurrence : result.occurrences) {
    const std::string_view snippet = result.snippet(occurrence);
    search->occurrences.push_back(
        {occurrence.line,
         {occurrence.range.location, occurrence.range.length},
         snippet.data(),
         snippet.size(),
         occurrence.termCount > 0 ? &search->terms[occurrence.firstTerm] : nullptr,
         occurrence.termCount});
  }
  orvel_search_result& answered = search->answered;
  answered.path = result.path.c_str();
  answered.path_length = result.path.size();
  answered.named = result.named;
  answered.status = static_cast<int>(result.status);
  answered.kind = orvel::documentKindName(result.kind).data();
  answered.message = result.message.c_str();
  answered.error = result.error;
  answered.count = result.count;
  answered.occurrences = search->occurrences.data();
  answered.occurrence_count = search->occurrences.size();
  answered.bytes_read = result.bytesRead;
  return &answered;
}

void orvel_search_cancel(orvel_search* search) { search->search.cancel(); }

orvel_search_progress orvel_search_get_progress(const orvel_search* search) {
  const orvel::SearchProgress progress = search->search.progress();
  return {progress.filesSearched, progress.bytesRead, progress.filesFound, progress.walkDone};
}

void orvel_search_free(orvel_search* search) { delete search; }

}  // extern "C"
