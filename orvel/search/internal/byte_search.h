// Finding ASCII words in UTF-8 bytes without decoding them: ASCII letters compared without
// case when asked, 64, 32 or 16 start positions a step (with AVX2 or SSE2), only those whose
// two rarest bytes fit compared in full. The search's byte pre-filter and its search of
// plain ASCII documents are built on it.
#pragma once

#include <cstddef>
#include <string_view>

#include "orvel/text/character_sets.h"

namespace orvel::internal {

// Where `needle` first occurs in `haystack` at or after `from`, or npos. With
// ignoreAsciiCase the needle is lower case and the haystack's ASCII letters are compared in
// either case. With wholeWordsOf, only an occurrence whose neighbours (the UTF-16 units
// beside it, the haystack read as UTF-8; its edges count as none) are no members of it.
[[nodiscard]] std::size_t findBytes(std::string_view haystack, std::string_view needle,
                                    bool ignoreAsciiCase, std::size_t from = 0,
                                    CharacterSetRep wholeWordsOf = nullptr);

// Whether `needle` occurs in `haystack`, as findBytes finds it.
[[nodiscard]] bool containsBytes(std::string_view haystack, std::string_view needle,
                                 bool ignoreAsciiCase);

// Whether every byte is ASCII and none is NUL: such bytes, read as UTF-8, are a text of one
// UTF-16 unit a byte, the same characters at the same offsets.
[[nodiscard]] bool isPlainAscii(std::string_view bytes);

}  // namespace orvel::internal
