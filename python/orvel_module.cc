// The Python module `orvel` (its compiled part, orvel._orvel): the query language, HTML
// text, links and feeds, language, .DS_Store records and Finder comments, checksums and
// KeyedStorage, with Python strings in and out. Strings are converted to UTF-16 once per
// call; the GIL is released while the library works, so threads (and Dask's threaded
// scheduler) run searches in parallel.
#include <filesystem>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <tuple>
#include <vector>

#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include "orvel/base/calendar.h"
#include "orvel/dsstore/ds_store.h"
#include "orvel/formats/documents.h"
#include "orvel/markup/html_to_text.h"
#include "orvel/markup/web_page.h"
#include "orvel/records/keyed_storage.h"
#include "orvel/search/language_filter.h"
#include "orvel/search/text_query.h"
#include "orvel/text/crc32.h"
#include "orvel/text/digest.h"
#include "orvel/url/feeds.h"
#include "orvel/url/page_links.h"
#include "orvel/url/url.h"
#include "orvel/version.h"

#include "python/bindings.h"
#include "python/strict_casters.h"  // before pybind11/stl.h: its casters use these

namespace py = pybind11;
using namespace py::literals;

namespace orvel::python {
namespace {

using Release = py::call_guard<py::gil_scoped_release>;
namespace fs = std::filesystem;

std::span<const std::uint8_t> bytesOf(const py::buffer_info& info) {
  return {static_cast<const std::uint8_t*>(info.ptr), static_cast<std::size_t>(info.size)};
}

// Runs `work` on the bytes of a buffer (bytes, bytearray, memoryview) without the GIL.
template <typename Work>
auto withBytes(const py::buffer& buffer, Work work) {
  const py::buffer_info info = buffer.request();
  if (info.itemsize != 1 || info.ndim != 1) {
    throw py::type_error("expected a contiguous buffer of bytes");
  }
  py::gil_scoped_release release;
  return work(bytesOf(info));
}

py::bytes asBytes(const std::vector<std::uint8_t>& data) {
  return {reinterpret_cast<const char*>(data.data()), data.size()};
}

[[noreturn]] void raiseOSError(const std::string& message) {
  PyErr_SetString(PyExc_OSError, message.c_str());
  throw py::error_already_set();
}

// --- the query language

// Python indexes strings by code points, the library by UTF-16 units: one forward walk over
// the text turns the occurrences' unit ranges (in text order) into code-point ranges, so
// that text[start:start + length] is the snippet.
py::list occurrenceTuples(std::u16string_view text, const std::vector<Occurrence>& occurrences) {
  py::list tuples;
  std::size_t unit = 0;
  std::size_t point = 0;
  const auto pointAt = [&](std::size_t target) {
    for (; unit < target && unit < text.size(); ++unit) {
      const bool trailing =
          (text[unit] & 0xFC00) == 0xDC00 && unit > 0 && (text[unit - 1] & 0xFC00) == 0xD800;
      if (!trailing) ++point;
    }
    return point;
  };
  for (const Occurrence& occurrence : occurrences) {
    const std::size_t start = pointAt(occurrence.range.location);
    const std::size_t end = pointAt(occurrence.range.end());
    tuples.append(py::make_tuple(start, end - start, occurrence.line + 1, occurrence.string));
  }
  return tuples;
}

void defineQueryTerms(py::module_& m) {
  py::class_<TextQuery>(m, "QueryTerms", R"(A parsed query of the query language.

Words match whole words without regard to case (unless case_sensitive); AND, OR, NOT or -,
"phrases", NEAR/n and parentheses combine them. With wildcard, terms are patterns
(*, ?, [sets]). A malformed query is repaired, never refused.)")
      .def(py::init<std::u16string, bool, bool>(), "query"_a, "case_sensitive"_a = false,
           "wildcard"_a = false, Release())
      .def_property_readonly(
          "text", [](const TextQuery& query) { return query.tree().description(); },
          "The query written back, operators spelt out; it parses to the same query.")
      .def_property_readonly(
          "standardized",
          [](const TextQuery& query) { return query.tree().standardizedQueryTerm(); },
          "The query's terms in their standard form, without proximity distances.")
      .def("__str__", [](const TextQuery& query) { return query.tree().description(); })
      .def("__repr__",
           [](const TextQuery& query) {
             return u"QueryTerms('" + query.tree().description() + u"')";
           })
      .def_property_readonly("case_sensitive", &TextQuery::caseSensitive)
      .def_property_readonly("wildcard", &TextQuery::wildcard)
      .def("matches", &TextQuery::matches, "text"_a, Release(),
           "Whether the text matches the query.")
      .def(
          "occurrences",
          [](const TextQuery& query, const std::u16string& text, bool paragraphs) {
            std::vector<Occurrence> found;
            {
              py::gil_scoped_release release;
              found = query.occurrences(text, paragraphs);
            }
            return occurrenceTuples(text, found);
          },
          "text"_a, "paragraphs"_a = false,
          "Where the positive terms occur: (start, length, line, snippet) tuples in text order, "
          "text[start:start + length] being the snippet and line counted from 1; snippets are "
          "sentences, or lines with paragraphs.")
      .def("snippets", &TextQuery::snippets, "text"_a, "separator"_a = u" ", "max_characters"_a = 0,
           "paragraphs"_a = false, "single_words"_a = false, Release(),
           "The snippets around the positive terms joined by the separator, shortened after "
           "max_characters (0: no limit); None when no term occurs.");
}

// --- markup, links, feeds, documents

std::u16string pageText(std::u16string html, bool onlyBody) {
  return convertHtml2PlainText(std::move(html), {.onlyBody = onlyBody});
}

py::dict feedItemDict(const FeedItem& item) {
  py::list enclosures;
  for (const FeedEnclosure& enclosure : item.enclosures) {
    enclosures.append(py::make_tuple(enclosure.url, enclosure.length));
  }
  py::dict dict("title"_a = item.title, "link"_a = item.link, "description"_a = item.description,
                "content"_a = item.content, "author"_a = item.author, "guid"_a = item.guid,
                "date"_a = item.date, "tags"_a = item.tags, "enclosures"_a = enclosures);
  dict["timestamp"] =
      item.calendarDate ? py::cast(*item.calendarDate + kReferenceDateUnixSeconds) : py::none();
  return dict;
}

void defineMarkup(py::module_& m) {
  m.def("html_to_text", &pageText, "html"_a, "only_body"_a = true, Release(),
        "The readable plain text of an HTML page given as a string.");
  m.def(
      "html_to_text",
      [](const py::buffer& page, bool onlyBody) {
        return withBytes(page, [onlyBody](std::span<const std::uint8_t> bytes) {
          return pageText(webPageText(std::string_view(reinterpret_cast<const char*>(bytes.data()),
                                                       bytes.size())),
                          onlyBody);
        });
      },
      "page"_a, "only_body"_a = true,
      "The readable plain text of a page's bytes, decoded by its declared charset.");
  m.def(
      "html_links", [](const std::u16string& html) { return htmlLinksBaseURL(html); }, "html"_a,
      Release(), "The links of a and area tags, cleaned, each once, in document order.");
  m.def(
      "feed_items",
      [](const std::u16string& feed, std::optional<std::u16string> base) {
        std::vector<FeedItem> items;
        {
          py::gil_scoped_release release;
          std::optional<URL> baseURL;
          if (base) baseURL = URL::URLWithString(*base);
          items = getItemsOfFeed(feed, baseURL);
        }
        py::list dicts;
        for (const FeedItem& item : items) dicts.append(feedItemDict(item));
        return dicts;
      },
      "feed"_a, "base_url"_a = py::none(),
      "The items of an RSS, RDF or Atom feed as dicts (title, link, description, content, "
      "author, guid, date, tags, enclosures, timestamp).");
  m.def("is_feed", &isFeed, "text"_a, Release(), "Whether the text is an RSS, RDF or Atom feed.");
  m.def(
      "document_text",
      [](const fs::path& path) -> std::optional<std::u16string> {
        std::string error;
        std::optional<DocumentText> document;
        {
          py::gil_scoped_release release;
          document = documentTextAtPath(path, &error);
        }
        if (!document) raiseOSError(path.string() + ": " + error);
        return document->text;
      },
      "path"_a,
      "The text of a document as orvel search reads it (text, Markdown, HTML, feeds, "
      "TextBundles); None when it is not text. Raises OSError when it cannot be read.");
}

// --- language

const LanguageFilter& defaultLanguageFilter() {
  static const std::unique_ptr<LanguageFilter> filter = LanguageFilter::defaultFilter();
  return *filter;
}

void defineLanguage(py::module_& m) {
  m.def(
      "language_of_text",
      [](const std::u16string& text) { return defaultLanguageFilter().languageOfText(text); },
      "text"_a, Release(),
      "The language of a text by its stop words (a key such as EN or DE), a script name for "
      "Cyrillic, Hebrew, Greek or Arabic text, or None when it is not clear.");
}

// --- .DS_Store files and Finder comments

py::object valueObject(const std::optional<DSStoreValue>& value) {
  if (!value) return py::none();
  return std::visit(
      [](const auto& held) -> py::object {
        using Held = std::decay_t<decltype(held)>;
        if constexpr (std::is_same_v<Held, std::vector<std::uint8_t>>) {
          return asBytes(held);
        } else {
          return py::cast(held);
        }
      },
      *value);
}

std::string codeOf(std::uint32_t code) { return stringOfFourCharCode(code).substr(1, 4); }

void defineDSStore(py::module_& m) {
  m.def(
      "ds_store_records",
      [](const fs::path& path) {
        std::vector<DSStoreEntry> entries;
        bool opened = false;
        {
          py::gil_scoped_release release;
          std::error_code error;
          const auto store = fs::is_directory(path, error) ? DSStore::storeWithDirectory(path)
                                                           : DSStore::storeAtPath(path);
          if (store) {
            opened = true;
            store->enumerateEntries([&](const DSStoreEntry& entry) {
              entries.push_back(entry);
              return true;  // on to the next record
            });
          }
        }
        if (!opened) raiseOSError(path.string() + ": not a readable .DS_Store file");
        py::list records;
        for (const DSStoreEntry& entry : entries) {
          records.append(py::make_tuple(entry.filename(), codeOf(entry.codec()),
                                        codeOf(entry.type()), valueObject(entry.value())));
        }
        return records;
      },
      "path"_a,
      "The records of a .DS_Store file (or of a folder's): (name, id, type, value) tuples; "
      "values are int, bool, bytes or str, dates ('dutc') raw in 1/65536 s since 1904. "
      "Raises OSError when the file cannot be read.");
  m.def(
      "finder_comment", [](const fs::path& path) { return finderCommentAtPath(path); }, "path"_a,
      Release(),
      "A file's Finder comment (its folder's .DS_Store, else the desktop's comment "
      "attribute), or None.");
}

// --- checksums

void defineChecksums(py::module_& m) {
  m.def(
      "crc32",
      [](const py::buffer& data) {
        return withBytes(data, [](auto bytes) { return CRC32(bytes.data(), bytes.size()); });
      },
      "data"_a,
      "CRC-32 of bytes with the register starting at 0 and no final XOR, as the library's "
      "block files use it (zlib.crc32 gives the usual form).");
  m.def(
      "md5", [](const py::buffer& data) { return asBytes(withBytes(data, MD5Digest)); }, "data"_a,
      "The 16-byte MD5 digest of bytes.");
  m.def(
      "sha1", [](const py::buffer& data) { return asBytes(withBytes(data, SHA1Digest)); }, "data"_a,
      "The 20-byte SHA-1 digest of bytes.");
}

// --- KeyedStorage

// A block file opened for appending and reading; the Python object owns it until close().
class Storage {
 public:
  Storage(const fs::path& path, bool compress) : _file(KeyedStorage::forUpdating(path)) {
    if (!_file.isValid()) {
      raiseOSError(path.string() + ": cannot open the block file (or it is locked)");
    }
    _file.setCompressed(compress);
  }

