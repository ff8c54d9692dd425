#include "tools/orvel/command_support.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "orvel/base/log.h"
#include "orvel/base/utf8.h"

namespace orvel::cli {
namespace {

class InputFile {
 public:
  explicit InputFile(const std::string& input) : _name(displayName(input)) {
    if (input == "-") {
      _fd = STDIN_FILENO;
      return;
    }
    _fd = ::open(input.c_str(), O_RDONLY | O_CLOEXEC);
    if (_fd < 0) throw CommandError(_name, std::strerror(errno));
    _owned = true;
    struct stat info {};
    if (::fstat(_fd, &info) == 0 && S_ISREG(info.st_mode)) {
      _size = static_cast<std::size_t>(info.st_size);
    }
  }
  ~InputFile() {
    if (_owned) ::close(_fd);
  }
  InputFile(const InputFile&) = delete;
  InputFile& operator=(const InputFile&) = delete;

  // The size of a regular file, else 0.
  [[nodiscard]] std::size_t size() const { return _size; }

  // Bytes read into buffer; 0 at the end.
  std::size_t read(std::uint8_t* buffer, std::size_t capacity) {
    for (;;) {
      const ssize_t n = ::read(_fd, buffer, capacity);
      if (n >= 0) return static_cast<std::size_t>(n);
      if (errno != EINTR) throw CommandError(_name, std::strerror(errno));
    }
  }

 private:
  std::string _name;
  int _fd = -1;
  bool _owned = false;
  std::size_t _size = 0;
};

// Calls consume with successive pieces of the file's bytes.
void readChunks(InputFile& file,
                const std::function<void(std::span<const std::uint8_t>)>& consume) {
  std::vector<std::uint8_t> buffer(1 << 20);
  while (const std::size_t n = file.read(buffer.data(), buffer.size())) {
    consume(std::span<const std::uint8_t>(buffer.data(), n));
  }
}

}  // namespace

std::string displayName(std::string_view input) {
  return input == "-" ? std::string("stdin") : std::string(input);
}

void readChunks(const std::string& input,
                const std::function<void(std::span<const std::uint8_t>)>& consume) {
  InputFile file(input);
  readChunks(file, consume);
}

std::string readAll(const std::string& input, const FirstBytesCheck& check) {
  const std::string name = displayName(input);
  std::string bytes;
  bool checked = !check;
  const auto checkFirstBytes = [&] {
    checked = true;
    if (std::string why = check(bytes); !why.empty()) throw CommandError(name, why);
  };
  try {
    InputFile file(input);
    bytes.reserve(std::min(file.size(), kMaxInputBytes));  // too large for memory: fails at once
    readChunks(file, [&](std::span<const std::uint8_t> chunk) {
      if (bytes.size() + chunk.size() > kMaxInputBytes) {
        throw CommandError(name, "larger than 1 GiB, the most read");
      }
      bytes.append(reinterpret_cast<const char*>(chunk.data()), chunk.size());
      if (!checked && bytes.size() >= kBytesDecidingText) checkFirstBytes();
    });
  } catch (const std::bad_alloc&) {
    throw CommandError(name, "too large to read into memory");
  } catch (const std::length_error&) {
    throw CommandError(name, "too large to read into memory");
  }
  if (!checked) checkFirstBytes();  // a short input: all of it
  return bytes;
}

std::u16string decodeText(std::string_view bytes, const std::string& name) {
  std::size_t invalidOffset = 0;
  auto text = utf8ToUtf16(bytes, &invalidOffset);
  if (!text)
    throw CommandError(name, "invalid UTF-8 at byte offset " + std::to_string(invalidOffset));
  return std::move(*text);
}

std::u16string readText(const std::string& input) {
  return decodeText(readAll(input), displayName(input));
}

void addFilesOption(CLI::App* command, std::vector<std::string>& files) {
  command->add_option("FILE", files, "Inputs; stdin when none is given or for '-'")
      ->type_name("FILE");
}

void addFileOption(CLI::App* command, std::string& file) {
  command->add_option("FILE", file, "Input; stdin when absent or '-'")->type_name("FILE");
}

CLI::Validator nonEmptyFileName() {
  return CLI::Validator(
      [](const std::string& name) { return name.empty() ? std::string("empty file name") : ""; },
      "FILE");
}

std::string escapeControls(std::string_view text) {
  static constexpr char kDigits[] = "0123456789abcdef";
  std::string escaped;
  escaped.reserve(text.size());
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte >= 0x20 && byte != 0x7F && c != '\\') {
      escaped += c;
    } else if (c == '\\') {
      escaped += "\\\\";
    } else if (c == '\n') {
      escaped += "\\n";
    } else if (c == '\r') {
      escaped += "\\r";
    } else if (c == '\t') {
      escaped += "\\t";
    } else {
      escaped += "\\x";
      escaped += kDigits[byte >> 4];
      escaped += kDigits[byte & 15];
    }
  }
  return escaped;
}

void installStderrLogSink() {
  setLogSink([](std::string_view line) {
    std::fprintf(stderr, "orvel: %s\n", escapeControls(line).c_str());
  });
}

CollectedLog::CollectedLog() {
  setLogSink([this](std::string_view line) { _lines.emplace_back(line); });
}

CollectedLog::~CollectedLog() { installStderrLogSink(); }

std::string CollectedLog::suffix() const {
  if (_lines.empty()) return {};
  std::string text = " (";
  for (std::size_t i = 0; i < _lines.size(); ++i) text += (i > 0 ? "; " : "") + _lines[i];
  return text + ")";
}

void reportError(const std::string& name, const std::string& message) {
  std::fprintf(stderr, "orvel: %s: %s\n", escapeControls(name).c_str(),
               escapeControls(message).c_str());
}

std::shared_ptr<const IndexSelection> selectIndexOrSay(const std::filesystem::path& index,
                                                       const SearchRequest& request) {
  try {
    return selectWithIndex(index, request);
  } catch (const IndexError& error) {
    reportError(index.string(), std::string(error.what()) + "; searching without it");
    return nullptr;
  }
}

void runAnsweringCommand(int& status, const std::function<int()>& work) {
  try {
    status = work();
  } catch (const CommandError& error) {
    reportError(error.name(), error.what());
    status = 2;
  }
}

void writeOut(std::string_view bytes) {
  if (std::fwrite(bytes.data(), 1, bytes.size(), stdout) != bytes.size()) {
    throw CommandError("stdout", std::strerror(errno));
  }
}

void writeOut(std::u16string_view text) {
  // In pieces, so that a long text costs a piece of UTF-8 at a time, not a copy of it all; a
  // piece never ends between the two units of a surrogate pair.
  constexpr std::size_t kPieceUnits = std::size_t{1} << 16;
  std::string piece;
  while (!text.empty()) {
    std::size_t units = std::min(text.size(), kPieceUnits);
    if (units < text.size() && (text[units - 1] & 0xFC00) == 0xD800) --units;
    piece.clear();
    appendUtf16AsUtf8(piece, text.substr(0, units));
    writeOut(piece);
    text.remove_prefix(units);
  }
}

}  // namespace orvel::cli
