// The named character references the entity conversions know (entity_table.cc).
#pragma once

#include <array>
#include <cstddef>

#include "orvel/base/types.h"

namespace orvel::internal {

struct EntityEntry {
  const char* name;  // case-sensitive: "Aring" and "aring" differ
  unichar character;
};

inline constexpr std::size_t kEntityCount = 246;

// Sorted by name in byte order; no character occurs twice. The smallest character is
// U+00A0 (nbsp), the largest U+2666 (diams).
extern const std::array<EntityEntry, kEntityCount> kEntityTable;

}  // namespace orvel::internal
