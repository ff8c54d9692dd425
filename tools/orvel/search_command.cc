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
#include "orvel/find/collection_index.h"
#include "orvel/find/collection_search.h"
#include "orvel/search/internal/utf8_units.h"
#include "orvel/search/language_filter.h"
#include "orvel/search/separation.h"
#include "orvel/search/text_query.h"
#include "orvel/text/character_sets.h"

#include "tools/orvel/command_support.h"
#include "tools/orvel/commands.h"
#include "tools/orvel/document_text.h"
#include "tools/orvel/search_output.h"
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
  std::optional<std::string> filesFrom;   // a list of paths, one a line ("-": stdin)
  std::optional<std::string> files0From;  // the same, each path ended by a NUL byte
  bool noProgress = false;
  enum class Case { kIgnore, kSensitive, kSmart } caseMode = Case::kIgnore;  // the last given
  bool wildcard = false;
  bool ignoreAccents = false;  // -a
  bool paragraphs = false;
  bool filesWithMatches = false;
  bool count = false;
  std::optional<std::string> json;  // "lines" (ripgrep's form) or "files"
  std::string color = "auto";       // auto, always, never
  std::vector<std::string> colors;  // --colors settings, in order
  bool column = false;
  bool vimgrep = false;
  bool null = false;  // -0: a NUL after each path
  bool hidden = false;
  bool noIgnore = false;             // --no-ignore: ignore files are not read
  std::optional<std::string> index;  // --index: the index to use
  bool noIndex = false;              // --no-index: read every file
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
  OutputStyle style;          // worked out from the above when the command runs
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

// Works out how results are written from the options given.
void setOutputStyle(SearchOptions& options) {
  OutputStyle& style = options.style;
  style.form = options.json == "lines"    ? OutputForm::kJson
               : options.json == "files"  ? OutputForm::kJsonFiles
               : options.filesWithMatches ? OutputForm::kFiles
               : options.count            ? OutputForm::kCounts
               : options.vimgrep          ? OutputForm::kVimgrep
                                          : OutputForm::kSnippets;
  style.heading = !options.noHeading;
  style.lineNumbers = !options.noLineNumber;
  style.column = options.column;
  style.null = options.null;
  style.snippetCharacters = options.snippetCharacters;
  const bool json = options.json.has_value();
  style.color = !json && (options.color == "always" ||
                          (options.color == "auto" && ::isatty(STDOUT_FILENO) == 1 &&
                           std::getenv("NO_COLOR") == nullptr));
  for (const std::string& setting : options.colors) {
    if (std::string wrong = style.colors.apply(setting); !wrong.empty()) {
      throw CLI::ValidationError("--colors", setting + ": " + wrong);
    }
  }
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
  if (const auto& list = options.files0From ? options.files0From : options.filesFrom) {
    request.inputs.pathList = *list == "-" ? kStandardInput : *list;
  }
  request.inputs.pathListNulSeparated = options.files0From.has_value();
  request.inputs.hidden = options.hidden;
  request.inputs.ignoreFiles = !options.noIgnore;
  request.inputs.maxDepth = options.maxDepth;
  request.inputs.followLinks = options.follow;
  request.searchZip = options.searchZip;
  request.inputs.globs = options.globs;
  request.kinds = options.types;
  request.comments = options.comments;
  request.languageFilter = options.languageFilter;
  request.maxCount = options.maxCount;
  request.want = options.quiet              ? SearchWant::kFiles
                 : options.json.has_value() ? SearchWant::kOccurrences
                 : options.filesWithMatches ? SearchWant::kFiles
                 : options.count            ? SearchWant::kCounts
                                            : SearchWant::kOccurrences;
  request.paragraphs = options.paragraphs;
  request.ranges = options.style.form == OutputForm::kJsonFiles;
  // The terms are marked in colour, and found for a column or JSON.
  request.terms = options.style.color || options.style.column ||
                  options.style.form == OutputForm::kVimgrep ||
                  options.style.form == OutputForm::kJson;
  request.reportSkipped = options.verbose;
  request.threads = options.threads;
  return request;
}

// How a path is shown: standard input as "<stdin>", as grep tools show it, and the list of
// files read from it as "stdin", as every command names its input.
std::string shownPath(const SearchOptions& options, std::string path) {
  if (path != kStandardInput) return path;
  return options.filesFrom == "-" || options.files0From == "-" ? "stdin" : kStandardInputName;
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
    writeOut(pathLine(shownPath(options, std::move(item->path)), options.style));
  }
  if (failed) return 2;
  return any ? 0 : 1;
}

// --stats: "files searched: N", and so on, one a line.
std::string statsText(const SearchTotals& totals, bool counted) {
  std::string out = "files searched: " + std::to_string(totals.filesSearched) +
                    "\nfiles matched: " + std::to_string(totals.filesMatched) + "\n";
  if (counted) out += "occurrences: " + std::to_string(totals.occurrences) + "\n";
  out += "bytes read: " + std::to_string(totals.bytesRead) + "\n";
  return out + formatText("seconds: %.3f\n", totals.seconds);
}

