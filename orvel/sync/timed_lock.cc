#include "orvel/sync/timed_lock.h"

#include <chrono>

#include "orvel/base/log.h"

namespace orvel::internal {

double monotonicSeconds() {
  return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

// An unnamed lock prints as the platform prints a missing name.
const char* printedName(const std::string& name) { return name.empty() ? "(null)" : name.c_str(); }

void logLockWait(const std::string& name, double seconds) {
  log("%s locked for %fs", printedName(name), seconds);
}

double logMeasuredTime(const std::string& label, double seconds) {
  log("%s: %fs", printedName(label), seconds);
  return seconds;
}

}  // namespace orvel::internal
