#include "orvel/find/ignore_rules.h"

#include <cctype>
#include <cstdint>
#include <cstring>
#include <vector>

namespace orvel {
namespace {

// What a match of part of a pattern answers. Besides a plain failure, a failure that no
// later start of the text can mend is passed up at once, which keeps a pattern of many stars
// from trying every way of placing them: kAbortAll when the text ran out, kAbortToStarStar
// when a single star would have to cross a "/" (only an enclosing "**" can still help).
enum class Wild { kMatch, kNoMatch, kAbortAll, kAbortToStarStar };

// Whether byte c belongs to the class named [:name:].
bool inClass(std::string_view name, unsigned char c) {
  if (name == "alnum") return std::isalnum(c) != 0;
  if (name == "alpha") return std::isalpha(c) != 0;
  if (name == "blank") return c == ' ' || c == '\t';
  if (name == "cntrl") return std::iscntrl(c) != 0;
  if (name == "digit") return std::isdigit(c) != 0;
  if (name == "graph") return std::isgraph(c) != 0;
  if (name == "lower") return std::islower(c) != 0;
  if (name == "print") return std::isprint(c) != 0;
  if (name == "punct") return std::ispunct(c) != 0;
  if (name == "space") return std::isspace(c) != 0;
  if (name == "upper") return std::isupper(c) != 0;
  if (name == "xdigit") return std::isxdigit(c) != 0;
  return false;
}

// Matches the set starting after the "[" at p against byte c; moves p to its "]". False in
// `closed` when the set never ends (the pattern then matches nothing).
bool setMatches(std::string_view pattern, std::size_t& p, unsigned char c, bool& closed) {
  const std::size_t size = pattern.size();
  bool negated = p < size && (pattern[p] == '!' || pattern[p] == '^');
  if (negated) ++p;
  bool matched = false;
  unsigned char previous = 0;
  for (bool first = true; p < size; first = false, ++p) {
    unsigned char pc = static_cast<unsigned char>(pattern[p]);
    if (pc == ']' && !first) {
      closed = true;
      return matched != negated;
    }
    if (pc == '\\' && p + 1 < size) {
      pc = static_cast<unsigned char>(pattern[++p]);
      matched = matched || pc == c;
    } else if (pc == '-' && previous != 0 && p + 1 < size && pattern[p + 1] != ']') {
      unsigned char last = static_cast<unsigned char>(pattern[++p]);
      if (last == '\\' && p + 1 < size) last = static_cast<unsigned char>(pattern[++p]);
      matched = matched || (previous <= c && c <= last);
      pc = 0;  // a range cannot start another
    } else if (pc == '[' && p + 1 < size && pattern[p + 1] == ':') {
      const std::size_t end = pattern.find(":]", p + 2);
      if (end == std::string_view::npos) {
        matched = matched || pc == c;  // a plain "["
      } else {
        matched = matched || inClass(pattern.substr(p + 2, end - p - 2), c);
        p = end + 1;
        pc = 0;
      }
    } else {
      matched = matched || pc == c;
    }
    previous = pc;
  }
  closed = false;
  return false;
}

// One match of a pattern against a path. In a pattern with "**", the answers of the rest of
// the pattern from each place in the path are remembered where stars try them: without
// that, components of stars ("**/*/**/*/...") would try every way of placing each other,
// exponentially many. Single stars alone are kept in bounds by the aborts.
class WildMatch {
 public:
  WildMatch(std::string_view pattern, std::string_view text)
      : _pattern(pattern), _text(text), _memoize(pattern.find("**") != std::string_view::npos) {}

  [[nodiscard]] bool matches() { return from(0, 0) == Wild::kMatch; }

 private:
  Wild from(std::size_t p, std::size_t t);
  // from(p, t), remembered.
  Wild remembered(std::size_t p, std::size_t t) {
    if (!_memoize) return from(p, t);
    const std::size_t width = _text.size() + 1;
    if (_memo.empty()) _memo.assign((_pattern.size() + 1) * width, kUnknown);
    std::uint8_t& known = _memo[p * width + t];
    if (known == kUnknown) known = static_cast<std::uint8_t>(from(p, t));
    return static_cast<Wild>(known);
  }

