// The cost of loading the shipped stop-word lists: LanguageFilter::defaultFilter(), the first
// call in a fresh process (folding tables included, as a program pays them), with accents
// folded (the default, search --lang, the Python module) and without (orvel lang), and the
// peak resident memory it adds over a filter of one tiny list, loaded the same way. Each
// measurement runs in its own child process. Budget: 50 ms and 25 MB.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include <sys/wait.h>
#include <unistd.h>

#include "orvel/search/language_filter.h"

namespace {

constexpr double kBudgetMilliseconds = 50.0;
constexpr double kBudgetMegabytes = 25.0;
constexpr int kRuns = 7;

struct Cost {
  double milliseconds = -1;
  double peakMegabytes = -1;  // the process's peak resident memory after the load
};

double peakResidentMegabytes() {
  std::ifstream status("/proc/self/status");
  for (std::string line; std::getline(status, line);) {
    if (line.rfind("VmHWM:", 0) == 0) return std::stod(line.substr(6)) / 1024.0;
  }
  return -1;
}

// Loads the lists of the folder (the shipped ones when empty) once, in this process.
Cost loadOnce(const std::filesystem::path& folder, bool ignoreUmlauts) {
  const auto start = std::chrono::steady_clock::now();
  const auto filter = folder.empty()
                          ? orvel::LanguageFilter::defaultFilter(ignoreUmlauts)
                          : std::make_unique<orvel::LanguageFilter>(folder, ignoreUmlauts);
  const auto elapsed = std::chrono::steady_clock::now() - start;
  if (filter == nullptr || filter->languages().empty()) return {};
  return {std::chrono::duration<double, std::milli>(elapsed).count(), peakResidentMegabytes()};
}

// Measures in a child process and returns its result through a pipe.
Cost measureInChild(const std::filesystem::path& folder, bool ignoreUmlauts) {
  int fds[2];
  if (pipe(fds) != 0) return {};
  const pid_t pid = fork();
  if (pid == 0) {
    close(fds[0]);
    const Cost cost = loadOnce(folder, ignoreUmlauts);
    const ssize_t written = write(fds[1], &cost, sizeof cost);
    _exit(written == sizeof cost ? 0 : 1);
  }
  close(fds[1]);
  Cost cost;
  if (read(fds[0], &cost, sizeof cost) != sizeof cost) cost = {};
  close(fds[0]);
  waitpid(pid, nullptr, 0);
  return cost;
}

double median(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  return values[values.size() / 2];
}

}  // namespace

int main() {
  if (!orvel::LanguageFilter::defaultStopWordsDirectory()) {
    std::fprintf(stderr, "the shipped stop-word lists are not found\n");
    return 1;
  }
  char pattern[] = "/tmp/orvel-tiny-list-XXXXXX";
  if (mkdtemp(pattern) == nullptr) return 1;
  const std::filesystem::path tiny = pattern;
  std::ofstream(tiny / "StopWordsEN") << "the\nand\nfor\nthat\n";
  bool met = true;
  for (const bool ignoreUmlauts : {true, false}) {
    std::vector<double> times, megabytes, tinyMegabytes;
    for (int i = 0; i < kRuns; ++i) {
      const Cost shipped = measureInChild({}, ignoreUmlauts);
      const Cost empty = measureInChild(tiny, ignoreUmlauts);
      if (shipped.milliseconds < 0 || empty.milliseconds < 0) {
        std::fprintf(stderr, "a measurement failed\n");
        return 1;
      }
      times.push_back(shipped.milliseconds);
      megabytes.push_back(shipped.peakMegabytes - empty.peakMegabytes);
    }
    const double time = median(times), memory = median(megabytes);
    std::printf(
        "shipped lists, accents %s: first load %.1f ms (median of %d), %.1f MB more "
        "peak resident memory than one tiny list\n",
        ignoreUmlauts ? "folded" : "kept", time, kRuns, memory);
    std::printf("RATIO budget vs load time: %.2fx, budget vs memory: %.2fx (targets >= 1.00x)\n",
                kBudgetMilliseconds / time, kBudgetMegabytes / memory);
    met = met && time <= kBudgetMilliseconds && memory <= kBudgetMegabytes;
  }
  std::filesystem::remove_all(tiny);
  std::printf("%s\n", met ? "ok" : "MISSED");
  return met ? 0 : 1;
}
