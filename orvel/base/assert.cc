#include "orvel/base/assert.h"

#include <cstdio>
#include <cstdlib>

namespace orvel::internal {

void reportDebugAssertion(const char* file, unsigned line, const char* condition) {
  std::fprintf(stderr, "%s:%u: Failed debug assertion `%s'\n", file, line, condition);
}

void failDebugAssertion(const char* file, unsigned line, const char* condition) {
  reportDebugAssertion(file, line, condition);
  std::abort();
}

}  // namespace orvel::internal
