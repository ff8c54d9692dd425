#include "orvel/search/internal/snippet_walk.h"

#include "orvel/text/internal/cpu_features.h"

#if defined(__SSE2__)
#include <emmintrin.h>
#endif
#if defined(__x86_64__)
#include <immintrin.h>
#endif

namespace orvel::internal {
namespace {

#if defined(__x86_64__)
const bool kHaveAvx2 = cpuHasAvx2();
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

// Lines are counted blocks at a time: a unit can end a line only when it is no printable
// ASCII, and a block whose only such units are LFs, after no CR, is counted at once. Only
// the reading of blocks differs between UTF-16 (the units outside printable ASCII) and
// UTF-8 (the control bytes and every byte from 0x80, whose character is looked up).
template <typename Text>
std::size_t BasicLineCounter<Text>::lineAt(std::size_t position) {
  if (printableEndsNoLines()) {
#if defined(__x86_64__)
    if (kHaveAvx2) countBlocksAvx2(position);
#endif
    countBlocksSse2(position);
  }
  for (; _position < position; ++_position) countLineEndAt(_position);
  return _line;
}

// Inlined into each block loop: a call per block would cost as much as the block.
template <typename Text>
__attribute__((always_inline)) inline void BasicLineCounter<Text>::countBlock(
    std::size_t at, unsigned candidates, unsigned lf, unsigned bitsPerUnit) {
  static const bool lfEndsLines = isMemberOfCharacterSetRep(defaultLineSeparators(), u'\n');
  if (candidates == 0) return;
  if (bitsPerUnit == 2) {  // one bit a unit is kept
    candidates &= 0x55555555u;
    lf &= 0x55555555u;
  }
  if (lfEndsLines && candidates == lf && !(at > 0 && _text[at - 1] == '\r')) {
    for (; lf != 0; lf &= lf - 1) ++_line;
    return;
  }
  for (; candidates != 0; candidates &= candidates - 1) {
    countLineEndAt(at + static_cast<std::size_t>(__builtin_ctz(candidates)) / bitsPerUnit);
  }
}

#if defined(__SSE2__)
template <>
void LineCounter::countBlocksSse2(std::size_t position) {
  for (; _position + 8 <= position; _position += 8) {
    const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(_text.data() + _position));
    // As signed 16-bit numbers, units from U+8000 are negative: both tests fail for them.
    const __m128i printable = _mm_and_si128(_mm_cmpgt_epi16(v, _mm_set1_epi16(0x1F)),
                                            _mm_cmplt_epi16(v, _mm_set1_epi16(0x80)));
    const __m128i lf = _mm_cmpeq_epi16(v, _mm_set1_epi16(u'\n'));
    countBlock(_position, static_cast<unsigned>(~_mm_movemask_epi8(printable)) & 0xFFFFu,
               static_cast<unsigned>(_mm_movemask_epi8(lf)), 2);
  }
}

template <>
void Utf8LineCounter::countBlocksSse2(std::size_t position) {
  for (; _position + 16 <= position; _position += 16) {
    const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(_text.data() + _position));
    // As signed bytes those from 0x80 are negative: below 0x20 with the control bytes.
    const __m128i candidates = _mm_cmplt_epi8(v, _mm_set1_epi8(0x20));
    const __m128i lf = _mm_cmpeq_epi8(v, _mm_set1_epi8('\n'));
    countBlock(_position, static_cast<unsigned>(_mm_movemask_epi8(candidates)),
               static_cast<unsigned>(_mm_movemask_epi8(lf)), 1);
  }
}
#else
template <>
void LineCounter::countBlocksSse2(std::size_t) {}
template <>
void Utf8LineCounter::countBlocksSse2(std::size_t) {}
#endif

#if defined(__x86_64__)
template <>
__attribute__((target("avx2"))) void LineCounter::countBlocksAvx2(std::size_t position) {
  for (; _position + 16 <= position; _position += 16) {
    const __m256i v =
        _mm256_loadu_si256(reinterpret_cast<const __m256i*>(_text.data() + _position));
    const __m256i printable = _mm256_and_si256(_mm256_cmpgt_epi16(v, _mm256_set1_epi16(0x1F)),
                                               _mm256_cmpgt_epi16(_mm256_set1_epi16(0x80), v));
    const __m256i lf = _mm256_cmpeq_epi16(v, _mm256_set1_epi16(u'\n'));
    countBlock(_position, ~static_cast<unsigned>(_mm256_movemask_epi8(printable)),
               static_cast<unsigned>(_mm256_movemask_epi8(lf)), 2);
  }
}

template <>
__attribute__((target("avx2"))) void Utf8LineCounter::countBlocksAvx2(std::size_t position) {
  for (; _position + 32 <= position; _position += 32) {
    const __m256i v =
        _mm256_loadu_si256(reinterpret_cast<const __m256i*>(_text.data() + _position));
    const __m256i candidates = _mm256_cmpgt_epi8(_mm256_set1_epi8(0x20), v);
    const __m256i lf = _mm256_cmpeq_epi8(v, _mm256_set1_epi8('\n'));
    countBlock(_position, static_cast<unsigned>(_mm256_movemask_epi8(candidates)),
               static_cast<unsigned>(_mm256_movemask_epi8(lf)), 1);
  }
}
#else
template <>
void LineCounter::countBlocksAvx2(std::size_t) {}
template <>
void Utf8LineCounter::countBlocksAvx2(std::size_t) {}
#endif

template <>
void LineCounter::countLineEndAt(std::size_t at) {
  _line += endsLineAt(_text, at, _lines) ? 1 : 0;
}

template <>
void Utf8LineCounter::countLineEndAt(std::size_t at) {
  if (static_cast<unsigned char>(_text[at]) < 0x80) {
    _line += endsLineAt(_text, at, _lines) ? 1 : 0;
  } else if (!isUtf8Continuation(_text[at])) {
    _line += isMemberOfCharacterSetRep(_lines, firstUnitAt(_text, at)) ? 1 : 0;
  }
}

template class BasicLineCounter<std::u16string_view>;
template class BasicLineCounter<std::string_view>;

}  // namespace orvel::internal
