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

// Runs the registered benchmarks, then prints one line per comparison:
//   "RATIO ours vs peer: 1.23x (target >= 1.00x) ok"
// The ratio is the peer's time divided by ours on the same input: above 1 we are faster.
int runAndCompare(int argc, char** argv, const std::vector<Comparison>& comparisons);

// Deterministic pseudo-random bytes.
[[nodiscard]] std::vector<std::uint8_t> randomBytes(std::size_t size);

// Real text of several languages (the documents in examples/), repeated to `units`
// UTF-16 code units.
[[nodiscard]] std::u16string realText(std::size_t units);

inline constexpr std::size_t k64MiB = std::size_t{64} << 20;

}  // namespace orvel::bench
