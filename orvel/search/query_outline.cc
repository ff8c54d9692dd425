#include "orvel/search/query_outline.h"

#include <string>

namespace orvel {
namespace {

std::u16string distanceText(std::ptrdiff_t distance) {
  if (distance == NSIntegerMax) return u"max";
  const std::string digits = std::to_string(distance);
  return std::u16string(digits.begin(), digits.end());
}

void outline(const QueryTerms& node, std::size_t depth, std::u16string& text) {
  text.append(2 * depth, u' ');
  if (node.isWord()) {
    text += node.queryPhrase() ? u"phrase \"" : u"word \"";
    text += node.string();
    text += u"\"";
  } else {
    text += u"group";
  }
  text += u" op=";
  text += queryOperatorName(node.queryOperator());
  if (!node.isWord()) {
    text += u" common=";
    text += queryOperatorName(node.commonOperator());
  }
  text += u" dist=" + distanceText(node.proximityDistance());
  if (node.queryNot()) text += u" not";
  if (node.querySubstring()) text += u" sub";
  text += u'\n';
  for (const QueryTerms& child : node.children()) outline(child, depth + 1, text);
}

}  // namespace

std::u16string_view queryOperatorName(QueryOperator queryOperator) {
  static constexpr std::u16string_view kNames[] = {u"AND",   u"OR",   u"XOR", u"NEAR", u"BEFORE",
                                                   u"AFTER", u"NEXT", u"OPT", u"NONE"};
  return queryOperator <= QueryOperatorNone ? kNames[queryOperator] : u"NONE";
}

std::u16string queryTreeOutline(const QueryTerms& tree) {
  std::u16string text;
  outline(tree, 0, text);
  return text;
}

}  // namespace orvel
