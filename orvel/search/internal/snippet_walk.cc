#include "orvel/search/internal/snippet_walk.h"

#if defined(__SSE2__)
#include <emmintrin.h>
#endif
#if defined(__x86_64__)
#include <immintrin.h>
#endif

namespace orvel::internal {
namespace {

#if defined(__x86_64__)
const bool kHaveAvx2 = __builtin_cpu_supports("avx2") && __builtin_cpu_supports("popcnt");
#endif

// Whether printable ASCII (U+0020 to U+007F) ends no line: then only the other units need
// looking at when lines are counted.
bool printableEndsNoLines() {
  static const bool never = [] {
    for (unichar c = 0x20; c < 0x80; ++c) {
      if (isMemberOfCharacterSetRep(defaultLineSeparators(), c)) return false;
    }
    return true;
  }();
  return never;
}

// Whether the unit at `at` ends a line: a line separator, but not an LF after a CR.
template <typename Text>
bool endsLineAt(Text text, std::size_t at, CharacterSetRep lines) {
  const auto c = static_cast<unichar>(text[at]);
  return isMemberOfCharacterSetRep(lines, c) && !(c == u'\n' && at > 0 && text[at - 1] == '\r');
}

}  // namespace

BoundaryScan::BoundaryScan(CharacterSetRep set) : _set(set) {
  std::size_t count = 0;
  for (unichar c = 0x20; c < 0x80; ++c) {
    if (!isMemberOfCharacterSetRep(set, c)) continue;
    if (count == _printable.size()) {
      _blocks = false;
      break;
    }
    _printable[count++] = c;
  }
}

std::size_t BoundaryScan::next(std::u16string_view text, std::size_t from) const {
#if defined(__x86_64__)
  if (_blocks && kHaveAvx2) from = nextInBlocks(text, from);
#endif
  while (from < text.size() && !isMember(text[from])) ++from;
  return from;
}

std::size_t BoundaryScan::startAfterPrevious(std::u16string_view text, std::size_t before) const {
#if defined(__x86_64__)
  if (_blocks && kHaveAvx2) before = previousInBlocks(text, before);
#endif
  while (before > 0 && !isMember(text[before - 1])) --before;
  return before;
}

std::size_t BoundaryScan::next(std::string_view utf8, std::size_t from) const {
#if defined(__SSE2__)
  for (; _blocks && from + 16 <= utf8.size(); from += 16) {
    for (unsigned bits = candidates(utf8.data() + from); bits != 0; bits &= bits - 1) {
      const std::size_t at = from + static_cast<std::size_t>(__builtin_ctz(bits));
      if (startsMember(utf8, at)) return at;
    }
  }
#endif
  while (from < utf8.size() && !startsMember(utf8, from)) ++from;
  return from;
}

std::size_t BoundaryScan::startAfterPrevious(std::string_view utf8, std::size_t before) const {
  // A member's character ends where its lead byte and length say.
  const auto after = [&utf8](std::size_t at) { return at + utf8Length(utf8[at]); };
#if defined(__SSE2__)
  for (; _blocks && before >= 16; before -= 16) {
    for (unsigned bits = candidates(utf8.data() + before - 16); bits != 0;
         bits &= ~(1u << (31 - __builtin_clz(bits)))) {
      const std::size_t at = before - 16 + static_cast<std::size_t>(31 - __builtin_clz(bits));
      if (startsMember(utf8, at)) return after(at);
    }
  }
#endif
  while (before > 0 && !startsMember(utf8, before - 1)) --before;
  return before > 0 ? after(before - 1) : 0;
}

#if defined(__SSE2__)
unsigned BoundaryScan::candidates(const char* bytes) const {
  const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes));
  // As signed bytes, those from 0x80 are negative, so below 0x20 too: candidates.
  __m128i may = _mm_cmplt_epi8(v, _mm_set1_epi8(0x20));
  for (const unichar member : _printable) {
    may = _mm_or_si128(may, _mm_cmpeq_epi8(v, _mm_set1_epi8(static_cast<char>(member))));
  }
  return static_cast<unsigned>(_mm_movemask_epi8(may));
}
#else
unsigned BoundaryScan::candidates(const char*) const { return 0; }
#endif

