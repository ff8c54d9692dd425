#include "tools/orvel/serve/result_lines.h"

#include <nlohmann/json.hpp>

#include "orvel/base/utf8.h"
#include "orvel/dsstore/ds_store.h"

namespace orvel::serve {
namespace {

using Json = nlohmann::json;

std::string jsonLine(const Json& json) {
  return json.dump(-1, ' ', false, Json::error_handler_t::replace) + "\n";
}

Json orNull(const std::optional<std::string>& text) { return text ? Json(*text) : Json(nullptr); }

Json occurrencesOf(const SearchResult& result) {
  Json occurrences = Json::array();
  for (const FoundOccurrence& occurrence : result.occurrences) {
    const std::string_view snippet = result.snippet(occurrence);
    Json terms = Json::array();
    for (const FoundTerm& term : result.termsOf(occurrence)) {
      const std::size_t start = utf16LengthOfUtf8(snippet.substr(0, term.start));
      terms.push_back({start, start + utf16LengthOfUtf8(snippet.substr(term.start, term.length))});
    }
    occurrences.push_back(
        {{"line", occurrence.line}, {"snippet", snippet}, {"terms", std::move(terms)}});
  }
  return occurrences;
}

}  // namespace

Languages::Languages() : _identify(LanguageFilter::defaultFilter()) {}

std::vector<std::string> Languages::codes() const {
  std::vector<std::string> codes;
  if (_identify != nullptr) {
    for (const std::u16string& code : _identify->languages()) codes.push_back(utf16ToUtf8(code));
  }
  return codes;
}

std::optional<std::string> Languages::languageOf(std::u16string_view text) const {
  if (_identify == nullptr) return std::nullopt;
  const std::lock_guard lock(_mutex);
  const std::optional<std::u16string> language = _identify->languageOfText(text);
  return language ? std::optional(utf16ToUtf8(*language)) : std::nullopt;
}

std::shared_ptr<const LanguageFilter> Languages::filterFor(const std::string& code) {
  const std::lock_guard lock(_mutex);
  for (const auto& [known, filter] : _filters) {
    if (known == code) return filter;
  }
  std::shared_ptr<LanguageFilter> filter = LanguageFilter::defaultFilter();
  if (filter == nullptr) return nullptr;
  filter->setLanguage(utf8ToUtf16Lenient(code));
  if (filter->languageIndex() == NSNotFound) return nullptr;
  _filters.emplace_back(code, filter);
  return filter;
}

SearchRequest pageSearchRequest(const PageQuery& query,
                                const std::vector<std::filesystem::path>& folders,
                                Languages& languages) {
  SearchRequest request;
  request.query = utf8ToUtf16Lenient(query.query);
  request.inputs.paths = folders;
  request.inputs.ignoreFiles = true;
  request.kinds = query.kinds;
  request.comments = query.comments;
  if (!query.language.empty()) request.languageFilter = languages.filterFor(query.language);
  request.want = SearchWant::kOccurrences;
  request.maxCount = 20;  // a page shows a few snippets a file; the count stops there too
  request.ranges = false;
  request.terms = true;
  return request;
}

ResultLines::ResultLines(SearchRequest request, std::size_t maxResults, bool indexed,
                         const Languages& languages)
    : _search(watched(std::move(request))),
      _maxResults(maxResults),
      _indexed(indexed),
      _languages(languages) {}

SearchRequest ResultLines::watched(SearchRequest request) {
  request.progress = [this](const SearchProgress&) {
    const std::lock_guard lock(_watchMutex);
    if (_wanted && !_wanted()) _search.cancel();
  };
  return request;
}

void ResultLines::watch(std::function<bool()> wanted) {
  const std::lock_guard lock(_watchMutex);
  _wanted = std::move(wanted);
}

std::optional<std::string> ResultLines::next() {
  if (_ended) return std::nullopt;
  while (_matched < _maxResults) {
    std::optional<SearchResult> result = _search.next();
    if (!result) break;
    if (result->status != SearchStatus::kMatched) continue;
    ++_matched;
    std::optional<std::string> comment;
    if (const auto text = finderCommentAtPath(result->path)) comment = utf16ToUtf8(*text);
    return jsonLine(
        {{"type", "match"},
         {"path", result->path},
         {"kind", documentKindName(result->kind)},
         {"language", orNull(_languages.languageOf(utf8ToUtf16Lenient(result->snippets)))},
         {"comment", orNull(comment)},
         {"count", result->count},
         {"occurrences", occurrencesOf(*result)}});
  }
  _ended = true;
  const bool truncated = _matched >= _maxResults;
  if (truncated) _search.cancel();
  const SearchProgress progress = _search.progress();
  const double seconds =
      std::chrono::duration<double>(std::chrono::steady_clock::now() - _start).count();
  return jsonLine({{"type", "end"},
                   {"searched", progress.filesSearched},
                   {"matched", _matched},
                   {"seconds", seconds},
                   {"truncated", truncated},
                   {"indexed", _indexed}});
}

}  // namespace orvel::serve