  std::uint64_t append(const py::buffer& data) {
    ensureOpen();
    if (py::len(data) == 0) throw py::value_error("an empty block cannot be stored");
    const std::optional<std::uint64_t> offset =
        withBytes(data, [this](auto bytes) -> std::optional<std::uint64_t> {
          std::lock_guard lock(_mutex);
          const std::uint64_t offset = _file.seekToEndOfFile();
          if (!_file.appendBlock(bytes)) return std::nullopt;
          return offset;
        });
    if (!offset) raiseOSError(_file.path().string() + ": the block could not be written");
    return *offset;
  }

  std::optional<py::bytes> read(std::uint64_t offset) {
    ensureOpen();
    std::optional<Block> block;
    {
      py::gil_scoped_release release;
      std::lock_guard lock(_mutex);
      if (_file.seekToFileOffset(offset)) block = _file.nextAvailableBlock();
      if (block && _file.offsetOfLastBlock() != offset) block.reset();
    }
    if (!block) return std::nullopt;
    return asBytes(*block);
  }

  // Every live block from the start, as (offset, bytes); damaged blocks are passed over.
  py::list blocks() {
    ensureOpen();
    std::vector<std::pair<std::uint64_t, Block>> found;
    {
      py::gil_scoped_release release;
      std::lock_guard lock(_mutex);
      _file.seekToFileOffset(0);
      while (auto block = _file.nextAvailableBlock()) {
        found.emplace_back(_file.offsetOfLastBlock(), std::move(*block));
      }
    }
    py::list pairs;
    for (const auto& [offset, block] : found) pairs.append(py::make_tuple(offset, asBytes(block)));
    return pairs;
  }

