// KeyedStorage against SQLite and plain write(2): 100,000 payloads of 1 KiB appended without
// fsync and read back in order. SQLite stores the same payloads as blobs in one transaction
// with synchronous off, and reads them back by rowid; KeyedStorage appends them as one batch.
// Targets: twice SQLite's speed both ways, and appending block by block (each block with the
// kernel before the next is written) at least 0.7x the throughput of one write(2) per block
// of the same bytes. Each side counts with the best of five repetitions. Also: compressed appending
// of real text (stored/raw bytes and MB/s), and the lookup of the last of 10,000 keys in a
// KeyedData buffer.
#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <sqlite3.h>
#include <unistd.h>

#include "orvel/base/big_endian.h"
#include "orvel/base/utf8.h"
#include "orvel/records/keyed_data.h"
#include "orvel/records/keyed_storage.h"
#include "orvel/records/keyed_storage_format.h"
#include "orvel/text/crc32.h"

#include "bench/bench_support.h"

namespace {

constexpr int kBlocks = 100000;
constexpr std::size_t kPayload = 1024;

const std::filesystem::path& folder() {
  static const std::filesystem::path path = [] {
    std::filesystem::path p = std::filesystem::temp_directory_path() / "orvel-storage-bench";
    std::filesystem::create_directories(p);
    return p;
  }();
  return path;
}

const std::vector<std::uint8_t>& payloads() {
  static const auto bytes = orvel::bench::randomBytes(kBlocks * kPayload);
  return bytes;
}

orvel::BlockBytes payload(int i) { return {payloads().data() + i * kPayload, kPayload}; }

// All blocks in one batch, as SQLite gets them in one transaction.
void BM_orvel_append(benchmark::State& state) {
  const auto path = folder() / "orvel.ks";
  std::vector<orvel::BlockBytes> batch;
  for (int i = 0; i < kBlocks; ++i) batch.push_back(payload(i));
  for (auto _ : state) {
    std::filesystem::remove(path);
    orvel::KeyedStorage storage = orvel::KeyedStorage::forAppending(path);
    storage.appendBlocks(batch);
    storage.closeFile();
  }
  state.SetBytesProcessed(state.iterations() * kBlocks * static_cast<std::int64_t>(kPayload));
}
BENCHMARK(BM_orvel_append)->Unit(benchmark::kMillisecond)->UseRealTime()->Repetitions(5);

// One appendBlock per block, each with the kernel before the next: against one write(2)
// per block.
void BM_orvel_append_each(benchmark::State& state) {
  const auto path = folder() / "orvel-each.ks";
  for (auto _ : state) {
    std::filesystem::remove(path);
    orvel::KeyedStorage storage = orvel::KeyedStorage::forAppending(path);
    for (int i = 0; i < kBlocks; ++i) storage.appendBlock(payload(i));
    storage.closeFile();
  }
  state.SetBytesProcessed(state.iterations() * kBlocks * static_cast<std::int64_t>(kPayload));
}
BENCHMARK(BM_orvel_append_each)->Unit(benchmark::kMillisecond)->UseRealTime()->Repetitions(5);

void BM_write_syscalls(benchmark::State& state) {
  const auto path = folder() / "plain.bin";
  std::vector<std::uint8_t> block(orvel::kBlockHeaderSize + kPayload);
  for (auto _ : state) {
    std::filesystem::remove(path);
    const int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0644);
    for (int i = 0; i < kBlocks; ++i) {
      // The same bytes as a block: a header, then the payload, in one write.
      orvel::storeBigEndian32(block.data(), orvel::kPlainBlockMarker);
      orvel::storeBigEndian32(block.data() + 4, kPayload);
      std::copy(payload(i).begin(), payload(i).end(), block.begin() + orvel::kBlockHeaderSize);
      benchmark::DoNotOptimize(::write(fd, block.data(), block.size()));
    }
    ::close(fd);
  }
  state.SetBytesProcessed(state.iterations() * kBlocks * static_cast<std::int64_t>(kPayload));
}
BENCHMARK(BM_write_syscalls)->Unit(benchmark::kMillisecond)->UseRealTime()->Repetitions(5);

