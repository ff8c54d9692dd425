#include "tools/orvel/search_progress.h"

#include <condition_variable>

#include <unistd.h>

namespace orvel::cli {
namespace {

// 16686 as "16,686".
std::string grouped(std::uint64_t number) {
  std::string digits = std::to_string(number);
  for (std::ptrdiff_t at = static_cast<std::ptrdiff_t>(digits.size()) - 3; at > 0; at -= 3) {
    digits.insert(static_cast<std::size_t>(at), ",");
  }
  return digits;
}

std::string megabytes(double bytes) {
  char text[32];
  std::snprintf(text, sizeof text, "%.1f MB", bytes / 1e6);
  return text;
}

}  // namespace

bool progressWanted(bool noProgress) {
  return !noProgress && isatty(STDOUT_FILENO) == 1 && isatty(STDERR_FILENO) == 1;
}

ProgressLine::ProgressLine(std::FILE* terminal, std::function<SearchProgress()> snapshot,
                           std::chrono::milliseconds delay, std::chrono::milliseconds interval)
    : _terminal(terminal), _delay(delay) {
  if (_terminal == nullptr || !snapshot) return;
  _ticker =
      std::jthread([this, snapshot = std::move(snapshot), delay, interval](std::stop_token stop) {
        std::mutex sleep;
        std::condition_variable_any wake;
        std::unique_lock lock(sleep);
        if (wake.wait_for(lock, stop, delay, [] { return false; })) return;
        while (!stop.stop_requested()) {
          update(snapshot());
          wake.wait_for(lock, stop, interval, [] { return false; });
        }
      });
}

ProgressLine::~ProgressLine() {
  if (_ticker.joinable()) {
    _ticker.request_stop();
    _ticker.join();
  }
  if (_terminal == nullptr) return;
  std::lock_guard lock(_mutex);
  eraseLine();
}

std::string ProgressLine::line(const SearchProgress& progress) const {
  const double seconds =
      std::chrono::duration<double>(std::chrono::steady_clock::now() - _start).count();
  const auto bytes = static_cast<double>(progress.bytesRead);
  return grouped(progress.filesSearched) + " of " + grouped(progress.filesFound) +
         (progress.walkDone ? "" : "+") + " files, " + megabytes(bytes) + ", " +
         megabytes(seconds > 0 ? bytes / seconds : 0) + "/s";
}

void ProgressLine::update(const SearchProgress& progress) {
  if (_terminal == nullptr || std::chrono::steady_clock::now() - _start < _delay) return;
  std::lock_guard lock(_mutex);
  std::fflush(stdout);  // results first, then the line below them
  std::fprintf(_terminal, "\r\x1b[Korvel: %s", line(progress).c_str());
  std::fflush(_terminal);
  _drawn = true;
}

void ProgressLine::eraseLine() {
  if (!_drawn) return;
  std::fputs("\r\x1b[K", _terminal);
  std::fflush(_terminal);
  _drawn = false;
}

}  // namespace orvel::cli
