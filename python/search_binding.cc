// orvel.search: a collection search as a Python iterator. The library searches on its own
// threads while the iterator waits for the next result with the GIL released; each result
// is wrapped as it comes, its snippets decoded only when asked for.
#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <dirent.h>
#include <fcntl.h>
#include <pybind11/pybind11.h>
#include <pybind11/stl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "orvel/base/utf8.h"
#include "orvel/find/collection_index.h"
#include "orvel/find/collection_search.h"
#include "orvel/search/language_filter.h"

#include "python/bindings.h"
#include "python/strict_casters.h"  // before pybind11/stl.h: its casters use these

namespace py = pybind11;
using namespace py::literals;

namespace orvel::python {

std::vector<std::filesystem::path> pathsOf(const py::handle& paths) {
  if (py::isinstance<py::str>(paths) || py::isinstance<py::bytes>(paths) ||
      py::hasattr(paths, "__fspath__")) {
    return {paths.cast<std::filesystem::path>()};
  }
  std::vector<std::filesystem::path> all;
  for (const py::handle path : paths) all.push_back(path.cast<std::filesystem::path>());
  return all;
}

namespace {

namespace fs = std::filesystem;

// A path as Python shows file names: decoded as the file system encoding decodes them
// (surrogateescape), so that os.fsencode gives back the bytes.
py::str pathText(const std::string& path) {
  PyObject* text =
      PyUnicode_DecodeFSDefaultAndSize(path.data(), static_cast<Py_ssize_t>(path.size()));
  if (text == nullptr) throw py::error_already_set();
  return py::reinterpret_steal<py::str>(text);
}

py::str utf8Text(std::string_view text) {
  PyObject* decoded =
      PyUnicode_DecodeUTF8(text.data(), static_cast<Py_ssize_t>(text.size()), "replace");
  if (decoded == nullptr) throw py::error_already_set();
  return py::reinterpret_steal<py::str>(decoded);
}

// Raises the OSError subclass Python's own functions raise for errno (FileNotFoundError,
// PermissionError, ...), with errno and filename set.
[[noreturn]] void raiseForPath(int error, const fs::path& path) {
  errno = error;
  const py::object name = pathText(path.native());
  PyErr_SetFromErrnoWithFilenameObject(PyExc_OSError, name.ptr());
  throw py::error_already_set();
}

// A path the caller named must be there and readable: a missing or unreadable one is the
// caller's error, raised at once, as open() and os.listdir() raise it.
void checkNamedPath(const fs::path& path) {
  struct stat info {};
  if (::stat(path.c_str(), &info) != 0) raiseForPath(errno, path);
  const int fd = ::open(
      path.c_str(), (S_ISDIR(info.st_mode) ? O_DIRECTORY : 0) | O_RDONLY | O_CLOEXEC | O_NONBLOCK);
  if (fd < 0) raiseForPath(errno, path);
  ::close(fd);
}

std::vector<DocumentKind> kindsOf(const std::optional<std::vector<std::string>>& names) {
  std::vector<DocumentKind> kinds;
  for (const std::string& name : names.value_or(std::vector<std::string>{})) {
    const std::optional<DocumentKind> kind = documentKindNamed(name);
    if (!kind) {
      throw py::value_error("unknown kind '" + name +
                            "' (text, markdown, html, feed or textbundle)");
    }
    kinds.push_back(*kind);
  }
  return kinds;
}

SearchWant wantNamed(const std::string& name) {
  if (name == "files") return SearchWant::kFiles;
  if (name == "counts") return SearchWant::kCounts;
  if (name == "occurrences") return SearchWant::kOccurrences;
  throw py::value_error("want is 'files', 'counts' or 'occurrences', not '" + name + "'");
}

std::shared_ptr<const LanguageFilter> languageFilterFor(const std::string& code) {
  std::shared_ptr<LanguageFilter> filter = LanguageFilter::defaultFilter(true);
  if (filter == nullptr) throw std::runtime_error("the stop-word lists are not installed");
  filter->setLanguage(utf8ToUtf16Lenient(code));
  if (filter->languageIndex() == NSNotFound) throw py::value_error("unknown language " + code);
  return filter;
}

const char* statusName(SearchStatus status) {
  switch (status) {
    case SearchStatus::kSkipped: return "skipped";
    case SearchStatus::kFailed: return "failed";
    case SearchStatus::kMatched: break;
  }
  return "matched";
}

// The result types are struct sequences (named tuples made in C): reading a field costs a C
// member access where a bound property would cost a call through the binding, and a loop
// over thousands of results reads a few fields of each.
PyStructSequence_Field kOccurrenceFields[] = {
    {"line", "1 for the first line; 0 for the Finder comment."},
    {"snippet", "The sentence (or line) around it."},
    {"terms",
     "The query's terms inside the snippet as (start, end) indices into it "
     "(terms=True), else ()."},
    {nullptr, nullptr}};
// Two fields in the tuple, as before terms were added: `line, snippet = occurrence` holds.
PyStructSequence_Desc kOccurrenceDescription = {
    "orvel.Occurrence", "Where a term of the query occurs in a document.", kOccurrenceFields, 2};

PyStructSequence_Field kResultFields[] = {
    {"path", "The path, decoded as os.fsdecode decodes file names."},
    {"path_bytes", "The path as the file system holds it."},
    {"status", "'matched', 'skipped' (no text) or 'failed'."},
    {"kind", "'text', 'markdown', 'html', 'feed' or 'textbundle'."},
    {"count", "Occurrences (want='counts' or 'occurrences')."},
    {"occurrences", "Each occurrence with its line and snippet (want='occurrences')."},
    {"message", "Why it was skipped or failed."},
    {"errno", "For a failure, the system's error number (-1 when there is none)."},
    {"named", "Whether the caller named it (not found in a folder)."},
    {"bytes_read", "The bytes of the file that were read."},
    {nullptr, nullptr}};
PyStructSequence_Desc kResultDescription = {
    "orvel.SearchResult", "A matching document, or one that was skipped or could not be read.",
    kResultFields, 10};

// The types, made once when the module is loaded (and kept with it).
PyTypeObject* gOccurrenceType = nullptr;
PyTypeObject* gResultType = nullptr;

// A struct sequence of the type with these values, in the order of its fields.
py::object structSequence(PyTypeObject* type, std::initializer_list<py::object> values) {
  auto object = py::reinterpret_steal<py::object>(PyStructSequence_New(type));
  if (!object) throw py::error_already_set();
  Py_ssize_t k = 0;
  for (const py::object& value : values) {
    PyStructSequence_SetItem(object.ptr(), k++, py::object(value).release().ptr());
  }
  return object;
}

// The few names a result's status and kind take, made once: results share them.
py::object sharedName(std::string_view name) {
  static std::vector<std::pair<std::string, py::object>>* names =
      new std::vector<std::pair<std::string, py::object>>();
  for (const auto& [known, object] : *names) {
    if (known == name) return object;
  }
  names->emplace_back(std::string(name), py::str(std::string(name)));
  return names->back().second;
}

// Characters of well-formed UTF-8, as Python counts them in a str.
std::size_t characters(std::string_view utf8) {
  return static_cast<std::size_t>(std::count_if(utf8.begin(), utf8.end(), [](char byte) {
    return (static_cast<unsigned char>(byte) & 0xC0) != 0x80;
  }));
}

// An occurrence's terms as (start, end) indices into its snippet's str.
py::tuple termIndices(const SearchResult& result, const FoundOccurrence& occurrence) {
  const std::string_view snippet = result.snippet(occurrence);
  py::tuple terms(occurrence.termCount);
  std::size_t k = 0;
  for (const FoundTerm& term : result.termsOf(occurrence)) {
    const std::size_t start = characters(snippet.substr(0, term.start));
    terms[k++] = py::make_tuple(start, start + characters(snippet.substr(term.start, term.length)));
  }
  return terms;
}

py::object resultObject(const SearchResult& result) {
  py::list occurrences;
  for (const FoundOccurrence& occurrence : result.occurrences) {
    occurrences.append(structSequence(
        gOccurrenceType, {py::int_(occurrence.line), utf8Text(result.snippet(occurrence)),
                          termIndices(result, occurrence)}));
  }
  return structSequence(
      gResultType,
      {pathText(result.path), py::bytes(result.path), sharedName(statusName(result.status)),
       sharedName(documentKindName(result.kind)), py::int_(result.count), std::move(occurrences),
       py::str(result.message), py::int_(result.error), py::bool_(result.named),
       py::int_(result.bytesRead)});
}

class PySearch;

// The progress callback of a search: the Python callable, and the search to stop when it
// raises (null once the search is being destroyed: a searching thread may still call). Owned
// by the search too, so that the callable is released with the GIL held.
struct ProgressRelay {
  py::object callback;
  PySearch* search = nullptr;
};

// A search under way, iterated by Python. A progress callback that raises stops the search;
// the exception comes out of the iteration.
class PySearch {
 public:
  PySearch(SearchRequest request, std::shared_ptr<ProgressRelay> relay) : _relay(std::move(relay)) {
    if (_relay) {
      _relay->search = this;
      request.progress = [relay = _relay.get()](const SearchProgress& counts) {
        py::gil_scoped_acquire acquire;
        if (relay->search == nullptr) return;  // the search is going: nothing more to tell
        try {
          relay->callback(counts);
        } catch (py::error_already_set& failure) {
          relay->search->progressFailed(std::move(failure));
        }
      };
    }
    _search = std::make_unique<CollectionSearch>(std::move(request));
  }

