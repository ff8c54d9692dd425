// Shared by the benchmarks: inputs, and a runner that prints how ours compares with a peer.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace orvel::bench {

// One line of the summary: the speed of `ours` relative to `peer`, both benchmark names.
struct Comparison {
  std::string ours;
  std::string peer;
  double target;  // the least acceptable ratio
};

// One line of the summary: a benchmark's rate in items per second.
struct Throughput {
  std::string benchmark;
  double itemsPerIteration;
  std::string unit;  // what an item is, e.g. "code units"
  double target;     // the least acceptable rate, 0 for none
  // A peer measured outside Google Benchmark (a Python library, say) on the same input:
  // its rate in the same unit, 0 for none; the ratio to it is printed too.
  std::string peer = {};
  double peerRate = 0;
};

// Runs the registered benchmarks, then prints one line per comparison and per throughput:
//   "RATIO ours vs peer: 1.23x (target >= 1.00x) ok"
//   "RATE name: 1.52e+09 code units/s (target >= 1.00e+09) ok"
//   "RATIO name vs peer: 52.10x" after a rate with a peer
// The ratio is the peer's time divided by ours on the same input: above 1 we are faster.
// A benchmark run with repetitions counts with its best repetition.
// Answers 1 when a target was missed.
int runAndCompare(int argc, char** argv, const std::vector<Comparison>& comparisons,
                  const std::vector<Throughput>& throughputs = {});

// A peer timed in its own process (a Python library, say), by what it reported.
struct PythonPeer {
  std::string name;
  double bytesPerSecond;
};

// Runs a command that prints "PEER <name> <input bytes> <seconds>" lines, and answers (and
// prints) the peers' rates; none when the command cannot run.
[[nodiscard]] std::vector<PythonPeer> runPeerCommand(const std::string& command);

// Deterministic pseudo-random bytes.
[[nodiscard]] std::vector<std::uint8_t> randomBytes(std::size_t size);

// Real text of several languages (the documents in examples/ and, when the shared test
// files are beside the project, the declarations of human rights in 20 languages and the
// web pages there), repeated to `units` UTF-16 code units.
[[nodiscard]] std::u16string realText(std::size_t units);

inline constexpr std::size_t k64MiB = std::size_t{64} << 20;

}  // namespace orvel::bench
