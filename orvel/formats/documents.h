// The kind and the text of a document, as searches see them. Plain text and Markdown are read
// as UTF-8 (a leading byte-order mark is dropped). Web pages (HTML and XHTML, by their
// extension, or files without one whose first bytes are markup) are read in their own
// encoding and converted to their body's plain text, which line numbers and snippets then
// refer to. Markdown files are known by their extensions (md, markdown, mdown, ...), TextBundles
// by theirs (.textbundle folders and .textpack archives, each one document). Feeds (RSS, RDF
// and Atom, whatever their extension) are read in their own
// encoding as the text of their items: each item's title on a line, then its text (content,
// else description, as plain text), then a blank line. Other document types extend this
// one function.
#pragma once

#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace orvel {

enum class DocumentKind { kText, kMarkdown, kHtml, kFeed, kTextBundle };

// The kind of a document by its first bytes when they open a feed, else by its name, and
// for a name without an extension by its first bytes (kBytesDecidingText are enough). A
// feed by its first bytes is confirmed by its whole text: documentText answers the kind it
// read.
[[nodiscard]] DocumentKind documentKind(const std::filesystem::path& path,
                                        std::string_view firstBytes);
// "text", "markdown", "html", "feed", "textbundle".
[[nodiscard]] std::string_view documentKindName(DocumentKind kind);
// The kind of a name ("markdown", or another name of it: txt, md, htm, xhtml, rss, atom,
// textpack), nullopt for none.
[[nodiscard]] std::optional<DocumentKind> documentKindNamed(std::string_view name);
// Each kind with what selects it, one line each, for `search --type-list`.
[[nodiscard]] std::string documentKindList();

struct DocumentText {
  DocumentKind kind = DocumentKind::kText;
  std::optional<std::u16string> text;  // nullopt when the bytes are not text
  std::string notTextReason;           // why, for --verbose
};

// TextBundles: a ".textbundle" folder or a ".textpack" archive, read as one document (the
// text of the bundle's "text.*" file, as Markdown or plain text is read).
[[nodiscard]] DocumentText textBundleDocumentText(const std::filesystem::path& path);

// A document is text when its first kTextSniffBytes bytes (after a byte-order mark) hold
// no NUL byte and are well-formed UTF-8, a character cut by the end of that window aside:
// the test grep tools make, so that a search that has read a few kilobytes knows what the
// whole file is. The rest is decoded leniently: an ill-formed sequence there reads as
// U+FFFD, and a NUL byte as U+0000 (both separate words).
inline constexpr std::size_t kTextSniffBytes = 4096;
// Bytes that are always enough to decide: the window, a byte-order mark before it, and a
// character that its end may cut.
inline constexpr std::size_t kBytesDecidingText = 3 + kTextSniffBytes + 4;

// Why a document whose bytes begin so is not text (NUL bytes, or invalid UTF-8 at an
// offset), or "" when it is; `bytes` is the whole document or at least its first
// kBytesDecidingText bytes.
[[nodiscard]] std::string whyNotText(std::string_view bytes);

// The text of a document known to be text by the rule above, decoded leniently.
[[nodiscard]] std::u16string decodeDocumentText(std::string_view bytes);

// Why a web page's text (read in its encoding) is no page: NUL characters in its first
// kTextSniffBytes units; nullopt when it is one.
[[nodiscard]] std::optional<std::string> whyNotMarkup(std::u16string_view pageText);

// Why a document of a kind whose first bytes are these is no text, as documentText would
// answer for the whole; "" when they do not tell. `firstBytes` is at least the first
// kBytesDecidingText bytes, or the whole document: a binary file is refused before the rest
// of it is read.
[[nodiscard]] std::string whyNotDocument(std::string_view firstBytes, DocumentKind kind);

// The text of bytes read from a document of a kind, by the rules above. When mayMatch is
// given and answers false for a text document's bytes, the text is not decoded (it stays
// nullopt, with no reason): the caller knows it cannot hold what it looks for.
[[nodiscard]] DocumentText documentText(
    std::string_view bytes, DocumentKind kind = DocumentKind::kText,
    const std::function<bool(std::string_view)>& mayMatch = nullptr);

// The document at a path (a file, or a TextBundle folder), read whole: nullopt when it cannot
// be read, with the reason in *error when given.
[[nodiscard]] std::optional<DocumentText> documentTextAtPath(const std::filesystem::path& path,
                                                             std::string* error = nullptr);

// The kind of the document at a path, from its name and its first bytes (a feed by its
// first tag, before its whole text confirms it); nullopt when it cannot be opened.
[[nodiscard]] std::optional<DocumentKind> documentKindAtPath(const std::filesystem::path& path);

}  // namespace orvel
