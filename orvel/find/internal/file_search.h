// One file of a collection search: its kind, its bytes read as little as the query needs,
// and what it answers.
#pragma once

#include "orvel/find/collection_search.h"
#include "orvel/find/internal/document_reader.h"
#include "orvel/find/internal/search_prefilter.h"
#include "orvel/search/text_query.h"

namespace orvel::internal {

// What every file of a search shares, made once: the query and the byte tests.
struct SearchPlan {
  explicit SearchPlan(const SearchRequest& request);

  const SearchRequest& request;
  TextQuery query;
  bool monotone;  // a match in a prefix of a text is a match in the whole text
  SearchPrefilter prefilter;
  bool plain;  // no shortcuts: every file read whole and decoded
};

// The result of searching one item the walk found (a failed item answers itself); nullopt
// when there is nothing to tell (the file does not match, or is left out by kind or
// language, or is no text and need not be reported).
[[nodiscard]] std::optional<SearchResult> searchWalkItem(WalkItem& item, const SearchPlan& plan,
                                                         ReadingThread& thread);

}  // namespace orvel::internal