// The index named, or the one found above the first path searched; none with --no-index or
// for standard input.
std::optional<fs::path> indexFor(const SearchOptions& options) {
  if (options.noIndex) return std::nullopt;
  if (options.index) return fs::path(*options.index);
  if (options.paths.empty() || options.paths.front() == "-") return std::nullopt;
  return findCollectionIndex(options.paths.front());
}

// Searches the files on the threads asked for and prints each file's results as soon as
// those of every file before it are printed.
int runSearch(const SearchOptions& options) {
  SearchRequest request = searchRequest(options);
  if (options.files) return listFiles(options, request.inputs);
  if (const std::optional<fs::path> index = indexFor(options)) {
    // The storage's own lines about a damaged block are summed up in the one line below.
    const CollectedLog quiet;
    request.inputs.index = selectIndexOrSay(*index, request);
  }
  const auto start = std::chrono::steady_clock::now();
  const bool counted = request.want != SearchWant::kFiles;
  CollectionSearch search(std::move(request));
  ProgressLine progress(progressWanted(options.noProgress) ? stderr : nullptr,
                        [&search] { return search.progress(); });
  bool failed = false;
  bool anyMatch = false;
  SearchTotals totals;
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
        ++totals.filesMatched;
        totals.occurrences += result->count;
        totals.terms += result->terms.size();
        if (!options.quiet) writeOut(resultText(*result, options.style));
      }
    });
    if (anyMatch && options.quiet) break;  // the answer is known: the rest need not be read
  }
  const SearchProgress done = search.progress();
  totals.filesSearched = done.filesSearched;
  totals.bytesRead = done.bytesRead;
  totals.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  // JSON ends with its totals, as ripgrep's does, which stand for --stats.
  if (options.style.form == OutputForm::kJson && !options.quiet) {
    writeOut(jsonSummary(totals));
  } else if (options.stats) {
    writeOut(statsText(totals, counted));
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
  command
      ->add_option("--files0-from", options->files0From,
                   "The same with each listed path ended by a NUL byte (find -print0)")
      ->type_name("FILE");
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
  command->add_flag("--column", options->column,
                    "Print LINE:COLUMN: of each snippet's first term (column in bytes, from 1)");
  command->add_flag("--vimgrep", options->vimgrep,
                    "Print PATH:LINE:COLUMN:SNIPPET, a line per occurrence, for an editor");
  command->add_flag("-0,--null", options->null,
                    "Follow each path printed with a NUL byte instead of ':' or a line end");
  command
      ->add_option("--color", options->color,
                   "Colour paths, line numbers and terms: auto "
                   "(on a terminal, unless NO_COLOR is set), "
                   "always or never")
      ->type_name("WHEN")
      ->check(CLI::IsMember({"auto", "always", "never"}));
  command
      ->add_option("--colors", options->colors,
                   "Change a colour as ripgrep takes it: TYPE:fg:COLOR, TYPE:bg:COLOR, "
                   "TYPE:style:STYLE or TYPE:none, TYPE path, line, column or match, COLOR a "
                   "name, 0-255 or R,G,B, STYLE [no]bold, [no]underline, [no]intense "
                   "(repeatable)")
      ->type_name("SETTING")
      ->allow_extra_args(false);
  command->add_flag("-c,--count", options->count, "Print PATH:COUNT of occurrences");
  command
      ->add_flag("--json{lines}", options->json,
                 "JSON lines as ripgrep writes them: begin, a match per occurrence (its terms "
                 "as submatches, offsets in bytes and in UTF-16 units), end, and a summary; "
                 "--json=files: one object per file, with its kind and occurrences")
      ->check(CLI::IsMember({"lines", "files"}));
  command->add_flag("--hidden", options->hidden, "Search hidden files and folders too");
  command->add_flag("--no-ignore", options->noIgnore,
                    "Do not leave out what .gitignore, .ignore and .orvelignore files ignore");
  command
      ->add_option("--index", options->index,
                   "Use this index (see orvel index; by default the .orvel-index of the first "
                   "PATH's folder or a folder above it): only files that may match, and files "
                   "changed since, are read")
      ->type_name("FILE");
  command->add_flag("--no-index", options->noIndex, "Read every file, even with an index");
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
    if (options->filesFrom && options->files0From) {
      throw CLI::ValidationError("--files0-from", "takes the place of --files-from");
    }
    const bool listed = options->filesFrom || options->files0From;
    if (options->paths.empty() && !listed) {
      options->paths.push_back(standardInputBringsText() ? "-" : ".");
    }
    if ((options->filesFrom == "-" || options->files0From == "-") &&
        std::find(options->paths.begin(), options->paths.end(), "-") != options->paths.end()) {
      throw CLI::ValidationError("-", "standard input cannot be both a path and the list");
    }
    setOutputStyle(*options);
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
