#include "tools/orvel/search_output.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <optional>

#include <nlohmann/json.hpp>

#include "orvel/base/utf8.h"
#include "orvel/search/internal/utf8_units.h"
#include "orvel/search/separation.h"
#include "orvel/search/separators.h"
#include "orvel/text/character_sets.h"

#include "tools/orvel/json_text.h"

namespace orvel::cli {
namespace {

using Json = nlohmann::ordered_json;

constexpr std::string_view kReset = "\x1b[0m";

constexpr std::array<std::string_view, 8> kColorNames = {"black", "red",     "green", "yellow",
                                                         "blue",  "magenta", "cyan",  "white"};

// The SGR parameters of a colour for a base of 30 (foreground) or 40 (background): a name
// (bright from base + 60 when intense), a number of the 256-colour palette, or R,G,B.
std::optional<std::string> colorParameters(std::string_view color, int base, bool intense) {
  const auto name = std::find(kColorNames.begin(), kColorNames.end(), color);
  if (name != kColorNames.end()) {
    return std::to_string(base + (intense ? 60 : 0) + (name - kColorNames.begin()));
  }
  const std::string extended = std::to_string(base + 8);
  int r = 0, g = 0, b = 0;
  char rest = 0;
  const std::string text(color);
  if (std::sscanf(text.c_str(), "%d,%d,%d%c", &r, &g, &b, &rest) == 3 && r >= 0 && r < 256 &&
      g >= 0 && g < 256 && b >= 0 && b < 256) {
    return extended + ";2;" + std::to_string(r) + ";" + std::to_string(g) + ";" + std::to_string(b);
  }
  if (std::sscanf(text.c_str(), "%d%c", &r, &rest) == 1 && r >= 0 && r < 256) {
    return extended + ";5;" + std::to_string(r);
  }
  return std::nullopt;
}

std::string colored(std::string_view text, const TextColor& textColor, bool color) {
  const std::string on = color ? textColor.sequence() : std::string();
  if (on.empty()) return std::string(text);
  return on + std::string(text) + std::string(kReset);
}

// Appends a piece of a snippet on one line: line ends and tabs become spaces. Printable
// ASCII is copied in runs; only other characters are looked at one by one.
void appendOnOneLine(std::string& out, std::string_view snippet) {
  static const CharacterSetRep lineSeparators = defaultLineSeparators();
  const auto printable = [](char c) { return c >= 0x20 && c < 0x7F; };
  for (std::size_t k = 0; k < snippet.size();) {
    const std::size_t run = k;
    while (k < snippet.size() && printable(snippet[k])) ++k;
    out.append(snippet, run, k - run);
    if (k == snippet.size()) break;
    const std::size_t length = internal::utf8Length(snippet[k]);
    const unichar unit = internal::firstUnitAt(snippet, k);
    if (unit == u'\t' || isMemberOfCharacterSetRep(lineSeparators, unit)) {
      out += ' ';
    } else {
      out.append(snippet, k, length);
    }
    k += length;
  }
}

// Appends a snippet on one line, shortened after `characters` (when not 0) as
// stringByEllipsizingAfterNCharacters shortens it, with the terms inside it coloured.
void appendSnippet(std::string& out, std::string_view snippet, std::span<const FoundTerm> terms,
                   const OutputStyle& style) {
  std::size_t kept = snippet.size();
  bool shortened = false;
  if (style.snippetCharacters > 0) {
    const std::u16string text = utf8ToUtf16Lenient(snippet);
    const std::u16string cut = stringByEllipsizingAfterNCharacters(text, style.snippetCharacters);
    // What it keeps is a prefix of the text, followed by "...".
    if (cut.size() != text.size()) {
      kept = utf8LengthOfUtf16(std::u16string_view(cut).substr(0, cut.size() - 3));
      shortened = true;
    }
  }
  const std::string on = style.color ? style.colors.match.sequence() : std::string();
  std::size_t written = 0;
  if (!on.empty()) {
    for (const FoundTerm& term : terms) {
      if (term.start >= kept) break;
      const std::size_t end = std::min(term.start + term.length, kept);
      appendOnOneLine(out, snippet.substr(written, term.start - written));
      out += on;
      appendOnOneLine(out, snippet.substr(term.start, end - term.start));
      out += kReset;
      written = end;
    }
  }
  appendOnOneLine(out, snippet.substr(written, kept - written));
  if (shortened) out += "...";
}

// A path followed by what separates it from the rest of its line (":" or a line end), or by
// a NUL instead with --null.
std::string pathThen(std::string_view path, char separator, const OutputStyle& style) {
  std::string out = colored(path, style.colors.path, style.color);
  out += style.null ? '\0' : separator;
  return out;
}

std::string numberThen(std::size_t number, const TextColor& textColor, const OutputStyle& style) {
  return colored(std::to_string(number), textColor, style.color) + ":";
}

std::string snippetsText(const SearchResult& result, const OutputStyle& style) {
  const bool vimgrep = style.form == OutputForm::kVimgrep;
  const bool heading = style.heading && !vimgrep;
  std::string out = heading ? pathThen(result.path, '\n', style) : std::string();
  for (const FoundOccurrence& occurrence : result.occurrences) {
    const std::span<const FoundTerm> terms = result.termsOf(occurrence);
    if (!heading) out += pathThen(result.path, ':', style);
    // With a column, the line is that of the first term, where an editor should jump.
    const bool column = (style.column || vimgrep) && !terms.empty();
    const std::size_t line = column ? terms.front().line : occurrence.line;
    if (style.lineNumbers || vimgrep) out += numberThen(line, style.colors.line, style);
    if (column) out += numberThen(terms.front().column, style.colors.column, style);
    appendSnippet(out, result.snippet(occurrence), terms, style);
    out += '\n';
  }
  return out;
}

// RFC 4648 Base64, for a path that is no UTF-8.
std::string base64(std::string_view bytes) {
  static constexpr char kDigits[] =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string out;
  for (std::size_t k = 0; k < bytes.size(); k += 3) {
    const std::size_t n = std::min<std::size_t>(3, bytes.size() - k);
    std::uint32_t group = 0;
    for (std::size_t j = 0; j < 3; ++j) {
      group = (group << 8) | (j < n ? static_cast<unsigned char>(bytes[k + j]) : 0u);
    }
    for (std::size_t j = 0; j < 4; ++j) {
      out += j <= n ? kDigits[(group >> (18 - 6 * j)) & 0x3F] : '=';
    }
  }
  return out;
}

// ripgrep's form of data that may not be UTF-8: {"text": ...} or {"bytes": BASE64}.
Json textOrBytes(std::string_view bytes) {
  if (isValidUtf8(bytes)) return Json{{"text", std::string(bytes)}};
  return Json{{"bytes", base64(bytes)}};
}

std::string jsonLine(const Json& json) {
  return json.dump(-1, ' ', false, Json::error_handler_t::replace) + "\n";
}

// A match line, written directly: a search writes them by the million.
void appendMatchLine(std::string& out, const std::string& pathJson, const SearchResult& result,
                     const FoundOccurrence& occurrence) {
  const std::string_view snippet = result.snippet(occurrence);
  out += R"({"type":"match","data":{"path":)" + pathJson + R"(,"lines":{"text":)";
  appendJsonString(out, snippet);
  out += R"(},"line_number":)" + std::to_string(occurrence.line) + R"(,"submatches":[)";
  Utf16Offsets units(snippet);
  for (const FoundTerm& term : result.termsOf(occurrence)) {
    if (out.back() != '[') out += ',';
    out += R"({"match":{"text":)";
    appendJsonString(out, snippet.substr(term.start, term.length));
    const std::size_t start16 = units.before(term.start);
    out += R"(},"start":)" + std::to_string(term.start) + R"(,"end":)" +
           std::to_string(term.start + term.length) + R"(,"start_utf16":)" +
           std::to_string(start16) + R"(,"end_utf16":)" +
           std::to_string(units.before(term.start + term.length)) + R"(,"line_number":)" +
           std::to_string(term.line) + R"(,"column":)" + std::to_string(term.column) + "}";
  }
  out += "]}}\n";
}

std::string jsonLines(const SearchResult& result) {
  const Json path = textOrBytes(result.path);
  const std::string pathJson = path.dump(-1, ' ', false, Json::error_handler_t::replace);
  std::string out = jsonLine({{"type", "begin"}, {"data", {{"path", path}}}});
  for (const FoundOccurrence& occurrence : result.occurrences) {
    appendMatchLine(out, pathJson, result, occurrence);
  }
  const Json stats = {{"searches", 1},
                      {"searches_with_match", 1},
                      {"bytes_searched", result.bytesRead},
                      {"matched_lines", result.occurrences.size()},
                      {"matches", result.terms.size()}};
  out += jsonLine(
      {{"type", "end"}, {"data", {{"path", path}, {"binary_offset", nullptr}, {"stats", stats}}}});
  return out;
}

// The per-file form: the file's kind and its occurrences with their ranges.
std::string fileJson(const SearchResult& result) {
  nlohmann::json occurrences = nlohmann::json::array();
  for (const FoundOccurrence& occurrence : result.occurrences) {
    occurrences.push_back({{"range", {occurrence.range.location, occurrence.range.length}},
                           {"line", occurrence.line},
                           {"string", std::string(result.snippet(occurrence))}});
  }
  const nlohmann::json object = {
      {"path", result.path}, {"kind", documentKindName(result.kind)}, {"occurrences", occurrences}};
  return object.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace) + "\n";
}

Json elapsed(double seconds) {
  const auto secs = static_cast<std::uint64_t>(seconds);
  const auto nanos = static_cast<std::uint64_t>((seconds - static_cast<double>(secs)) * 1e9);
  char human[32];
  std::snprintf(human, sizeof human, "%.6fs", seconds);
  return {{"secs", secs}, {"nanos", nanos}, {"human", human}};
}

}  // namespace

