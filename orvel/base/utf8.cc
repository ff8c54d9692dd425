#include "orvel/base/utf8.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

#include <unicode/ustring.h>
#include <unicode/utf8.h>

namespace orvel {
namespace {

// The start of the first ill-formed sequence, or the length when there is none. ASCII is
// passed over 32 (SSE2) or eight bytes at a time.
std::size_t firstInvalidOffset(std::string_view utf8) {
  const auto* bytes = reinterpret_cast<const std::uint8_t*>(utf8.data());
  const auto length = static_cast<std::int64_t>(utf8.size());
  std::int64_t i = 0;
  while (i < length) {
#if defined(__SSE2__)
    if (i + 32 <= length) {
      const auto* blocks = reinterpret_cast<const __m128i*>(bytes + i);
      const __m128i both = _mm_or_si128(_mm_loadu_si128(blocks), _mm_loadu_si128(blocks + 1));
      if (_mm_movemask_epi8(both) == 0) {
        i += 32;
        continue;
      }
    }
#endif
    if (i + 8 <= length) {
      std::uint64_t eight = 0;
      std::memcpy(&eight, bytes + i, 8);
      if ((eight & 0x8080808080808080u) == 0) {
        i += 8;
        continue;
      }
    }
    const std::int64_t start = i;
    UChar32 c;
    U8_NEXT(bytes, i, length, c);
    if (c < 0) return static_cast<std::size_t>(start);
  }
  return utf8.size();
}

// Widens the ASCII bytes from `from` into `out`; answers where the first other byte is.
std::size_t widenAscii(const std::uint8_t* bytes, std::size_t from, std::size_t size,
                       char16_t* out) {
  std::size_t k = from;
#if defined(__SSE2__)
  const __m128i zero = _mm_setzero_si128();
  for (; k + 16 <= size; k += 16) {
    const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes + k));
    if (_mm_movemask_epi8(v) != 0) break;
    _mm_storeu_si128(reinterpret_cast<__m128i*>(out + k - from), _mm_unpacklo_epi8(v, zero));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(out + k - from + 8), _mm_unpackhi_epi8(v, zero));
  }
#endif
  for (; k < size && bytes[k] < 0x80; ++k) out[k - from] = bytes[k];
  return k;
}

// The end of a region holding other bytes than ASCII, which starts at `from`: the start of
// the next run of 16 ASCII bytes, or the end. An ASCII byte is never part of a longer
// sequence, so decoding the region on its own decodes it as the whole text would.
std::size_t nonAsciiRegionEnd(const std::uint8_t* bytes, std::size_t from, std::size_t size) {
  constexpr std::size_t kAsciiRun = 16;
  std::size_t run = 0;
  for (std::size_t k = from; k < size; ++k) {
    run = bytes[k] < 0x80 ? run + 1 : 0;
    if (run == kAsciiRun) return k + 1 - kAsciiRun;
  }
  return size;
}

// Decodes well-formed sequences of two, three and four bytes from `from` into out; stops at
// an ASCII byte, at an ill-formed sequence or at the end. Answers the bytes read, and adds
// the units written to *written.
std::size_t decodeWellFormed(const std::uint8_t* bytes, std::size_t from, std::size_t size,
                             char16_t* out, std::size_t* written) {
  std::size_t k = from, w = 0;
  const auto trail = [&](std::size_t at) { return at < size && (bytes[at] & 0xC0) == 0x80; };
  while (k < size) {
    const std::uint8_t b = bytes[k];
    if (b >= 0xC2 && b <= 0xDF && trail(k + 1)) {
      out[w++] = static_cast<char16_t>((b & 0x1F) << 6 | (bytes[k + 1] & 0x3F));
      k += 2;
    } else if (b >= 0xE0 && b <= 0xEF && trail(k + 1) && trail(k + 2) &&
               (b != 0xE0 || bytes[k + 1] >= 0xA0) && (b != 0xED || bytes[k + 1] < 0xA0)) {
      out[w++] = static_cast<char16_t>((b & 0x0F) << 12 | (bytes[k + 1] & 0x3F) << 6 |
                                       (bytes[k + 2] & 0x3F));
      k += 3;
    } else if (b >= 0xF0 && b <= 0xF4 && trail(k + 1) && trail(k + 2) && trail(k + 3) &&
               (b != 0xF0 || bytes[k + 1] >= 0x90) && (b != 0xF4 || bytes[k + 1] < 0x90)) {
      const std::uint32_t c = (b & 0x07) << 18 | (bytes[k + 1] & 0x3F) << 12 |
                              (bytes[k + 2] & 0x3F) << 6 | (bytes[k + 3] & 0x3F);
      out[w++] = static_cast<char16_t>(0xD7C0 + (c >> 10));
      out[w++] = static_cast<char16_t>(0xDC00 | (c & 0x3FF));
      k += 4;
    } else {
      break;  // ASCII, or a sequence ICU is to judge
    }
  }
  *written += w;
  return k - from;
}

