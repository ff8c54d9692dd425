// dsstore: reading the Finder's .DS_Store files. ls: every record; get: one value; info:
// the allocator's tables, for damaged files. comment: the Finder comments of files (from
// their folder's store, else the desktop's user.xdg.comment attribute), and --set to write
// the desktop comment (the library never writes .DS_Store files).
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>
#include <sys/xattr.h>

#include "orvel/base/date_text.h"
#include "orvel/base/utf8.h"
#include "orvel/dsstore/ds_store.h"

#include "tools/orvel/command_support.h"
#include "tools/orvel/commands.h"

namespace orvel::cli {
namespace {

namespace fs = std::filesystem;

// Seconds from 1904-01-01 (the epoch of "dutc" dates) to 2001-01-01.
constexpr double kSeconds1904To2001 = 3061152000.0;

// The store of a folder, or the store file named.
std::unique_ptr<DSStore> openStore(const std::string& path) {
  std::error_code error;
  if (!fs::exists(path, error)) throw CommandError(path, std::strerror(ENOENT));
  const bool folder = fs::is_directory(path, error);
  auto store = folder ? DSStore::storeWithDirectory(path) : DSStore::storeAtPath(path);
  if (store != nullptr) return store;
  if (folder && !fs::exists(fs::path(path) / ".DS_Store", error)) {
    throw CommandError(path, "no .DS_Store file in this folder");
  }
  throw CommandError(path,
                     "not a readable .DS_Store file (bad header or tables, or locked by a writer)");
}

std::string hexOf(const std::vector<std::uint8_t>& bytes) {
  static constexpr char kDigits[] = "0123456789abcdef";
  std::string hex;
  for (const std::uint8_t byte : bytes) {
    hex += kDigits[byte >> 4];
    hex += kDigits[byte & 15];
  }
  return hex;
}

std::string codeText(std::uint32_t code) {
  const std::string quoted = stringOfFourCharCode(code);
  return quoted.substr(1, 4);
}

// The four-character code a "type" record holds (a view style such as "icnv").
std::optional<std::uint32_t> typeCode(const DSStoreEntry& entry) {
  if (entry.type() != fourCharCode("type") || !entry.value()) return std::nullopt;
  const auto* number = std::get_if<std::int32_t>(&*entry.value());
  if (number == nullptr) return std::nullopt;
  return static_cast<std::uint32_t>(*number);
}

// A value for a line: numbers, Booleans as 0 or 1, text with \ and control characters
// escaped, bytes as hex, "dutc" dates in ISO 8601 UTC, "type" codes as their four
// characters; "-" for none.
std::string valueText(const DSStoreEntry& entry) {
  if (!entry.value()) return "-";
  if (const auto code = typeCode(entry)) return codeText(*code);
  const DSStoreValue& value = *entry.value();
  if (const auto* text = std::get_if<std::u16string>(&value)) {
    return escapeControls(utf16ToUtf8(*text));
  }
  if (const auto* bytes = std::get_if<std::vector<std::uint8_t>>(&value)) return hexOf(*bytes);
  if (const auto* flag = std::get_if<bool>(&value)) return *flag ? "1" : "0";
  if (const auto* number = std::get_if<std::int32_t>(&value)) return std::to_string(*number);
  const std::int64_t number = std::get<std::int64_t>(value);
  if (entry.type() == fourCharCode("dutc")) {
    const std::string date =
        iso8601StringOfDate(static_cast<double>(number) / 65536.0 - kSeconds1904To2001);
    if (!date.empty()) return date;
  }
  return std::to_string(number);
}

nlohmann::json valueJson(const DSStoreEntry& entry) {
  if (!entry.value()) return nullptr;
  if (typeCode(entry)) return valueText(entry);
  const DSStoreValue& value = *entry.value();
  if (const auto* flag = std::get_if<bool>(&value)) return *flag;
  if (const auto* number = std::get_if<std::int32_t>(&value)) return *number;
  if (std::holds_alternative<std::int64_t>(value) && entry.type() != fourCharCode("dutc")) {
    return std::get<std::int64_t>(value);
  }
  if (const auto* text = std::get_if<std::u16string>(&value)) return utf16ToUtf8(*text);
  return valueText(entry);  // bytes as hex, dates as ISO 8601
}

std::string entryLine(const DSStoreEntry& entry, bool json) {
  const std::string name = utf16ToUtf8(entry.filename());
  if (json) {
    nlohmann::json object = {{"name", name},
                             {"id", codeText(entry.codec())},
                             {"type", codeText(entry.type())},
                             {"value", valueJson(entry)}};
    // A code is also given as the number it is stored as.
    if (const auto code = typeCode(entry)) object["code"] = *code;
    return object.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace) + "\n";
  }
  return name + "\t" + codeText(entry.codec()) + "\t" + codeText(entry.type()) + "\t" +
         valueText(entry) + "\n";
}

void registerLs(CLI::App& dsstore) {
  struct Options {
    std::string path;
    bool json = false;
  };
  auto options = std::make_shared<Options>();
  CLI::App* command =
      dsstore.add_subcommand("ls", "Every record: NAME ID TYPE VALUE (tab-separated), or JSON");
  command->add_flag("--json", options->json,
                    "One object per record: name, id, type, value (and code, the number of a type "
                    "record's four characters)");
  command->add_option("PATH", options->path, "A .DS_Store file, or a folder holding one")
      ->required();
  command->callback([options] {
    const auto store = openStore(options->path);
    std::string out;
    store->enumerateEntries([&](const DSStoreEntry& entry) {
      out += entryLine(entry, options->json);
      return true;
    });
    writeOut(out);
  });
}

void registerGet(CLI::App& dsstore) {
  struct Options {
    std::string path, name, id = "cmmt";
  };
  auto options = std::make_shared<Options>();
  CLI::App* command = dsstore.add_subcommand("get", "The value of one record (exit 1: none)");
  command->add_option("PATH", options->path, "A .DS_Store file, or a folder holding one")
      ->required();
  command->add_option("NAME", options->name, "The file name")->required();
  command->add_option("ID", options->id, "The structure identifier (default: cmmt)")
      ->check([](const std::string& id) {
        return id.size() == 4 ? std::string() : std::string("an identifier has four characters");
      });
  command->callback([options] {
    const auto store = openStore(options->path);
    const char* id = options->id.c_str();
    const std::uint32_t codec = fourCharCode({id[0], id[1], id[2], id[3], '\0'});
    const auto entry = store->entryForFilename(decodeText(options->name, "NAME"), codec);
    if (!entry) {
      throw CommandError(options->path, "no '" + options->id + "' record for " + options->name);
    }
    writeOut(valueText(*entry) + "\n");
  });
}

void registerInfo(CLI::App& dsstore) {
  auto path = std::make_shared<std::string>();
  CLI::App* command =
      dsstore.add_subcommand("info", "The blocks and table of contents, and the tree's header");
  command->add_option("PATH", *path, "A .DS_Store file, or a folder holding one")->required();
  command->callback([path] {
    std::error_code error;
    const fs::path file =
        fs::is_directory(*path, error) ? fs::path(*path) / ".DS_Store" : fs::path(*path);
    if (auto store = DSStore::storeAtPath(file)) {
      writeOut(store->description() + "\nlevels " + std::to_string(store->levels()) + ", records " +
               std::to_string(store->records()) + ", nodes " + std::to_string(store->nodes()) +
               ", page size " + std::to_string(store->pageSize()) + "\n");
      return;
    }
    // A file whose tree header is missing may still have readable tables.
    if (auto allocator = DSStoreAllocator::allocatorWithFile(std::fopen(file.c_str(), "rb"))) {
      writeOut(allocator->description() + "\n");
      throw CommandError(*path, "no tree header (no DSDB block)");
    }
    openStore(*path);  // names what is wrong
  });
}

}  // namespace

