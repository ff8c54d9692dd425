// search: the main job, searching a folder of documents with the query language. match
// and snippets: the evaluator on one text.
#include <algorithm>
#include <chrono>
#include <cstdint>
#include <limits>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <nlohmann/json.hpp>
#include <sys/stat.h>
#include <unistd.h>

#include "orvel/base/utf8.h"
#include "orvel/find/collection_search.h"
#include "orvel/search/internal/utf8_units.h"
#include "orvel/search/language_filter.h"
#include "orvel/search/separation.h"
#include "orvel/search/text_query.h"
#include "orvel/text/character_sets.h"

#include "tools/orvel/command_support.h"
#include "tools/orvel/commands.h"
#include "tools/orvel/document_text.h"
#include "tools/orvel/search_progress.h"

namespace orvel::cli {
namespace {

namespace fs = std::filesystem;

// A query as match and snippets use it.
struct Query : TextQuery {
  Query(const std::string& text, bool caseSensitive, bool wildcard)
      : TextQuery(decodeText(text, "query"), caseSensitive, wildcard) {}
};

struct SearchOptions {
  std::string query;
  std::vector<std::string> paths;
  std::optional<std::string> filesFrom;  // a list of paths, one a line ("-": stdin)
  bool nulSeparated = false;             // -0: the list's paths end with NUL bytes instead
  bool noProgress = false;
  enum class Case { kIgnore, kSensitive, kSmart } caseMode = Case::kIgnore;  // the last given
  bool wildcard = false;
  bool ignoreAccents = false;  // -a
  bool paragraphs = false;
  bool filesWithMatches = false;
  bool count = false;
  bool json = false;
  bool hidden = false;
  bool verbose = false;
  bool comments = false;                // a file's Finder comment can match too
  std::optional<std::string> language;  // --lang: files clearly in another language are left out
  std::optional<std::string> stopWords;
  std::shared_ptr<const LanguageFilter> languageFilter;
  std::vector<DocumentKind> types;  // --type: only these kinds (all when empty)
  std::vector<std::string> typeNames;
  bool typeList = false;
  unsigned threads = 0;
  std::size_t snippetCharacters = 0;
  std::size_t maxCount = 0;   // -m: occurrences a file
  bool quiet = false;         // -q: print nothing; stop at the first match
  bool noLineNumber = false;  // -N
  bool noHeading = false;     // path:line:snippet, a line each
  std::size_t maxDepth = std::numeric_limits<std::size_t>::max();
  bool files = false;              // --files: list what would be searched, and stop
  bool follow = false;             // -L: follow symbolic links
  bool searchZip = false;          // -z: gzip files searched as what they hold
  std::vector<std::string> globs;  // -g
  bool stats = false;              // --stats: what was searched, after the results
};

// Whether a term of the query holds an upper-case letter (smart case): the operators, which
// are written in capitals, are not terms.
bool termsHoldUpperCase(const QueryTerms& node) {
  if (node.isWord()) {
    const std::u16string& term = node.string();
    return std::any_of(term.begin(), term.end(), [](char16_t unit) {
      return isMemberOfCharacterSetRep(upperCharacterSetRep(), unit);
    });
  }
  return std::any_of(node.children().begin(), node.children().end(), termsHoldUpperCase);
}

// Appends a snippet on one line: line breaks and tabs become spaces; shortened after
// `characters` when that is not 0.
void appendSnippetLine(std::string& out, std::u16string_view snippet, std::size_t characters) {
  thread_local std::u16string line;
  line.assign(snippet);
  static const CharacterSetRep lineSeparators = defaultLineSeparators();
  for (char16_t& unit : line) {
    if (unit == u'\t' || isMemberOfCharacterSetRep(lineSeparators, unit)) unit = u' ';
  }
  appendUtf16AsUtf8(out, characters > 0 ? stringByEllipsizingAfterNCharacters(line, characters)
                                        : std::u16string_view(line));
}

// A snippet's UTF-8 appended as appendSnippetLine appends its text: a line end or tab
// becoming a space.
void appendUtf8SnippetLine(std::string& out, std::string_view snippet, std::size_t characters) {
  if (characters > 0) {
    appendSnippetLine(out, utf8ToUtf16Lenient(snippet), characters);
    return;
  }
  static const CharacterSetRep lineSeparators = defaultLineSeparators();
  // Printable ASCII is copied in runs; only other characters are looked at one by one.
  const auto printable = [](char c) { return c >= 0x20 && c < 0x7F; };
  for (std::size_t k = 0; k < snippet.size();) {
    const std::size_t run = k;
    while (k < snippet.size() && printable(snippet[k])) ++k;
    out.append(snippet, run, k - run);
    if (k == snippet.size()) break;
    const std::size_t length = internal::utf8Length(snippet[k]);
    const unichar unit = internal::firstUnitAt(snippet, k);
    if (unit == u'\t' || isMemberOfCharacterSetRep(lineSeparators, unit)) {
      out += ' ';
    } else {
      out.append(snippet, k, length);
    }
    k += length;
  }
}

std::string fileJson(const SearchResult& result) {
  nlohmann::json occurrences = nlohmann::json::array();
  for (const FoundOccurrence& occurrence : result.occurrences) {
    occurrences.push_back({{"range", {occurrence.range.location, occurrence.range.length}},
                           {"line", occurrence.line},
                           {"string", std::string(result.snippet(occurrence))}});
  }
  const nlohmann::json object = {
      {"path", result.path}, {"kind", documentKindName(result.kind)}, {"occurrences", occurrences}};
  return object.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace) + "\n";
}

// What a matching file prints: its path, then per format counts, snippets or JSON.
std::string resultText(const SearchResult& result, const SearchOptions& options) {
  if (options.json) return fileJson(result);
  if (options.filesWithMatches) return result.path + "\n";
  if (options.count) return result.path + ":" + std::to_string(result.count) + "\n";
  // A heading line with the path, or the path before each occurrence (--no-heading).
  std::string out = options.noHeading ? "" : result.path + "\n";
  for (const FoundOccurrence& occurrence : result.occurrences) {
    if (options.noHeading) out += result.path + ':';
    if (!options.noLineNumber) {
      out += std::to_string(occurrence.line);
      out += ':';
    }
    appendUtf8SnippetLine(out, result.snippet(occurrence), options.snippetCharacters);
    out += '\n';
  }
  return out;
}

// Standard input as a path, and the name it is printed under (as ripgrep prints it).
constexpr const char* kStandardInput = "/dev/stdin";
constexpr const char* kStandardInputName = "<stdin>";

// Whether standard input brings something to search when no path is given: a pipe or a
// redirected file, not a terminal (nor /dev/null, a device).
bool standardInputBringsText() {
  struct stat info {};
  return ::fstat(STDIN_FILENO, &info) == 0 && (S_ISFIFO(info.st_mode) || S_ISREG(info.st_mode));
}

SearchRequest searchRequest(const SearchOptions& options) {
  SearchRequest request;
  request.query = decodeText(options.query, "query");
  using Case = SearchOptions::Case;
  request.caseSensitive =
      options.caseMode == Case::kSensitive ||
      (options.caseMode == Case::kSmart &&
       termsHoldUpperCase(options.wildcard ? QueryTerms::withWildcard(request.query)
                                           : QueryTerms(request.query)));
  request.wildcard = options.wildcard;
  request.ignoreAccents = options.ignoreAccents;
  // "-" is standard input, read as a stream like any pipe named.
  for (const std::string& path : options.paths) {
    request.inputs.paths.emplace_back(path == "-" ? kStandardInput : path);
    request.inputs.readStreams = request.inputs.readStreams || path == "-";
  }
  if (options.filesFrom) {
    request.inputs.pathList = *options.filesFrom == "-" ? kStandardInput : *options.filesFrom;
  }
  request.inputs.pathListNulSeparated = options.nulSeparated;
  request.inputs.hidden = options.hidden;
  request.inputs.maxDepth = options.maxDepth;
  request.inputs.followLinks = options.follow;
  request.searchZip = options.searchZip;
  request.inputs.globs = options.globs;
  request.kinds = options.types;
  request.comments = options.comments;
  request.languageFilter = options.languageFilter;
  request.maxCount = options.maxCount;
  request.want = options.quiet              ? SearchWant::kFiles
                 : options.json             ? SearchWant::kOccurrences
                 : options.filesWithMatches ? SearchWant::kFiles
                 : options.count            ? SearchWant::kCounts
                                            : SearchWant::kOccurrences;
  request.paragraphs = options.paragraphs;
  request.ranges = options.json;
  request.reportSkipped = options.verbose;
  request.threads = options.threads;
  return request;
}

// How a path is shown: standard input as "<stdin>", as grep tools show it, and the list of
// files read from it as "stdin", as every command names its input.
std::string shownPath(const SearchOptions& options, std::string path) {
  if (path != kStandardInput) return path;
  return options.filesFrom == "-" ? "stdin" : kStandardInputName;
}

// --files: the files a search would read, a line each, in its order; kinds are told as the
// search tells them (a feed by its first tag).
int listFiles(const SearchOptions& options, const WalkInputs& inputs) {
  CollectionWalk walk(inputs);
  bool failed = false;
  bool any = false;
  while (auto item = walk.next()) {
    if (item->error != 0) {
      reportError(shownPath(options, item->path), item->message);
      failed = true;
      continue;
    }
    if (item->skipped) {
      if (options.verbose) reportError(item->path, "skipped: " + item->message);
      continue;
    }
    if (!options.types.empty()) {
      const std::optional<DocumentKind> kind = documentKindAtPath(item->path);
      if (!kind ||
          std::find(options.types.begin(), options.types.end(), *kind) == options.types.end()) {
        continue;
      }
    }
    any = true;
    writeOut(shownPath(options, std::move(item->path)) + "\n");
  }
  if (failed) return 2;
  return any ? 0 : 1;
}

// --stats: "files searched: N", and so on, one a line.
std::string statsText(const SearchProgress& progress, std::uint64_t matched,
                      std::uint64_t occurrences, bool counted, double seconds) {
  std::string out = "files searched: " + std::to_string(progress.filesSearched) +
                    "\nfiles matched: " + std::to_string(matched) + "\n";
  if (counted) out += "occurrences: " + std::to_string(occurrences) + "\n";
  out += "bytes read: " + std::to_string(progress.bytesRead) + "\n";
  return out + formatText("seconds: %.3f\n", seconds);
}

// Searches the files on the threads asked for and prints each file's results as soon as
// those of every file before it are printed.
int runSearch(const SearchOptions& options) {
  SearchRequest request = searchRequest(options);
  if (options.files) return listFiles(options, request.inputs);
  const auto start = std::chrono::steady_clock::now();
  const bool counted = request.want != SearchWant::kFiles;
  CollectionSearch search(std::move(request));
  ProgressLine progress(progressWanted(options.noProgress) ? stderr : nullptr,
                        [&search] { return search.progress(); });
  bool failed = false;
  bool anyMatch = false;
  std::uint64_t matched = 0;
  std::uint64_t occurrences = 0;
  while (auto result = search.next()) {
    result->path = shownPath(options, std::move(result->path));
    progress.withoutLine([&] {
      if (result->status == SearchStatus::kFailed) {
        reportError(result->path, result->message);
        failed = true;
      } else if (result->status == SearchStatus::kSkipped && result->named) {
        reportError(result->path, "not searched: " + result->message);
        failed = true;
      } else if (result->status == SearchStatus::kSkipped) {
        reportError(result->path, "skipped: " + result->message);
      } else {
        anyMatch = true;
        ++matched;
        occurrences += result->count;
        if (!options.quiet) writeOut(resultText(*result, options));
      }
    });
    if (anyMatch && options.quiet) break;  // the answer is known: the rest need not be read
  }
  if (options.stats) {
    const double seconds =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    writeOut(statsText(search.progress(), matched, occurrences, counted, seconds));
  }
  if (anyMatch && options.quiet) return 0;
  if (failed) return 2;
  return anyMatch ? 0 : 1;
}

void registerSearch(CLI::App& app, int& status) {
  auto options = std::make_shared<SearchOptions>();
  options->threads = std::max(1u, std::thread::hardware_concurrency());
  CLI::App* command = app.add_subcommand(
      "search", "Search documents with a query; print matching files with lines and snippets");
  command->footer(
      "A document is read up to 1 GiB (larger ones are reported, exit 2); one that is not text "
      "is told by its first 4 KB.");
  CLI::Option* query = command->add_option("QUERY", options->query, "The query");
  command->add_option("PATH", options->paths,
                      "Files and folders, '-' for standard input (default: standard input when "
                      "it is a pipe or a file, else the current folder)");
  command
      ->add_option("--files-from", options->filesFrom,
                   "Also search the paths listed in FILE, one a line ('-': standard input); "
                   "at most 1 GiB of list, paths up to 4096 bytes")
      ->type_name("FILE");
  command->add_flag("-0,--null", options->nulSeparated,
                    "With --files-from: the paths end with NUL bytes, not line ends");
  command->add_flag("--no-progress", options->noProgress,
                    "Never show progress (shown on a terminal when a search takes a while)");
  // The case options as grep tools take them: the last one given holds (read from the order
  // of parsing when the command runs).
  CLI::Option* ignoreCase = command->add_flag("-i,--ignore-case")
                                ->description("Compare without regard to case (the default)");
  CLI::Option* caseSensitive =
      command->add_flag("-s,--case-sensitive")->description("Compare case-sensitively");
  CLI::Option* smartCase =
      command->add_flag("-S,--smart-case")
          ->description("Compare case-sensitively when a term holds an upper-case letter");
  command->add_flag_callback(
      "-w,--word-regexp", [] {}, "Accepted as grep tools take it: words always match whole");
  command->add_flag("-a,--ignore-accents", options->ignoreAccents,
                    "Compare without regard to accents: dignite finds dignité");
  command->add_flag("--wildcard", options->wildcard, "Terms are wildcard patterns");
  command->add_flag("--paragraphs", options->paragraphs, "Snippets are lines, not sentences");
  command->add_flag("-l,--files-with-matches", options->filesWithMatches,
                    "Print only the paths of matching files");
  command->add_flag("-q,--quiet", options->quiet,
                    "Print nothing; exit 0 at the first match (1: none, 2: an error before one)");
  command
      ->add_option("-m,--max-count", options->maxCount,
                   "At most N occurrences a file (and -c counts up to N)")
      ->type_name("N");
  command->add_flag("-N,--no-line-number", options->noLineNumber,
                    "Print snippets without their line numbers");
  command
      ->add_option("--max-depth", options->maxDepth,
                   "Walk at most N levels below a folder given (1: its own files)")
      ->type_name("N");
  command->add_flag("-L,--follow", options->follow,
                    "Follow symbolic links (a link to a folder already on the path is named on "
                    "stderr and not followed)");
  command
      ->add_option("-g,--glob", options->globs,
                   "Only files found in folders that match GLOB (*, ?, [sets]; '!GLOB' leaves "
                   "files and folders out; a GLOB with a / matches the path below the folder "
                   "given, else the name); repeatable")
      ->type_name("GLOB")
      ->allow_extra_args(false);
  command->add_flag("-z,--search-zip", options->searchZip,
                    "Search gzip files as the documents they hold (inflated up to 1 GiB and 200 "
                    "times their size)");
  command->add_flag("--files", options->files,
                    "Print the files the search would read, a line each, and search nothing");
  command->add_flag("--stats", options->stats,
                    "After the results, print the files searched and matched, the occurrences, "
                    "the bytes read and the time");
  command->add_flag("--no-heading", options->noHeading,
                    "Print PATH:LINE:SNIPPET, a line each, instead of the path above its lines");
  command->add_flag("-c,--count", options->count, "Print PATH:COUNT of occurrences");
  command->add_flag("--json", options->json, "One JSON object per matching file");
  command->add_flag("--hidden", options->hidden, "Search hidden files and folders too");
  command
      ->add_option("-t,--type", options->typeNames,
                   "Only documents of this kind: text, markdown, html, feed, textbundle, or "
                   "txt, md, htm, xhtml, rss, atom, textpack (repeatable)")
      ->type_name("KIND")
      ->allow_extra_args(false)
      ->check([](const std::string& name) {
        return documentKindNamed(name) ? std::string()
                                       : "unknown kind '" + name + "' (see --type-list)";
      });
  command->add_flag("--type-list", options->typeList, "Print the kinds and what selects each");
  command
      ->add_option("--lang", options->language,
                   "Leave out files clearly in another language than XX")
      ->type_name("XX");
  command
      ->add_option("--stop-words", options->stopWords,
                   "With --lang: a folder of StopWords* lists (default: the shipped ones)")
      ->type_name("DIR");
  command->add_flag("--comments", options->comments,
                    "Match files by their Finder comments too (reported as line 0)");
  command->add_flag("--verbose", options->verbose,
                    "Report files skipped as not text, and symbolic links not followed");
  command->add_option("-j", options->threads, "Threads (default: all cores)")
      ->check(CLI::Range(1u, 1024u));
  command->add_option("--snippet-chars", options->snippetCharacters,
                      "Shorten snippets after N characters");
  command->callback([options, query, command, ignoreCase, caseSensitive, smartCase, &status] {
    if (options->typeList) {
      writeOut(documentKindList());
      status = 0;
      return;
    }
    // --files takes no query: what stands in its place is the first path.
    if (options->files && query->count() > 0) {
      options->paths.insert(options->paths.begin(), options->query);
    }
    if (query->count() == 0 && !options->files) throw CLI::RequiredError("QUERY");
    for (const CLI::Option* given : command->parse_order()) {
      if (given == ignoreCase) options->caseMode = SearchOptions::Case::kIgnore;
      if (given == caseSensitive) options->caseMode = SearchOptions::Case::kSensitive;
      if (given == smartCase) options->caseMode = SearchOptions::Case::kSmart;
    }
    for (const std::string& name : options->typeNames) {
      options->types.push_back(*documentKindNamed(name));
    }
    if (options->nulSeparated && !options->filesFrom) {
      throw CLI::ValidationError("-0", "needs --files-from");
    }
    if (options->paths.empty() && !options->filesFrom) {
      options->paths.push_back(standardInputBringsText() ? "-" : ".");
    }
    if (options->filesFrom == "-" &&
        std::find(options->paths.begin(), options->paths.end(), "-") != options->paths.end()) {
      throw CLI::ValidationError("-", "standard input cannot be both a path and the list");
    }
    runAnsweringCommand(status, [&] {
      if (options->language) {
        auto filter = loadLanguageFilter(options->stopWords, true);
        setFilterLanguage(*filter, *options->language, "--lang");
        options->languageFilter = std::move(filter);
      }
      return runSearch(*options);
    });
  });
}

struct TextQueryOptions {
  std::string query;
  std::string file = "-";
  bool caseSensitive = false;
  bool wildcard = false;
};

void addTextQueryOptions(CLI::App* command, TextQueryOptions& options) {
  command->add_flag("-s,--case-sensitive", options.caseSensitive, "Compare case-sensitively");
  command->add_flag("--wildcard", options.wildcard, "Terms are wildcard patterns");
  command->add_option("QUERY", options.query, "The query")->required();
  addFileOption(command, options.file);
}

void registerMatch(CLI::App& app, int& status) {
  auto options = std::make_shared<TextQueryOptions>();
  CLI::App* command =
      app.add_subcommand("match", "Print yes (exit 0) or no (exit 1): does the text match");
  addTextQueryOptions(command, *options);
  command->callback([options, &status] {
    runAnsweringCommand(status, [&] {
      const Query query(options->query, options->caseSensitive, options->wildcard);
      const bool matches = query.matches(readDocumentText(options->file));
      writeOut(std::string_view(matches ? "yes\n" : "no\n"));
      return matches ? 0 : 1;
    });
  });
}

void registerSnippets(CLI::App& app, int& status) {
  struct Options : TextQueryOptions {
    bool paragraphs = false;
    std::size_t max = 0;
    std::string separator = " ";
    bool singleWords = false;
  };
  auto options = std::make_shared<Options>();
  CLI::App* command =
      app.add_subcommand("snippets", "Print the sentences around the query's terms, assembled");
  addTextQueryOptions(command, *options);
  command->add_flag("--paragraphs", options->paragraphs, "Snippets are lines, not sentences");
  command->add_option("--max", options->max, "At most N characters, the last snippet cut");
  command->add_option("--separator", options->separator, "Between snippets (default: a space)");
  command->add_flag("--single-words", options->singleWords,
                    "Keep snippets that are only the term itself");
  command->callback([options, &status] {
    runAnsweringCommand(status, [&] {
      const Query query(options->query, options->caseSensitive, options->wildcard);
      const std::u16string text = readDocumentText(options->file);
      const std::u16string separator = decodeText(options->separator, "separator");
      const std::optional<std::u16string> assembled =
          query.snippets(text, separator, options->max, options->paragraphs, options->singleWords);
      if (assembled) writeOut(*assembled + u"\n");
      return assembled ? 0 : 1;
    });
  });
}

}  // namespace

void registerSearchCommand(CLI::App& app, int& status) {
  registerSearch(app, status);
  registerMatch(app, status);
  registerSnippets(app, status);
}

}  // namespace orvel::cli
