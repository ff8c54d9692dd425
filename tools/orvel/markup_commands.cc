// entities: decode and encode character entity references. charset: the encoding numbers
// of charset names.
#include <memory>
#include <string>
#include <vector>

#include "orvel/base/utf8.h"
#include "orvel/markup/charsets.h"
#include "orvel/markup/entities.h"
#include "orvel/text/cf_encodings.h"

#include "tools/orvel/command_support.h"
#include "tools/orvel/commands.h"

namespace orvel::cli {
namespace {

void registerEntities(CLI::App& app) {
  struct Options {
    std::string file = "-";
    bool numericOnly = false, noMarkup = false, nonUmlauted = false;
    bool named = false, numeric = false, standard = false;
  };
  auto options = std::make_shared<Options>();
  CLI::App* entities =
      app.add_subcommand("entities", "Decode or encode character entity references");
  entities->require_subcommand(1);

  CLI::App* decode = entities->add_subcommand("decode", "References to characters");
  decode->add_flag("--numeric-only", options->numericOnly, "Leave named references as they are");
  decode->add_flag("--no-markup", options->noMarkup,
                   "Leave &lt; &gt; &amp; &quot; (and their numbers) as they are");
  decode->add_flag("--non-umlauted", options->nonUmlauted,
                   "Fold accents away (along with a decoding)");
  addFileOption(decode, options->file);
  decode->callback([options] {
    writeOut(stringByConvertingEntitiesToCharacters(readText(options->file), !options->noMarkup,
                                                    options->numericOnly, options->nonUmlauted));
  });

  CLI::App* encode = entities->add_subcommand(
      "encode", "Characters to references: --named (default), --numeric or --standard");
  encode->add_flag("--named", options->named, "Names where there are, numbers else; ASCII kept");
  encode->add_flag("--numeric", options->numeric, "Every unit above 127 as &#N;");
  encode->add_flag("--standard", options->standard, "Only \" & < > as &quot; &amp; &lt; &gt;");
  addFileOption(encode, options->file);
  encode->callback([options] {
    if (options->named + options->numeric + options->standard > 1) {
      throw CLI::ValidationError("--named, --numeric and --standard exclude each other");
    }
    const std::u16string text = readText(options->file);
    if (options->numeric) {
      writeOut(stringByConvertingHighCharactersToEntities(text));
    } else if (options->standard) {
      writeOut(stringByConvertingCharactersToStandardEntities(text));
    } else {
      writeOut(stringByConvertingCharactersToEntities(text));
    }
  });
}

void registerCharset(CLI::App& app, int& status) {
  auto names = std::make_shared<std::vector<std::string>>();
  CLI::App* command = app.add_subcommand(
      "charset", "The encoding numbers of charset names: NAME CF-NUMBER NS-NUMBER CONVERTER");
  command->add_option("NAME", *names, "Charset names as markup declares them")->required();
  command->callback([names, &status] {
    std::string out;
    for (const std::string& name : *names) {
      const std::u16string text = decodeText(name, "NAME");
      const CFStringEncoding cf = charset2CFStringEncoding(text);
      const char* converter =
          cf == kCFStringEncodingInvalidId ? nullptr : icuConverterNameForCFStringEncoding(cf);
      out += name + "\t" + formatText("0x%08x", cf) + "\t" +
             formatText("0x%08x", charset2NSStringEncoding(text)) + "\t" +
             (converter != nullptr ? converter : "-") + "\n";
      if (cf == kCFStringEncodingInvalidId) status = 1;
    }
    writeOut(out);
  });
}

}  // namespace

void registerMarkupCommands(CLI::App& app, int& status) {
  registerEntities(app);
  registerCharset(app, status);
}

}  // namespace orvel::cli
