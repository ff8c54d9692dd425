// search: the main job, searching a folder of documents with the query language. match
// and snippets: the evaluator on one text.
#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <nlohmann/json.hpp>

#include "orvel/base/utf8.h"
#include "orvel/dsstore/ds_store.h"
#include "orvel/formats/markdown_files.h"
#include "orvel/search/internal/utf8_units.h"
#include "orvel/search/query_evaluation.h"
#include "orvel/search/query_occurrences.h"
#include "orvel/search/query_terms.h"
#include "orvel/search/query_wildcards.h"
#include "orvel/search/separation.h"
#include "orvel/search/text_query.h"

#include "tools/orvel/command_support.h"
#include "tools/orvel/commands.h"
#include "tools/orvel/document_text.h"
#include "tools/orvel/ordered_work.h"
#include "tools/orvel/search_prefilter.h"
#include "tools/orvel/search_progress.h"
#include "tools/orvel/search_walk.h"

namespace orvel::cli {
namespace {

namespace fs = std::filesystem;

// A query as the search commands use it, and whether a match in a prefix of a text is a
// match in the whole text.
struct Query : TextQuery {
  bool monotone;

  Query(const std::string& text, bool caseSensitive, bool wildcard)
      : TextQuery(decodeText(text, "query"), caseSensitive, wildcard),
        monotone(isMonotoneQuery(tree())) {}
};

// ORVEL_SEARCH_PLAIN set in the environment turns every shortcut off (the byte pre-filter,
// deciding -l on a prefix): each file is read whole, decoded and evaluated. Tests compare
// the two paths; a user may use it to rule the shortcuts out.
bool plainPathForced() { return std::getenv("ORVEL_SEARCH_PLAIN") != nullptr; }

struct SearchOptions {
  std::string query;
  std::vector<std::string> paths;
  std::optional<std::string> filesFrom;  // a list of paths, one a line ("-": stdin)
  bool nulSeparated = false;             // -0: the list's paths end with NUL bytes instead
  bool noProgress = false;
  bool plainPath = plainPathForced();
  bool caseSensitive = false;
  bool wildcard = false;
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
};

struct FileResult {
  bool matched = false;
  std::string error;    // non-empty: the file could not be read
  std::string notText;  // non-empty: skipped, not text
  std::uint64_t bytesRead = 0;
  DocumentKind kind = DocumentKind::kText;
  std::optional<std::u16string> comment;  // the Finder comment, when it matched
  std::size_t count = 0;                  // with -c: the occurrences in the text
  // Otherwise, for the snippets: where the occurrences are, in the text kept until the
  // searching thread has written what the file prints.
  std::vector<OccurrencePlace> places;
  std::u16string text;
  // Or, for a file searched on its UTF-8 bytes, those bytes: in the thread's read buffer,
  // which the thread reads no other file into before the output is made.
  std::string_view utf8Text;
  std::string output;  // what a matching file prints
};

// For -l with a monotone query: whether a prefix of the file already matches, so that the
// rest need not be read. The first kilobytes decide whether the file is text at all.
bool prefixMatches(DocumentReader& reader, const Query& query, const SearchPrefilter& prefilter) {
  const std::string_view bytes = reader.readAtLeast(kBytesDecidingText);
  if (reader.atEnd()) return false;  // the whole file is here: search it as a whole
  if (!whyNotText(bytes).empty()) return false;
  const std::string_view prefix(bytes.data(), safePrefixEnd(bytes));
  if (prefix.empty() || !prefilter.mayMatch(prefix)) return false;
  return query.matches(decodeDocumentText(prefix));
}

// The file's Finder comment when it matches the query (its folder's .DS_Store, else the
// desktop's comment attribute).
std::optional<std::u16string> matchingComment(const fs::path& path, const Query& query) {
  auto comment = finderCommentAtPath(path);
  if (comment && query.matches(*comment)) return comment;
  return std::nullopt;
}

// Whether --type lets a kind of document through.
bool wanted(const SearchOptions& options, DocumentKind kind) {
  return options.types.empty() ||
         std::find(options.types.begin(), options.types.end(), kind) != options.types.end();
}

// Keeps the places of a matching text's occurrences, or with -c their number.
void keepPlaces(std::vector<OccurrencePlace> places, bool countOnly, FileResult& result) {
  result.matched = true;
  if (countOnly) {
    result.count = places.size();
  } else {
    result.places = std::move(places);
  }
}

// Tests a document's text and finds its occurrences, unless its language is filtered out.
void searchDocument(DocumentText document, const Query& query, const SearchOptions& options,
                    FileResult& result) {
  result.kind = document.kind;
  result.notText = document.notTextReason;
  if (!document.text) return;
  if (options.languageFilter && options.languageFilter->filterText(*document.text)) return;
  if (options.filesWithMatches) {
    result.matched = query.matches(*document.text);
    return;
  }
  const bool countOnly = options.count && !options.json;
  auto places = query.matchingOccurrencePlaces(*document.text, options.paragraphs, !countOnly);
  if (!places) return;
  keepPlaces(std::move(*places), countOnly, result);
  if (!countOnly) result.text = std::move(*document.text);
}

// For -l of words joined by AND and OR: whether the first bytes settle the file, without
// decoding it (a match, or none). nullopt leaves it to the rest of the file, or to the plain
// path where the file is no text (which reports that). `quiet`: whether being no text need
// not be told (the file was found in a folder, and --verbose is off).
std::optional<bool> settledOnFirstBytes(DocumentReader& reader, const SearchPrefilter& prefilter,
                                        bool quiet) {
  const std::string_view first = reader.readAtLeast(kBytesDecidingText);
  const ByteAnswer answer = prefilter.decide(first, reader.atEnd());
  if (answer == ByteAnswer::kNo && quiet) return false;
  if (answer == ByteAnswer::kUnknown || !whyNotText(first).empty()) return std::nullopt;
  return answer == ByteAnswer::kYes;
}

FileResult searchText(const fs::path& path, const Query& query, const SearchPrefilter& prefilter,
                      const SearchOptions& options, bool quiet) {
  FileResult result;
  if (isTextBundleFile(path)) {
    result.kind = DocumentKind::kTextBundle;
    if (wanted(options, result.kind)) {
      searchDocument(textBundleDocumentText(path), query, options, result);
    }
    return result;
  }
  std::string_view bytes;  // in this thread's read buffer, after the reader is gone
  bool possible = false;   // the byte tests found that the file may match: no need to repeat
  try {
    DocumentReader reader(path);
    const std::string_view first = reader.readAtLeast(kBytesDecidingText);
    result.kind = documentKind(path, first);
    if (!wanted(options, result.kind)) return result;
    // A longer file that is no text is told by its first bytes, before the rest is read.
    if (!reader.atEnd()) {
      if (std::string why = whyNotDocument(first, result.kind); !why.empty()) {
        if (result.kind == DocumentKind::kFeed) {  // a feed that is not one is read as text
          result.kind = DocumentKind::kText;
          if (!wanted(options, result.kind)) return FileResult{};
        }
        result.notText = std::move(why);
        result.bytesRead = first.size();
        return result;
      }
    }
    // A page's or feed's words may be spelt with entities, split by tags or in another
    // encoding: neither the byte pre-filter nor a prefix of its bytes can speak for it; and
    // the language of a file is that of all its text.
    const bool markup = result.kind == DocumentKind::kHtml || result.kind == DocumentKind::kFeed;
    const bool shortcuts = !markup && !options.languageFilter && !options.plainPath;
    const bool listing = shortcuts && options.filesWithMatches;
    bool bytesDecide = listing && prefilter.decides();
    if (bytesDecide) {
      if (const auto settled = settledOnFirstBytes(reader, prefilter, quiet)) {
        result.matched = *settled;
        result.bytesRead = reader.readAtLeast(0).size();
        return result;
      }
      // A file read whole already was decided on as a whole: left open, it may match.
      possible = reader.atEnd();
      bytesDecide = !possible;
    }
    // Where the bytes decide, a prefix they left open is not tried again decoded: the whole
    // file is decided on next.
    if (listing && query.monotone && !bytesDecide && prefixMatches(reader, query, prefilter)) {
      result.matched = true;
      result.bytesRead = reader.readAtLeast(0).size();
      return result;
    }
    bytes = reader.readAll();
    result.bytesRead = bytes.size();
    if (bytesDecide && whyNotText(bytes).empty()) {
      // Over the whole file an open answer means every word it needs may be there.
      const ByteAnswer answer = prefilter.decide(bytes, true);
      if (answer != ByteAnswer::kUnknown) {
        result.matched = answer == ByteAnswer::kYes;
        return result;
      }
      possible = true;
    } else if (quiet && !markup && !possible) {
      if (!prefilter.mayMatch(bytes)) return result;
      possible = true;
    }
    // A file is searched on its bytes when the query and the bytes allow it (JSON ranges
    // count UTF-16 units: then only in plain ASCII).
    const bool countOnly = options.count && !options.json;
    if (shortcuts && !options.filesWithMatches) {
      if (auto places =
              query.byteOccurrencePlaces(bytes, options.paragraphs, !countOnly, options.json)) {
        // Found on the bytes, a text matches when its words occur.
        if (!places->empty()) keepPlaces(std::move(*places), countOnly, result);
        result.utf8Text = bytes;
        return result;
      }
    }
  } catch (const CommandError& error) {
    result.error = error.what();
    return result;
  } catch (const std::bad_alloc&) {
    result.error = "too large to search in memory";
    return result;
  }
  // Whether it is text first: a file that is not is reported, whatever its bytes hold.
  DocumentText document = possible ? documentText(bytes, result.kind)
                                   : documentText(bytes, result.kind, [&](std::string_view all) {
                                       return prefilter.mayMatch(all);
                                     });
  // A feed-like file that is no feed after all is text, which --type may not want.
  if (!wanted(options, document.kind)) return FileResult{};
  searchDocument(std::move(document), query, options, result);
  return result;
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

std::u16string_view snippetOf(const FileResult& result, const OccurrencePlace& place) {
  return std::u16string_view(result.text).substr(place.range.location, place.range.length);
}

// A snippet of a file searched on its bytes, appended as appendSnippetLine appends the
// decoded text's: the bytes are its characters' UTF-8, a line end or tab becoming a space.
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

// The snippet at a place as UTF-8, and appended on one line.
std::string snippetUtf8(const FileResult& result, const OccurrencePlace& place) {
  if (!result.utf8Text.empty()) {
    return std::string(result.utf8Text.substr(place.range.location, place.range.length));
  }
  return utf16ToUtf8(snippetOf(result, place));
}

void appendSnippetLineAt(std::string& out, const FileResult& result, const OccurrencePlace& place,
                         std::size_t characters) {
  if (result.utf8Text.empty()) {
    appendSnippetLine(out, snippetOf(result, place), characters);
  } else {
    appendUtf8SnippetLine(out, result.utf8Text.substr(place.range.location, place.range.length),
                          characters);
  }
}

std::string fileJson(const std::string& path, const FileResult& result) {
  nlohmann::json occurrences = nlohmann::json::array();
  if (result.comment) {
    occurrences.push_back({{"range", {0, result.comment->size()}},
                           {"line", 0},
                           {"string", utf16ToUtf8(*result.comment)}});
  }
  for (const OccurrencePlace& place : result.places) {
    occurrences.push_back({{"range", {place.range.location, place.range.length}},
                           {"line", place.line + 1},
                           {"string", snippetUtf8(result, place)}});
  }
  const nlohmann::json object = {
      {"path", path}, {"kind", documentKindName(result.kind)}, {"occurrences", occurrences}};
  return object.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace) + "\n";
}

// What a matching file prints: its path, then per format counts, snippets or JSON.
std::string resultText(const std::string& path, const FileResult& result,
                       const SearchOptions& options) {
  if (options.json) return fileJson(path, result);
  if (options.filesWithMatches) return path + "\n";
  if (options.count) {
    return path + ":" + std::to_string(result.count + (result.comment ? 1 : 0)) + "\n";
  }
  std::string out = path + "\n";
  if (result.comment) {
    out += "0:";
    appendSnippetLine(out, *result.comment, options.snippetCharacters);
    out += '\n';
  }
  for (const OccurrencePlace& place : result.places) {
    out += std::to_string(place.line + 1);
    out += ':';
    appendSnippetLineAt(out, result, place, options.snippetCharacters);
    out += '\n';
  }
  return out;
}

// A file matches by its text, or with --comments by its comment (even a file that is no
// text: a picture is found by what was written about it).
FileResult searchFile(const std::string& name, bool named, const Query& query,
                      const SearchPrefilter& prefilter, const SearchOptions& options) {
  const fs::path path = name;
  auto comment = options.comments ? matchingComment(path, query) : std::nullopt;
  if (comment && options.filesWithMatches) {
    FileResult result;
    result.matched = true;
    result.output = resultText(name, result, options);
    return result;
  }
  FileResult result = searchText(path, query, prefilter, options, !named && !options.verbose);
  if (comment && result.error.empty()) {
    result.matched = true;
    result.notText.clear();
    result.comment = std::move(comment);
  }
  // Written here, on the searching thread, so that the text need not wait to be printed.
  if (result.matched && result.error.empty()) {
    result.output = resultText(name, result, options);
    result.text = std::u16string();
    result.places = {};
  }
  return result;
}

// Searches the files on the threads asked for and prints each file's results as soon as
// those of every file before it are printed.
int runSearch(const SearchOptions& options) {
  const Query query(options.query, options.caseSensitive, options.wildcard);
  bool failed = false;
  SearchFiles files;
  for (const std::string& path : options.paths) addSearchPath(files, path, options.hidden, failed);
  if (options.filesFrom) {
    readPathList(*options.filesFrom, options.nulSeparated, [&](const std::string& path) {
      addSearchPath(files, path, options.hidden, failed);
    });
  }
  const SearchPrefilter prefilter =
      options.plainPath ? SearchPrefilter()
                        : SearchPrefilter(query.tree(), query.caseSensitive(), query.wildcard());
  const unsigned threads = std::max(1u, std::min<unsigned>(options.threads, files.size()));
  SearchProgress progress(progressWanted(options.noProgress) ? stderr : nullptr, files.size());
  bool anyMatch = false;
  runInOrder<FileResult>(
      files.size(), threads, 8 * std::size_t{threads},
      [&](std::size_t i) {
        return searchFile(std::string(files.path(i)), files.named(i), query, prefilter, options);
      },
      [&](std::size_t i, const FileResult& result) {
        progress.fileSearched(result.bytesRead);
        const std::string name(files.path(i));
        progress.withoutLine([&] {
          if (!result.error.empty()) {
            reportError(name, result.error);
            failed = true;
          } else if (!result.notText.empty() && files.named(i)) {
            reportError(name, "not searched: " + result.notText);
            failed = true;
          } else if (!result.notText.empty() && options.verbose) {
            reportError(name, "skipped: " + result.notText);
          } else if (result.matched) {
            anyMatch = true;
            writeOut(result.output);
          }
        });
      });
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
  command->add_option("PATH", options->paths, "Files and folders (default: the current folder)");
  command
      ->add_option("--files-from", options->filesFrom,
                   "Also search the paths listed in FILE, one a line ('-': standard input); "
                   "at most 1 GiB of list, paths up to 4096 bytes")
      ->type_name("FILE");
  command->add_flag("-0,--null", options->nulSeparated,
                    "With --files-from: the paths end with NUL bytes, not line ends");
  command->add_flag("--no-progress", options->noProgress,
                    "Never show progress (shown on a terminal when a search takes a while)");
  command->add_flag("-s,--case-sensitive", options->caseSensitive, "Compare case-sensitively");
  command->add_flag("--wildcard", options->wildcard, "Terms are wildcard patterns");
  command->add_flag("--paragraphs", options->paragraphs, "Snippets are lines, not sentences");
  command->add_flag("-l,--files-with-matches", options->filesWithMatches,
                    "Print only the paths of matching files");
  command->add_flag("-c,--count", options->count, "Print PATH:COUNT of occurrences");
  command->add_flag("--json", options->json, "One JSON object per matching file");
  command->add_flag("--hidden", options->hidden, "Search hidden files and folders too");
  command
      ->add_option("--type", options->typeNames,
                   "Only documents of this kind: text, markdown, html, feed, textbundle "
                   "(repeatable)")
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
  command->add_flag("--verbose", options->verbose, "Report files skipped as not text");
  command->add_option("-j", options->threads, "Threads (default: all cores)")
      ->check(CLI::Range(1u, 1024u));
  command->add_option("--snippet-chars", options->snippetCharacters,
                      "Shorten snippets after N characters");
  command->callback([options, query, &status] {
    if (options->typeList) {
      writeOut(documentKindList());
      status = 0;
      return;
    }
    if (query->count() == 0) throw CLI::RequiredError("QUERY");
    for (const std::string& name : options->typeNames) {
      options->types.push_back(*documentKindNamed(name));
    }
    if (options->nulSeparated && !options->filesFrom) {
      throw CLI::ValidationError("-0", "needs --files-from");
    }
    if (options->paths.empty() && !options->filesFrom) options->paths.push_back(".");
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
