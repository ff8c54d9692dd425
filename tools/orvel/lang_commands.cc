// lang: the language of texts from stop words and scripts (LanguageFilter). Each FILE's text
// (or each paragraph's) gets its language key, "-" when it is not clear; --filter names the
// files clearly in another language than the one given.
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "orvel/base/range.h"
#include "orvel/base/utf8.h"
#include "orvel/search/language_filter.h"
#include "orvel/search/separation.h"

#include "tools/orvel/command_support.h"
#include "tools/orvel/commands.h"
#include "tools/orvel/document_text.h"

namespace orvel::cli {

std::unique_ptr<LanguageFilter> loadLanguageFilter(const std::optional<std::string>& directory,
                                                   bool ignoreUmlauts) {
  if (directory) {
    std::error_code error;
    if (!std::filesystem::is_directory(*directory, error)) {
      throw CommandError(*directory, "no such folder of stop-word lists");
    }
    auto filter = std::make_unique<LanguageFilter>(*directory, ignoreUmlauts);
    if (filter->languages().empty()) throw CommandError(*directory, "no StopWords* files");
    return filter;
  }
  auto filter = LanguageFilter::defaultFilter(ignoreUmlauts);
  if (filter == nullptr) {
    throw CommandError("stop words",
                       "the shipped lists are not found (install them, or set "
                       "ORVEL_STOP_WORDS_DIR or --stop-words DIR)");
  }
  return filter;
}

void setFilterLanguage(LanguageFilter& filter, const std::string& code, const std::string& option) {
  filter.setLanguage(decodeText(code, option));
  if (filter.languageIndex() != NSNotFound) return;
  std::string known;
  for (const std::u16string& key : filter.languages()) known += utf16ToUtf8(key) + ", ";
  throw CommandError(code, "unknown language for " + option + " (known: " + known +
                               "and by their scripts RU, AR, HE, EL)");
}

namespace {

struct LangOptions {
  std::vector<std::string> files;
  std::optional<std::string> stopWords;
  std::optional<std::string> filter;
  bool paragraphs = false;
  bool ignoreUmlauts = false;
  bool ratio = false;
};

std::string answerOf(const LanguageFilter& filter, std::u16string_view text, bool ratio) {
  const auto key = filter.languageOfText(text);
  std::string answer = key ? utf16ToUtf8(*key) : "-";
  if (ratio) answer += formatText(" %.4f", filter.stopWordRatioOfText(text));
  return answer;
}

// "FILE: KEY" per file, or "FILE:LINE: KEY" per paragraph (a line with a word in it).
std::string languagesOf(const LanguageFilter& filter, const std::string& file,
                        const LangOptions& options) {
  const std::u16string text = readDocumentText(file);
  const std::string name = displayName(file);
  if (!options.paragraphs) return name + ": " + answerOf(filter, text, options.ratio) + "\n";
  std::string out;
  std::size_t line = 1;
  for (std::size_t start = 0; start <= text.size(); ++line) {
    std::size_t end = text.find(u'\n', start);
    if (end == std::u16string::npos) end = text.size();
    const std::u16string_view paragraph = std::u16string_view(text).substr(start, end - start);
    if (numberOfWordsUsingDefaultSeparation(paragraph) > 0) {
      out += name + ":" + std::to_string(line) + ": " + answerOf(filter, paragraph, options.ratio) +
             "\n";
    }
    start = end + 1;
  }
  return out;
}

}  // namespace

void registerLangCommand(CLI::App& app, int& status) {
  auto options = std::make_shared<LangOptions>();
  CLI::App* command =
      app.add_subcommand("lang", "The language of each text (its key, - when not clear)");
  command->add_flag("--paragraphs", options->paragraphs, "One answer per paragraph (line)");
  command
      ->add_option("--stop-words", options->stopWords,
                   "A folder of StopWords* lists (default: the shipped ones)")
      ->type_name("DIR");
  command->add_flag("--ignore-umlauts", options->ignoreUmlauts,
                    "Fold accents away from stop words and texts");
  command->add_flag("--ratio", options->ratio, "Add the stop-word ratio of each text");
  command
      ->add_option("--filter", options->filter,
                   "Print the files clearly in another language than XX (exit 1: none)")
      ->type_name("XX");
  command->add_option("FILE", options->files, "Files (default: stdin)");
  command->callback([options, &status] {
    auto filter = loadLanguageFilter(options->stopWords, options->ignoreUmlauts);
    if (options->filter) setFilterLanguage(*filter, *options->filter, "--filter");
    std::vector<std::string> files = options->files;
    if (files.empty()) files.push_back("-");
    std::string out;
    bool anyFiltered = false;
    for (const std::string& file : files) {
      try {
        if (!options->filter) {
          out += languagesOf(*filter, file, *options);
        } else if (filter->filterText(readDocumentText(file))) {
          out += displayName(file) + "\n";
          anyFiltered = true;
        }
      } catch (const CommandError& error) {
        reportError(error.name(), error.what());
        status = 1;
      }
    }
    writeOut(out);
    if (options->filter && !anyFiltered && status == 0) status = 1;
  });
}

}  // namespace orvel::cli
