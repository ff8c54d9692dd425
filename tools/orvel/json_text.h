// JSON string literals written straight into an output buffer, for the lines a search
// writes by the thousand (orvel search --json, orvel serve), where building a JSON object per
// line cost more than the search itself.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "orvel/base/utf8.h"

namespace orvel::cli {

// Appends the text as a JSON string, quotes included, escaped as nlohmann::json writes it
// (so that lines written either way read the same): the double quote and the backslash
// behind a backslash, \b \t \n \f \r, other control characters as \u00xx, everything else as
// it is. Bytes that are no UTF-8 become U+FFFD.
void appendJsonString(std::string& out, std::string_view utf8);

// The UTF-16 units of UTF-8 text before byte offsets asked in increasing order (a snippet's
// terms, for a script's string indices), each byte counted once however many are asked.
class Utf16Offsets {
 public:
  explicit Utf16Offsets(std::string_view utf8) : _utf8(utf8) {}
  [[nodiscard]] std::size_t before(std::size_t offset) {
    _units += utf16LengthOfUtf8(_utf8.substr(_counted, offset - _counted));
    _counted = offset;
    return _units;
  }

 private:
  std::string_view _utf8;
  std::size_t _counted = 0;
  std::size_t _units = 0;
};

}  // namespace orvel::cli
