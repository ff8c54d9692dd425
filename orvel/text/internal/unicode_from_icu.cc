#include "orvel/text/internal/unicode_from_icu.h"

#include <unicode/uchar.h>
#include <unicode/unorm2.h>
#include <unicode/ustring.h>
#include <unicode/utf16.h>

namespace orvel::internal {
namespace {

bool inCategories(unichar c, std::uint32_t mask) { return (U_GET_GC_MASK(c) & mask) != 0; }

unichar lowerEntry(unichar c) {
  return inCategories(c, U_GC_LU_MASK | U_GC_LT_MASK) ? lowerCaseFromIcu(c) : c;
}
unichar upperEntry(unichar c) { return inCategories(c, U_GC_LL_MASK) ? upperCaseFromIcu(c) : c; }

template <int32_t (*CaseMap)(UChar*, int32_t, const UChar*, int32_t, const char*, UErrorCode*)>
unichar mapCase(unichar c) {
  UChar mapped[8];
  UErrorCode status = U_ZERO_ERROR;
  const UChar source = c;
  const int32_t length = CaseMap(mapped, 8, &source, 1, "", &status);
  return (U_SUCCESS(status) && length == 1) ? mapped[0] : c;
}

}  // namespace

UnicodeEntry unicodeEntryFromIcu(unichar c) {
  const unichar umlauts =
      inCategories(c, U_GC_L_MASK | U_GC_M_MASK) ? withoutDiacriticsFromIcu(c) : c;
  return UnicodeEntry{generalCategoryFromIcu(c), lowerEntry(c),      upperEntry(c), umlauts,
                      lowerEntry(umlauts),       upperEntry(umlauts)};
}

std::uint8_t generalCategoryFromIcu(unichar c) { return static_cast<std::uint8_t>(u_charType(c)); }

unichar lowerCaseFromIcu(unichar c) { return mapCase<u_strToLower>(c); }
unichar upperCaseFromIcu(unichar c) { return mapCase<u_strToUpper>(c); }

unichar withoutDiacriticsFromIcu(unichar c) {
  UErrorCode status = U_ZERO_ERROR;
  static const UNormalizer2* nfd = unorm2_getNFDInstance(&status);
  if (nfd == nullptr) return c;
  UChar decomposition[32];
  int32_t length = unorm2_getDecomposition(nfd, c, decomposition, 32, &status);
  if (U_FAILURE(status)) return c;
  if (length < 0) {
    decomposition[0] = c;
    length = 1;
  }
  unichar kept = 0;
  int keptCount = 0;
  for (int32_t i = 0; i < length;) {
    const int32_t start = i;
    UChar32 cp;
    U16_NEXT(decomposition, i, length, cp);
    if (U_GET_GC_MASK(cp) & U_GC_M_MASK) continue;
    keptCount += i - start;
    kept = decomposition[start];
  }
  return keptCount == 1 ? kept : c;
}

}  // namespace orvel::internal
