#include "orvel/text/integer_value.h"

#include "orvel/base/types.h"
#include "orvel/text/character_sets.h"

namespace orvel {

std::ptrdiff_t integerValue(std::u16string_view text) {
  const CharacterSetRep white = whiteCharacterSetRep();
  std::size_t k = 0;
  while (k < text.size() && isMemberOfCharacterSetRep(white, text[k])) ++k;
  bool negative = false;
  if (k < text.size() && (text[k] == u'-' || text[k] == u'+')) negative = text[k++] == u'-';
  std::ptrdiff_t value = 0;
  for (; k < text.size() && text[k] >= u'0' && text[k] <= u'9'; ++k) {
    const std::ptrdiff_t digit = text[k] - u'0';
    value = value > (NSIntegerMax - digit) / 10 ? NSIntegerMax : value * 10 + digit;
  }
  return negative ? -value : value;
}

}  // namespace orvel