#if defined(__x86_64__)
__attribute__((target("avx2"))) unsigned BoundaryScan::candidates(const unichar* units) const {
  const __m256i v = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(units));
  // As signed numbers units from U+8000 are negative, so below 0x20 too: candidates.
  __m256i may = _mm256_or_si256(_mm256_cmpgt_epi16(_mm256_set1_epi16(0x20), v),
                                _mm256_cmpgt_epi16(v, _mm256_set1_epi16(0x7F)));
  for (const unichar member : _printable) {
    may =
        _mm256_or_si256(may, _mm256_cmpeq_epi16(v, _mm256_set1_epi16(static_cast<short>(member))));
  }
  return static_cast<unsigned>(_mm256_movemask_epi8(may));
}

// Passes over blocks without members; answers where the unit-by-unit search goes on.
__attribute__((target("avx2"))) std::size_t BoundaryScan::nextInBlocks(std::u16string_view text,
                                                                       std::size_t from) const {
  for (; from + 16 <= text.size(); from += 16) {
    for (unsigned bits = candidates(text.data() + from) & 0x55555555u; bits != 0;
         bits &= bits - 1) {
      const std::size_t at = from + static_cast<std::size_t>(__builtin_ctz(bits)) / 2;
      if (isMember(text[at])) return at;
    }
  }
  return from;
}

__attribute__((target("avx2"))) std::size_t BoundaryScan::previousInBlocks(
    std::u16string_view text, std::size_t before) const {
  for (; before >= 16; before -= 16) {
    // Bit 2k+1 of the mask is unit k's upper bit: the highest set bit is the last unit.
    for (unsigned bits = candidates(text.data() + before - 16) & 0xAAAAAAAAu; bits != 0;
         bits &= ~(1u << (31 - __builtin_clz(bits)))) {
      const std::size_t at = before - 16 + static_cast<std::size_t>(31 - __builtin_clz(bits)) / 2;
      if (isMember(text[at])) return at + 1;
    }
  }
  return before;
}
#else
unsigned BoundaryScan::candidates(const unichar*) const { return 0; }
std::size_t BoundaryScan::nextInBlocks(std::u16string_view, std::size_t from) const { return from; }
std::size_t BoundaryScan::previousInBlocks(std::u16string_view, std::size_t before) const {
  return before;
}
#endif

std::size_t LineCounter::lineAt(std::size_t position) {
#if defined(__SSE2__)
  // Blocks of units at a time: only those outside printable ASCII are looked at.
  const bool blocks = printableEndsNoLines();
#if defined(__x86_64__)
  if (blocks && kHaveAvx2) countBlocksAvx2(position);
#endif
  for (; blocks && _position + 8 <= position; _position += 8) {
    const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(_text.data() + _position));
    // As signed 16-bit numbers, units from U+8000 are negative: both tests fail for them.
    const __m128i printable = _mm_and_si128(_mm_cmpgt_epi16(v, _mm_set1_epi16(0x1F)),
                                            _mm_cmplt_epi16(v, _mm_set1_epi16(0x80)));
    // Two mask bits per unit: keep one.
    auto others = static_cast<unsigned>(~_mm_movemask_epi8(printable)) & 0x5555u;
    for (; others != 0; others &= others - 1) {
      countLineEndAt(_position + static_cast<std::size_t>(__builtin_ctz(others)) / 2);
    }
  }
#endif
  for (; _position < position; ++_position) countLineEndAt(_position);
  return _line;
}

#if defined(__x86_64__)
// Sixteen units at a time; LFs alone among printable ASCII are counted at once, since an LF
// ends a line unless a CR comes before it.
__attribute__((target("avx2,popcnt"))) void LineCounter::countBlocksAvx2(std::size_t position) {
  static const bool lfEndsLines = isMemberOfCharacterSetRep(defaultLineSeparators(), u'\n');
  for (; _position + 16 <= position; _position += 16) {
    const __m256i v =
        _mm256_loadu_si256(reinterpret_cast<const __m256i*>(_text.data() + _position));
    const __m256i printable = _mm256_and_si256(_mm256_cmpgt_epi16(v, _mm256_set1_epi16(0x1F)),
                                               _mm256_cmpgt_epi16(_mm256_set1_epi16(0x80), v));
    auto others = ~static_cast<unsigned>(_mm256_movemask_epi8(printable));
    if (others == 0) continue;
    const auto lf = static_cast<unsigned>(
        _mm256_movemask_epi8(_mm256_cmpeq_epi16(v, _mm256_set1_epi16(u'\n'))));
    const bool afterCr = _position > 0 && _text[_position - 1] == u'\r';
    if (lfEndsLines && others == lf && !afterCr) {
      _line += static_cast<std::size_t>(_mm_popcnt_u32(lf)) / 2;  // two mask bits per unit
      continue;
    }
    for (others &= 0x55555555u; others != 0; others &= others - 1) {
      countLineEndAt(_position + static_cast<std::size_t>(__builtin_ctz(others)) / 2);
    }
  }
}
#else
void LineCounter::countBlocksAvx2(std::size_t) {}
#endif

