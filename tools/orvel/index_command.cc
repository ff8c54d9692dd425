// index: builds, updates, checks and compacts the persistent index that orvel search uses.
#include <memory>
#include <string>
#include <vector>

#include "orvel/find/collection_index.h"

#include "tools/orvel/command_support.h"
#include "tools/orvel/commands.h"

namespace orvel::cli {
namespace {

namespace fs = std::filesystem;

struct IndexOptions {
  std::vector<std::string> paths;
  std::optional<std::string> index;
  bool status = false;
  bool verify = false;
  bool compact = false;
  bool hidden = false;
  bool noIgnore = false;
};

std::string statusText(const IndexStatus& status) {
  std::string out;
  for (const std::string& root : status.roots) out += "root: " + root + "\n";
  out += "documents: " + std::to_string(status.documents) + " (" +
         std::to_string(status.textDocuments) + " text)\n";
  out += "segments: " + std::to_string(status.segments) + "\n";
  out += "bytes: " + std::to_string(status.bytes) + "\n";
  out += "generation: " + std::to_string(status.generation) + "\n";
  return out;
}

std::string updateText(const IndexUpdate& update) {
  return "indexed: " + std::to_string(update.indexed) +
         "\nunchanged: " + std::to_string(update.unchanged) +
         "\nremoved: " + std::to_string(update.removed) +
         "\nfailed: " + std::to_string(update.failed) +
         "\nsegments: " + std::to_string(update.segments) + (update.merged ? " (merged)" : "") +
         "\n";
}

int runIndex(const IndexOptions& options) {
  const fs::path index = options.index ? fs::path(*options.index)
                                       : fs::path(options.paths.front()) / kDefaultIndexName;
  // The storage's own lines about damage are summed up in the index's messages.
  const CollectedLog quiet;
  try {
    if (options.status) {
      writeOut(statusText(collectionIndexStatus(index)));
      return 0;
    }
    if (options.verify) {
      const std::vector<std::string> problems = verifyCollectionIndex(index);
      for (const std::string& problem : problems) reportError(index.string(), problem);
      if (problems.empty()) writeOut(std::string_view("index sound\n"));
      return problems.empty() ? 0 : 1;
    }
    WalkInputs inputs;
    for (const std::string& path : options.paths) inputs.paths.emplace_back(path);
    inputs.hidden = options.hidden;
    inputs.ignoreFiles = !options.noIgnore;
    writeOut(updateText(updateCollectionIndex(index, inputs, options.compact)));
    return 0;
  } catch (const IndexError& error) {
    throw CommandError(index.string(), error.what());
  }
}

}  // namespace

void registerIndexCommand(CLI::App& app, int& status) {
  auto options = std::make_shared<IndexOptions>();
  CLI::App* command = app.add_subcommand(
      "index", "Build or update the index that makes repeated searches of a tree fast");
  command->footer(
      "The index is the file .orvel-index at the top of the first PATH unless --index names "
      "another (segment files beside it share its name); orvel search uses it for paths "
      "below that folder, reading only the files that may match and every file changed "
      "since, so that its answers are exactly those of a search without it.");
  command->add_option("PATH", options->paths, "Folders to index (default: the current folder)");
  command->add_option("--index", options->index, "The index file")->type_name("FILE");
  command->add_flag("--status", options->status, "Print what the index holds");
  command->add_flag("--verify", options->verify,
                    "Read the whole index and report damage (exit 1 when there is some)");
  command->add_flag("--compact", options->compact, "Update, then merge every segment into one");
  command->add_flag("--hidden", options->hidden, "Index hidden files and folders too");
  command->add_flag("--no-ignore", options->noIgnore,
                    "Do not leave out what .gitignore, .ignore and .orvelignore files ignore");
  command->callback([options, &status] {
    if (options->paths.empty()) options->paths.push_back(".");
    runAnsweringCommand(status, [&] { return runIndex(*options); });
  });
}

}  // namespace orvel::cli
