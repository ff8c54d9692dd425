// The library's one diagnostic channel: single formatted lines.
//
// By default each line goes to the system log (syslog). A program or a test replaces the
// sink with setLogSink; the command-line program prints to stderr, tests capture lines and
// compare them word for word.
#pragma once

#include <functional>
#include <string_view>

namespace orvel {

// Receives one line, without a trailing newline.
using LogSink = std::function<void(std::string_view line)>;

// Replaces the process-wide sink; an empty function restores the syslog sink. Thread-safe.
void setLogSink(LogSink sink);

// Formats one line printf-style and hands it to the current sink. Thread-safe.
void log(const char* format, ...) __attribute__((format(printf, 1, 2)));

}  // namespace orvel