void LineCounter::countLineEndAt(std::size_t at) { _line += endsLineAt(_text, at, _lines) ? 1 : 0; }

std::size_t Utf8LineCounter::lineAt(std::size_t position) {
  // Blocks of bytes at a time: in ASCII only control bytes end lines, and a block whose only
  // control bytes are LFs, after no CR, is counted at once; a byte from 0x80 is a candidate
  // like a control byte (as a signed byte it is below 0x20), its character looked up.
#if defined(__x86_64__)
  if (printableEndsNoLines() && kHaveAvx2) countBlocksAvx2(position);
#endif
#if defined(__SSE2__)
  static const bool lfEndsLines = isMemberOfCharacterSetRep(defaultLineSeparators(), u'\n');
  for (; printableEndsNoLines() && _position + 16 <= position; _position += 16) {
    const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(_text.data() + _position));
    auto controls =
        static_cast<unsigned>(_mm_movemask_epi8(_mm_cmplt_epi8(v, _mm_set1_epi8(0x20))));
    if (controls == 0) continue;
    const auto lf =
        static_cast<unsigned>(_mm_movemask_epi8(_mm_cmpeq_epi8(v, _mm_set1_epi8('\n'))));
    const bool afterCr = _position > 0 && _text[_position - 1] == '\r';
    if (lfEndsLines && controls == lf && !afterCr) {
      for (; controls != 0; controls &= controls - 1) ++_line;
      continue;
    }
    for (; controls != 0; controls &= controls - 1) {
      countLineEndAt(_position + static_cast<std::size_t>(__builtin_ctz(controls)));
    }
  }
#endif
  for (; _position < position; ++_position) countLineEndAt(_position);
  return _line;
}

#if defined(__x86_64__)
// The AVX2 form of the loop above, 32 bytes at a time.
__attribute__((target("avx2,popcnt"))) void Utf8LineCounter::countBlocksAvx2(std::size_t position) {
  static const bool lfEndsLines = isMemberOfCharacterSetRep(defaultLineSeparators(), u'\n');
  for (; _position + 32 <= position; _position += 32) {
    const __m256i v =
        _mm256_loadu_si256(reinterpret_cast<const __m256i*>(_text.data() + _position));
    // As signed bytes those from 0x80 are negative: below 0x20 with the control bytes.
    auto controls =
        static_cast<unsigned>(_mm256_movemask_epi8(_mm256_cmpgt_epi8(_mm256_set1_epi8(0x20), v)));
    if (controls == 0) continue;
    const auto lf =
        static_cast<unsigned>(_mm256_movemask_epi8(_mm256_cmpeq_epi8(v, _mm256_set1_epi8('\n'))));
    const bool afterCr = _position > 0 && _text[_position - 1] == '\r';
    if (lfEndsLines && controls == lf && !afterCr) {
      _line += static_cast<std::size_t>(_mm_popcnt_u32(lf));
      continue;
    }
    for (; controls != 0; controls &= controls - 1) {
      countLineEndAt(_position + static_cast<std::size_t>(__builtin_ctz(controls)));
    }
  }
}
#else
void Utf8LineCounter::countBlocksAvx2(std::size_t) {}
#endif

void Utf8LineCounter::countLineEndAt(std::size_t at) {
  if (static_cast<unsigned char>(_text[at]) < 0x80) {
    _line += endsLineAt(_text, at, _lines) ? 1 : 0;
  } else if (!isUtf8Continuation(_text[at])) {
    _line += isMemberOfCharacterSetRep(_lines, firstUnitAt(_text, at)) ? 1 : 0;
  }
}

}  // namespace orvel::internal
