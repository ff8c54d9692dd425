#include "orvel/find/internal/file_search.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <new>
#include <span>
#include <vector>

#include "orvel/base/utf8.h"
#include "orvel/dsstore/ds_store.h"
#include "orvel/find/collection_index.h"
#include "orvel/formats/markdown_files.h"
#include "orvel/records/compression.h"
#include "orvel/search/language_filter.h"

namespace orvel::internal {
namespace {

// The search of one file: what the walk found, and what is found in it.
class FileSearch {
 public:
  FileSearch(const SearchPlan& plan, WalkItem& item)
      : _plan(plan), _request(plan.request), _stream(item.stream) {
    _result.path = std::move(item.path);
    _result.named = item.named;
  }

  std::optional<SearchResult> run(ReadingThread& thread);

 private:
  [[nodiscard]] bool wanted(DocumentKind kind) const {
    return _request.kinds.empty() ||
           std::find(_request.kinds.begin(), _request.kinds.end(), kind) != _request.kinds.end();
  }
  [[nodiscard]] bool quiet() const { return !_result.named && !_request.reportSkipped; }
  // Where the terms inside the snippets go, when they are asked for.
  [[nodiscard]] std::vector<TermPlace>* termsWanted(std::vector<TermPlace>& terms) const {
    return _request.terms && _request.want == SearchWant::kOccurrences ? &terms : nullptr;
  }

  void searchText(ReadingThread& thread);
  // Inflates a gzip file's bytes and searches the document they hold.
  void searchGzip(std::string_view bytes, const std::filesystem::path& path);
  // Reads the file as little as the query needs: true when that settled it, else `bytes` is
  // the whole file.
  bool settleOnBytes(DocumentReader& reader, const std::filesystem::path& path,
                     std::string_view& bytes);
  std::optional<bool> settledOnFirstBytes(DocumentReader& reader) const;
  bool prefixMatches(DocumentReader& reader) const;
  void searchDocument(DocumentText document);
  void keepOccurrences(const std::vector<OccurrencePlace>& places,
                       const std::vector<TermPlace>& terms, std::u16string_view text,
                       std::string_view utf8, bool unitRanges);
  void addOccurrence(std::size_t line, Range range, std::string_view snippetUtf8);
  void addTerms(const OccurrencePlace& place, std::span<const TermPlace> terms,
                std::u16string_view text);
  void addCommentOccurrence(const std::u16string& comment);