void registerDSStoreCommands(CLI::App& app) {
  CLI::App* dsstore = app.add_subcommand("dsstore", "Read the Finder's .DS_Store files");
  dsstore->require_subcommand(1);
  registerLs(*dsstore);
  registerGet(*dsstore);
  registerInfo(*dsstore);
}

void registerCommentCommand(CLI::App& app, int& status) {
  struct Options {
    std::vector<std::string> files;
    std::optional<std::string> set;
  };
  auto options = std::make_shared<Options>();
  CLI::App* command = app.add_subcommand(
      "comment", "Finder comments of files: FILE: COMMENT; --set writes the desktop's comment");
  command
      ->add_option("--set", options->set,
                   "Set the comment (user.xdg.comment) of the one FILE; empty removes it")
      ->type_name("TEXT");
  command->add_option("FILE", options->files, "Files")->required();
  command->callback([options, &status] {
    if (options->set) {
      if (options->files.size() != 1) throw CLI::ValidationError("--set takes one FILE");
      const std::string& file = options->files.front();
      const std::string& text = *options->set;
      static_cast<void>(decodeText(text, "--set"));  // a comment is UTF-8 text, or refused
      const int result =
          text.empty() ? ::removexattr(file.c_str(), "user.xdg.comment")
                       : ::setxattr(file.c_str(), "user.xdg.comment", text.data(), text.size(), 0);
      if (result != 0 && !(text.empty() && errno == ENODATA)) {
        throw CommandError(file, std::string("cannot set the comment: ") + std::strerror(errno));
      }
      return;
    }
    std::string out;
    for (const std::string& file : options->files) {
      std::error_code error;
      if (!fs::exists(file, error)) {
        reportError(file, std::strerror(ENOENT));
        status = 1;
        continue;
      }
      if (const auto comment = finderCommentAtPath(file)) {
        out += file + ": " + utf16ToUtf8(*comment) + "\n";
      }
    }
    writeOut(out);
  });
}

}  // namespace orvel::cli
