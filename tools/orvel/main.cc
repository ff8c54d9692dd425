// orvel: the library's capabilities as commands. See `orvel --help`.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <exception>
#include <initializer_list>
#include <new>
#include <string>
#include <string_view>

#include "orvel/version.h"

#include "tools/orvel/command_support.h"
#include "tools/orvel/commands.h"

namespace {

// The subcommand a usage error concerns, when the first argument names one.
std::string commandNamed(CLI::App& app, int argc, char** argv) {
  if (argc < 2) return {};
  try {
    return app.get_subcommand(argv[1])->get_name();
  } catch (const CLI::Error&) {
    return {};
  }
}

// The command groups, each with the subcommands it adds. A process builds only the group
// of the command it runs: building every command's options costs more than most commands
// take to run, and scripts run orvel once per file. Help, and anything not a command, get
// them all.
struct CommandGroup {
  std::initializer_list<std::string_view> names;
  void (*add)(CLI::App& app, int& status);
};

const CommandGroup kGroups[] = {
    {{"crc32", "md5", "sha1", "fold", "json"}, orvel::cli::registerTextCommands},
    {{"query", "wildcard", "similarity", "words", "components", "count", "ellipsize"},
     [](CLI::App& app, int&) { orvel::cli::registerSearchCommands(app); }},
    {{"search", "match", "snippets"}, orvel::cli::registerSearchCommand},
    {{"index"}, orvel::cli::registerIndexCommand},
    {{"serve"}, orvel::cli::registerServeCommand},
    {{"keyed", "zlib"}, orvel::cli::registerRecordCommands},
    {{"storage"}, orvel::cli::registerStorageCommands},
    {{"entities", "charset"}, orvel::cli::registerMarkupCommands},
    {{"html"}, [](CLI::App& app, int&) { orvel::cli::registerHtmlCommands(app); }},
    {{"feed"}, [](CLI::App& app, int&) { orvel::cli::registerFeedCommands(app); }},
    {{"dsstore"}, [](CLI::App& app, int&) { orvel::cli::registerDSStoreCommands(app); }},
    {{"comment"}, orvel::cli::registerCommentCommand},
    {{"lang"}, orvel::cli::registerLangCommand},
    {{"textbundle"}, [](CLI::App& app, int&) { orvel::cli::registerTextBundleCommands(app); }},
    {{"url"}, [](CLI::App& app, int&) { orvel::cli::registerUrlCommands(app); }},
};

// Adds the group of the command named first, or every group.
void addCommands(CLI::App& app, int& status, int argc, char** argv) {
  if (argc >= 2) {
    for (const CommandGroup& group : kGroups) {
      for (std::string_view name : group.names) {
        if (name == argv[1]) {
          group.add(app, status);
          return;
        }
      }
    }
  }
  for (const CommandGroup& group : kGroups) group.add(app, status);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc == 2 && std::strcmp(argv[1], "--version") == 0) {  // answered before any setting up
    std::printf("orvel %s\n", ORVEL_VERSION_STRING);
    return std::fflush(stdout) == 0 ? 0 : 1;
  }
  orvel::cli::installStderrLogSink();
  // TextPacks are read on several threads, and libarchive converts their entry times with
  // mktime, which while TZ is unset reads the zone again on every call (under a lock of
  // glibc's own, which ThreadSanitizer cannot see). Naming the zone it reads anyway, before
  // any thread starts, makes those calls read nothing.
  ::setenv("TZ", ":/etc/localtime", 0);
  ::tzset();

  CLI::App app("orvel: fast, locale-free text tools over the ORVELfoundation library", "orvel");
  app.require_subcommand(1);
  app.footer(
      "Limits: an input (a file, standard input, a list of files) is read up to 1 GiB, a listed "
      "path up to 4096 bytes, a TextPack unpacks to at most 1 GiB and 200 times its size; a "
      "binary input is refused by its first 4 KB. Past a limit a command fails in one line.");
  app.set_version_flag("--version", std::string("orvel ") + ORVEL_VERSION_STRING,
                       "Print the version and exit");
  int status = 0;
  addCommands(app, status, argc, argv);

  try {
    app.parse(argc, argv);
  } catch (const CLI::CallForHelp& help) {
    return app.exit(help);
  } catch (const CLI::CallForAllHelp& help) {
    return app.exit(help);
  } catch (const CLI::CallForVersion& version) {
    return app.exit(version);
  } catch (const CLI::ParseError& error) {
    const std::string command = commandNamed(app, argc, argv);
    if (command.empty() && argc >= 2 && argv[1][0] != '-') {
      std::fprintf(stderr, "orvel: unknown command '%s' (see 'orvel --help')\n",
                   orvel::cli::escapeControls(argv[1]).c_str());
      return 2;
    }
    std::fprintf(stderr, "orvel: %s%s (see 'orvel %s--help')\n",
                 command.empty() ? "" : (command + ": ").c_str(),
                 orvel::cli::escapeControls(error.what()).c_str(),
                 command.empty() ? "" : (command + " ").c_str());
    return 2;
  } catch (const orvel::cli::CommandError& error) {
    orvel::cli::reportError(error.name(), error.what());
    return 1;
  } catch (const std::bad_alloc&) {
    std::fputs("orvel: out of memory\n", stderr);
    return 1;
  } catch (const std::exception& error) {  // never an uncaught exception: one line instead
    std::fprintf(stderr, "orvel: %s\n", orvel::cli::escapeControls(error.what()).c_str());
    return 1;
  }
  if (std::fflush(stdout) != 0) {
    orvel::cli::reportError("stdout", "write failed");
    return 1;
  }
  return status;
}
