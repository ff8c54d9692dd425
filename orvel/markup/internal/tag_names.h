// Comparing a tag's name, as the scanner reports it, with an upper-case ASCII name.
#pragma once

#include <cstddef>
#include <string_view>

#include "orvel/base/types.h"
#include "orvel/text/conversion_tables.h"

namespace orvel::internal {

// Length first, then unit by unit through the upper-case table; a piece without a name
// (start NSNotFound) matches nothing.
[[nodiscard]] inline bool tagNameIs(const unichar* characters, std::size_t start,
                                    std::size_t length, std::string_view upperName) {
  if (start == NSNotFound || length != upperName.size()) return false;
  const ConversionTable upper = initUpperCharsTable();
  for (std::size_t k = 0; k < length; ++k) {
    if (upper[characters[start + k]] != static_cast<unichar>(upperName[k])) return false;
  }
  return true;
}

}  // namespace orvel::internal