// Decodes a region (of a slice: its length fits ICU's 32-bit lengths) through ICU; answers
// the units written, or nullopt.
std::optional<std::size_t> decodeWithIcu(std::string_view utf8, char16_t* out, bool lenient) {
  auto* destination = reinterpret_cast<UChar*>(out);
  const auto length = static_cast<int32_t>(utf8.size());
  int32_t units = 0;
  UErrorCode status = U_ZERO_ERROR;
  if (lenient) {
    u_strFromUTF8WithSub(destination, length, &units, utf8.data(), length, 0xFFFD, nullptr,
                         &status);
  } else {
    u_strFromUTF8(destination, length, &units, utf8.data(), length, &status);
  }
  if (U_FAILURE(status)) return std::nullopt;
  return static_cast<std::size_t>(units);
}

// Decodes the text: ASCII runs widened and well-formed sequences decoded here, what is left
// of a region holding an ill-formed sequence through ICU, which decides what each becomes.
// Answers the offset of the region or piece that failed, or nullopt.
// Decodes one slice into out (room for a unit per byte); answers the units written, or
// nullopt with *failedAt set to the offset in the slice of the region that failed.
std::optional<std::size_t> decodeSlice(std::string_view slice, char16_t* out, bool lenient,
                                       std::size_t* failedAt) {
  const auto* bytes = reinterpret_cast<const std::uint8_t*>(slice.data());
  const std::size_t size = slice.size();
  std::size_t read = 0, written = 0;
  while (read < size) {
    const std::size_t asciiEnd = widenAscii(bytes, read, size, out + written);
    written += asciiEnd - read;
    read = asciiEnd;
    if (read == size) break;
    read += decodeWellFormed(bytes, read, size, out + written, &written);
    if (read == size || bytes[read] < 0x80) continue;
    // An ill-formed sequence: ICU delimits it and the rest of its region.
    const std::size_t regionEnd = nonAsciiRegionEnd(bytes, read, size);
    const auto units = decodeWithIcu(slice.substr(read, regionEnd - read), out + written, lenient);
    if (!units) {
      *failedAt = read;
      return std::nullopt;
    }
    written += *units;
    read = regionEnd;
  }
  return written;
}

// The number of bytes a sequence that starts with `lead` is meant to have: 1 for ASCII and
// for bytes that start none.
std::size_t intendedLength(std::uint8_t lead) {
  if (lead >= 0xC2 && lead <= 0xDF) return 2;
  if (lead >= 0xE0 && lead <= 0xEF) return 3;
  if (lead >= 0xF0 && lead <= 0xF4) return 4;
  return 1;
}

// Where to end a slice near `end` so that no sequence is cut: before the lead byte of a
// sequence that would reach `end` or beyond, found at most three bytes back (a sequence is
// at most four bytes long); else at `end` itself, which then starts a new sequence or is a
// stray trail byte.
std::size_t sliceEnd(std::string_view utf8, std::size_t end) {
  std::size_t lead = end;
  while (lead + 3 > end && U8_IS_TRAIL(static_cast<std::uint8_t>(utf8[lead]))) --lead;
  const auto byte = static_cast<std::uint8_t>(utf8[lead]);
  if (!U8_IS_TRAIL(byte) && lead < end && lead + intendedLength(byte) > end) return lead;
  return end;
}

