// What every orvel command shares: reading inputs, decoding text, reporting errors.
//
// Conventions: text is UTF-8 in and out; an input is a FILE, or stdin when the FILE is
// absent or "-"; a failure is reported as one line "orvel: NAME: message" on stderr with
// exit status 1; usage errors exit with 2.
#pragma once

#include <cstdint>
#include <functional>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include <CLI/CLI.hpp>

namespace orvel::cli {

// A failure concerning one input (or other named thing): "orvel: NAME: message".
class CommandError : public std::runtime_error {
 public:
  CommandError(std::string name, const std::string& message)
      : std::runtime_error(message), _name(std::move(name)) {}
  [[nodiscard]] const std::string& name() const { return _name; }

 private:
  std::string _name;
};

// The name an input is reported under: "stdin" for "-".
[[nodiscard]] std::string displayName(std::string_view input);

// Calls `consume` with successive pieces of the input's bytes; throws CommandError when it
// cannot be opened or read.
void readChunks(const std::string& input,
                const std::function<void(std::span<const std::uint8_t>)>& consume);

// The whole input.
[[nodiscard]] std::string readAll(const std::string& input);

// Bytes decoded from UTF-8; throws CommandError(name, ...) naming the offset of the first
// bad byte.
[[nodiscard]] std::u16string decodeText(std::string_view bytes, const std::string& name);

// The input decoded from UTF-8, as decodeText.
[[nodiscard]] std::u16string readText(const std::string& input);

// The positional inputs of a command: FILE... (stdin when none), or one FILE.
void addFilesOption(CLI::App* command, std::vector<std::string>& files);
void addFileOption(CLI::App* command, std::string& file);

// Library log lines go to stderr as "orvel: LINE".
void installStderrLogSink();

// Collects the library's log lines instead while it lives, so that a command can fold
// them into its one error line.
class CollectedLog {
 public:
  CollectedLog();
  ~CollectedLog();
  CollectedLog(const CollectedLog&) = delete;
  CollectedLog& operator=(const CollectedLog&) = delete;

  // " (first line; second line)" or "" when nothing was logged.
  [[nodiscard]] std::string suffix() const;

 private:
  std::vector<std::string> _lines;
};

// Prints a failure line to stderr.
void reportError(const std::string& name, const std::string& message);

// Writes to stdout; throws CommandError when stdout cannot take it.
void writeOut(std::string_view bytes);
void writeOut(std::u16string_view text);

}  // namespace orvel::cli
