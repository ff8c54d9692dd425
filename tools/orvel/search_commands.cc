// query, wildcard, similarity: the query language and wildcard patterns. words,
// components, count, ellipsize: word separation.
#include <cstdio>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "orvel/base/utf8.h"
#include "orvel/search/query_outline.h"
#include "orvel/search/query_terms.h"
#include "orvel/search/separation.h"
#include "orvel/search/wildcard.h"
#include "orvel/search/wildcard_extensions.h"
#include "orvel/text/json_escapes.h"

#include "tools/orvel/command_support.h"
#include "tools/orvel/commands.h"

namespace orvel::cli {
namespace {

std::u16string ascii(const std::string& text) { return std::u16string(text.begin(), text.end()); }

std::u16string number(std::size_t value) {
  return value == static_cast<std::size_t>(NSIntegerMax) ? u"max" : ascii(std::to_string(value));
}

const std::map<std::string, QueryOperator> kOperators = {
    {"and", QueryOperatorAND},   {"or", QueryOperatorOR},         {"xor", QueryOperatorXOR},
    {"near", QueryOperatorNEAR}, {"before", QueryOperatorBEFORE}, {"after", QueryOperatorAFTER},
    {"next", QueryOperatorNEXT}, {"opt", QueryOperatorOPT}};

const std::map<std::string, std::uint32_t> kFormats = {{"standardized", kStandardizedQueryFormat},
                                                       {"normalized", kNormalizedQueryFormat},
                                                       {"description", kDescriptionQueryFormat}};

// A format set: one of the names, or hexadecimal bits as 0xBITS.
std::uint32_t formatBits(const std::string& format) {
  if (const auto named = kFormats.find(format); named != kFormats.end()) return named->second;
  return static_cast<std::uint32_t>(std::stoul(format, nullptr, 16));
}

std::string checkFormat(const std::string& format) {
  if (format == "tree" || kFormats.count(format) != 0) return {};
  const bool hex = format.size() > 2 && format.size() <= 10 && format.rfind("0x", 0) == 0 &&
                   format.find_first_not_of("0123456789abcdefABCDEF", 2) == std::string::npos;
  return hex ? std::string() : "expected standardized, normalized, description, tree or 0xBITS";
}

void registerQuery(CLI::App& app) {
  struct Options {
    bool wildcard = false;
    std::string defaultOperator = "and";
    std::ptrdiff_t defaultDistance = kDefaultQueryDistance;
    std::string format = "description";
    std::string plus;
    bool minTermLen = false;
    std::string query;
  };
  auto options = std::make_shared<Options>();
  CLI::App* command = app.add_subcommand("query", "Parse a query and write its tree back");
  command->add_flag("--wildcard", options->wildcard, "Terms are wildcard patterns");
  command->add_option("--default-operator", options->defaultOperator, "Operator between terms")
      ->check(CLI::IsMember({"and", "or", "xor", "near", "before", "after", "next", "opt"}));
  command->add_option("--default-distance", options->defaultDistance, "Distance of a bare NEAR");
  command
      ->add_option("--format", options->format,
                   "standardized, normalized, description (default), tree, or 0xBITS")
      ->check(checkFormat, "FORMAT");
  command->add_option("--plus", options->plus, "Print a positive-term collection instead")
      ->check(CLI::IsMember({"string", "parts", "words"}));
  command->add_flag("--min-term-len", options->minTermLen, "Print the shortest term's length");
  command->add_option("QUERY", options->query, "The query")->required();
  command->callback([options] {
    const std::u16string text = decodeText(options->query, "query");
    const QueryOperator op = kOperators.at(options->defaultOperator);
    const QueryTerms tree = options->wildcard
                                ? QueryTerms::withWildcard(text, op, options->defaultDistance)
                                : QueryTerms(text, op, options->defaultDistance);
    std::u16string out;
    if (options->plus == "string") {
      out += tree.plusString() + u"\n";
    } else if (!options->plus.empty()) {
      for (const auto& item : options->plus == "parts" ? tree.plusParts() : tree.plusWords()) {
        out += item + u"\n";
      }
    }
    if (options->minTermLen) out += number(tree.minTermLen()) + u"\n";
    if (options->plus.empty() && !options->minTermLen) {
      out = options->format == "tree" ? queryTreeOutline(tree)
                                      : tree.queryText(formatBits(options->format)) + u"\n";
    }
    writeOut(out);
  });
}

void registerWildcard(CLI::App& app) {
  struct Options {
    bool unix = false;
    bool caseInsensitive = false;
    std::string pattern;
    std::vector<std::string> texts;
  };
  auto options = std::make_shared<Options>();
  CLI::App* command =
      app.add_subcommand("wildcard", "Classify a wildcard pattern and match texts against it");
  command->add_flag("--unix", options->unix, "Unix language: bracket sets [a-z], [^x]");
  command->add_flag("-i", options->caseInsensitive, "Compare case-insensitively");
  command->add_option("PATTERN", options->pattern, "The pattern")->required();
  command->add_option("TEXT", options->texts, "Texts to match, each as a whole");
  command->callback([options] {
    const std::u16string pattern = decodeText(options->pattern, "pattern");
    std::u16string optimised = pattern;
    Range found;
    std::size_t length = 0;
    const int type =
        optimizeWildcard(optimised.data(), optimised.data() + optimised.size(), &found, 1, &length);
    optimised.resize(length);
    const unichar* begin = optimised.data();
    const unichar* end = begin + optimised.size();
    std::u16string out = u"type " + number(static_cast<std::size_t>(type)) + u" range " +
                         number(found.location) + u" " + number(found.length) + u" pattern " +
                         optimised + u" min " + number(minWildcardLen(begin, end)) + u" max " +
                         number(maxWildcardLen(begin, end)) + u"\n";
    for (const std::string& bytes : options->texts) {
      const std::u16string text = decodeText(bytes, "text");
      bool matches;
      if (options->unix) {
        matches = options->caseInsensitive ? isCaseInsensitiveLikeUnixWildcard(text, pattern)
                                           : isLikeUnixWildcard(text, pattern);
      } else {
        matches = options->caseInsensitive ? isCaseInsensitiveLikeWildcard(text, pattern)
                                           : isLikeWildcard(text, pattern);
      }
      out += (matches ? u"match " : u"no-match ") + text + u"\n";
    }
    writeOut(out);
  });
}

void registerSimilarity(CLI::App& app) {
  auto words = std::make_shared<std::vector<std::string>>();
  CLI::App* command =
      app.add_subcommand("similarity", "Fuzzy similarity of two words, from 0 to 1");
  command->add_option("A B", *words, "The two words")->required()->expected(2);
  command->callback([words] {
    const std::u16string a = decodeText((*words)[0], "A");
    const std::u16string b = decodeText((*words)[1], "B");
    char score[32];
    std::snprintf(score, sizeof score, "%.6f\n",
                  stringMatchesUnixWildcardFuzzy(a.data(), a.size(), b.data(), b.size()));
    writeOut(std::string_view(score));
  });
}

// An item of a split: as it stands without its trailing line breaks, or with --ranges as
// "LOC<TAB>LEN<TAB>word|sep<TAB>TEXT" with TEXT JSON-escaped.
std::u16string itemLine(std::u16string_view text, Range range, bool separators, bool ranges) {
  std::u16string_view item = text.substr(range.location, range.length);
  if (ranges) {
    return number(range.location) + u"\t" + number(range.length) + u"\t" +
           (separators ? u"sep\t" : u"word\t") + stringByConvertingCharactersToJSON(item) + u"\n";
  }
  while (!item.empty() && isMemberOfCharacterSetRep(defaultLineSeparators(), item.back())) {
    item.remove_suffix(1);
  }
  return std::u16string(item) + u"\n";
}

void registerWords(CLI::App& app) {
  struct Options {
    std::size_t minLen = 1;
    bool withSeparators = false;
    bool wildcard = false;
    bool ranges = false;
    std::string file = "-";
  };
  auto options = std::make_shared<Options>();
  CLI::App* command = app.add_subcommand("words", "Split text into words, one per line");
  command->add_option("--min-len", options->minLen, "Drop shorter words");
  command->add_flag("--with-separators", options->withSeparators, "Print separator runs too");
  command->add_flag("--wildcard", options->wildcard,
                    "Split at the wildcard separators, keeping [bracket sets] whole");
  command->add_flag("--ranges", options->ranges, "Print LOC, LEN, kind and JSON-escaped text");
  addFileOption(command, options->file);
  command->callback([options] {
    const std::u16string text = readText(options->file);
    std::vector<Range> ranges(text.size());
    const std::size_t count = wordsOfCharacters(
        text.data(), text.size(),
        options->wildcard ? defaultWildcardSeparators() : defaultWordSeparators(),
        options->withSeparators, options->minLen, options->wildcard, ranges.data());
    std::u16string out;
    for (std::size_t i = 0; i < count; ++i) {
      const bool separators = (ranges[i].length & kSeparatorRunFlag) != 0;
      const Range range{ranges[i].location, ranges[i].length & ~kSeparatorRunFlag};
      out += itemLine(text, range, separators, options->ranges);
    }
    writeOut(out);
  });
}

void registerComponents(CLI::App& app) {
  struct Options {
    bool sentences = false;
    bool lines = false;
    bool ranges = false;
    std::string file = "-";
  };
  auto options = std::make_shared<Options>();
  CLI::App* command = app.add_subcommand(
      "components", "Split text into components, each ending with its separators");
  CLI::Option* sentences =
      command->add_flag("--sentences", options->sentences, "Cut at sentence ends only (not , ;)");
  command->add_flag("--lines", options->lines, "Cut at line breaks")->excludes(sentences);
  command->add_flag("--ranges", options->ranges, "Print LOC, LEN, kind and JSON-escaped text");
  addFileOption(command, options->file);
  command->callback([options] {
    const std::u16string text = readText(options->file);
    CharacterSetRep separators = options->lines       ? defaultLineSeparators()
                                 : options->sentences ? defaultSentenceSeparators()
                                                      : defaultComponentSeparators();
    std::vector<Range> ranges(text.size());
    const std::size_t count =
        componentsOfCharacters(text.data(), text.size(), separators, ranges.data());
    std::u16string out;
    for (std::size_t i = 0; i < count; ++i)
      out += itemLine(text, ranges[i], false, options->ranges);
    writeOut(out);
  });
}

void registerCount(CLI::App& app) {
  auto file = std::make_shared<std::string>("-");
  CLI::App* command = app.add_subcommand("count", "Count the words and paragraphs of a text");
  addFileOption(command, *file);
  command->callback([file] {
    const std::u16string text = readText(*file);
    const ParagraphsAndWords counts = numberOfParagraphs(text, Range{0, text.size()}, 1);
    writeOut(u"words " + number(counts.words) + u"\nparagraphs " + number(counts.paragraphs) +
             u"\n");
  });
}

void registerEllipsize(CLI::App& app) {
  struct Options {
    std::size_t characters = 0;
    std::size_t words = 0;
    std::string file = "-";
  };
  auto options = std::make_shared<Options>();
  CLI::App* command =
      app.add_subcommand("ellipsize", "Shorten a text after N characters or N words, adding ...");
  CLI::Option* characters =
      command->add_option("--chars", options->characters, "Cut after N characters");
  CLI::Option* words = command->add_option("--words", options->words, "Cut after N words");
  characters->excludes(words);
  addFileOption(command, options->file);
  command->callback([options, characters, words] {
    if (characters->count() == 0 && words->count() == 0) {
      throw CLI::RequiredError("--chars or --words");
    }
    const std::u16string text = readText(options->file);
    std::u16string out = characters->count() > 0
                             ? stringByEllipsizingAfterNCharacters(text, options->characters)
                             : stringByEllipsizingAfterNWords(text, options->words);
    if (out.empty() || out.back() != u'\n') out += u'\n';
    writeOut(out);
  });
}

}  // namespace

void registerSearchCommands(CLI::App& app) {
  registerQuery(app);
  registerWildcard(app);
  registerSimilarity(app);
  registerWords(app);
  registerComponents(app);
  registerCount(app);
  registerEllipsize(app);
}

}  // namespace orvel::cli
