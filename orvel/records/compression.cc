#include "orvel/records/compression.h"

#include <algorithm>
#include <limits>
#include <memory>
#include <vector>

#include <zlib.h>

namespace orvel {
namespace {

constexpr std::size_t kChunk = 16384;
constexpr int kZlibWindowBits = 15;
constexpr int kGzipWindowBits = 15 + 16;
constexpr int kAutomaticHeaderWindowBits = 15 + 32;

bool acceptableLength(const void* bytes, std::size_t length) {
  return bytes != nullptr && length >= 1 && length <= std::numeric_limits<std::uint32_t>::max();
}

int normalizedLevel(int level) {
  if (level == -1) return level;
  if (level > 9) return 9;
  return level <= 0 ? 1 : level;
}

// zlib's stream state is large (a deflate stream needs about 256 KiB); each thread keeps
// one stream per set of parameters and resets it between uses instead of allocating anew.
struct DeflateStreams {
  struct Entry {
    int level;
    int windowBits;
    z_stream stream;
  };
  // A stream must not move once initialised: zlib's state points back to it.
  std::vector<std::unique_ptr<Entry>> entries;
  ~DeflateStreams() {
    for (auto& entry : entries) deflateEnd(&entry->stream);
  }
  z_stream* get(int level, int windowBits) {
    for (auto& entry : entries) {
      if (entry->level == level && entry->windowBits == windowBits) {
        return deflateReset(&entry->stream) == Z_OK ? &entry->stream : nullptr;
      }
    }
    auto entry = std::make_unique<Entry>(Entry{level, windowBits, {}});
    if (deflateInit2(&entry->stream, level, Z_DEFLATED, windowBits, 8, Z_DEFAULT_STRATEGY) !=
        Z_OK) {
      return nullptr;
    }
    entries.push_back(std::move(entry));
    return &entries.back()->stream;
  }
};

struct InflateStream {
  z_stream stream{};
  bool ready = false;
  ~InflateStream() {
    if (ready) inflateEnd(&stream);
  }
  z_stream* get() {
    if (ready) return inflateReset(&stream) == Z_OK ? &stream : nullptr;
    ready = inflateInit2(&stream, kAutomaticHeaderWindowBits) == Z_OK;
    return ready ? &stream : nullptr;
  }
};

// Feeds the input to `step` (deflate or inflate) in 16 KiB chunks of output, handing what
// each call produces to `sink`, until the stream ends or fails; answers the last status. A
// sink that answers false ends it with Z_MEM_ERROR.
template <typename Step, typename Sink>
int runStream(z_stream* stream, const void* bytes, std::size_t length, Step step, Sink sink) {
  stream->next_in = static_cast<Bytef*>(const_cast<void*>(bytes));
  stream->avail_in = static_cast<uInt>(length);
  int status;
  do {
    Bytef chunk[kChunk];
    stream->next_out = chunk;
    stream->avail_out = kChunk;
    status = step(stream);
    if ((status == Z_OK || status == Z_STREAM_END) && !sink(chunk, kChunk - stream->avail_out)) {
      return Z_MEM_ERROR;
    }
  } while (status == Z_OK);
  return status;
}

// A sink appending to output, up to maxOutput bytes (what fits is kept) and as long as
// memory lasts.
auto appendingTo(std::vector<std::uint8_t>& output, std::size_t maxOutput = kUnlimitedInflation) {
  return [&output, maxOutput](const Bytef* bytes, std::size_t count) {
    const std::size_t room = maxOutput - output.size();
    try {
      output.insert(output.end(), bytes, bytes + std::min(count, room));
    } catch (const std::bad_alloc&) {
      return false;
    }
    return count <= room;
  };
}

int inflateStep(z_stream* stream) { return inflate(stream, Z_NO_FLUSH); }

thread_local DeflateStreams deflateStreams;
thread_local InflateStream inflateStream;

}  // namespace

std::optional<std::vector<std::uint8_t>> dataByCompressingBytes(const void* bytes,
                                                                std::size_t length,
                                                                int compressionLevel,
                                                                bool useGzip) {
  if (!acceptableLength(bytes, length)) return std::nullopt;
  z_stream* stream = deflateStreams.get(normalizedLevel(compressionLevel),
                                        useGzip ? kGzipWindowBits : kZlibWindowBits);
  if (stream == nullptr) return std::nullopt;
  std::vector<std::uint8_t> result;
  result.reserve(length / 4);
  if (runStream(
          stream, bytes, length, [](z_stream* s) { return deflate(s, Z_FINISH); },
          appendingTo(result)) != Z_STREAM_END) {
    return std::nullopt;
  }
  return result;
}

std::optional<std::vector<std::uint8_t>> dataByGzippingBytes(const void* bytes, std::size_t length,
                                                             int compressionLevel) {
  return dataByCompressingBytes(bytes, length, compressionLevel, true);
}

std::optional<std::vector<std::uint8_t>> dataByGzippingData(std::span<const std::uint8_t> data,
                                                            int compressionLevel) {
  return dataByGzippingBytes(data.data(), data.size(), compressionLevel);
}

std::optional<std::vector<std::uint8_t>> dataByDeflatingBytes(const void* bytes, std::size_t length,
                                                              int compressionLevel) {
  return dataByCompressingBytes(bytes, length, compressionLevel, false);
}

std::optional<std::vector<std::uint8_t>> dataByDeflatingData(std::span<const std::uint8_t> data,
                                                             int compressionLevel) {
  return dataByDeflatingBytes(data.data(), data.size(), compressionLevel);
}

bool setDataByInflatingBytes(std::vector<std::uint8_t>& data, const void* bytes, std::size_t length,
                             std::size_t maxLength) {
  if (!acceptableLength(bytes, length)) return false;
  z_stream* stream = inflateStream.get();
  if (stream == nullptr) return false;
  data.clear();
  const int status = runStream(stream, bytes, length, inflateStep, appendingTo(data, maxLength));
  return status == Z_STREAM_END && stream->avail_in == 0;
}

bool canInflateData(std::span<const std::uint8_t> compressed) {
  if (!acceptableLength(compressed.data(), compressed.size())) return false;
  z_stream* stream = inflateStream.get();
  if (stream == nullptr) return false;
  const int status = runStream(stream, compressed.data(), compressed.size(), inflateStep,
                               [](const Bytef*, std::size_t) { return true; });
  return status == Z_STREAM_END && stream->avail_in == 0;
}

bool setDataByInflating(std::vector<std::uint8_t>& data, std::span<const std::uint8_t> compressed,
                        std::size_t maxLength) {
  return setDataByInflatingBytes(data, compressed.data(), compressed.size(), maxLength);
}

std::optional<std::vector<std::uint8_t>> dataByInflatingBytes(const void* bytes, std::size_t length,
                                                              std::size_t maxLength) {
  std::vector<std::uint8_t> data;
  if (!setDataByInflatingBytes(data, bytes, length, maxLength)) return std::nullopt;
  return data;
}

std::optional<std::vector<std::uint8_t>> dataByInflatingData(
    std::span<const std::uint8_t> compressed, std::size_t maxLength) {
  return dataByInflatingBytes(compressed.data(), compressed.size(), maxLength);
}

}  // namespace orvel
