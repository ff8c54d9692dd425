// The UTF-8 forms a word of a query may take in a text, as the search compares it, for the
// searches that look for it on a document's bytes without decoding them.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace orvel::internal {

// The most byte forms a word may have: each letter outside ASCII multiplies them by the
// characters that fold as it does (two to four), and a word of many such letters is left to
// the decoded text.
inline constexpr std::size_t kMaxByteForms = 32;

// Each form's ASCII letters are lower case unless caseSensitive (the byte search compares
// them in either case); each character outside ASCII is, without case, any character the
// upper-case table folds as it folds that one (with case, itself), an ASCII letter among
// them where it folds to one. Characters outside ASCII that fold to an ASCII letter of the
// word (U+0131 to I) are not forms of that letter: the callers look for those apart. None
// when the word is empty, holds NUL or a surrogate, or would take more than kMaxByteForms
// forms.
[[nodiscard]] std::vector<std::string> byteFormsOf(std::u16string_view word, bool caseSensitive);

// Whether any of a word's forms occurs in bytes (anywhere, not only as a whole word), in one
// pass over them where it can: the forms' longest shared beginning or end (the bytes before
// the first letter outside ASCII, or after the last) is searched, and each place it occurs is
// held against every form.
class ByteFormsFinder {
 public:
  ByteFormsFinder() = default;
  // Forms as byteFormsOf makes them; with ignoreAsciiCase their ASCII letters are lower case.
  ByteFormsFinder(std::vector<std::string> forms, bool ignoreAsciiCase);

  [[nodiscard]] bool containedIn(std::string_view bytes) const;
  [[nodiscard]] const std::vector<std::string>& forms() const { return _forms; }

 private:
  [[nodiscard]] bool formAt(std::string_view bytes, std::size_t start,
                            const std::string& form) const;

  std::vector<std::string> _forms;
  std::string _anchor;        // shared by every form; empty: each form is searched alone
  bool _anchorAtEnd = false;  // the forms end with the anchor (else begin with it)
  bool _ignoreAsciiCase = false;
};

}  // namespace orvel::internal
