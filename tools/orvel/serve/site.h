// The site `orvel serve` runs on the user's own machine: a search page over some folders,
// the results streamed as the search finds them, each document readable as text with its
// hits marked, and a feed shown as its display page.
//
// Safe to leave running: it answers only GET (and HEAD); only for a Host header naming the
// address it is bound to or localhost (a page of another site cannot reach it through a
// name of its own resolving here); only with files below the folders it serves; every page
// under a Content-Security-Policy allowing no script but its own and no connection but to
// itself; a file's own markup (a raw page, a feed's display page) only with a policy that
// runs no script at all. Queries and result lists are bounded, reads and writes time out.
#pragma once

#include <cstddef>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace orvel::serve {

struct SiteOptions {
  std::vector<std::string> folders;
  std::optional<std::filesystem::path> index;  // an index to search with, when there is one
  std::string bind = "127.0.0.1";
  int port = 0;  // 0: any free port
  std::size_t maxResults = 1000;
};

class Site {
 public:
  // Throws std::runtime_error naming a folder that is missing or no folder.
  explicit Site(SiteOptions options);
  ~Site();
  Site(const Site&) = delete;
  Site& operator=(const Site&) = delete;

  // Binds the address and port; answers the port, or throws std::runtime_error.
  int bind();
  // The address to open, once bound: "http://127.0.0.1:PORT/".
  [[nodiscard]] std::string url() const;
  // Answers requests until stop() (from another thread or a signal handler's thread).
  void serve();
  void stop();

 private:
  struct State;
  std::unique_ptr<State> _state;
};

}  // namespace orvel::serve