  static constexpr std::uint8_t kUnknown = 0xFF;
  std::string_view _pattern;
  std::string_view _text;
  bool _memoize;
  std::vector<std::uint8_t> _memo;
};

Wild WildMatch::from(std::size_t p, std::size_t t) {
  const std::string_view pattern = _pattern;
  const std::string_view text = _text;
  const std::size_t size = pattern.size();
  for (; p < size; ++p, ++t) {
    const char pc = pattern[p];
    if (t >= text.size() && pc != '*') return Wild::kAbortAll;
    switch (pc) {
      case '\\':
        // An escaped character matches itself; a lone "\" at the end matches nothing.
        if (++p >= size || text[t] != pattern[p]) return Wild::kNoMatch;
        break;
      case '?':
        if (text[t] == '/') return Wild::kNoMatch;
        break;
      case '[': {
        if (text[t] == '/') return Wild::kNoMatch;
        bool closed = true;
        ++p;
        const bool matched = setMatches(pattern, p, static_cast<unsigned char>(text[t]), closed);
        if (!closed) return Wild::kAbortAll;
        if (!matched) return Wild::kNoMatch;
        break;
      }
      case '*': {
        const std::size_t firstStar = p;
        while (p + 1 < size && pattern[p + 1] == '*') ++p;
        bool crossesFolders = false;
        if (p > firstStar) {
          // "**" crosses folders only as a whole component: after a "/" or at the start, and
          // before a "/" or at the end; anywhere else it is a single star.
          const bool afterSlash = firstStar == 0 || pattern[firstStar - 1] == '/';
          const bool beforeSlash = p + 1 == size || pattern[p + 1] == '/';
          if (afterSlash && beforeSlash) {
            // "**/**/" is "**/": a run of such components is taken as one, else each would
            // multiply the ways of placing the others.
            for (std::size_t next = p + 2;;) {
              std::size_t stars = next;
              while (stars < size && pattern[stars] == '*') ++stars;
              if (stars - next < 2 || stars >= size || pattern[stars] != '/') break;
              p = stars - 1;
              next = stars + 1;
            }
            // "**/" may stand for no folder at all.
            if (p + 1 < size && remembered(p + 2, t) == Wild::kMatch) {
              return Wild::kMatch;
            }
            crossesFolders = true;
          }
        }
        ++p;
        if (p == size) {
          // A final star takes the rest, which a single one may only do within a name.
          if (!crossesFolders && text.find('/', t) != std::string_view::npos) {
            return Wild::kNoMatch;
          }
          return Wild::kMatch;
        }
        if (!crossesFolders && pattern[p] == '/') {
          // A star before a "/" takes the rest of the name at once.
          const std::size_t slash = text.find('/', t);
          if (slash == std::string_view::npos) return Wild::kNoMatch;
          t = slash;
          break;
        }
        for (; t < text.size(); ++t) {
          const Wild rest = remembered(p, t);
          if (rest != Wild::kNoMatch) {
            if (!crossesFolders || rest != Wild::kAbortToStarStar) return rest;
          } else if (!crossesFolders && text[t] == '/') {
            return Wild::kAbortToStarStar;
          }
        }
        return Wild::kAbortAll;
      }
      default:
        if (text[t] != pc) return Wild::kNoMatch;
        break;
    }
  }
  return t == text.size() ? Wild::kMatch : Wild::kNoMatch;
}

// Drops the blanks at the end of a line, but not one escaped by a "\".
std::string_view withoutTrailingBlanks(std::string_view line) {
  std::size_t end = line.size();
  while (end > 0 && line[end - 1] == ' ') {
    // An odd run of backslashes before the blank escapes it.
    std::size_t slashes = 0;
    while (slashes < end - 1 && line[end - 2 - slashes] == '\\') ++slashes;
    if (slashes % 2 == 1) break;
    --end;
  }
  return line.substr(0, end);
}

}  // namespace

bool ignorePatternMatches(std::string_view pattern, std::string_view path) {
  return WildMatch(pattern, path).matches();
}

void IgnoreRules::add(std::string_view text) {
  while (!text.empty()) {
    const std::size_t end = text.find('\n');
    std::string_view line = text.substr(0, end);
    text = end == std::string_view::npos ? std::string_view() : text.substr(end + 1);
    if (line.ends_with('\r')) line.remove_suffix(1);
    line = withoutTrailingBlanks(line);
    if (line.empty() || line.front() == '#') continue;
    Rule rule{{}, false, false, false};
    if (line.front() == '!') {
      rule.negated = true;
      line.remove_prefix(1);
    }
    if (line.ends_with('/')) {
      rule.foldersOnly = true;
      line.remove_suffix(1);
    }
    rule.anchored = line.find('/') != std::string_view::npos;
    if (line.starts_with('/')) line.remove_prefix(1);
    if (line.empty()) continue;
    rule.pattern = line;
    _rules.push_back(std::move(rule));
  }
}

IgnoreVerdict IgnoreRules::verdict(std::string_view relative, bool folder) const {
  const std::size_t slash = relative.rfind('/');
  const std::string_view name =
      slash == std::string_view::npos ? relative : relative.substr(slash + 1);
  for (auto rule = _rules.rbegin(); rule != _rules.rend(); ++rule) {
    if (rule->foldersOnly && !folder) continue;
    if (ignorePatternMatches(rule->pattern, rule->anchored ? relative : name)) {
      return rule->negated ? IgnoreVerdict::kTaken : IgnoreVerdict::kIgnored;
    }
  }
  return IgnoreVerdict::kNone;
}

bool IgnoreChain::ignores(std::string_view path, bool folder) const {
  for (const IgnoreChain* chain = this; chain != nullptr; chain = chain->parent.get()) {
    if (chain->rules.empty() || path.size() <= chain->prefixLength) continue;
    const IgnoreVerdict verdict = chain->rules.verdict(path.substr(chain->prefixLength), folder);
    if (verdict != IgnoreVerdict::kNone) return verdict == IgnoreVerdict::kIgnored;
  }
  return false;
}

}  // namespace orvel
