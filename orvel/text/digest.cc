#include "orvel/text/digest.h"

#include <algorithm>
#include <cstddef>
#include <limits>

#include "orvel/text/encoding_converters.h"
#include "orvel/text/isc_md5.h"
#include "orvel/text/isc_sha1.h"

namespace orvel {
namespace {

// Feeds data of any length to an update function that takes 32-bit lengths.
template <typename Context, typename Update>
void updateInPieces(Context* context, Update update, std::span<const std::uint8_t> data) {
  constexpr std::size_t kPiece = std::numeric_limits<std::uint32_t>::max() & ~std::size_t{63};
  while (!data.empty()) {
    const std::size_t take = std::min(kPiece, data.size());
    update(context, data.data(), static_cast<std::uint32_t>(take));
    data = data.subspan(take);
  }
}

}  // namespace

std::vector<std::uint8_t> MD5Digest(std::span<const std::uint8_t> data) {
  isc_md5_t context;
  isc_md5_init(&context);
  updateInPieces(&context, isc_md5_update, data);
  std::vector<std::uint8_t> digest(ISC_MD5_DIGESTLENGTH);
  isc_md5_final(&context, digest.data());
  return digest;
}

std::vector<std::uint8_t> SHA1Digest(std::span<const std::uint8_t> data) {
  isc_sha1_t context;
  isc_sha1_init(&context);
  updateInPieces(&context, isc_sha1_update, data);
  std::vector<std::uint8_t> digest(ISC_SHA1_DIGESTLENGTH);
  isc_sha1_final(&context, digest.data());
  return digest;
}

std::u16string hexStringValue(std::span<const std::uint8_t> data) {
  static constexpr char16_t kDigits[] = u"0123456789abcdef";
  std::u16string hex(2 * data.size(), u'0');
  for (std::size_t i = 0; i < data.size(); ++i) {
    hex[2 * i] = kDigits[data[i] >> 4];
    hex[2 * i + 1] = kDigits[data[i] & 15];
  }
  return hex;
}

std::u16string MD5DigestStringValue(std::span<const std::uint8_t> data) {
  return hexStringValue(MD5Digest(data));
}

std::u16string SHA1DigestStringValue(std::span<const std::uint8_t> data) {
  return hexStringValue(SHA1Digest(data));
}

std::optional<std::u16string> saltedHash(std::u16string_view string, std::u16string_view salt,
                                         NSStringEncoding encoding) {
  if (string.empty()) return std::nullopt;
  std::u16string salted(string);
  salted.append(salt);
  const auto bytes = encodeString(salted, cfStringEncodingFromNSStringEncoding(encoding));
  if (!bytes) return std::nullopt;
  return SHA1DigestStringValue(*bytes);
}

}  // namespace orvel
