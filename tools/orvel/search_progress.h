// The progress line of a long search: files and bytes searched and the rate, drawn on stderr
// as the search reports its progress once it has run for a while, and erased before any
// result is printed and at the end, so that it never mixes with the results.
#pragma once

#include <chrono>
#include <cstdio>
#include <mutex>
#include <string>

#include "orvel/find/collection_search.h"

namespace orvel::cli {

// Whether a search shows progress: only when both its output and stderr are terminals
// (a person is watching, and nothing parses the stream), and --no-progress was not given.
[[nodiscard]] bool progressWanted(bool noProgress);

class ProgressLine {
 public:
  // Draws on `terminal` at the updates that come once `delay` has passed; a null terminal
  // shows nothing.
  explicit ProgressLine(std::FILE* terminal,
                        std::chrono::milliseconds delay = std::chrono::seconds(1));
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
};

}  // namespace orvel::cli
