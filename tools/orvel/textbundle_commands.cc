// textbundle: TextBundle documents. text: the bundle's text (a .textbundle folder or a
// .textpack archive); unpack: a bundle made to stand at DEST, refusing hostile archives.
#include <memory>
#include <optional>
#include <string>

#include "orvel/base/utf8.h"
#include "orvel/formats/markdown_files.h"
#include "orvel/markup/charsets.h"

#include "tools/orvel/command_support.h"
#include "tools/orvel/commands.h"

namespace orvel::cli {
namespace {

void registerText(CLI::App& textbundle) {
  struct Options {
    std::string path;
    std::optional<std::string> encoding;
  };
  auto options = std::make_shared<Options>();
  CLI::App* command = textbundle.add_subcommand("text", "The text of a bundle, as UTF-8");
  command
      ->add_option("--encoding", options->encoding,
                   "Read the text in this charset (default: by its mark, else UTF-8, else "
                   "Windows Latin 1)")
      ->type_name("NAME");
  command->add_option("PATH", options->path, "A .textbundle folder or .textpack archive")
      ->required();
  command->callback([options] {
    std::optional<NSStringEncoding> encoding;
    if (options->encoding) {
      const CollectedLog unknownNames;  // folded into the one error line
      const NSStringEncoding named =
          charset2NSStringEncoding(decodeText(*options->encoding, "--encoding"));
      if (named == 0xFFFFFFFF) throw CommandError(*options->encoding, "unknown charset name");
      encoding = named;
    }
    if (!isTextBundleFile(options->path)) {
      throw CommandError(options->path, "not a .textbundle folder or .textpack archive");
    }
    std::string why;
    const auto text = stringWithContentsOfTextBundleFile(options->path, encoding, nullptr, &why);
    if (!text) throw CommandError(options->path, "no text: " + why);
    writeOut(*text);
  });
}

void registerUnpack(CLI::App& textbundle) {
  struct Options {
    std::string path, destination;
  };
  auto options = std::make_shared<Options>();
  CLI::App* command =
      textbundle.add_subcommand("unpack", "Make the bundle stand at DEST (a .textbundle folder)");
  command->add_option("PATH", options->path, "A .textbundle folder or .textpack archive")
      ->required();
  command->add_option("DEST", options->destination, "Where the .textbundle folder goes")
      ->required();
  command->callback([options] {
    std::string error;
    if (!decompressTextBundleFile(options->path, options->destination, &error)) {
      throw CommandError(options->path, error);
    }
  });
}

}  // namespace

void registerTextBundleCommands(CLI::App& app) {
  CLI::App* textbundle = app.add_subcommand("textbundle", "Read and unpack TextBundles");
  textbundle->require_subcommand(1);
  registerText(*textbundle);
  registerUnpack(*textbundle);
}

}  // namespace orvel::cli
