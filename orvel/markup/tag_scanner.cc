#include "orvel/markup/tag_scanner.h"

#include <string>

#include "orvel/markup/internal/tag_scanner_pass.h"
#include "orvel/text/conversion_tables.h"

namespace orvel {
namespace {

// A TagHandler and its context as the pass calls them.
struct PointerHandler {
  TagHandler handler;
  void* context;
  bool operator()(std::u16string_view string, const unichar* characters, std::size_t nameStart,
                  std::size_t nameLength, std::size_t tagStart, std::size_t tagLength,
                  std::size_t textStart, int kind) const {
    return handler(string, characters, nameStart, nameLength, tagStart, tagLength, textStart, kind,
                   context);
  }
};

}  // namespace

bool GetTagsOfString(std::optional<std::u16string_view> string, TagHandler handler, void* context,
                     bool isMutable) {
  if (!string || string->empty()) return false;
  static_cast<void>(initLowerCharsTable());
  static_cast<void>(initUpperCharsTable());
  std::u16string copy;
  const unichar* characters = string->data();
  if (isMutable) {
    copy.assign(*string);
    characters = copy.data();
  }
  PointerHandler pointer{handler, context};
  internal::scanTags(*string, characters, pointer);
  return true;
}

bool parseXmlWithHandler(std::u16string_view string, TagHandler handler, void* context,
                         bool isMutable) {
  return GetTagsOfString(string, handler, context, isMutable);
}

}  // namespace orvel
