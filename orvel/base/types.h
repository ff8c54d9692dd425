// Scalar types and sentinels shared by every subsystem.
#pragma once

#include <cstddef>
#include <cstdint>

namespace orvel {

// One UTF-16 code unit. All lengths, indexes and ranges in the library count these.
using unichar = char16_t;

// "Not found": the largest signed 64-bit value, as an unsigned location.
inline constexpr std::size_t NSNotFound = 0x7FFFFFFFFFFFFFFF;

// The largest signed integer; used for "no limit" distances and counts.
inline constexpr std::ptrdiff_t NSIntegerMax = PTRDIFF_MAX;

// Seconds since 2001-01-01 00:00:00 UTC.
using TimeInterval = double;

}  // namespace orvel
