// Assertions for internal inconsistencies: the failing condition is printed as
// "FILE:LINE: Failed debug assertion `CONDITION'" on stderr and the process aborts.
// ORVEL_NONFATAL_ASSERT prints the same line and goes on.
#pragma once

namespace orvel::internal {

[[noreturn]] void failDebugAssertion(const char* file, unsigned line, const char* condition);
void reportDebugAssertion(const char* file, unsigned line, const char* condition);

}  // namespace orvel::internal

#define ORVEL_ASSERT(condition)       \
  ((condition) ? static_cast<void>(0) \
               : ::orvel::internal::failDebugAssertion(__FILE__, __LINE__, #condition))

#define ORVEL_NONFATAL_ASSERT(condition) \
  ((condition) ? static_cast<void>(0)    \
               : ::orvel::internal::reportDebugAssertion(__FILE__, __LINE__, #condition))
