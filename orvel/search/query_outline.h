// A tree as an outline, one node per line, for people and tests:
//   group op=OP common=OP dist=D
//     word "TEXT" op=OP dist=D
//     phrase "TEXT" op=OP dist=D
// each followed by " not" and " sub" when set; two spaces of indent per level; OP is the
// upper-case operator name (NONE for QueryOperatorNone), D is "max" for NSIntegerMax.
#pragma once

#include <string>
#include <string_view>

#include "orvel/search/query_terms.h"

namespace orvel {

[[nodiscard]] std::u16string_view queryOperatorName(QueryOperator queryOperator);
[[nodiscard]] std::u16string queryTreeOutline(const QueryTerms& tree);

}  // namespace orvel
