#include "bench/bench_support.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <map>
#include <random>
#include <sstream>

#include <benchmark/benchmark.h>
#include <unistd.h>

#include "orvel/base/utf8.h"

namespace orvel::bench {
namespace {

// Prints as the console reporter does, and remembers each benchmark's best time per
// iteration over its repetitions (the least disturbed run of a noisy machine).
class RecordingReporter : public benchmark::ConsoleReporter {
 public:
  RecordingReporter() : ConsoleReporter(isatty(STDOUT_FILENO) ? OO_Defaults : OO_None) {}

  void ReportRuns(const std::vector<Run>& runs) override {
    for (const Run& run : runs) {
      if (run.run_type == Run::RT_Iteration && !run.error_occurred) {
        const double seconds = run.real_accumulated_time / double(run.iterations);
        const auto [entry, inserted] = _seconds.emplace(run.run_name.function_name, seconds);
        if (!inserted) entry->second = std::min(entry->second, seconds);
      }
    }
    ConsoleReporter::ReportRuns(runs);
  }
  const std::map<std::string, double>& seconds() const { return _seconds; }

 private:
  std::map<std::string, double> _seconds;
};

}  // namespace

int runAndCompare(int argc, char** argv, const std::vector<Comparison>& comparisons,
                  const std::vector<Throughput>& throughputs) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 2;
  RecordingReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  benchmark::Shutdown();
  int failures = 0;
  for (const Throughput& throughput : throughputs) {
    const auto seconds = reporter.seconds().find(throughput.benchmark);
    if (seconds == reporter.seconds().end()) continue;
    const double rate = throughput.itemsPerIteration / seconds->second;
    const bool met = rate >= throughput.target;
    failures += !met;
    std::printf("RATE %s: %.3g %s/s (target >= %.3g) %s\n", throughput.benchmark.c_str(), rate,
                throughput.unit.c_str(), throughput.target, met ? "ok" : "MISSED");
    if (throughput.peerRate > 0) {
      std::printf("RATIO %s vs %s: %.2fx\n", throughput.benchmark.c_str(), throughput.peer.c_str(),
                  rate / throughput.peerRate);
    }
  }
  for (const Comparison& comparison : comparisons) {
    const auto ours = reporter.seconds().find(comparison.ours);
    const auto peer = reporter.seconds().find(comparison.peer);
    if (ours == reporter.seconds().end() || peer == reporter.seconds().end()) continue;
    const double ratio = peer->second / ours->second;
    const bool met = ratio >= comparison.target;
    failures += !met;
    std::printf("RATIO %s vs %s: %.2fx (target >= %.2fx) %s\n", comparison.ours.c_str(),
                comparison.peer.c_str(), ratio, comparison.target, met ? "ok" : "MISSED");
  }
  return failures == 0 ? 0 : 1;
}

std::vector<std::uint8_t> randomBytes(std::size_t size) {
  std::mt19937_64 generator(20261123);
  std::vector<std::uint8_t> bytes(size);
  for (std::size_t i = 0; i + 8 <= size; i += 8) {
    const std::uint64_t word = generator();
    for (int k = 0; k < 8; ++k) bytes[i + k] = static_cast<std::uint8_t>(word >> (8 * k));
  }
  return bytes;
}

std::u16string realText(std::size_t units) {
  std::u16string corpus;
  for (const char* folder : {ORVEL_EXAMPLES_DIR, ORVEL_SHARED_TESTDATA "/lang/udhr",
                             ORVEL_SHARED_TESTDATA "/html/article-extraction-benchmark"}) {
    std::error_code missing;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(folder, missing)) {
      const auto extension = entry.path().extension();
      if (extension != ".txt" && extension != ".md" && extension != ".html") continue;
      std::ifstream in(entry.path(), std::ios::binary);
      std::stringstream bytes;
      bytes << in.rdbuf();
      if (auto text = utf8ToUtf16(bytes.str())) corpus += *text;
    }
  }
  if (corpus.empty()) corpus = u"no example documents found ";
  std::u16string text;
  text.reserve(units);
  while (text.size() < units) text.append(corpus, 0, std::min(corpus.size(), units - text.size()));
  return text;
}

std::vector<PythonPeer> runPeerCommand(const std::string& command) {
  std::vector<PythonPeer> peers;
  FILE* pipe = popen(command.c_str(), "r");
  if (pipe == nullptr) return peers;
  char line[256];
  while (std::fgets(line, sizeof line, pipe) != nullptr) {
    char name[64];
    double bytes = 0, seconds = 0;
    if (std::sscanf(line, "PEER %63s %lf %lf", name, &bytes, &seconds) == 3 && seconds > 0) {
      peers.push_back({name, bytes / seconds});
      std::printf("PEER %s: %.3g bytes/s\n", name, bytes / seconds);
    }
  }
  pclose(pipe);
  return peers;
}

}  // namespace orvel::bench
