#include "orvel/formats/documents.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstring>
#include <utility>

#include <fcntl.h>
#include <unistd.h>

#include "orvel/base/file_bytes.h"
#include "orvel/base/file_extension.h"
#include "orvel/base/utf8.h"
#include "orvel/formats/markdown_files.h"
#include "orvel/markup/html_to_text.h"
#include "orvel/markup/internal/tag_names.h"
#include "orvel/markup/tag_scanner.h"
#include "orvel/markup/web_page.h"
#include "orvel/text/character_sets.h"
#include "orvel/url/feeds.h"

namespace orvel {

namespace {

constexpr char kBinaryReason[] = "binary (holds NUL bytes)";

std::string_view withoutByteOrderMark(std::string_view bytes) {
  if (bytes.substr(0, 3) == "\xEF\xBB\xBF") bytes.remove_prefix(3);
  return bytes;
}

// Saved web pages. Server-script types (php, asp, ...) found in a folder are source code.
const std::string_view kHtmlExtensions[] = {"html", "htm", "xhtml", "xht", "shtml", "shtm", "xhtm"};

// Markup from its first bytes: a document type, an html, head or body tag, or an XML
// declaration followed soon by one of those (XHTML).
bool beginsWithMarkup(std::string_view bytes) {
  constexpr std::size_t kLookAhead = 1024;
  std::string head(withoutByteOrderMark(bytes).substr(0, kLookAhead));
  std::transform(head.begin(), head.end(), head.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  const std::size_t first = head.find_first_not_of(" \t\r\n");
  if (first == std::string::npos) return false;
  const std::string_view start = std::string_view(head).substr(first);
  const auto opensPage = [](std::string_view text) {
    return text.starts_with("<!doctype html") || text.starts_with("<html") ||
           text.starts_with("<head") || text.starts_with("<body");
  };
  if (opensPage(start)) return true;
  if (!start.starts_with("<?xml")) return false;
  const std::size_t next = start.find('<', 1);
  return next != std::string_view::npos && opensPage(start.substr(next));
}

// Whether the first bytes open a feed: an rss, rdf:RDF or feed tag before any html, head or
// body tag, and before any text (a text that mentions a feed's root is no feed). Read as
// ASCII, which every encoding a feed is written in keeps but UTF-16 and UTF-32 (those are
// not looked for).
bool feedRootFirst(std::u16string_view, const unichar* characters, std::size_t nameStart,
                   std::size_t nameLength, std::size_t tagStart, std::size_t, std::size_t textStart,
                   int kind, void* context) {
  bool& opens = *static_cast<bool*>(context);
  for (std::size_t at = textStart; at < tagStart; ++at) {
    if (!isWhiteUnit(whiteCharacterSetRep(), characters[at])) return true;
  }
  if (kind != kTagKindTag) return false;
  const auto named = [&](std::string_view upper) {
    return internal::tagNameIs(characters, nameStart, nameLength, upper);
  };
  opens = named("RSS") || named("RDF:RDF") || named("FEED");
  return opens || named("HTML") || named("HEAD") || named("BODY");
}

bool opensFeed(std::string_view bytes) {
  bytes = withoutByteOrderMark(bytes);
  // Text before the first tag makes no feed: most documents are told at their first byte
  // that is no white space (each byte widened as the scan below widens it).
  const auto white = [](char byte) {
    return isWhiteUnit(whiteCharacterSetRep(), static_cast<char16_t>(byte));
  };
  const auto first = std::find_if_not(bytes.begin(), bytes.end(), white);
  if (first == bytes.end() || *first != '<') return false;
  const std::u16string head(bytes.begin(), bytes.begin() + std::min(bytes.size(), kTextSniffBytes));
  bool opens = false;
  GetTagsOfString(head, feedRootFirst, &opens, false);
  return opens;
}

std::string invalidUtf8Reason(std::size_t offset) {
  return "not UTF-8 text (invalid byte at offset " + std::to_string(offset) + ")";
}

}  // namespace

std::string whyNotText(std::string_view bytes) {
  bytes = withoutByteOrderMark(bytes);
  std::string_view window = bytes.substr(0, kTextSniffBytes);
  if (window.size() < bytes.size()) {
    // A character the window cuts is judged with the rest of the text, leniently.
    std::size_t end = window.size();
    while (end > 0 && window.size() - end < 3 &&
           (static_cast<unsigned char>(window[end - 1]) & 0xC0) == 0x80) {
      --end;
    }
    if (end > 0 && static_cast<unsigned char>(window[end - 1]) >= 0xC0) --end;
    window = window.substr(0, end);
  }
  if (window.find('\0') != std::string_view::npos) return kBinaryReason;
  std::size_t invalidOffset = 0;
  return isValidUtf8(window, &invalidOffset) ? std::string() : invalidUtf8Reason(invalidOffset);
}

std::u16string decodeDocumentText(std::string_view bytes) {
  return utf8ToUtf16Lenient(withoutByteOrderMark(bytes));
}

DocumentKind documentKind(const std::filesystem::path& path, std::string_view firstBytes) {
  if (isTextBundleFile(path)) return DocumentKind::kTextBundle;
  if (opensFeed(firstBytes)) return DocumentKind::kFeed;
  const std::string_view extension = fileExtension(path);
  const auto sameNoCase = [extension](std::string_view name) {
    return name.size() == extension.size() &&
           std::equal(name.begin(), name.end(), extension.begin(), [](char a, char b) {
             return a == std::tolower(static_cast<unsigned char>(b));
           });
  };
  if (std::any_of(std::begin(kHtmlExtensions), std::end(kHtmlExtensions), sameNoCase)) {
    return DocumentKind::kHtml;
  }
  if (isMarkDownFile(path)) return DocumentKind::kMarkdown;
  if (extension.empty() && beginsWithMarkup(firstBytes)) return DocumentKind::kHtml;
  return DocumentKind::kText;
}

std::string_view documentKindName(DocumentKind kind) {
  switch (kind) {
    case DocumentKind::kMarkdown: return "markdown";
    case DocumentKind::kHtml: return "html";
    case DocumentKind::kFeed: return "feed";
    case DocumentKind::kTextBundle: return "textbundle";
    case DocumentKind::kText: break;
  }
  return "text";
}

// Other names of the kinds, as grep tools' type names and file extensions spell them.
constexpr std::pair<std::string_view, DocumentKind> kKindAliases[] = {
    {"txt", DocumentKind::kText},           {"md", DocumentKind::kMarkdown},
    {"htm", DocumentKind::kHtml},           {"xhtml", DocumentKind::kHtml},
    {"rss", DocumentKind::kFeed},           {"atom", DocumentKind::kFeed},
    {"textpack", DocumentKind::kTextBundle}};

std::optional<DocumentKind> documentKindNamed(std::string_view name) {
  for (const DocumentKind kind : {DocumentKind::kText, DocumentKind::kMarkdown, DocumentKind::kHtml,
                                  DocumentKind::kFeed, DocumentKind::kTextBundle}) {
    if (documentKindName(kind) == name) return kind;
  }
  for (const auto& [alias, kind] : kKindAliases) {
    if (alias == name) return kind;
  }
  return std::nullopt;
}

std::string documentKindList() {
  std::string markdown;
  for (std::size_t k = 0; k < MarkDownFileTypes().size(); k += 2) {
    markdown += " ." + utf16ToUtf8(MarkDownFileTypes()[k]);
  }
  std::string html;
  for (const std::string_view extension : kHtmlExtensions) html += " ." + std::string(extension);
  return "text: any other file that is UTF-8 text\n"
         "markdown:" +
         markdown +
         "\n"
         "html:" +
         html +
         ", and files without an extension that begin with markup\n"
         "feed: RSS, RDF and Atom files, by their first tag, whatever their extension\n"
         "textbundle: .textbundle folders and .textpack archives\n"
         "(also named: txt, md, htm, xhtml, rss, atom, textpack)\n";
}

DocumentText textBundleDocumentText(const std::filesystem::path& path) {
  DocumentText document;
  document.kind = DocumentKind::kTextBundle;
  std::string why;
  document.text = stringWithContentsOfTextBundleFile(path, std::nullopt, nullptr, &why);
  if (!document.text) document.notTextReason = "a text bundle without text: " + why;
  return document;
}

std::optional<std::string> whyNotMarkup(std::u16string_view pageText) {
  if (pageText.substr(0, kTextSniffBytes).find(u'\0') == std::u16string_view::npos) {
    return std::nullopt;
  }
  return kBinaryReason;
}

std::string whyNotDocument(std::string_view firstBytes, DocumentKind kind) {
  switch (kind) {
    case DocumentKind::kText:
    case DocumentKind::kMarkdown: return whyNotText(firstBytes);
    case DocumentKind::kHtml: return whyNotMarkup(webPageText(firstBytes)).value_or("");
    // A feed whose markup is no text is read as text, which says why it is not.
    case DocumentKind::kFeed:
      return whyNotMarkup(webPageText(firstBytes)) ? whyNotText(firstBytes) : "";
    case DocumentKind::kTextBundle: break;
  }
  return {};
}

std::u16string feedSearchText(std::u16string_view feed) {
  std::u16string text;
  for (const FeedItem& item : getItemsOfFeed(feed)) {
    // Titles are markup too, as the display page shows them ("<em>" in an HTML title).
    text += convertHtml2PlainText(item.title, Html2TextOptions{});
    text += u'\n';
    text += convertHtml2PlainText(item.content.empty() ? item.description : item.content,
                                  Html2TextOptions{});
    text += u"\n\n";
  }
  return text;
}

DocumentText documentText(std::string_view bytes, DocumentKind kind,
                          const std::function<bool(std::string_view)>& mayMatch) {
  DocumentText document{kind, std::nullopt, {}};
  if (kind == DocumentKind::kFeed) {
    std::u16string feed = webPageText(bytes);
    if (whyNotMarkup(feed) || !isFeed(feed)) {
      // Feed-like first bytes, but no feed after all: read as text.
      return documentText(bytes, DocumentKind::kText, mayMatch);
    }
    document.text = feedSearchText(feed);
    return document;
  }
  if (kind == DocumentKind::kHtml) {
    std::u16string page = webPageText(bytes);
    if (auto why = whyNotMarkup(page)) {
      document.notTextReason = std::move(*why);
    } else {
      document.text = convertHtml2PlainText(std::move(page), {.onlyBody = true});
    }
    return document;
  }
  document.notTextReason = whyNotText(bytes);
  if (document.notTextReason.empty() && (!mayMatch || mayMatch(bytes))) {
    document.text = decodeDocumentText(bytes);
  }
  return document;
}

std::optional<DocumentText> documentTextAtPath(const std::filesystem::path& path,
                                               std::string* error) {
  if (isTextBundleFile(path)) return textBundleDocumentText(path);
  int reason = 0;
  std::optional<std::string> bytes = bytesOfFile(path, &reason);
  if (!bytes) {
    if (error != nullptr) *error = std::strerror(reason);
    return std::nullopt;
  }
  return documentText(*bytes, documentKind(path, *bytes));
}

std::optional<DocumentKind> documentKindAtPath(const std::filesystem::path& path) {
  if (isTextBundleFile(path)) return DocumentKind::kTextBundle;
  const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
  if (fd < 0) return std::nullopt;
  std::string first(kBytesDecidingText, '\0');
  std::size_t read = 0;
  while (read < first.size()) {
    const ssize_t n = ::read(fd, first.data() + read, first.size() - read);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) break;
    read += static_cast<std::size_t>(n);
  }
  ::close(fd);
  first.resize(read);
  return documentKind(path, first);
}

}  // namespace orvel
