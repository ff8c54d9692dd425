// The rules of ignore files (.gitignore, .ignore, .orvelignore) as git reads them, so that a
// search of a source tree leaves out what the tree's owners left out of it.
//
// A file is read line by line: blank lines and lines starting with "#" are skipped; trailing
// blanks are dropped unless escaped with "\"; a leading "!" negates the rule (a file it
// matches is taken again); a trailing "/" makes it match folders only. A rule with a "/"
// before its end is anchored: matched against the path relative to the ignore file's folder
// (a leading "/" only anchors); one without is matched against the name, at any depth.
// Patterns: "*" any run of characters but "/", "?" one character but "/", "[...]" a set
// ("!" or "^" first negates; ranges; [:alpha:] and the other classes), "\" escapes the next
// character, and "**" between slashes (or at either end) crosses folders: "**/x" is x in any
// folder, "x/**" everything inside x, "a/**/b" b in a or any folder below it. Matching is on
// bytes and case-sensitive, as git's on Linux.
//
// Within one folder the last rule that matches decides; the rules of a deeper folder come
// before those of the folders above it. A folder that is ignored is not walked into, so
// nothing inside it can be taken again, as in git.
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace orvel {

// git's pattern match of a whole path (its wildmatch with slashes special): whether
// `pattern` matches `path`.
[[nodiscard]] bool ignorePatternMatches(std::string_view pattern, std::string_view path);

enum class IgnoreVerdict {
  kNone,     // no rule matches
  kIgnored,  // the last rule that matches ignores it
  kTaken,    // the last rule that matches is a negated one
};

// The rules of one folder's ignore files.
class IgnoreRules {
 public:
  // Adds the rules of one file's text, after those already there.
  void add(std::string_view text);
  [[nodiscard]] bool empty() const { return _rules.empty(); }
  // What the rules say of an entry, given its path relative to their folder.
  [[nodiscard]] IgnoreVerdict verdict(std::string_view relative, bool folder) const;

 private:
  struct Rule {
    std::string pattern;
    bool negated;
    bool foldersOnly;
    bool anchored;  // matched against the relative path, else against the name
  };
  std::vector<Rule> _rules;
};

// The rules in force in a folder: its own, then those of the folders above it.
struct IgnoreChain {
  IgnoreRules rules;
  std::size_t prefixLength;  // paths below the folder start with this many bytes of its path
  std::shared_ptr<const IgnoreChain> parent;

  // Whether an entry found below the folder (its whole path) is ignored.
  [[nodiscard]] bool ignores(std::string_view path, bool folder) const;
};

// The names of the ignore files, in the order their rules are read: a later one's win.
inline constexpr std::string_view kIgnoreFileNames[] = {".gitignore", ".ignore", ".orvelignore"};

}  // namespace orvel
