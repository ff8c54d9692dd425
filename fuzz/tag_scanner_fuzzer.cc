// The tag scanner over any text, plain and on a private copy: the pieces and the texts
// between them tile the text in order, every name lies inside its piece, the final call
// comes last, and a handler that stops is called no more. Every tag's attributes are read,
// and each value's range lies inside its tag.
#include <cstdint>
#include <string>

#include "orvel/markup/tag_attributes.h"
#include "orvel/markup/tag_scanner.h"

#include "fuzz/fuzz_support.h"

namespace {

struct Tiling {
  std::size_t size = 0;
  std::size_t covered = 0;
  std::size_t calls = 0;
  std::size_t stopAt = 0;  // 0: never
  bool ended = false;
};

void readAttributes(const orvel::unichar* characters, orvel::Range tag) {
  for (const char* name : {"HREF", "SRC", "CHARSET", "ENCODING", "STYLE", "WIDTH", "X"}) {
    const orvel::Range value = orvel::rangeOfAttributeOfTagCharacters(characters, tag, name);
    if (value.location != orvel::NSNotFound) {
      ORVEL_FUZZ_CHECK(value.location > tag.location && value.length > 0 &&
                       value.location + value.length <= tag.location + tag.length);
      ORVEL_FUZZ_CHECK(orvel::attributeOfTagCharacters(characters, tag, name).has_value());
    }
  }
  if (const auto content = orvel::contentAttributeOfTagCharacters(characters, tag)) {
    ORVEL_FUZZ_CHECK(!content->empty() && content->size() < tag.length);
    static_cast<void>(orvel::_copyOfAttributeOfString(*content, "CHARSET", u'\'', true, u';'));
    static_cast<void>(orvel::_copyOfAttributeOfString(*content, "URL", u'\'', false, 0));
  }
  const std::u16string_view text(characters + tag.location, tag.length);
  static_cast<void>(
      orvel::_attributeOfStringWithName(text, 0, text.size(), u"color", 1, u':', u';'));
}

bool check(std::u16string_view string, const orvel::unichar* characters, std::size_t nameStart,
           std::size_t nameLength, std::size_t tagStart, std::size_t tagLength,
           std::size_t textStart, int kind, void* context) {
  auto* t = static_cast<Tiling*>(context);
  ORVEL_FUZZ_CHECK(!t->ended && string.size() == t->size);
  ORVEL_FUZZ_CHECK(textStart == t->covered && tagStart >= textStart);
  ORVEL_FUZZ_CHECK(tagStart + tagLength <= t->size);
  ORVEL_FUZZ_CHECK(kind >= orvel::kTagKindEnd && kind <= orvel::kTagKindSection);
  if (nameStart != orvel::NSNotFound) {
    ORVEL_FUZZ_CHECK(nameStart > tagStart && nameStart + nameLength < tagStart + tagLength);
  }
  if (kind == orvel::kTagKindTag) readAttributes(characters, orvel::Range{tagStart, tagLength});
  if (kind == orvel::kTagKindEnd) {
    ORVEL_FUZZ_CHECK(tagStart == t->size && tagLength == 0);
    t->ended = true;
  }
  t->covered = tagStart + tagLength;
  return ++t->calls == t->stopAt;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::u16string text = orvel::fuzz::unitsOf(orvel::fuzz::bytesOf(data, size));
  for (const bool isMutable : {false, true}) {
    Tiling tiling{text.size(), 0, 0, 0, false};
    const bool scanned = orvel::GetTagsOfString(text, check, &tiling, isMutable);
    ORVEL_FUZZ_CHECK(scanned == !text.empty());
    if (scanned) ORVEL_FUZZ_CHECK(tiling.ended && tiling.covered == text.size());
  }
  Tiling stopping{text.size(), 0, 0, 2, false};
  orvel::GetTagsOfString(text, check, &stopping, false);
  ORVEL_FUZZ_CHECK(stopping.calls <= 2);
  return 0;
}
