// orvel: the library's capabilities as commands. See `orvel --help`.
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <exception>
#include <new>
#include <string>

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

}  // namespace

int main(int argc, char** argv) {
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
  orvel::cli::registerTextCommands(app, status);
  orvel::cli::registerSearchCommands(app);
  orvel::cli::registerSearchCommand(app, status);
  orvel::cli::registerRecordCommands(app, status);
  orvel::cli::registerStorageCommands(app, status);
  orvel::cli::registerMarkupCommands(app, status);
  orvel::cli::registerHtmlCommands(app);
  orvel::cli::registerFeedCommands(app);
  orvel::cli::registerDSStoreCommands(app);
  orvel::cli::registerCommentCommand(app, status);
  orvel::cli::registerLangCommand(app, status);
  orvel::cli::registerTextBundleCommands(app);
  orvel::cli::registerUrlCommands(app);

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
