// The integer at the start of a text, as the platform's integerValue reads it.
#pragma once

#include <cstddef>
#include <string_view>

namespace orvel {

// Leading white space, an optional sign, then decimal digits up to the first other unit;
// 0 when there are none, NSIntegerMax (or its negation) when they overflow.
[[nodiscard]] std::ptrdiff_t integerValue(std::u16string_view text);

}  // namespace orvel
