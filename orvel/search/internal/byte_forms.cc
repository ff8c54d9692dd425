#include "orvel/search/internal/byte_forms.h"

#include <algorithm>
#include <cstdint>

#include "orvel/base/utf8.h"
#include "orvel/search/internal/byte_search.h"
#include "orvel/text/conversion_tables.h"

namespace orvel::internal {
namespace {

char lowerAscii(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

// The characters that the upper-case table folds as it folds `unit` (the unit itself among
// them), each as UTF-8: an ASCII letter once, in lower case (the search compares ASCII
// letters in either case). A letter outside ASCII may fold to an ASCII one (U+0131 to I), so
// that "i" is then one of its forms.
std::vector<std::string> foldingAlike(char16_t unit) {
  const ConversionTable upper = initUpperCharsTable();
  std::vector<std::string> alike;
  for (std::uint32_t other = 1; other < 0x10000; ++other) {
    if ((other >= 0xD800 && other < 0xE000) || upper[other] != upper[unit]) continue;
    std::string character = utf16ToUtf8(std::u16string(1, static_cast<char16_t>(other)));
    if (other < 0x80) character[0] = lowerAscii(character[0]);
    if (std::find(alike.begin(), alike.end(), character) == alike.end()) {
      alike.push_back(std::move(character));
    }
  }
  return alike;
}

}  // namespace

std::vector<std::string> byteFormsOf(std::u16string_view word, bool caseSensitive) {
  if (word.empty()) return {};
  std::vector<std::string> forms = {""};
  for (const char16_t unit : word) {
    if (unit == 0 || (unit >= 0xD800 && unit < 0xE000)) return {};
    if (unit < 0x80) {
      const auto c = static_cast<char>(unit);
      for (std::string& form : forms) form += caseSensitive ? c : lowerAscii(c);
      continue;
    }
    const std::vector<std::string> alike =
        caseSensitive ? std::vector<std::string>{utf16ToUtf8(std::u16string(1, unit))}
                      : foldingAlike(unit);
    if (forms.size() * alike.size() > kMaxByteForms) return {};
    std::vector<std::string> longer;
    longer.reserve(forms.size() * alike.size());
    for (const std::string& form : forms) {
      for (const std::string& character : alike) longer.push_back(form + character);
    }
    forms = std::move(longer);
  }
  return forms;
}

// The forms differ only where a letter outside ASCII is: an anchor of two bytes or more is
// rare enough that checking its places costs less than a pass per form.
constexpr std::size_t kShortestAnchor = 2;

ByteFormsFinder::ByteFormsFinder(std::vector<std::string> forms, bool ignoreAsciiCase)
    : _forms(std::move(forms)), _ignoreAsciiCase(ignoreAsciiCase) {
  if (_forms.size() < 2) return;
  const std::string& first = _forms.front();
  std::size_t prefix = first.size(), suffix = first.size();
  for (const std::string& form : _forms) {
    prefix = std::min<std::size_t>(
        prefix,
        std::mismatch(first.begin(), first.end(), form.begin(), form.end()).first - first.begin());
    suffix = std::min<std::size_t>(
        suffix, std::mismatch(first.rbegin(), first.rend(), form.rbegin(), form.rend()).first -
                    first.rbegin());
  }
  if (std::max(prefix, suffix) < kShortestAnchor) return;
  _anchorAtEnd = suffix > prefix;
  _anchor = _anchorAtEnd ? first.substr(first.size() - suffix) : first.substr(0, prefix);
}

bool ByteFormsFinder::formAt(std::string_view bytes, std::size_t start,
                             const std::string& form) const {
  if (start > bytes.size() || bytes.size() - start < form.size()) return false;
  for (std::size_t k = 0; k < form.size(); ++k) {
    char c = bytes[start + k];
    if (_ignoreAsciiCase && c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    if (c != form[k]) return false;
  }
  return true;
}

bool ByteFormsFinder::containedIn(std::string_view bytes) const {
  if (_anchor.empty()) {
    return std::any_of(_forms.begin(), _forms.end(), [&](const std::string& form) {
      return containsBytes(bytes, form, _ignoreAsciiCase);
    });
  }
  for (std::size_t at = findBytes(bytes, _anchor, _ignoreAsciiCase); at != std::string_view::npos;
       at = findBytes(bytes, _anchor, _ignoreAsciiCase, at + 1)) {
    for (const std::string& form : _forms) {
      const std::size_t end = at + _anchor.size();
      if (_anchorAtEnd ? end >= form.size() && formAt(bytes, end - form.size(), form)
                       : formAt(bytes, at, form)) {
        return true;
      }
    }
  }
  return false;
}

}  // namespace orvel::internal
