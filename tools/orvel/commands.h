// The command groups of the orvel program. Each registers its subcommands on the app;
// a subcommand that fails for one input sets `status` to 1 and goes on with the next.
#pragma once

#include <CLI/CLI.hpp>

namespace orvel::cli {

// crc32, md5, sha1, fold, json.
void registerTextCommands(CLI::App& app, int& status);

// query, wildcard, similarity, words, components, count, ellipsize.
void registerSearchCommands(CLI::App& app);

}  // namespace orvel::cli