  void close() {
    std::lock_guard lock(_mutex);
    if (_file.isValid()) _file.closeFile();
  }

 private:
  void ensureOpen() const {
    if (!_file.isValid()) throw py::value_error("the block file is closed");
  }

  KeyedStorage _file;
  std::mutex _mutex;
};

void defineStorage(py::module_& m) {
  py::class_<Storage>(m, "KeyedStorage", R"(A checksummed block file (created when missing),
locked for this process while open. Blocks are appended and read back by their offsets.)")
      .def(py::init<const fs::path&, bool>(), "path"_a, "compress"_a = false)
      .def("append", &Storage::append, "data"_a,
           "Appends a non-empty block (with compress, deflated when that makes it shorter); "
           "returns its offset.")
      .def("read", &Storage::read, "offset"_a, "The bytes of the live block at offset, or None.")
      .def("__iter__", [](Storage& storage) { return py::iter(storage.blocks()); })
      .def("close", &Storage::close, "Closes the file (its lock is released).")
      .def("__enter__", [](Storage& storage) -> Storage& { return storage; })
      .def("__exit__", [](Storage& storage, const py::args&) { storage.close(); });
}

}  // namespace
}  // namespace orvel::python

PYBIND11_MODULE(_orvel, m) {
  m.doc() =
      "ORVELfoundation: the query language, HTML text, links and feeds, language, "
      ".DS_Store records, checksums and KeyedStorage.";
  m.attr("__version__") = ORVEL_VERSION_STRING;
  orvel::python::defineQueryTerms(m);
  orvel::python::defineMarkup(m);
  orvel::python::defineLanguage(m);
  orvel::python::defineDSStore(m);
  orvel::python::defineChecksums(m);
  orvel::python::defineStorage(m);
  orvel::python::defineSearch(m);
  orvel::python::defineIndex(m);
}
