#include "tools/orvel/serve/result_lines.h"

#include <nlohmann/json.hpp>

#include "orvel/base/utf8.h"
#include "orvel/dsstore/ds_store.h"

#include "tools/orvel/json_text.h"

namespace orvel::serve {
namespace {

using Json = nlohmann::json;

// The most of a result's snippets its language is told from, in bytes: about 80 words of
// a Latin script, enough for the stop words to tell, at a bounded cost for a file with many
// long snippets.
constexpr std::size_t kLanguageSampleBytes = 500;
// The most bytes of lines sent at once, when more than one is ready.
constexpr std::size_t kLinesAtOnce = 64 * 1024;

void appendJsonStringOrNull(std::string& out, const std::optional<std::string>& text) {
  if (text) {
    cli::appendJsonString(out, *text);
  } else {
    out += "null";
  }
}

// "occurrences": each with its line, snippet and terms ([start, end) in UTF-16 units).
void appendOccurrences(std::string& out, const SearchResult& result) {
  out += '[';
  for (const FoundOccurrence& occurrence : result.occurrences) {
    if (&occurrence != &result.occurrences.front()) out += ',';
    const std::string_view snippet = result.snippet(occurrence);
    out += "{\"line\":" + std::to_string(occurrence.line) + ",\"snippet\":";
    cli::appendJsonString(out, snippet);
    out += ",\"terms\":[";
    cli::Utf16Offsets units(snippet);
    for (const FoundTerm& term : result.termsOf(occurrence)) {
      if (out.back() != '[') out += ',';
      const std::size_t start = units.before(term.start);
      out += '[' + std::to_string(start) + ',' +
             std::to_string(units.before(term.start + term.length)) + ']';
    }
    out += "]}";
  }
  out += ']';
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
  // Telling a language reads the lists only: any number of threads at once.
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
  // Each match's line is written on the thread that found it.
  request.prepare = [this](SearchResult& result) { result.prepared = matchLine(result); };
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
  std::string lines;
  // The first match waits for the search; those found by then go with it.
  while (lines.empty() || (lines.size() < kLinesAtOnce && _search.nextIsReady())) {
    if (_matched == _maxResults) break;
    std::optional<SearchResult> result = _search.next();
    if (!result) break;
    if (result->status != SearchStatus::kMatched) continue;
    ++_matched;
    lines += result->prepared;
  }
  if (!lines.empty()) return lines;
  return endLine();
}

std::string ResultLines::endLine() {
  _ended = true;
  const bool truncated = _matched >= _maxResults;
  if (truncated) _search.cancel();
  const SearchProgress progress = _search.progress();
  const double seconds =
      std::chrono::duration<double>(std::chrono::steady_clock::now() - _start).count();
  const Json end = {{"type", "end"},          {"searched", progress.filesSearched},
                    {"matched", _matched},    {"seconds", seconds},
                    {"truncated", truncated}, {"indexed", _indexed}};
  return end.dump() + "\n";
}

std::string ResultLines::matchLine(const SearchResult& result) const {
  std::string line = "{\"type\":\"match\",\"path\":";
  cli::appendJsonString(line, result.path);
  line += ",\"kind\":\"" + std::string(documentKindName(result.kind)) + "\",\"language\":";
  const std::u16string sample =
      utf8ToUtf16Lenient(std::string_view(result.snippets).substr(0, kLanguageSampleBytes));
  appendJsonStringOrNull(line, _languages.languageOf(sample));
  line += ",\"comment\":";
  const std::optional<std::u16string> comment = finderCommentAtPath(result.path);
  appendJsonStringOrNull(line, comment ? std::optional(utf16ToUtf8(*comment)) : std::nullopt);
  line += ",\"count\":" + std::to_string(result.count) + ",\"occurrences\":";
  appendOccurrences(line, result);
  return line + "}\n";
}

}  // namespace orvel::serve
