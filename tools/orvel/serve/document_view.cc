#include "tools/orvel/serve/document_view.h"

#include <algorithm>
#include <fstream>
#include <iterator>

#include <unicode/utf16.h>

#include "orvel/base/utf8.h"
#include "orvel/dsstore/ds_store.h"
#include "orvel/formats/documents.h"
#include "orvel/markup/web_page.h"
#include "orvel/search/text_query.h"
#include "orvel/url/feeds.h"

#include "tools/orvel/serve/site_pages.h"

namespace orvel::serve {
namespace {

namespace fs = std::filesystem;

// The most of a feed read for its display page.
constexpr std::size_t kMaxFeedBytes = std::size_t{64} << 20;
// The most characters of an occurrence shown in the list of them.
constexpr std::size_t kListedCharacters = 160;

std::string escapedText(std::u16string_view text) { return escapeHtml(utf16ToUtf8(text)); }

// The terms to mark, in text order, none overlapping the one before.
std::vector<Range> markedTerms(const std::vector<TermPlace>& terms) {
  std::vector<Range> ranges;
  for (const TermPlace& term : terms) ranges.push_back(term.range);
  std::sort(ranges.begin(), ranges.end(),
            [](const Range& a, const Range& b) { return a.location < b.location; });
  std::vector<Range> kept;
  for (const Range& range : ranges) {
    if (kept.size() == kMaxMarkedTerms) break;
    if (kept.empty() || range.location >= kept.back().location + kept.back().length) {
      kept.push_back(range);
    }
  }
  return kept;
}

// The text with each term in a <mark id="tN">, N counting from 0.
std::string markedText(std::u16string_view text, const std::vector<Range>& terms) {
  std::string html;
  std::size_t at = 0;
  for (std::size_t k = 0; k < terms.size(); ++k) {
    const Range& term = terms[k];
    html += escapedText(text.substr(at, term.location - at));
    html += "<mark id=\"t" + std::to_string(k) + "\">" +
            escapedText(text.substr(term.location, term.length)) + "</mark>";
    at = term.location + term.length;
  }
  return html + escapedText(text.substr(at));
}

// The list of occurrences, each a link to its first marked term.
std::string occurrenceList(std::u16string_view text, const std::vector<OccurrencePlace>& places,
                           const std::vector<TermPlace>& terms, const std::vector<Range>& marked) {
  std::string html = "<nav class=\"hits\" aria-label=\"Occurrences\"><h2>" +
                     std::to_string(places.size()) +
                     (places.size() == 1 ? " occurrence" : " occurrences") + "</h2><ol>";
  for (const OccurrencePlace& place : places) {
    if (place.termCount == 0) continue;
    const Range first = terms[place.firstTerm].range;
    const auto found = std::find_if(marked.begin(), marked.end(), [&](const Range& range) {
      return range.location == first.location;
    });
    if (found == marked.end()) continue;  // past the marked part of the text
    std::u16string_view snippet = text.substr(place.range.location, place.range.length);
    const bool cut = snippet.size() > kListedCharacters;
    snippet = snippet.substr(0, kListedCharacters);
    html += "<li><a href=\"#t" + std::to_string(found - marked.begin()) +
            "\"><span class=\"line\">" + std::to_string(place.line + 1) + "</span>" +
            escapedText(snippet) + (cut ? "…" : "") + "</a></li>";
  }
  return html + "</ol><p class=\"keys\"><kbd>n</kbd> next, <kbd>p</kbd> previous</p></nav>";
}

// The text with the query's terms marked, after the list of its occurrences; a text longer
// than kMaxShownUnits is shown (and searched) up to there.
std::string textSection(std::u16string_view text, const std::string& query) {
  std::string html;
  if (text.size() > kMaxShownUnits) {
    const bool cutsPair = U16_IS_LEAD(text[kMaxShownUnits - 1]);
    text = text.substr(0, kMaxShownUnits - (cutsPair ? 1 : 0));
    html += "<p class=\"trouble\">A long text: its first " + std::to_string(text.size()) +
            " characters are shown; the file as it is holds the rest.</p>";
  }
  std::vector<TermPlace> terms;
  std::vector<OccurrencePlace> places;
  if (!query.empty()) {
    places = TextQuery(utf8ToUtf16Lenient(query)).occurrencePlaces(text, false, true, &terms);
  }
  const std::vector<Range> marked = markedTerms(terms);
  if (!query.empty()) html += occurrenceList(text, places, terms, marked);
  return html + "<pre class=\"text\" id=\"text\">" + markedText(text, marked) + "</pre>";
}

std::string factsOf(const fs::path& file, const DocumentText& document,
                    const Languages& languages) {
  std::string html = "<dl class=\"facts\"><dt>Folder</dt><dd>" +
                     escapeHtml(file.parent_path().string()) + "</dd><dt>Kind</dt><dd>" +
                     std::string(documentKindName(document.kind)) + "</dd>";
  if (document.text) {
    if (const auto language = languages.languageOf(*document.text)) {
      html += "<dt>Language</dt><dd>" + escapeHtml(*language) + "</dd>";
    }
  }
  if (const auto comment = finderCommentAtPath(file)) {
    html += "<dt>Comment</dt><dd>" + escapedText(*comment) + "</dd>";
  }
  return html + "</dl><p class=\"raw\"><a href=\"/raw?path=" + encodeQueryValue(file.string()) +
         "\">The file as it is</a></p>";
}

}  // namespace

std::string documentPage(const fs::path& file, const std::string& query,
                         const Languages& languages) {
  std::string error;
  const std::optional<DocumentText> document = documentTextAtPath(file, &error);
  std::string body;
  if (!document) {
    body = "<p class=\"trouble\">" + escapeHtml(error) + "</p>";
  } else {
    body = factsOf(file, *document, languages);
    if (document->kind == DocumentKind::kFeed) {
      body += "<iframe class=\"feed\" sandbox src=\"/feed?path=" + encodeQueryValue(file.string()) +
              "\" title=\"The feed as a page\"></iframe>";
    }
    if (!document->text) {
      body += "<p class=\"trouble\">Not text: " + escapeHtml(document->notTextReason) + "</p>";
    } else {
      body += textSection(*document->text, query);
    }
  }
  const std::string back =
      "<a class=\"back\" href=\"/?q=" + encodeQueryValue(query) + "\">Search</a>";
  return pageHtml(file.filename().string(), "document", back, body);
}

std::optional<std::string> feedDisplayPage(const fs::path& file) {
  std::ifstream in(file, std::ios::binary);
  std::string bytes;
  bytes.resize(kMaxFeedBytes);
  in.read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  if (in.bad()) return std::nullopt;
  bytes.resize(static_cast<std::size_t>(in.gcount()));
  const std::u16string text = readWebPage(bytes).text;
  if (!isFeed(text)) return std::nullopt;
  return utf16ToUtf8(stringByConvertingFeed(text, std::nullopt, false));
}

}  // namespace orvel::serve
