// crc32, md5, sha1: fingerprints of inputs. fold: text through a folding table. json:
// JSON and JavaScript string escapes.
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "orvel/text/conversion_tables.h"
#include "orvel/text/crc32.h"
#include "orvel/text/digest.h"
#include "orvel/text/isc_md5.h"
#include "orvel/text/isc_sha1.h"
#include "orvel/text/json_escapes.h"

#include "tools/orvel/command_support.h"
#include "tools/orvel/commands.h"

namespace orvel::cli {
namespace {

const std::vector<std::string> kTableNames = {"lower", "upper", "umlauts", "lower-umlauts",
                                              "upper-umlauts"};

ConversionTable tableNamed(const std::string& name) {
  if (name == "lower") return initLowerCharsTable();
  if (name == "upper") return initUpperCharsTable();
  if (name == "umlauts") return initUmlautsCharsTable();
  if (name == "lower-umlauts") return initLowerUmlautsCharsTable();
  return initUpperUmlautsCharsTable();
}

// "HEX  NAME\n" as md5sum prints it: a name holding a backslash or a newline is escaped
// and the line then starts with a backslash.
std::string checksumLine(const std::string& hex, const std::string& input) {
  std::string name;
  bool escaped = false;
  for (char c : input) {
    if (c == '\\' || c == '\n') {
      name += c == '\\' ? "\\\\" : "\\n";
      escaped = true;
    } else {
      name += c;
    }
  }
  return (escaped ? "\\" : "") + hex + "  " + name + "\n";
}

std::string hex32(std::uint32_t value) {
  char buffer[9];
  std::snprintf(buffer, sizeof buffer, "%08x", value);
  return buffer;
}

std::string hexBytes(const unsigned char* bytes, std::size_t length) {
  std::string hex;
  for (std::size_t i = 0; i < length; ++i) hex += hex32(bytes[i]).substr(6);
  return hex;
}

std::vector<std::string> inputsOrStdin(const std::vector<std::string>& files) {
  return files.empty() ? std::vector<std::string>{"-"} : files;
}

// Prints checksumLine(fingerprint(input), input) for each input; an input that cannot be
// read is reported and skipped, and the command then fails.
template <typename Fingerprint>
void printChecksums(const std::vector<std::string>& files, int& status, Fingerprint fingerprint) {
  for (const std::string& input : inputsOrStdin(files)) {
    std::string hex;
    try {
      hex = fingerprint(input);
    } catch (const CommandError& error) {
      reportError(error.name(), error.what());
      status = 1;
      continue;
    }
    writeOut(checksumLine(hex, input));
  }
}

void registerCrc32(CLI::App& app, int& status) {
  struct Options {
    bool utf16 = false;
    std::string fold;
    std::vector<std::string> files;
  };
  auto options = std::make_shared<Options>();
  CLI::App* command =
      app.add_subcommand("crc32", "CRC-32 (register from 0, no final XOR) of each input's bytes");
  CLI::Option* utf16 = command->add_flag("--utf16", options->utf16,
                                         "Decode the input as UTF-8 and checksum its UTF-16 units");
  command->add_option("--fold", options->fold, "Fold each unit through this table first")
      ->check(CLI::IsMember(kTableNames))
      ->needs(utf16);
  addFilesOption(command, options->files);
  command->callback([options, &status] {
    if (!options->utf16) {
      printChecksums(options->files, status, [](const std::string& input) {
        std::uint32_t crc = 0;
        readChunks(input, [&](std::span<const std::uint8_t> chunk) {
          crc = updateCRC32(crc, chunk.data(), chunk.size());
        });
        return hex32(crc);
      });
      return;
    }
    // Text: all inputs must decode before anything is printed.
    ConversionTable table = options->fold.empty() ? nullptr : tableNamed(options->fold);
    std::string out;
    for (const std::string& input : inputsOrStdin(options->files)) {
      out += checksumLine(hex32(stringCRC32UsingConversionTable(readText(input), table)), input);
    }
    writeOut(out);
  });
}

template <typename Context, std::size_t kDigestLength>
void registerDigest(CLI::App& app, int& status, const char* name, const char* description,
                    void (*init)(Context*),
                    void (*update)(Context*, const unsigned char*, std::uint32_t),
                    void (*final)(Context*, unsigned char*)) {
  auto files = std::make_shared<std::vector<std::string>>();
  CLI::App* command = app.add_subcommand(name, description);
  addFilesOption(command, *files);
  command->callback([=, &status] {
    printChecksums(*files, status, [=](const std::string& input) {
      Context context;
      init(&context);
      readChunks(input, [&](std::span<const std::uint8_t> chunk) {
        update(&context, chunk.data(), static_cast<std::uint32_t>(chunk.size()));
      });
      unsigned char digest[kDigestLength];
      final(&context, digest);
      return hexBytes(digest, kDigestLength);
    });
  });
}

void registerFold(CLI::App& app) {
  struct Options {
    std::string table;
    std::string file = "-";
  };
  auto options = std::make_shared<Options>();
  std::vector<std::string> choices = kTableNames;
  choices.push_back("ascii");
  CLI::App* command =
      app.add_subcommand("fold", "Map every UTF-16 unit of the input through a folding table");
  command
      ->add_option("TABLE", options->table,
                   "The folding table; ascii: the accent-free form if ASCII, else a space")
      ->required()
      ->check(CLI::IsMember(choices));
  addFileOption(command, options->file);
  command->callback([options] {
    std::u16string text = readText(options->file);
    if (options->table == "ascii") {
      for (unichar& unit : text) unit = toAscii(unit);
    } else {
      ConversionTable table = tableNamed(options->table);
      for (unichar& unit : text) unit = table[unit];
    }
    writeOut(text);
  });
}

void registerJson(CLI::App& app) {
  struct Options {
    std::string mode;
    std::string file = "-";
  };
  auto options = std::make_shared<Options>();
  const std::vector<std::string> modes = {"escape", "unescape", "unescape-js"};
  CLI::App* command = app.add_subcommand(
      "json", "Escape the input for a JSON string literal, or resolve JSON/JavaScript escapes");
  command
      ->add_option("MODE", options->mode,
                   "escape: for a JSON string; unescape: JSON escapes; unescape-js: JavaScript too")
      ->required()
      ->check(CLI::IsMember(modes));
  addFileOption(command, options->file);
  command->callback([options] {
    const std::u16string text = readText(options->file);
    if (options->mode == "escape") {
      writeOut(stringByConvertingCharactersToJSON(text));
    } else if (options->mode == "unescape") {
      writeOut(stringByConvertingJSONToCharacters(text));
    } else {
      writeOut(stringByConvertingJavaScriptToCharacters(text));
    }
  });
}

}  // namespace

void registerTextCommands(CLI::App& app, int& status) {
  registerCrc32(app, status);
  registerDigest<isc_md5_t, ISC_MD5_DIGESTLENGTH>(app, status, "md5",
                                                  "MD5 of each input, printed as md5sum does",
                                                  isc_md5_init, isc_md5_update, isc_md5_final);
  registerDigest<isc_sha1_t, ISC_SHA1_DIGESTLENGTH>(app, status, "sha1",
                                                    "SHA-1 of each input, printed as sha1sum does",
                                                    isc_sha1_init, isc_sha1_update, isc_sha1_final);
  registerFold(app);
  registerJson(app);
}

}  // namespace orvel::cli
