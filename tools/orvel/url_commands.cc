// url: cleaning and judging links. clean: the cleaned link; rel: made root-relative;
// filter: yes when the link is to be dropped; remote: yes when it names a remote web
// address. Links come as arguments, or from stdin one a line.
#include <memory>
#include <string>
#include <vector>

#include "orvel/base/utf8.h"
#include "orvel/url/link_cleaning.h"
#include "orvel/url/url.h"

#include "tools/orvel/command_support.h"
#include "tools/orvel/commands.h"

namespace orvel::cli {
namespace {

// The links to work on: the arguments, or the lines of stdin (a CR before the line feed
// belongs to the line break).
std::vector<std::u16string> linksOf(const std::vector<std::string>& arguments) {
  std::vector<std::u16string> links;
  if (!arguments.empty()) {
    for (const std::string& argument : arguments) links.push_back(decodeText(argument, argument));
    return links;
  }
  const std::u16string text = readText("-");
  std::size_t start = 0;
  while (start < text.size()) {
    std::size_t end = text.find(u'\n', start);
    if (end == std::u16string::npos) end = text.size();
    std::size_t stop = end;
    if (stop > start && text[stop - 1] == u'\r') --stop;
    links.push_back(text.substr(start, stop - start));
    start = end + 1;
  }
  return links;
}

// Registers a subcommand that prints one line per link.
void addLinkCommand(CLI::App& url, const std::string& name, const std::string& description,
                    std::function<std::string(std::u16string_view, bool)> answer) {
  struct Options {
    std::vector<std::string> links;
    bool decodePercent = false;
  };
  auto options = std::make_shared<Options>();
  CLI::App* command = url.add_subcommand(name, description);
  if (name == "clean") {
    command->add_flag("--decode-percent", options->decodePercent, "Decode percent escapes too");
  }
  command->add_option("LINK", options->links, "Links (default: stdin, one a line)");
  command->callback([options, answer] {
    std::string out;
    for (const std::u16string& link : linksOf(options->links)) {
      out += answer(link, options->decodePercent) + "\n";
    }
    writeOut(out);
  });
}

// A cleaned link, or "-" when nothing usable remains.
std::string shown(const std::optional<std::u16string>& link) {
  return link ? utf16ToUtf8(*link) : std::string("-");
}

}  // namespace

void registerUrlCommands(CLI::App& app) {
  CLI::App* url = app.add_subcommand("url", "Clean links and judge them");
  url->require_subcommand(1);
  addLinkCommand(*url, "clean", "The cleaned link ('-' when nothing usable remains)",
                 [](std::u16string_view link, bool decode) {
                   return shown(normalizedStringURL(link, decode));
                 });
  addLinkCommand(*url, "rel", "The cleaned link, root-relative when it is relative",
                 [](std::u16string_view link, bool) { return shown(normalizedRelLink(link)); });
  addLinkCommand(
      *url, "filter", "yes when the link is to be dropped, else no",
      [](std::u16string_view link, bool) { return std::string(filterLink(link) ? "yes" : "no"); });
  addLinkCommand(*url, "remote",
                 "yes when the link names a remote web address (a URL by its scheme and host, "
                 "other links by their start, as www.), else no",
                 [](std::u16string_view link, bool) {
                   const auto parsed = URL::URLWithString(link);
                   const bool remote = parsed && !parsed->scheme().empty()
                                           ? parsed->isRemoteWebKitURL()
                                           : isRemoteWebKitStringURL(link);
                   return std::string(remote ? "yes" : "no");
                 });
}

}  // namespace orvel::cli