  // The searching threads are stopped without the GIL, which a progress call may be waiting
  // for; what holds Python objects goes after, with it.
  ~PySearch() {
    if (_relay) _relay->search = nullptr;
    py::gil_scoped_release release;
    _search.reset();
  }
  PySearch(const PySearch&) = delete;
  PySearch& operator=(const PySearch&) = delete;

  py::object next() {
    std::optional<SearchResult> result;
    {
      py::gil_scoped_release release;
      result = _search->next();
    }
    if (_failure) {
      py::error_already_set failure = std::move(*_failure);
      _failure.reset();
      throw failure;
    }
    if (!result) throw py::stop_iteration();
    return resultObject(*result);
  }

  void cancel() { _search->cancel(); }
  [[nodiscard]] SearchProgress progress() const { return _search->progress(); }

  // Called with the GIL held, from a searching thread.
  void progressFailed(py::error_already_set failure) {
    if (!_failure) _failure = std::move(failure);
    _search->cancel();
  }

 private:
  std::shared_ptr<ProgressRelay> _relay;
  std::optional<py::error_already_set> _failure;
  std::unique_ptr<CollectionSearch> _search;
};

std::shared_ptr<PySearch> startSearch(
    const std::u16string& query, const py::object& paths, bool caseSensitive, bool wildcard,
    bool ignoreAccents, const std::optional<fs::path>& filesFrom, bool nulSeparated, bool hidden,
    bool ignoreFiles, bool terms, const std::optional<std::vector<std::string>>& kinds,
    bool comments, const std::optional<std::string>& language, const std::string& want,
    bool paragraphs, bool reportSkipped, unsigned threads, const py::object& progress,
    double progressInterval, const std::optional<fs::path>& index) {
  SearchRequest request;
  request.query = query;
  request.caseSensitive = caseSensitive;
  request.wildcard = wildcard;
  request.ignoreAccents = ignoreAccents;
  request.inputs.paths = pathsOf(paths);
  for (const fs::path& path : request.inputs.paths) checkNamedPath(path);
  if (filesFrom) {
    checkNamedPath(*filesFrom);
    request.inputs.pathList = *filesFrom;
  }
  request.inputs.pathListNulSeparated = nulSeparated;
  request.inputs.hidden = hidden;
  request.inputs.ignoreFiles = ignoreFiles;
  request.terms = terms;
  request.kinds = kindsOf(kinds);
  request.comments = comments;
  if (language) request.languageFilter = languageFilterFor(*language);
  request.want = wantNamed(want);
  request.paragraphs = paragraphs;
  request.ranges = false;
  request.reportSkipped = reportSkipped;
  request.threads = threads;
  if (!(progressInterval >= 0)) throw py::value_error("progress_interval is negative");
  request.progressInterval = std::chrono::milliseconds(static_cast<long>(progressInterval * 1000));
  if (index) {
    try {
      request.inputs.index = selectWithIndex(*index, request);
    } catch (const IndexError& error) {
      // A damaged index never changes an answer: the search reads every file instead.
      const std::string warning = index->string() + ": " + error.what() + "; searching without it";
      if (PyErr_WarnEx(PyExc_RuntimeWarning, warning.c_str(), 1) != 0) {
        throw py::error_already_set();
      }
    }
  }
  std::shared_ptr<ProgressRelay> relay;
  if (!progress.is_none()) relay = std::make_shared<ProgressRelay>(ProgressRelay{progress});
  return std::make_shared<PySearch>(std::move(request), std::move(relay));
}

}  // namespace

void defineSearch(py::module_& m) {
  py::class_<SearchProgress>(m, "SearchProgress", "How far a search has come.")
      .def_readonly("files_searched", &SearchProgress::filesSearched)
      .def_readonly("bytes_read", &SearchProgress::bytesRead)
      .def_readonly("files_found", &SearchProgress::filesFound,
                    "Files the walk has found so far (the total once walk_done).")
      .def_readonly("walk_done", &SearchProgress::walkDone)
      .def("__repr__", [](const SearchProgress& p) {
        return "SearchProgress(files_searched=" + std::to_string(p.filesSearched) +
               ", bytes_read=" + std::to_string(p.bytesRead) +
               ", files_found=" + std::to_string(p.filesFound) +
               ", walk_done=" + (p.walkDone ? "True" : "False") + ")";
      });

  gOccurrenceType = PyStructSequence_NewType(&kOccurrenceDescription);
  gResultType = PyStructSequence_NewType(&kResultDescription);
  if (gOccurrenceType == nullptr || gResultType == nullptr) throw py::error_already_set();
  m.attr("Occurrence") =
      py::reinterpret_borrow<py::object>(reinterpret_cast<PyObject*>(gOccurrenceType));
  m.attr("SearchResult") =
      py::reinterpret_borrow<py::object>(reinterpret_cast<PyObject*>(gResultType));

  py::class_<PySearch, std::shared_ptr<PySearch>>(
      m, "Search", "A search under way: iterate it for its results, in the order of the walk.")
      .def("__iter__", [](const std::shared_ptr<PySearch>& search) { return search; })
      .def("__next__", &PySearch::next)
      .def("cancel", &PySearch::cancel, "Stops the search; the iteration ends.")
      .def_property_readonly("progress", &PySearch::progress);

  m.def("search", &startSearch, "query"_a, "paths"_a, py::kw_only(), "case_sensitive"_a = false,
        "wildcard"_a = false, "ignore_accents"_a = false, "files_from"_a = py::none(),
        "nul_separated"_a = false, "hidden"_a = false, "ignore_files"_a = false, "terms"_a = false,
        "kinds"_a = py::none(), "comments"_a = false, "language"_a = py::none(),
        "want"_a = "occurrences", "paragraphs"_a = false, "report_skipped"_a = false,
        "threads"_a = 0, "progress"_a = py::none(), "progress_interval"_a = 0.2,
        "index"_a = py::none(),
        R"(Searches the documents under paths (one path, or several: str, bytes or os.PathLike)
with the query language, on threads of its own, as orvel search does; answers an iterator
of SearchResult in the order of the walk, each as soon as it is ready. Folders are walked
recursively (hidden entries only with hidden=True; with ignore_files=True, leaving out what
.gitignore, .ignore and .orvelignore files ignore); files_from names a file listing more
paths, one a line (NUL-separated with nul_separated=True). kinds limits the documents
('text', 'markdown', 'html', 'feed', 'textbundle'); language leaves out documents clearly in
another language; ignore_accents compares through the accent-folding table ("cafe" finds
"caf\u00e9"). want is 'files', 'counts' or 'occurrences'; with terms=True each
occurrence also holds where the query's terms are in its snippet. A missing or unreadable path the
caller named raises FileNotFoundError or PermissionError at once; trouble found later
(a folder that cannot be read, a file gone) is a result with status 'failed'. progress,
when given, is called with a SearchProgress every progress_interval seconds, from a
searching thread; if it raises, the search stops and the exception comes out of the
iteration. index names an index (see Index) that spares reading files that cannot match;
the answers are those of a search without it (a damaged index warns and is not used).)");
}

}  // namespace orvel::python
