// CRC32 over 64 MiB against zlib's crc32() on the same bytes. zlib inverts its register
// before and after, so CRC32(b, n) == crc32(0xFFFFFFFF, b, n) ^ 0xFFFFFFFF; the benchmark
// checks that before timing anything.
#include <cstdio>

#include <benchmark/benchmark.h>
#include <zlib.h>

#include "orvel/text/crc32.h"
#include "orvel/text/internal/crc32_kernels.h"

#include "bench/bench_support.h"

namespace {

const std::vector<std::uint8_t>& input() {
  static const auto bytes = orvel::bench::randomBytes(orvel::bench::k64MiB);
  return bytes;
}

void BM_orvel_CRC32(benchmark::State& state) {
  for (auto _ : state) benchmark::DoNotOptimize(orvel::CRC32(input().data(), input().size()));
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * input().size()));
}
BENCHMARK(BM_orvel_CRC32)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_orvel_CRC32_portable(benchmark::State& state) {
  for (auto _ : state) {
    benchmark::DoNotOptimize(
        orvel::internal::crc32UpdatePortable(0, input().data(), input().size()));
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * input().size()));
}
BENCHMARK(BM_orvel_CRC32_portable)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_zlib_crc32(benchmark::State& state) {
  for (auto _ : state) {
    benchmark::DoNotOptimize(
        crc32(0xFFFFFFFFul, input().data(), static_cast<uInt>(input().size())));
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * input().size()));
}
BENCHMARK(BM_zlib_crc32)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace

int main(int argc, char** argv) {
  const auto ours = orvel::CRC32(input().data(), input().size());
  const auto zlib = static_cast<std::uint32_t>(
                        crc32(0xFFFFFFFFul, input().data(), static_cast<uInt>(input().size()))) ^
                    0xFFFFFFFFu;
  if (ours != zlib) {
    std::fprintf(stderr, "CRC32 disagrees with zlib: %08x != %08x\n", ours, zlib);
    return 1;
  }
  std::printf("carry-less multiplication path: %s\n",
              orvel::internal::crc32ClmulSupported() ? "in use" : "not available");
  return orvel::bench::runAndCompare(argc, argv,
                                     {{"BM_orvel_CRC32", "BM_zlib_crc32", 1.0},
                                      {"BM_orvel_CRC32_portable", "BM_zlib_crc32", 0.0}});
}
