#include "orvel/records/compression.h"

#include <limits>

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

}  // namespace

std::optional<std::vector<std::uint8_t>> dataByCompressingBytes(const void* bytes,
                                                                std::size_t length,
                                                                int compressionLevel,
                                                                bool useGzip) {
  if (!acceptableLength(bytes, length)) return std::nullopt;
  z_stream stream{};
  if (deflateInit2(&stream, normalizedLevel(compressionLevel), Z_DEFLATED,
                   useGzip ? kGzipWindowBits : kZlibWindowBits, 8, Z_DEFAULT_STRATEGY) != Z_OK) {
    return std::nullopt;
  }
  std::vector<std::uint8_t> result;
  result.reserve(length / 4);
  stream.next_in = static_cast<Bytef*>(const_cast<void*>(bytes));
  stream.avail_in = static_cast<uInt>(length);
  int status;
  do {
    Bytef chunk[kChunk];
    stream.next_out = chunk;
    stream.avail_out = kChunk;
    status = deflate(&stream, Z_FINISH);
    result.insert(result.end(), chunk, chunk + (kChunk - stream.avail_out));
  } while (status == Z_OK);
  deflateEnd(&stream);
  if (status != Z_STREAM_END) return std::nullopt;
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

bool setDataByInflatingBytes(std::vector<std::uint8_t>& data, const void* bytes,
                             std::size_t length) {
  if (!acceptableLength(bytes, length)) return false;
  z_stream stream{};
  if (inflateInit2(&stream, kAutomaticHeaderWindowBits) != Z_OK) return false;
  data.clear();
  stream.next_in = static_cast<Bytef*>(const_cast<void*>(bytes));
  stream.avail_in = static_cast<uInt>(length);
  int status;
  do {
    Bytef chunk[kChunk];
    stream.next_out = chunk;
    stream.avail_out = kChunk;
    status = inflate(&stream, Z_NO_FLUSH);
    if (status == Z_OK || status == Z_STREAM_END) {
      data.insert(data.end(), chunk, chunk + (kChunk - stream.avail_out));
    }
  } while (status == Z_OK);
  const bool consumedAll = stream.avail_in == 0;
  inflateEnd(&stream);
  return status == Z_STREAM_END && consumedAll;
}

bool setDataByInflating(std::vector<std::uint8_t>& data, std::span<const std::uint8_t> compressed) {
  return setDataByInflatingBytes(data, compressed.data(), compressed.size());
}

std::optional<std::vector<std::uint8_t>> dataByInflatingBytes(const void* bytes,
                                                              std::size_t length) {
  std::vector<std::uint8_t> data;
  if (!setDataByInflatingBytes(data, bytes, length)) return std::nullopt;
  return data;
}

std::optional<std::vector<std::uint8_t>> dataByInflatingData(
    std::span<const std::uint8_t> compressed) {
  return dataByInflatingBytes(compressed.data(), compressed.size());
}

}  // namespace orvel
