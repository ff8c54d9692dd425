// A span of code units: where it starts and how many units it covers.
#pragma once

#include <cstddef>

#include "orvel/base/types.h"

namespace orvel {

struct Range {
  std::size_t location = 0;
  std::size_t length = 0;

  // The not-found range: location NSNotFound, length 0.
  [[nodiscard]] static constexpr Range notFound() { return Range{NSNotFound, 0}; }

  [[nodiscard]] constexpr bool found() const { return location != NSNotFound; }
  [[nodiscard]] constexpr std::size_t end() const { return location + length; }
  [[nodiscard]] constexpr bool contains(std::size_t index) const {
    return index >= location && index - location < length;
  }

  friend constexpr bool operator==(const Range&, const Range&) = default;
};

}  // namespace orvel
