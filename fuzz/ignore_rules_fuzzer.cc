// Ignore files: any text read as rules and any path asked about never crash or run away, and
// a pattern without sets or "**" matches as fnmatch(3) matches with FNM_PATHNAME, which reads
// "*", "?" and "\" as git does. Input: the rules (or the pattern), a NUL, the path.
#include <cstdint>
#include <string>

#include <fnmatch.h>

#include "orvel/find/ignore_rules.h"

#include "fuzz/fuzz_support.h"

namespace {

// Whether fnmatch reads the pattern as git does: no set, no "**", no "\" left without a
// character to escape.
bool fnmatchAgrees(std::string_view pattern) {
  if (pattern.find('[') != std::string_view::npos || pattern.find("**") != std::string_view::npos ||
      pattern.find('\0') != std::string_view::npos) {
    return false;
  }
  std::size_t slashes = 0;
  while (slashes < pattern.size() && pattern[pattern.size() - 1 - slashes] == '\\') ++slashes;
  return slashes % 2 == 0;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view input = orvel::fuzz::bytesOf(data, size);
  const std::size_t split = input.find('\0');
  const std::string_view rules = input.substr(0, split);
  const std::string path(split == std::string_view::npos ? "" : input.substr(split + 1));

  orvel::IgnoreRules parsed;
  parsed.add(rules);
  static_cast<void>(parsed.verdict(path, false));
  static_cast<void>(parsed.verdict(path, true));

  const bool matches = orvel::ignorePatternMatches(rules, path);
  if (fnmatchAgrees(rules) && path.find('\0') == std::string::npos) {
    const std::string pattern(rules);
    ORVEL_FUZZ_CHECK(matches == (::fnmatch(pattern.c_str(), path.c_str(), FNM_PATHNAME) == 0));
  }
  return 0;
}