std::string TextColor::sequence() const {
  std::string parameters;
  const auto add = [&parameters](const std::string& parameter) {
    if (!parameters.empty()) parameters += ';';
    parameters += parameter;
  };
  if (bold) add("1");
  if (underline) add("4");
  if (const auto fg = colorParameters(foreground, 30, intense)) add(*fg);
  if (const auto bg = colorParameters(background, 40, intense)) add(*bg);
  return parameters.empty() ? std::string() : "\x1b[" + parameters + "m";
}

std::string SearchColors::apply(std::string_view setting) {
  const std::size_t first = setting.find(':');
  const std::string_view type = setting.substr(0, first);
  TextColor* target = type == "path"     ? &path
                      : type == "line"   ? &line
                      : type == "column" ? &column
                      : type == "match"  ? &match
                                         : nullptr;
  if (target == nullptr)
    return "unknown type '" + std::string(type) + "' (path, line, column, match)";
  const std::string_view rest =
      first == std::string_view::npos ? std::string_view() : setting.substr(first + 1);
  if (rest == "none") {
    *target = TextColor{};
    return {};
  }
  const std::size_t second = rest.find(':');
  if (second == std::string_view::npos) return "expected TYPE:fg|bg|style:VALUE or TYPE:none";
  const std::string_view attribute = rest.substr(0, second);
  const std::string value(rest.substr(second + 1));
  if (attribute == "fg" || attribute == "bg") {
    if (!colorParameters(value, 30, false)) {
      return "unknown colour '" + value + "' (a name, 0-255 or R,G,B)";
    }
    (attribute == "fg" ? target->foreground : target->background) = value;
    return {};
  }
  if (attribute != "style") return "unknown attribute '" + std::string(attribute) + "'";
  const bool on = !value.starts_with("no");
  const std::string style = on ? value : value.substr(2);
  bool* flag = style == "bold"        ? &target->bold
               : style == "underline" ? &target->underline
               : style == "intense"   ? &target->intense
                                      : nullptr;
  if (flag == nullptr) return "unknown style '" + value + "'";
  *flag = on;
  return {};
}

std::string pathLine(std::string_view path, const OutputStyle& style) {
  return pathThen(path, '\n', style);
}

std::string resultText(const SearchResult& result, const OutputStyle& style) {
  switch (style.form) {
    case OutputForm::kJson: return jsonLines(result);
    case OutputForm::kJsonFiles: return fileJson(result);
    case OutputForm::kFiles: return pathLine(result.path, style);
    case OutputForm::kCounts:
      return pathThen(result.path, ':', style) + std::to_string(result.count) + "\n";
    case OutputForm::kSnippets:
    case OutputForm::kVimgrep: return snippetsText(result, style);
  }
  return {};
}

std::string jsonSummary(const SearchTotals& totals) {
  const Json stats = {
      {"elapsed", elapsed(totals.seconds)},         {"searches", totals.filesSearched},
      {"searches_with_match", totals.filesMatched}, {"bytes_searched", totals.bytesRead},
      {"matched_lines", totals.occurrences},        {"matches", totals.terms}};
  return jsonLine({{"type", "summary"},
                   {"data", {{"elapsed_total", elapsed(totals.seconds)}, {"stats", stats}}}});
}

}  // namespace orvel::cli
