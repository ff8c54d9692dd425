// MD5 and SHA-1 over 64 MiB against OpenSSL's EVP digests on the same bytes (OpenSSL is
// linked here only, as the peer). Digests are compared before timing.
#include <cstdio>
#include <cstring>

#include <benchmark/benchmark.h>
#include <openssl/evp.h>

#include "orvel/text/internal/sha1_kernels.h"
#include "orvel/text/isc_md5.h"
#include "orvel/text/isc_sha1.h"

#include "bench/bench_support.h"

namespace {

const std::vector<std::uint8_t>& input() {
  static const auto bytes = orvel::bench::randomBytes(orvel::bench::k64MiB);
  return bytes;
}

void md5(unsigned char* digest) {
  isc_md5_t context;
  isc_md5_init(&context);
  isc_md5_update(&context, input().data(), static_cast<std::uint32_t>(input().size()));
  isc_md5_final(&context, digest);
}

void sha1(unsigned char* digest) {
  isc_sha1_t context;
  isc_sha1_init(&context);
  isc_sha1_update(&context, input().data(), static_cast<std::uint32_t>(input().size()));
  isc_sha1_final(&context, digest);
}

void evp(const EVP_MD* type, unsigned char* digest) {
  unsigned int length = 0;
  EVP_Digest(input().data(), input().size(), digest, &length, type, nullptr);
}

template <void (*Digest)(unsigned char*)>
void BM_orvel(benchmark::State& state) {
  unsigned char digest[64];
  for (auto _ : state) {
    Digest(digest);
    benchmark::DoNotOptimize(digest);
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * input().size()));
}

void BM_orvel_MD5(benchmark::State& state) { BM_orvel<md5>(state); }
void BM_orvel_SHA1(benchmark::State& state) { BM_orvel<sha1>(state); }

void BM_openssl(benchmark::State& state, const EVP_MD* type) {
  unsigned char digest[64];
  for (auto _ : state) {
    evp(type, digest);
    benchmark::DoNotOptimize(digest);
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * input().size()));
}

void BM_openssl_MD5(benchmark::State& state) { BM_openssl(state, EVP_md5()); }
void BM_openssl_SHA1(benchmark::State& state) { BM_openssl(state, EVP_sha1()); }

BENCHMARK(BM_orvel_MD5)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_openssl_MD5)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_orvel_SHA1)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_openssl_SHA1)->Unit(benchmark::kMillisecond)->UseRealTime();

bool sameDigests() {
  unsigned char ours[20], theirs[20];
  md5(ours);
  evp(EVP_md5(), theirs);
  if (std::memcmp(ours, theirs, 16) != 0) return false;
  sha1(ours);
  evp(EVP_sha1(), theirs);
  return std::memcmp(ours, theirs, 20) == 0;
}

}  // namespace

int main(int argc, char** argv) {
  if (!sameDigests()) {
    std::fprintf(stderr, "digests disagree with OpenSSL\n");
    return 1;
  }
  std::printf("SHA-1 extensions: %s\n",
              orvel::internal::sha1ShaNiSupported() ? "in use" : "not available");
  return orvel::bench::runAndCompare(
      argc, argv,
      {{"BM_orvel_MD5", "BM_openssl_MD5", 0.9}, {"BM_orvel_SHA1", "BM_openssl_SHA1", 0.8}});
}
