#include "orvel/testing/log_capture.h"

#include "orvel/base/log.h"

namespace orvel::testing {

LogCapture::LogCapture() {
  setLogSink([this](std::string_view line) {
    std::lock_guard lock(_mutex);
    _lines.emplace_back(line);
  });
}

LogCapture::~LogCapture() { setLogSink({}); }

std::vector<std::string> LogCapture::lines() const {
  std::lock_guard lock(_mutex);
  return _lines;
}

}  // namespace orvel::testing
