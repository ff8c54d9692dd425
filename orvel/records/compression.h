// Compressed copies of bytes in the zlib (RFC 1950) or gzip (RFC 1952) format, and the
// inverse, through zlib.
//
// Compression levels: -1 is zlib's default; above 9 means 9; 0 and below (other than -1)
// mean 1, so storing without compression is never chosen. Inputs must hold 1 to
// 4,294,967,295 bytes (zlib's 32-bit counters); anything else answers nullopt or false.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace orvel {

inline constexpr int kDefaultCompressionLevel = -1;

[[nodiscard]] std::optional<std::vector<std::uint8_t>> dataByCompressingBytes(const void* bytes,
                                                                              std::size_t length,
                                                                              int compressionLevel,
                                                                              bool useGzip);

[[nodiscard]] std::optional<std::vector<std::uint8_t>> dataByGzippingBytes(
    const void* bytes, std::size_t length, int compressionLevel = kDefaultCompressionLevel);
[[nodiscard]] std::optional<std::vector<std::uint8_t>> dataByGzippingData(
    std::span<const std::uint8_t> data, int compressionLevel = kDefaultCompressionLevel);
[[nodiscard]] std::optional<std::vector<std::uint8_t>> dataByDeflatingBytes(
    const void* bytes, std::size_t length, int compressionLevel = kDefaultCompressionLevel);
[[nodiscard]] std::optional<std::vector<std::uint8_t>> dataByDeflatingData(
    std::span<const std::uint8_t> data, int compressionLevel = kDefaultCompressionLevel);

// No limit on the decompressed length.
inline constexpr std::size_t kUnlimitedInflation = SIZE_MAX;

// Replaces data with the decompressed bytes of a zlib or gzip stream (recognised by its
// header). False on a damaged or truncated stream (data keeps what was decompressed so
// far), when bytes follow the end of the stream, and when the decompressed bytes would
// exceed maxLength (data then holds the first maxLength of them) or the memory there is: a
// few megabytes can expand to gigabytes.
bool setDataByInflatingBytes(std::vector<std::uint8_t>& data, const void* bytes, std::size_t length,
                             std::size_t maxLength = kUnlimitedInflation);
bool setDataByInflating(std::vector<std::uint8_t>& data, std::span<const std::uint8_t> compressed,
                        std::size_t maxLength = kUnlimitedInflation);
[[nodiscard]] std::optional<std::vector<std::uint8_t>> dataByInflatingBytes(
    const void* bytes, std::size_t length, std::size_t maxLength = kUnlimitedInflation);
[[nodiscard]] std::optional<std::vector<std::uint8_t>> dataByInflatingData(
    std::span<const std::uint8_t> compressed, std::size_t maxLength = kUnlimitedInflation);

// Whether the bytes are one whole zlib or gzip stream with nothing after it, as the
// inflaters decide it; what comes out is passed through a scratch buffer and not kept.
[[nodiscard]] bool canInflateData(std::span<const std::uint8_t> compressed);

}  // namespace orvel
