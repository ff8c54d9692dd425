// What the fuzz targets share: turning fuzzer bytes into the library's inputs, and a
// check that aborts (so that libFuzzer, or the replay, reports the input) when a property
// that must hold does not.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>
#include <utility>

#include "orvel/base/utf8.h"

#define ORVEL_FUZZ_CHECK(condition)                                                           \
  do {                                                                                        \
    if (!(condition)) {                                                                       \
      std::fprintf(stderr, "%s:%d: fuzz check failed: %s\n", __FILE__, __LINE__, #condition); \
      std::abort();                                                                           \
    }                                                                                         \
  } while (false)

namespace orvel::fuzz {

inline std::string_view bytesOf(const std::uint8_t* data, std::size_t size) {
  return {reinterpret_cast<const char*>(data), size};
}

// The bytes as text: decoded when they are UTF-8 (seeds are written as text), else one
// unit per byte, so that every input reaches the code under test.
inline std::u16string unitsOf(std::string_view bytes) {
  if (auto text = utf8ToUtf16(bytes)) return std::move(*text);
  return std::u16string(bytes.begin(), bytes.end());
}

// The part before the first line break, and the part after it.
inline std::pair<std::string_view, std::string_view> splitFirstLine(std::string_view bytes) {
  const std::size_t end = bytes.find('\n');
  if (end == std::string_view::npos) return {bytes, {}};
  return {bytes.substr(0, end), bytes.substr(end + 1)};
}

}  // namespace orvel::fuzz
