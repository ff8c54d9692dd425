// The SHA-1 compression function over whole 64-byte blocks, in two implementations: a
// portable one and one using the x86 SHA extensions, chosen once at run time.
#pragma once

#include <cstddef>
#include <cstdint>

namespace orvel::internal {

void sha1BlocksPortable(std::uint32_t state[5], const std::uint8_t* blocks, std::size_t count);

// Whether this CPU can run sha1BlocksShaNi.
[[nodiscard]] bool sha1ShaNiSupported();
void sha1BlocksShaNi(std::uint32_t state[5], const std::uint8_t* blocks, std::size_t count);

// The fastest implementation this CPU supports.
void sha1Blocks(std::uint32_t state[5], const std::uint8_t* blocks, std::size_t count);

}  // namespace orvel::internal
