// What every orvel command shares: reading inputs, decoding text, reporting errors.
//
// Conventions: text is UTF-8 in and out; an input is a FILE, or stdin when the FILE is
// absent or "-"; a failure is reported as one line "orvel: NAME: message" on stderr with
// exit status 1 (2 for the commands whose 1 means "no": search, match, snippets); usage
// errors exit with 2.
#pragma once

#include <cstdint>
#include <cstdio>
#include <functional>
#include <limits>
#include <memory>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include <CLI/CLI.hpp>

#include "orvel/find/collection_index.h"
#include "orvel/formats/documents.h"

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

// The most a command reads of one input (1 GiB): an input that runs on (a device, an endless
// pipe) or is larger than memory is refused in one line, not read until memory runs out.
inline constexpr std::size_t kMaxInputBytes = std::size_t{1} << 30;

// Why the first bytes of an input (at least kBytesDecidingText, or all of it) make it
// unwanted; "" to read on.
using FirstBytesCheck = std::function<std::string(std::string_view firstBytes)>;

// The whole input, at most kMaxInputBytes; `check`, when given, sees its first bytes before
// more is read, and what it answers is thrown as CommandError.
[[nodiscard]] std::string readAll(const std::string& input, const FirstBytesCheck& check = {});

// Bytes decoded from UTF-8; throws CommandError(name, ...) naming the offset of the first
// bad byte.
[[nodiscard]] std::u16string decodeText(std::string_view bytes, const std::string& name);

// The input decoded from UTF-8, as decodeText.
[[nodiscard]] std::u16string readText(const std::string& input);

// The positional inputs of a command: FILE... (stdin when none), or one FILE.
void addFilesOption(CLI::App* command, std::vector<std::string>& files);
void addFileOption(CLI::App* command, std::string& file);

// The text with control characters (line breaks above all) and backslashes escaped as C
// writes them ("\n", "\x1b", "\\"), so that a name holding a line break cannot add a
// second, forged line to an error message.
[[nodiscard]] std::string escapeControls(std::string_view text);

// Library log lines go to stderr as "orvel: LINE", escaped.
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

// The index's selection for the request (see selectWithIndex); when the index is missing
// or damaged, null and one line on stderr naming it, "...; searching without it".
[[nodiscard]] std::shared_ptr<const IndexSelection> selectIndexOrSay(
    const std::filesystem::path& index, const SearchRequest& request);

// printf into a string (short texts: at most 127 bytes).
template <typename... Values>
[[nodiscard]] std::string formatText(const char* pattern, Values... values) {
  char text[128];
  std::snprintf(text, sizeof text, pattern, values...);
  return text;
}

// The whole text as a number of type T (decimal, or 0x hexadecimal for integers); throws
// CommandError(text, "not a value of this type") otherwise, and for a minus sign before
// an unsigned type.
template <typename T>
[[nodiscard]] T parseNumber(const std::string& text) {
  try {
    std::size_t used = 0;
    T value{};
    if constexpr (std::is_floating_point_v<T>) {
      value = static_cast<T>(std::stod(text, &used));
    } else if constexpr (std::is_signed_v<T>) {
      const long long parsed = std::stoll(text, &used, 0);
      if (parsed < std::numeric_limits<T>::min() || parsed > std::numeric_limits<T>::max()) {
        used = 0;
      }
      value = static_cast<T>(parsed);
    } else {
      const unsigned long long parsed = std::stoull(text, &used, 0);
      if (parsed > std::numeric_limits<T>::max() || text.find('-') != std::string::npos) used = 0;
      value = static_cast<T>(parsed);
    }
    if (used == text.size()) return value;
  } catch (const std::exception&) {
  }
  throw CommandError(text, "not a value of this type");
}

// A CLI11 check that a file name is not empty.
[[nodiscard]] CLI::Validator nonEmptyFileName();

// Prints a failure line to stderr, "orvel: NAME: message", each escaped.
void reportError(const std::string& name, const std::string& message);

// Runs the work of a command whose exit status 1 means "no" (search, match, snippets) and
// sets the status it answers; a failure is reported in one line and exits 2, as grep's do.
void runAnsweringCommand(int& status, const std::function<int()>& work);

// Writes to stdout; throws CommandError when stdout cannot take it.
void writeOut(std::string_view bytes);
void writeOut(std::u16string_view text);

}  // namespace orvel::cli
