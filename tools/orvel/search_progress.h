// The progress line of a long search: files and bytes searched and the rate, drawn on stderr
// once the search has run for a while and redrawn a few times a second (even while one large
// file is being read), and erased only before a result or an error is printed and at the
// end, so that it stays on screen and never mixes with the results.
#pragma once

#include <chrono>
#include <cstdio>
#include <functional>
#include <mutex>
#include <string>
#include <thread>

#include "orvel/find/collection_search.h"

namespace orvel::cli {

// Whether a search shows progress: only when both its output and stderr are terminals
// (a person is watching, and nothing parses the stream), and --no-progress was not given.
[[nodiscard]] bool progressWanted(bool noProgress);

class ProgressLine {
 public:
  // Draws on `terminal` the counts `snapshot` answers, once `delay` has passed and every
  // `interval` after that, until destroyed; a null terminal shows nothing.
  explicit ProgressLine(std::FILE* terminal, std::function<SearchProgress()> snapshot = {},
                        std::chrono::milliseconds delay = std::chrono::seconds(1),
                        std::chrono::milliseconds interval = std::chrono::milliseconds(100));
  ~ProgressLine();
  ProgressLine(const ProgressLine&) = delete;
  ProgressLine& operator=(const ProgressLine&) = delete;

  // Draws the line for these counts, once the delay has passed. Any thread may call it.
  void update(const SearchProgress& progress);
  // Erases the line, if one is drawn, and runs `write` while no line can be drawn.
  template <typename Write>
  void withoutLine(Write write) {
    std::lock_guard lock(_mutex);
    eraseLine();
    write();
  }
  // "1,204 of 16,686 files, 120.5 MB, 310.2 MB/s" ("16,686+" while the walk goes on)
  [[nodiscard]] std::string line(const SearchProgress& progress) const;

 private:
  void eraseLine();

  std::FILE* _terminal;
  std::chrono::steady_clock::time_point _start = std::chrono::steady_clock::now();
  std::chrono::milliseconds _delay;
  std::mutex _mutex;
  bool _drawn = false;
  std::jthread _ticker;  // last: it stops before the rest goes
};

}  // namespace orvel::cli