// Decodes the text slice by slice through a buffer that stays in the cache, appending each
// to `out`: the string is written once, never zero-filled first. No slice cuts a sequence
// (sliceEnd), so ICU delimits ill-formed ones in a slice as it would in the whole. Answers the
// offset of the region that failed, or nullopt.
std::optional<std::size_t> decodePieces(std::string_view utf8, std::u16string& out, bool lenient) {
  constexpr std::size_t kSlice = 4096;
  char16_t buffer[kSlice];
  out.clear();
  out.reserve(utf8.size());  // UTF-16 never needs more units than UTF-8 has bytes.
  std::size_t read = 0;
  while (read < utf8.size()) {
    std::size_t take = std::min(kSlice, utf8.size() - read);
    if (read + take < utf8.size()) take = sliceEnd(utf8, read + take) - read;
    std::size_t failedAt = 0;
    const auto units = decodeSlice(utf8.substr(read, take), buffer, lenient, &failedAt);
    if (!units) return read + failedAt;
    out.append(buffer, *units);
    read += take;
  }
  return std::nullopt;
}

}  // namespace

std::optional<std::u16string> utf8ToUtf16(std::string_view utf8, std::size_t* invalidOffset) {
  std::u16string out;
  if (const auto failed = decodePieces(utf8, out, false)) {
    if (invalidOffset != nullptr)
      *invalidOffset = *failed + firstInvalidOffset(utf8.substr(*failed));
    return std::nullopt;
  }
  return out;
}

std::u16string utf8ToUtf16Lenient(std::string_view utf8) {
  std::u16string out;
  if (decodePieces(utf8, out, true)) out.clear();  // only when ICU itself fails
  return out;
}

bool isValidUtf8(std::string_view utf8, std::size_t* invalidOffset) {
  const std::size_t offset = firstInvalidOffset(utf8);
  if (offset == utf8.size()) return true;
  if (invalidOffset != nullptr) *invalidOffset = offset;
  return false;
}

std::string utf16ToUtf8(std::u16string_view utf16) {
  std::string out;
  appendUtf16AsUtf8(out, utf16);
  return out;
}

std::size_t utf8LengthOfUtf16(std::u16string_view utf16) {
  std::size_t bytes = 0;
  const std::size_t size = utf16.size();
  for (std::size_t i = 0; i < size; ++i) {
    const char16_t unit = utf16[i];
    if (unit < 0x80) {
      ++bytes;
    } else if (unit < 0x800) {
      bytes += 2;
    } else if (U16_IS_LEAD(unit) && i + 1 < size && U16_IS_TRAIL(utf16[i + 1])) {
      bytes += 4;
      ++i;
    } else {
      bytes += 3;  // also an unpaired surrogate, written as U+FFFD
    }
  }
  return bytes;
}

void appendUtf16AsUtf8(std::string& out, std::u16string_view utf16) {
  // At most three bytes a unit: a pair of surrogates (two units) takes four.
  const std::size_t base = out.size();
  out.resize(base + 3 * utf16.size());
  auto* to = reinterpret_cast<std::uint8_t*>(out.data() + base);
  const std::size_t size = utf16.size();
  for (std::size_t i = 0; i < size;) {
    const char32_t unit = utf16[i++];
    if (unit < 0x80) {
      *to++ = static_cast<std::uint8_t>(unit);
      continue;
    }
    char32_t c = unit;
    if (U16_IS_SURROGATE(unit)) {
      const bool paired = U16_IS_SURROGATE_LEAD(unit) && i < size && U16_IS_TRAIL(utf16[i]);
      c = paired ? U16_GET_SUPPLEMENTARY(unit, utf16[i++]) : 0xFFFD;
    }
    if (c < 0x800) {
      *to++ = static_cast<std::uint8_t>(0xC0 | (c >> 6));
    } else if (c < 0x10000) {
      *to++ = static_cast<std::uint8_t>(0xE0 | (c >> 12));
      *to++ = static_cast<std::uint8_t>(0x80 | ((c >> 6) & 0x3F));
    } else {
      *to++ = static_cast<std::uint8_t>(0xF0 | (c >> 18));
      *to++ = static_cast<std::uint8_t>(0x80 | ((c >> 12) & 0x3F));
      *to++ = static_cast<std::uint8_t>(0x80 | ((c >> 6) & 0x3F));
    }
    *to++ = static_cast<std::uint8_t>(0x80 | (c & 0x3F));
  }
  out.resize(static_cast<std::size_t>(reinterpret_cast<char*>(to) - out.data()));
}

std::size_t utf16LengthOfUtf8(std::string_view utf8) {
  std::size_t units = 0;
  for (const char byte : utf8) {
    const auto b = static_cast<unsigned char>(byte);
    units += (b & 0xC0) != 0x80 ? (b >= 0xF0 ? 2 : 1) : 0;
  }
  return units;
}

}  // namespace orvel
