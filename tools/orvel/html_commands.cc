// html: reading saved web pages. text: the readable text; strip: markup removed; links: the
// links (and frames) a crawler follows, or everything it reads in that pass as JSON;
// pieces: the tag scanner's view, for debugging pages; charset: how the page's encoding was
// found.
// Every page is read from its bytes in its own encoding (the byte-order mark, the declared
// charset, else UTF-8 or Windows Latin 1); the output is UTF-8.
#include <memory>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "orvel/base/utf8.h"
#include "orvel/markup/html_to_text.h"
#include "orvel/markup/tag_scanner.h"
#include "orvel/markup/tag_stripping.h"
#include "orvel/markup/web_page.h"
#include "orvel/text/cf_encodings.h"
#include "orvel/url/page_links.h"

#include "tools/orvel/command_support.h"
#include "tools/orvel/commands.h"
#include "tools/orvel/document_text.h"

namespace orvel::cli {
namespace {

std::string utf8(std::u16string_view text) { return utf16ToUtf8(text); }

void writeLine(std::u16string_view text) {
  if (!text.empty()) writeOut(utf8(text) + "\n");
}

void registerText(CLI::App& html) {
  struct Options {
    std::string file = "-";
    Html2TextOptions convert;
    bool noImageAlts = false;
  };
  auto options = std::make_shared<Options>();
  CLI::App* command = html.add_subcommand("text", "The page as readable plain text");
  Html2TextOptions& convert = options->convert;
  command->add_flag("--reformat", convert.reformat, "Keep the lines of preformatted text");
  command->add_flag("--only-body", convert.onlyBody, "Only the body (else the title too)");
  command->add_flag("--remove-junk", convert.removeJunk,
                    "Drop invisible text and keyword stuffing; says so on stderr");
  command->add_flag("--google-tags", convert.googleTags,
                    "Drop what googleoff:/googleon: comments fence off");
  command->add_flag("--no-image-alts", options->noImageAlts, "Leave out images' alt texts");
  command->add_flag("--non-umlauted", convert.nonUmlauted, "Fold accents away");
  command->add_flag("--simplified", convert.simplified,
                    "Only the body's runs of text, each after a space");
  addFileOption(command, options->file);
  command->callback([options] {
    Html2TextOptions convert = options->convert;
    convert.imageAlts = !options->noImageAlts;
    if (convert.simplified) convert.onlyBody = true;
    bool junk = false;
    writeLine(
        convertHtml2PlainText(std::move(readWebPageInput(options->file).text), convert, &junk));
    if (junk) reportError(displayName(options->file), "junk text dropped");
  });
}

std::vector<std::u16string> tagPrefixes(const std::vector<std::string>& names) {
  std::vector<std::u16string> prefixes;
  for (const std::string& name : names) prefixes.push_back(u"<" + decodeText(name, name));
  return prefixes;
}

std::string upperAscii(std::string name) {
  for (char& c : name) {
    if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
  }
  return name;
}

void registerStrip(CLI::App& html) {
  struct Options {
    std::string file = "-";
    bool tags = false;
    std::vector<std::string> tagNames, bodies, except;
    std::string attributesOf;
  };
  auto options = std::make_shared<Options>();
  CLI::App* command = html.add_subcommand(
      "strip", "Markup removed: elements (--bodies, --except), tags (--tag), attributes, all tags");
  command->add_flag("--tags", options->tags, "Every tag (the text between them is kept)");
  command->add_option("--tag", options->tagNames, "The tags of this name")
      ->allow_extra_args(false)
      ->type_name("NAME");
  command->add_option("--bodies", options->bodies, "Whole elements of these names")
      ->allow_extra_args(false)
      ->delimiter(',')
      ->type_name("NAME,...");
  command->add_option("--except", options->except, "Only elements of these names, a line each")
      ->allow_extra_args(false)
      ->delimiter(',')
      ->type_name("NAME,...");
  command
      ->add_option("--attributes", options->attributesOf,
                   "The tags of this name keep only their HREF or SRC")
      ->type_name("NAME");
  addFileOption(command, options->file);
  command->callback([options] {
    std::u16string text = readWebPageInput(options->file).text;
    if (!options->bodies.empty()) {
      text = stripTagBodies(text, tagPrefixes(options->bodies), false).value_or(text);
    }
    if (!options->except.empty()) {
      text = stripTagBodies(text, tagPrefixes(options->except), true).value_or(u"");
    }
    for (const std::string& name : options->tagNames) text = stripTag(text, upperAscii(name));
    if (!options->attributesOf.empty()) {
      text = stripAttributesOfTag(text, upperAscii(options->attributesOf));
    }
    if (options->tags) text = stripTags(text);
    writeOut(utf8(text));
  });
}

nlohmann::json jsonOf(const std::optional<std::u16string>& text) {
  return text ? nlohmann::json(utf8(*text)) : nlohmann::json(nullptr);
}

nlohmann::json jsonOf(const std::vector<std::u16string>& texts) {
  nlohmann::json array = nlohmann::json::array();
  for (const std::u16string& text : texts) array.push_back(utf8(text));
  return array;
}

// Everything the crawler's pass reads: the links (as asked), the frames and the head fields.
std::string pageLinksJson(std::u16string_view page, const std::vector<std::u16string>& links) {
  std::optional<URL> base;
  PageFields fields;
  fields.wantFavIcon = fields.wantTitle = fields.wantRefresh = true;
  fields.wantRobots = fields.wantRevisit = true;
  const std::vector<std::u16string> frames = htmlFramesBaseURL(page, &base, &fields);
  const nlohmann::json object = {
      {"links", jsonOf(links)},
      {"frames", jsonOf(frames)},
      {"base", base ? nlohmann::json(utf8(base->absoluteString())) : nlohmann::json(nullptr)},
      {"favicon", jsonOf(fields.favIcon)},
      {"title", jsonOf(fields.title)},
      {"refresh", jsonOf(fields.refresh)},
      {"robots", fields.robots.empty() ? nlohmann::json(nullptr) : jsonOf(fields.robots)},
      {"revisit", jsonOf(fields.revisit)},
      {"revisitSeconds", fields.revisit ? revisitAfter(*fields.revisit) : 0.0},
      {"isFeed", fields.isFeed}};
  return object.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace) + "\n";
}

void registerLinks(CLI::App& html) {
  struct Options {
    std::string file = "-";
    bool frames = false, noFollow = false, json = false;
    std::optional<std::string> containing;
  };
  auto options = std::make_shared<Options>();
  CLI::App* command = html.add_subcommand(
      "links", "The links of a and area tags, cleaned, each once, in document order");
  CLI::Option* frames =
      command->add_flag("--frames", options->frames, "The sources of frames and iframes too");
  command->add_option("--containing", options->containing, "Only links whose text holds TEXT")
      ->type_name("TEXT")
      ->excludes(frames);
  command->add_flag("--nofollow", options->noFollow, "Leave out links marked rel=nofollow")
      ->excludes(frames);
  command->add_flag("--json", options->json,
                    "One object: links, frames, base, favicon, title, refresh, robots, revisit, "
                    "isFeed");
  addFileOption(command, options->file);
  command->callback([options] {
    const std::u16string page = readWebPageInput(options->file).text;
    std::vector<std::u16string> links;
    if (options->frames) {
      links = htmlLinksAndFramesBaseURL(page);
    } else if (options->containing || options->noFollow) {
      std::optional<std::u16string> text;
      if (options->containing) text = decodeText(*options->containing, "--containing");
      links = htmlLinksContaining(page, text, options->noFollow);
    } else {
      links = htmlLinksBaseURL(page);
    }
    if (options->json) {
      writeOut(pageLinksJson(page, links));
      return;
    }
    std::string out;
    for (const std::u16string& link : links) out += utf8(link) + "\n";
    writeOut(out);
  });
}

constexpr const char* kKindNames[] = {"end", "tag", "comment", "section"};

bool printPiece(std::u16string_view, const unichar* characters, std::size_t nameStart,
                std::size_t nameLength, std::size_t tagStart, std::size_t tagLength,
                std::size_t textStart, int kind, void* context) {
  auto& out = *static_cast<std::string*>(context);
  out += kKindNames[kind];
  out += '\t';
  out +=
      nameStart == NSNotFound ? "-" : utf8(std::u16string_view(characters + nameStart, nameLength));
  out += formatText("\t%zu+%zu\t%zu+%zu\n", tagStart, tagLength, textStart, tagStart - textStart);
  return false;
}

void registerPieces(CLI::App& html) {
  auto file = std::make_shared<std::string>("-");
  CLI::App* command = html.add_subcommand(
      "pieces", "The scanner's calls: KIND NAME TAG-START+LENGTH TEXT-START+LENGTH (UTF-16 units)");
  addFileOption(command, *file);
  command->callback([file] {
    std::string out;
    GetTagsOfString(readWebPageInput(*file).text, printPiece, &out, false);
    writeOut(out);
  });
}

void registerCharset(CLI::App& html) {
  auto file = std::make_shared<std::string>("-");
  CLI::App* command =
      html.add_subcommand("charset", "The declared charset, the encoding read and its converter");
  addFileOption(command, *file);
  command->callback([file] {
    const WebPage page = readWebPage(readAll(*file));
    const char* converter = icuConverterNameForCFStringEncoding(page.encoding);
    std::string out = "declared: " + (page.declaredCharset.empty() ? std::string("-")
                                                                   : utf8(page.declaredCharset));
    out += formatText("\nencoding: 0x%08x", page.encoding);
    out += "\nconverter: " + std::string(converter != nullptr ? converter : "-");
    out += "\nsource: " + std::string(describePageEncodingSource(page.source)) + "\n";
    writeOut(out);
  });
}

}  // namespace

void registerHtmlCommands(CLI::App& app) {
  CLI::App* html = app.add_subcommand("html", "Read saved web pages in any encoding");
  html->require_subcommand(1);
  registerText(*html);
  registerStrip(*html);
  registerLinks(*html);
  registerPieces(*html);
  registerCharset(*html);
}

}  // namespace orvel::cli
