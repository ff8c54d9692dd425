// The C entry points of the tag scanner. The C handler sees the units and their count
// where the C++ one sees a string view of them; everything else passes through.
#include "orvel/c/tag_scanner.h"

#include <string_view>

#include "orvel/markup/tag_attributes.h"
#include "orvel/markup/tag_scanner.h"

namespace {

struct CHandler {
  orvel_tag_handler handler;
  void* context;
};

bool forwardToCHandler(std::u16string_view string, const orvel::unichar* characters,
                       std::size_t nameStart, std::size_t nameLength, std::size_t tagStart,
                       std::size_t tagLength, std::size_t textStart, int kind, void* context) {
  const auto* target = static_cast<const CHandler*>(context);
  return target->handler(characters, string.size(), nameStart, nameLength, tagStart, tagLength,
                         textStart, kind, target->context);
}

}  // namespace

extern "C" {

bool GetTagsOfCharacters(const orvel_unichar* characters, size_t length, orvel_tag_handler handler,
                         void* context) {
  if (characters == nullptr || length == 0 || handler == nullptr) return false;
  CHandler target{handler, context};
  return orvel::parseXmlWithHandler(std::u16string_view{characters, length}, forwardToCHandler,
                                    &target, false);
}

orvel_range rangeOfAttributeOfTagCharacters(const orvel_unichar* characters, orvel_range tag,
                                            const char* name) {
  if (characters == nullptr || name == nullptr) return {ORVEL_NOT_FOUND, 0};
  const orvel::Range value =
      orvel::rangeOfAttributeOfTagCharacters(characters, {tag.location, tag.length}, name);
  return {value.location, value.length};
}

}  // extern "C"
