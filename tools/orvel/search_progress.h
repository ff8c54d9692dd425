// The progress line of a long search: files and bytes searched and the rate, redrawn on
// stderr a few times a second once the search has run for a while, and erased before any
// result is printed and at the end, so that it never mixes with the results.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <mutex>
#include <string>
#include <thread>

namespace orvel::cli {

// Whether a search shows progress: only when both its output and stderr are terminals
// (a person is watching, and nothing parses the stream), and --no-progress was not given.
[[nodiscard]] bool progressWanted(bool noProgress);

class SearchProgress {
 public:
  // Draws on `terminal` once `delay` has passed, every `interval` after that, until
  // destroyed; a null terminal shows nothing.
  SearchProgress(std::FILE* terminal, std::size_t totalFiles,
                 std::chrono::milliseconds delay = std::chrono::seconds(1),
                 std::chrono::milliseconds interval = std::chrono::milliseconds(200));
  ~SearchProgress();
  SearchProgress(const SearchProgress&) = delete;
  SearchProgress& operator=(const SearchProgress&) = delete;

  void fileSearched(std::uint64_t bytes);
  // Erases the line, if one is drawn, and runs `write` while no line can be drawn.
  template <typename Write>
  void withoutLine(Write write) {
    std::lock_guard lock(_mutex);
    eraseLine();
    write();
  }
  // Draws the line now.
  void draw();
  // "1,204 of 16,686 files, 120.5 MB, 310.2 MB/s"
  [[nodiscard]] std::string line() const;

 private:
  void eraseLine();

  std::FILE* _terminal;
  std::size_t _totalFiles;
  std::chrono::steady_clock::time_point _start = std::chrono::steady_clock::now();
  std::atomic<std::size_t> _files{0};
  std::atomic<std::uint64_t> _bytes{0};
  std::mutex _mutex;
  bool _drawn = false;
  std::jthread _ticker;
};

}  // namespace orvel::cli
