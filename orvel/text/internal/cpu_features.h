// What the processor (and the OS, which must save the registers a feature uses) lets this
// process run, as glibc found it when the process started (<sys/platform/x86.h>). Reading
// that costs no CPUID instruction, which in a virtual machine traps to the hypervisor for
// several microseconds; __builtin_cpu_supports would link libgcc's own detection, which runs
// a dozen of them at the start of every program that uses the library, whether it ever
// needs a feature or not.
#pragma once

#if defined(__x86_64__) || defined(__i386__)
// The header spells its answers' type as C's _Bool, which clang does not take in C++.
#define _Bool bool
#include <sys/platform/x86.h>
#undef _Bool

namespace orvel::internal {

inline bool cpuHasAvx2() { return CPU_FEATURE_ACTIVE(AVX2); }
inline bool cpuHasAvx512f() { return CPU_FEATURE_ACTIVE(AVX512F); }
inline bool cpuHasPclmul() { return CPU_FEATURE_ACTIVE(PCLMULQDQ); }
inline bool cpuHasPopcnt() { return CPU_FEATURE_ACTIVE(POPCNT); }
inline bool cpuHasShaExtensions() { return CPU_FEATURE_ACTIVE(SHA); }
inline bool cpuHasSse2() { return CPU_FEATURE_ACTIVE(SSE2); }
inline bool cpuHasSse41() { return CPU_FEATURE_ACTIVE(SSE4_1); }
inline bool cpuHasSsse3() { return CPU_FEATURE_ACTIVE(SSSE3); }
inline bool cpuHasVpclmulqdq() { return CPU_FEATURE_ACTIVE(VPCLMULQDQ); }

}  // namespace orvel::internal

#endif
