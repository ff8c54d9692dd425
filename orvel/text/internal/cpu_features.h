// CPU features that not every compiler's __builtin_cpu_supports names (clang 14 knows
// neither "sha" nor "vpclmulqdq"), read from CPUID leaf 7 directly. Both extend registers
// the OS already saves when the base feature they accompany (SSE, AVX-512) is usable, so
// callers test that base feature with __builtin_cpu_supports as well.
#pragma once

#if defined(__x86_64__) || defined(__i386__)
#include <cpuid.h>

namespace orvel::internal {

struct StructuredExtendedFeatures {
  unsigned ebx = 0;
  unsigned ecx = 0;
};

inline StructuredExtendedFeatures structuredExtendedFeatures() {
  StructuredExtendedFeatures features;
  unsigned eax = 0, edx = 0;
  if (__get_cpuid_count(7, 0, &eax, &features.ebx, &features.ecx, &edx) == 0) return {};
  return features;
}

// The SHA extensions: leaf 7, EBX bit 29.
inline bool cpuHasShaExtensions() { return (structuredExtendedFeatures().ebx >> 29) & 1; }
// VPCLMULQDQ: leaf 7, ECX bit 10.
inline bool cpuHasVpclmulqdq() { return (structuredExtendedFeatures().ecx >> 10) & 1; }

}  // namespace orvel::internal

#endif
