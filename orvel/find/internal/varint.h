// Variable-length unsigned integers as the index stores them: seven bits a byte, least
// significant first, the high bit set on every byte but the last (LEB128). Reading checks
// every bound, since the bytes may come from a damaged file.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace orvel::internal {

inline void appendVarint(std::string& out, std::uint64_t value) {
  while (value >= 0x80) {
    out += static_cast<char>((value & 0x7F) | 0x80);
    value >>= 7;
  }
  out += static_cast<char>(value);
}

// Reads the bytes of an index record from the front, each read failing (false, and every
// later read too) when the bytes end early or hold more than they can.
class VarintReader {
 public:
  explicit VarintReader(std::string_view bytes) : _bytes(bytes) {}

  [[nodiscard]] bool ok() const { return _ok; }
  [[nodiscard]] bool atEnd() const { return _position == _bytes.size(); }
  [[nodiscard]] std::size_t position() const { return _position; }

  std::uint64_t number() {
    std::uint64_t value = 0;
    for (unsigned shift = 0; _ok; shift += 7) {
      if (_position == _bytes.size() || shift > 63) return fail();
      const auto byte = static_cast<unsigned char>(_bytes[_position++]);
      value |= static_cast<std::uint64_t>(byte & 0x7F) << shift;
      if ((byte & 0x80) == 0) return value;
    }
    return 0;
  }
  // A number that must not pass `limit`.
  std::uint64_t numberUpTo(std::uint64_t limit) {
    const std::uint64_t value = number();
    return value <= limit ? value : fail();
  }
  // A length, then that many bytes.
  std::string_view text() {
    const std::uint64_t length = numberUpTo(_bytes.size() - _position);
    if (!_ok) return {};
    const std::string_view out = _bytes.substr(_position, length);
    _position += length;
    return out;
  }

 private:
  std::uint64_t fail() {
    _ok = false;
    _position = _bytes.size();
    return 0;
  }

  std::string_view _bytes;
  std::size_t _position = 0;
  bool _ok = true;
};

inline void appendText(std::string& out, std::string_view text) {
  appendVarint(out, text.size());
  out += text;
}

}  // namespace orvel::internal