  const SearchPlan& _plan;
  const SearchRequest& _request;
  bool _stream;  // a pipe or device, read to its end
  SearchResult _result;
  bool _matched = false;
  // The byte tests found that the file may match: no need to repeat them.
  bool _possible = false;
};

std::optional<SearchResult> FileSearch::run(ReadingThread& thread) {
  // A file matches by its text, or with comments by its comment (even a file that is no
  // text: a picture is found by what was written about it).
  std::optional<std::u16string> comment;
  if (_request.comments) {
    comment = finderCommentAtPath(_result.path);
    if (comment && !_plan.query.matches(*comment)) comment.reset();
  }
  if (comment) {
    _matched = true;
    addCommentOccurrence(*comment);
    if (_request.want == SearchWant::kFiles) return std::move(_result);
  }
  try {
    searchText(thread);
  } catch (const DocumentReadError& error) {
    _result.status = SearchStatus::kFailed;
    _result.error = error.code != 0 ? error.code : -1;
    _result.message = error.message;
  } catch (const std::bad_alloc&) {
    _result.status = SearchStatus::kFailed;
    _result.error = ENOMEM;
    _result.message = "too large to search in memory";
  }
  if (_result.status == SearchStatus::kFailed) {
    _result.occurrences.clear();
    _result.snippets.clear();
    _result.count = 0;
    return std::move(_result);
  }
  if (comment) {
    _result.status = SearchStatus::kMatched;
    _result.message.clear();
  }
  if (_result.status == SearchStatus::kSkipped) {
    if (quiet()) return std::nullopt;
    return std::move(_result);
  }
  if (!_matched) return std::nullopt;
  return std::move(_result);
}

void FileSearch::searchText(ReadingThread& thread) {
  // One path object for the kind tests: making one splits the path, which costs more than
  // the tests themselves.
  const std::filesystem::path path = _result.path;
  if (isTextBundleFile(path)) {
    _result.kind = DocumentKind::kTextBundle;
    if (wanted(_result.kind)) searchDocument(textBundleDocumentText(path));
    return;
  }
  DocumentReader reader(thread, _result.path, _stream);
  if (_request.searchZip && reader.readAtLeast(2).starts_with("\x1F\x8B")) {
    searchGzip(reader.readAll(), path);
    return;
  }
  std::string_view bytes;
  if (settleOnBytes(reader, path, bytes)) return;
  // Whether it is text first: a file that is not is reported, whatever its bytes hold.
  const SearchPrefilter& prefilter = _plan.prefilter;
  DocumentText document = _possible ? documentText(bytes, _result.kind)
                                    : documentText(bytes, _result.kind, [&](std::string_view all) {
                                        return prefilter.mayMatch(all);
                                      });
  // A feed-like file that is no feed after all is text, which the kinds may not want.
  if (!wanted(document.kind)) {
    _result.kind = document.kind;
    return;
  }
  searchDocument(std::move(document));
}

bool FileSearch::settleOnBytes(DocumentReader& reader, const std::filesystem::path& path,
                               std::string_view& bytes) {
  const std::string_view first = reader.readAtLeast(kBytesDecidingText);
  _result.bytesRead = first.size();
  _result.kind = documentKind(path, first);
  if (!wanted(_result.kind)) return true;
  // A longer file that is no text is told by its first bytes, before the rest is read.
  if (!reader.atEnd()) {
    if (std::string why = whyNotDocument(first, _result.kind); !why.empty()) {
      if (_result.kind == DocumentKind::kFeed) {  // a feed that is not one is read as text
        _result.kind = DocumentKind::kText;
        if (!wanted(_result.kind)) return true;
      }
      _result.status = SearchStatus::kSkipped;
      _result.message = std::move(why);
      return true;
    }
  }
  // A page's or feed's words may be spelt with entities, split by tags or in another
  // encoding: neither the byte pre-filter nor a prefix of its bytes can speak for it; and
  // the language of a file is that of all its text.
  const bool markup = _result.kind == DocumentKind::kHtml || _result.kind == DocumentKind::kFeed;
  const bool shortcuts = !markup && !_request.languageFilter && !_plan.plain;
  const bool listing = shortcuts && _request.want == SearchWant::kFiles;
  const SearchPrefilter& prefilter = _plan.prefilter;
  bool bytesDecide = listing && prefilter.decides();
  if (bytesDecide) {
    if (const auto settled = settledOnFirstBytes(reader)) {
      _matched = *settled;
      _result.bytesRead = reader.readAtLeast(0).size();
      return true;
    }
    // A file read whole already was decided on as a whole: left open, it may match.
    _possible = reader.atEnd();
    bytesDecide = !_possible;
  }
  // Where the bytes decide, a prefix they left open is not tried again decoded: the whole
  // file is decided on next.
  if (listing && _plan.monotone && !bytesDecide && prefixMatches(reader)) {
    _matched = true;
    _result.bytesRead = reader.readAtLeast(0).size();
    return true;
  }
  bytes = reader.readAll();
  _result.bytesRead = bytes.size();
  if (bytesDecide && whyNotText(bytes).empty()) {
    // Over the whole file an open answer means every word it needs may be there.
    const ByteAnswer answer = prefilter.decide(bytes, true);
    if (answer != ByteAnswer::kUnknown) {
      _matched = answer == ByteAnswer::kYes;
      return true;
    }
    _possible = true;
  } else if (quiet() && !markup && !_possible) {
    if (!prefilter.mayMatch(bytes)) return true;
    _possible = true;
  }
  // A file is searched on its bytes when the query and the bytes allow it.
  if (listing) {
    if (const std::optional<bool> matches = _plan.query.byteMatches(bytes)) {
      _matched = *matches;
      return true;
    }
  }
  if (shortcuts && _request.want != SearchWant::kFiles) {
    const bool occurrences = _request.want == SearchWant::kOccurrences;
    const bool unitRanges = occurrences && _request.ranges;
    std::vector<TermPlace> terms;
    if (auto places = _plan.query.byteOccurrencePlaces(bytes, _request.paragraphs, occurrences,
                                                       unitRanges, termsWanted(terms))) {
      // Found on the bytes, a text matches when its words occur.
      if (!places->empty()) keepOccurrences(*places, terms, {}, bytes, unitRanges);
      return true;
    }
  }
  return false;
}

// The most a gzip file inflates to, for its size: beyond that it is taken for a bomb.
constexpr std::size_t kMaxInflationRatio = 200;

void FileSearch::searchGzip(std::string_view bytes, const std::filesystem::path& path) {
  _result.bytesRead = bytes.size();
  std::vector<std::uint8_t> inflated;
  const std::size_t limit = std::min(kMaxDocumentBytes, kMaxInflationRatio * bytes.size());
  if (!setDataByInflatingBytes(inflated, bytes.data(), bytes.size(), limit)) {
    throw DocumentReadError{0, inflated.size() >= limit
                                   ? "a gzip file that inflates past " +
                                         std::to_string(kMaxInflationRatio) +
                                         " times its size or 1 GiB: not searched"
                                   : "a damaged gzip file"};
  }
  const std::string_view text(reinterpret_cast<const char*>(inflated.data()), inflated.size());
  // Its kind by its name without the .gz, and by what it holds.
  const std::filesystem::path inner =
      path.extension() == ".gz" ? path.parent_path() / path.stem() : path;
  _result.kind = documentKind(inner, text.substr(0, kBytesDecidingText));
  if (!wanted(_result.kind)) return;
  DocumentText document = documentText(text, _result.kind);
  if (!wanted(document.kind)) {
    _result.kind = document.kind;
    return;
  }
  searchDocument(std::move(document));
}

// For a files-only search of words joined by AND and OR: whether the first bytes settle the
// file, without decoding it (a match, or none). nullopt leaves it to the rest of the file, or
// to the plain path where the file is no text (which reports that).
std::optional<bool> FileSearch::settledOnFirstBytes(DocumentReader& reader) const {
  const std::string_view first = reader.readAtLeast(kBytesDecidingText);
  const ByteAnswer answer = _plan.prefilter.decide(first, reader.atEnd());
  if (answer == ByteAnswer::kNo && quiet()) return false;
  if (answer == ByteAnswer::kUnknown || !whyNotText(first).empty()) return std::nullopt;
  return answer == ByteAnswer::kYes;
}

// For a files-only search of a monotone query: whether a prefix of the file already matches,
// so that the rest need not be read. The first kilobytes decide whether the file is text.
bool FileSearch::prefixMatches(DocumentReader& reader) const {
  const std::string_view bytes = reader.readAtLeast(kBytesDecidingText);
  if (reader.atEnd()) return false;  // the whole file is here: search it as a whole
  if (!whyNotText(bytes).empty()) return false;
  const std::string_view prefix(bytes.data(), safePrefixEnd(bytes));
  if (prefix.empty() || !_plan.prefilter.mayMatch(prefix)) return false;
  if (const std::optional<bool> matches = _plan.query.byteMatches(prefix)) return *matches;
  return _plan.query.matches(decodeDocumentText(prefix));
}

// Tests a document's text and finds its occurrences, unless its language is filtered out.
void FileSearch::searchDocument(DocumentText document) {
  _result.kind = document.kind;
  if (!document.notTextReason.empty()) {
    _result.status = SearchStatus::kSkipped;
    _result.message = std::move(document.notTextReason);
  }
  if (!document.text) return;
  const std::u16string& text = *document.text;
  if (_request.languageFilter && _request.languageFilter->filterText(text)) return;
  if (_request.want == SearchWant::kFiles) {
    _matched = _matched || _plan.query.matches(text);
    return;
  }
  const bool occurrences = _request.want == SearchWant::kOccurrences;
  std::vector<TermPlace> terms;
  const auto places = _plan.query.matchingOccurrencePlaces(text, _request.paragraphs, occurrences,
                                                           termsWanted(terms));
  if (places) keepOccurrences(*places, terms, text, {}, true);
}

// Keeps a matching text's occurrences (or their number), with their snippets taken from the
// decoded text or, for a file searched on its bytes, from its UTF-8.
void FileSearch::keepOccurrences(const std::vector<OccurrencePlace>& places,
                                 const std::vector<TermPlace>& terms, std::u16string_view text,
                                 std::string_view utf8, bool unitRanges) {
  _matched = true;
  std::size_t kept = places.size();
  if (_request.maxCount > 0)
    kept = std::min(kept, _request.maxCount - std::min(_request.maxCount, _result.count));
  if (_request.want != SearchWant::kOccurrences) {
    _result.count += kept;
    return;
  }
  _result.occurrences.reserve(_result.occurrences.size() + kept);
  std::string snippet;
  for (const OccurrencePlace& place : std::span(places).first(kept)) {
    const Range range = unitRanges ? place.range : Range::notFound();
    if (utf8.empty()) {
      snippet.clear();
      appendUtf16AsUtf8(snippet, text.substr(place.range.location, place.range.length));
      addOccurrence(place.line + 1, range, snippet);
    } else {
      addOccurrence(place.line + 1, range, utf8.substr(place.range.location, place.range.length));
    }
    addTerms(place, terms, text);
  }
}

// The terms of the occurrence just added, at their offsets in its snippet's UTF-8: measured
// in a decoded text from the term before, and already in bytes in a text searched on them
// (`text` empty).
void FileSearch::addTerms(const OccurrencePlace& place, std::span<const TermPlace> terms,
                          std::u16string_view text) {
  if (!_request.terms) return;
  FoundOccurrence& occurrence = _result.occurrences.back();
  occurrence.firstTerm = _result.terms.size();
  occurrence.termCount = place.termCount;
  std::size_t measured = place.range.location;
  std::size_t bytes = 0;
  for (const TermPlace& term : terms.subspan(place.firstTerm, place.termCount)) {
    FoundTerm& found =
        _result.terms.emplace_back(FoundTerm{term.range.location - place.range.location,
                                             term.range.length, term.line + 1, term.column + 1});
    if (text.empty()) continue;
    bytes += utf8LengthOfUtf16(text.substr(measured, term.range.location - measured));
    measured = term.range.location;
    found.start = bytes;
    found.length = utf8LengthOfUtf16(text.substr(term.range.location, term.range.length));
  }
}

// The Finder comment as the first occurrence, line 0, the whole comment its snippet.
void FileSearch::addCommentOccurrence(const std::u16string& comment) {
  addOccurrence(0, Range{0, comment.size()}, utf16ToUtf8(comment));
  if (_request.want != SearchWant::kOccurrences || !_request.terms) return;
  std::vector<TermPlace> terms;
  (void)_plan.query.occurrencePlaces(comment, false, true, &terms);
  const std::size_t first = _result.terms.size();
  addTerms(OccurrencePlace{Range{0, comment.size()}, 0, 0, terms.size()}, terms, comment);
  // The comment is line 0 whatever lines it holds.
  for (FoundTerm& term : std::span(_result.terms).subspan(first)) term.line = 0;
}

void FileSearch::addOccurrence(std::size_t line, Range range, std::string_view snippetUtf8) {
  ++_result.count;
  if (_request.want != SearchWant::kOccurrences) return;
  const Range kept = _request.ranges ? range : Range::notFound();
  _result.occurrences.push_back({line, kept, _result.snippets.size(), snippetUtf8.size()});
  _result.snippets.append(snippetUtf8);
}

// ORVEL_SEARCH_PLAIN set in the environment turns every shortcut off, as SearchRequest::plain
// does: a user may use it to rule the shortcuts out.
bool plainPathForced() { return std::getenv("ORVEL_SEARCH_PLAIN") != nullptr; }

}  // namespace

SearchPlan::SearchPlan(const SearchRequest& request)
    : request(request),
      query(request.query, request.caseSensitive, request.wildcard, request.ignoreAccents),
      monotone(isMonotoneQuery(query.tree())),
      plain(request.plain || plainPathForced()) {
  // The byte tests look for the words as they are spelt.
  if (!plain && !request.ignoreAccents)
    prefilter = SearchPrefilter(query.tree(), query.caseSensitive(), query.wildcard());
}

std::optional<SearchResult> searchWalkItem(WalkItem& item, const SearchPlan& plan,
                                           ReadingThread& thread) {
  if (item.skipped) {
    if (!plan.request.reportSkipped) return std::nullopt;
    SearchResult skipped;
    skipped.path = std::move(item.path);
    skipped.status = SearchStatus::kSkipped;
    skipped.message = std::move(item.message);
    return skipped;
  }
  // A file found in a folder was asked about by the walk; one named is asked here.
  const IndexSelection* index = plan.request.inputs.index.get();
  if (item.named && item.error == 0 && !item.stream && index != nullptr &&
      index->rulesOut(item.path)) {
    return std::nullopt;
  }
  if (item.error != 0) {
    SearchResult failed;
    failed.path = std::move(item.path);
    failed.named = item.named;
    failed.status = SearchStatus::kFailed;
    failed.error = item.error;
    failed.message = std::move(item.message);
    return failed;
  }
  return FileSearch(plan, item).run(thread);
}

}  // namespace orvel::internal