void BM_sqlite_insert(benchmark::State& state) {
  const auto path = folder() / "blobs.sqlite";
  for (auto _ : state) {
    std::filesystem::remove(path);
    sqlite3* db = nullptr;
    sqlite3_open(path.c_str(), &db);
    sqlite3_exec(db, "PRAGMA synchronous=OFF; CREATE TABLE t(data BLOB); BEGIN", nullptr, nullptr,
                 nullptr);
    sqlite3_stmt* insert = nullptr;
    sqlite3_prepare_v2(db, "INSERT INTO t(data) VALUES(?)", -1, &insert, nullptr);
    for (int i = 0; i < kBlocks; ++i) {
      sqlite3_bind_blob(insert, 1, payload(i).data(), kPayload, SQLITE_STATIC);
      sqlite3_step(insert);
      sqlite3_reset(insert);
    }
    sqlite3_finalize(insert);
    sqlite3_exec(db, "COMMIT", nullptr, nullptr, nullptr);
    sqlite3_close(db);
  }
  state.SetBytesProcessed(state.iterations() * kBlocks * static_cast<std::int64_t>(kPayload));
}
BENCHMARK(BM_sqlite_insert)->Unit(benchmark::kMillisecond)->UseRealTime()->Repetitions(5);

void BM_orvel_read(benchmark::State& state) {
  std::size_t bytes = 0;
  for (auto _ : state) {
    orvel::KeyedStorage storage = orvel::KeyedStorage::forReading(folder() / "orvel.ks");
    bytes = 0;
    while (const auto block = storage.nextAvailableBlock()) bytes += block->size();
  }
  if (bytes != kBlocks * kPayload) state.SkipWithError("not every block read back");
  state.SetBytesProcessed(state.iterations() * kBlocks * static_cast<std::int64_t>(kPayload));
}
BENCHMARK(BM_orvel_read)->Unit(benchmark::kMillisecond)->UseRealTime()->Repetitions(5);

void BM_sqlite_read(benchmark::State& state) {
  std::size_t bytes = 0;
  for (auto _ : state) {
    sqlite3* db = nullptr;
    sqlite3_open((folder() / "blobs.sqlite").c_str(), &db);
    sqlite3_stmt* select = nullptr;
    sqlite3_prepare_v2(db, "SELECT data FROM t ORDER BY rowid", -1, &select, nullptr);
    bytes = 0;
    while (sqlite3_step(select) == SQLITE_ROW) {
      const void* blob = sqlite3_column_blob(select, 0);
      const int length = sqlite3_column_bytes(select, 0);
      std::vector<std::uint8_t> copy(static_cast<const std::uint8_t*>(blob),
                                     static_cast<const std::uint8_t*>(blob) + length);
      bytes += copy.size();
    }
    sqlite3_finalize(select);
    sqlite3_close(db);
  }
  if (bytes != kBlocks * kPayload) state.SkipWithError("not every row read back");
  state.SetBytesProcessed(state.iterations() * kBlocks * static_cast<std::int64_t>(kPayload));
}
BENCHMARK(BM_sqlite_read)->Unit(benchmark::kMillisecond)->UseRealTime()->Repetitions(5);

void BM_orvel_append_compressed_text(benchmark::State& state) {
  const std::string text = orvel::utf16ToUtf8(orvel::bench::realText(kBlocks * kPayload / 2));
  const auto path = folder() / "text.ks";
  for (auto _ : state) {
    std::filesystem::remove(path);
    orvel::KeyedStorage storage = orvel::KeyedStorage::forAppending(path);
    storage.setCompressed(true);
    for (std::size_t at = 0; at + kPayload <= text.size(); at += kPayload) {
      storage.appendBlock(
          orvel::BlockBytes(reinterpret_cast<const std::uint8_t*>(text.data() + at), kPayload));
    }
    storage.closeFile();
  }
  state.counters["stored/raw"] =
      static_cast<double>(std::filesystem::file_size(path)) / static_cast<double>(text.size());
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(text.size()));
}
BENCHMARK(BM_orvel_append_compressed_text)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_keyed_lookup_last_of_10000(benchmark::State& state) {
  orvel::KeyedBuffer data;
  for (orvel::KeyedKey key = 0; key < 10000; ++key) orvel::addUnsigned(data, key, key);
  for (auto _ : state) benchmark::DoNotOptimize(orvel::unsignedForKey(data, 9999));
}
BENCHMARK(BM_keyed_lookup_last_of_10000);

}  // namespace

int main(int argc, char** argv) {
  const int result =
      orvel::bench::runAndCompare(argc, argv,
                                  {{"BM_orvel_append", "BM_sqlite_insert", 2.0},
                                   {"BM_orvel_read", "BM_sqlite_read", 2.0},
                                   {"BM_orvel_append_each", "BM_write_syscalls", 0.7}});
  std::filesystem::remove_all(folder());
  return result;
}
