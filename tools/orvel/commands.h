// The command groups of the orvel program. Each registers its subcommands on the app;
// a subcommand that fails for one input sets `status` to 1 and goes on with the next.
#pragma once

#include <memory>
#include <optional>
#include <string>

#include <CLI/CLI.hpp>

#include "orvel/search/language_filter.h"

namespace orvel::cli {

// crc32, md5, sha1, fold, json.
void registerTextCommands(CLI::App& app, int& status);

// query, wildcard, similarity, words, components, count, ellipsize.
void registerSearchCommands(CLI::App& app);

// search (exit 0 when something matched, 1 when nothing did, 2 on an error), match,
// snippets.
void registerSearchCommand(CLI::App& app, int& status);

// index (build or update; --status, --verify, --compact).
void registerIndexCommand(CLI::App& app, int& status);

// serve (runs orvel-serve, the search page's program, beside this one).
void registerServeCommand(CLI::App& app, int& status);

// keyed (dump, add, remove), zlib.
void registerRecordCommands(CLI::App& app, int& status);

// storage (ls, verify, cat, append, delete, compact, salvage).
void registerStorageCommands(CLI::App& app, int& status);

// entities (decode, encode), charset.
void registerMarkupCommands(CLI::App& app, int& status);

// html (text, strip, links, pieces, charset).
void registerHtmlCommands(CLI::App& app);

// feed (items, html).
void registerFeedCommands(CLI::App& app);

// dsstore (ls, get, info).
void registerDSStoreCommands(CLI::App& app);

// comment (Finder comments; --set for the desktop's comment).
void registerCommentCommand(CLI::App& app, int& status);

// lang (languages of texts; --filter).
void registerLangCommand(CLI::App& app, int& status);

// The filter of `lang` and `search --lang`: the lists of a folder, else the shipped ones;
// throws CommandError when there are none.
std::unique_ptr<LanguageFilter> loadLanguageFilter(const std::optional<std::string>& directory,
                                                   bool ignoreUmlauts);

// Sets the language a filter filters against, as given to `option`; throws CommandError
// naming the known keys when the filter does not know it.
void setFilterLanguage(LanguageFilter& filter, const std::string& code, const std::string& option);

// textbundle (text, unpack).
void registerTextBundleCommands(CLI::App& app);

// url (clean, rel, filter, remote).
void registerUrlCommands(CLI::App& app);

}  // namespace orvel::cli
