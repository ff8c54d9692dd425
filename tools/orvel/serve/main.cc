// orvel-serve: the site of `orvel serve`, a program of its own so that the web server's
// libraries are loaded only by it, never by the orvel commands scripts run once per file.
// `orvel serve ARGS` runs it with the same ARGS.
#include <csignal>
#include <cstdio>
#include <exception>
#include <thread>

#include <CLI/CLI.hpp>
#include <spawn.h>
#include <sys/wait.h>

#include "orvel/find/collection_index.h"

#include "tools/orvel/command_support.h"
#include "tools/orvel/serve/site.h"

extern char** environ;

namespace {

// Starts the desktop's browser on the address; a thread of its own waits for the opener to
// end, so that it leaves no zombie behind.
void openInBrowser(const std::string& url) {
  const char* argv[] = {"xdg-open", url.c_str(), nullptr};
  pid_t child = 0;
  if (::posix_spawnp(&child, "xdg-open", nullptr, nullptr, const_cast<char* const*>(argv),
                     environ) != 0) {
    orvel::cli::reportError("xdg-open", "cannot be started; open " + url + " yourself");
    return;
  }
  std::thread([child] { ::waitpid(child, nullptr, 0); }).detach();
}

// Stops the site on SIGINT or SIGTERM: the signals are taken by a thread of their own, so
// that the site stops as any other thread would stop it.
std::thread stopOnSignals(orvel::serve::Site& site) {
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, SIGINT);
  sigaddset(&signals, SIGTERM);
  pthread_sigmask(SIG_BLOCK, &signals, nullptr);  // inherited by every thread started after
  return std::thread([&site, signals] {
    int signal = 0;
    sigwait(&signals, &signal);
    site.stop();
  });
}

}  // namespace

int main(int argc, char** argv) {
  orvel::cli::installStderrLogSink();
  std::signal(SIGPIPE, SIG_IGN);  // a client gone is a failed write, not the end
  CLI::App app(
      "Serve a page on this machine to search the folders and read their documents and feeds",
      "orvel serve");
  orvel::serve::SiteOptions options;
  bool open = false;
  app.add_option("FOLDER", options.folders, "The folders to search")->required();
  app.add_option("--bind", options.bind, "The address to listen on (default: 127.0.0.1)")
      ->type_name("ADDR");
  app.add_option("--port", options.port, "The port (default: 0, a free one)")
      ->check(CLI::Range(0, 65535));
  app.add_option("--index", options.index,
                 "The index to search with (default: one found at or above the first folder, "
                 "looked for at each search)")
      ->type_name("FILE");
  app.add_option("--max-results", options.maxResults,
                 "The most files a search shows (default: 1000)")
      ->check(CLI::Range(1, 1000000));
  app.add_flag("--open", open, "Open the page in the desktop's browser (xdg-open)");
  app.footer(
      "Prints the page's address, then answers until interrupted. Answers only GET requests "
      "naming it by its address or localhost, only with files below the folders.");
  try {
    app.parse(argc, argv);
    orvel::serve::Site site(options);
    site.bind();
    std::printf("%s\n", site.url().c_str());
    std::fflush(stdout);
    // The signals are blocked before any other thread starts, so that none of them takes one.
    std::thread signals = stopOnSignals(site);
    if (open) openInBrowser(site.url());
    site.serve();
    // Stopped by a signal, or failed: the signals' thread ends either way.
    ::pthread_kill(signals.native_handle(), SIGTERM);
    signals.join();
  } catch (const CLI::CallForHelp& help) {
    return app.exit(help);
  } catch (const CLI::ParseError& error) {
    std::fprintf(stderr, "orvel: serve: %s (see 'orvel serve --help')\n",
                 orvel::cli::escapeControls(error.what()).c_str());
    return 2;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "orvel: %s\n", orvel::cli::escapeControls(error.what()).c_str());
    return 1;
  }
  return 0;
}
