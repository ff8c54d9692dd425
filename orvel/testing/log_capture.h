// Captures the library's log lines for the lifetime of the object.
#pragma once

#include <mutex>
#include <string>
#include <vector>

namespace orvel::testing {

class LogCapture {
 public:
  LogCapture();
  ~LogCapture();
  LogCapture(const LogCapture&) = delete;
  LogCapture& operator=(const LogCapture&) = delete;

  [[nodiscard]] std::vector<std::string> lines() const;

 private:
  mutable std::mutex _mutex;
  std::vector<std::string> _lines;
};

}  // namespace orvel::testing
