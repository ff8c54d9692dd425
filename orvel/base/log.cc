#include "orvel/base/log.h"

#include <cstdarg>
#include <cstdio>
#include <mutex>
#include <string>
#include <utility>

#include <syslog.h>

namespace orvel {
namespace {

std::mutex& sinkMutex() {
  static std::mutex mutex;
  return mutex;
}

LogSink& currentSink() {
  static LogSink sink;
  return sink;
}

void writeToSyslog(std::string_view line) {
  syslog(LOG_NOTICE, "%.*s", static_cast<int>(line.size()), line.data());
}

}  // namespace

void setLogSink(LogSink sink) {
  std::lock_guard lock(sinkMutex());
  currentSink() = std::move(sink);
}

void log(const char* format, ...) {
  va_list args;
  va_start(args, format);
  va_list sizing;
  va_copy(sizing, args);
  const int needed = std::vsnprintf(nullptr, 0, format, sizing);
  va_end(sizing);
  std::string line;
  if (needed > 0) {
    line.resize(static_cast<std::size_t>(needed) + 1);
    std::vsnprintf(line.data(), line.size(), format, args);
    line.resize(static_cast<std::size_t>(needed));
  }
  va_end(args);
  while (!line.empty() && line.back() == '\n') line.pop_back();

  std::lock_guard lock(sinkMutex());
  if (currentSink()) {
    currentSink()(line);
  } else {
    writeToSyslog(line);
  }
}

}  // namespace orvel
