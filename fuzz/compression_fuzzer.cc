// zlib and gzip inflation of any bytes, with an output limit: never more output than the
// limit, and a stream that inflates deflates and inflates back to the same bytes.
#include <cstdint>
#include <span>

#include "orvel/records/compression.h"

#include "fuzz/fuzz_support.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  constexpr std::size_t kLimit = 1 << 20;
  const std::span<const std::uint8_t> input(data, size);
  std::vector<std::uint8_t> output;
  const bool inflated = orvel::setDataByInflating(output, input, kLimit);
  ORVEL_FUZZ_CHECK(output.size() <= kLimit);
  if (!inflated || output.empty()) return 0;
  for (const bool gzip : {false, true}) {
    const auto again =
        gzip ? orvel::dataByGzippingData(output, 1) : orvel::dataByDeflatingData(output);
    ORVEL_FUZZ_CHECK(again.has_value());
    ORVEL_FUZZ_CHECK(orvel::dataByInflatingData(*again) == output);
  }
  return 0;
}
