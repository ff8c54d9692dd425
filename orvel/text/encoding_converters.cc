#include "orvel/text/encoding_converters.h"

#include <memory>

#include <unicode/ucnv.h>
#include <unicode/ucnv_cb.h>
#include <unicode/ucnv_err.h>

namespace orvel {
namespace {

struct ConverterCloser {
  void operator()(UConverter* converter) const { ucnv_close(converter); }
};
using ConverterPtr = std::unique_ptr<UConverter, ConverterCloser>;

// Opens a converter that stops at the first invalid sequence in either direction.
ConverterPtr openStrictConverter(const char* name, UErrorCode* status) {
  ConverterPtr converter(ucnv_open(name, status));
  if (U_FAILURE(*status)) return nullptr;
  ucnv_setToUCallBack(converter.get(), UCNV_TO_U_CALLBACK_STOP, nullptr, nullptr, nullptr, status);
  ucnv_setFromUCallBack(converter.get(), UCNV_FROM_U_CALLBACK_STOP, nullptr, nullptr, nullptr,
                        status);
  if (U_FAILURE(*status)) return nullptr;
  return converter;
}

// A to-Unicode callback that writes U+FFFD for every bad sequence, unmapped ones included
// (ICU's own substitution writes U+001A for those in some single-byte encodings).
void substituteReplacementCharacter(const void*, UConverterToUnicodeArgs* args, const char*,
                                    std::int32_t, UConverterCallbackReason reason,
                                    UErrorCode* status) {
  if (reason != UCNV_UNASSIGNED && reason != UCNV_ILLEGAL && reason != UCNV_IRREGULAR) return;
  static constexpr UChar kReplacement = 0xFFFD;
  *status = U_ZERO_ERROR;
  ucnv_cbToUWriteUChars(args, &kReplacement, 1, 0, status);
}

struct SharedConverters {
  ConverterPtr utf8ToUnicode;
  ConverterPtr unicodeToUtf8;
};

thread_local SharedConverters sharedConverters;

// Converts bytes to units with `converter`, from its initial state.
UErrorCode toUnicode(UConverter* converter, const std::uint8_t* source, std::size_t sourceLength,
                     unichar* destination, std::size_t destinationCapacity,
                     std::size_t* unitsWritten) {
  ucnv_resetToUnicode(converter);
  UErrorCode status = U_ZERO_ERROR;
  const char* in = reinterpret_cast<const char*>(source);
  UChar* out = reinterpret_cast<UChar*>(destination);
  ucnv_toUnicode(converter, &out, out + destinationCapacity, &in, in + sourceLength, nullptr, true,
                 &status);
  if (unitsWritten != nullptr) {
    *unitsWritten = static_cast<std::size_t>(out - reinterpret_cast<UChar*>(destination));
  }
  return status;
}

UErrorCode fromUnicode(UConverter* converter, const unichar* source, std::size_t sourceLength,
                       std::uint8_t* destination, std::size_t destinationCapacity,
                       std::size_t* bytesWritten) {
  ucnv_resetFromUnicode(converter);
  UErrorCode status = U_ZERO_ERROR;
  const UChar* in = reinterpret_cast<const UChar*>(source);
  char* out = reinterpret_cast<char*>(destination);
  ucnv_fromUnicode(converter, &out, out + destinationCapacity, &in, in + sourceLength, nullptr,
                   true, &status);
  if (bytesWritten != nullptr) {
    *bytesWritten = static_cast<std::size_t>(out - reinterpret_cast<char*>(destination));
  }
  return status;
}

// ICU reports warnings as negative codes; only failures count.
std::int32_t statusOf(UErrorCode status) { return U_FAILURE(status) ? status : 0; }

}  // namespace

std::int32_t initUnicodeConverters() {
  if (sharedConverters.unicodeToUtf8) return 1;
  UErrorCode status = U_ZERO_ERROR;
  sharedConverters.utf8ToUnicode = openStrictConverter("UTF-8", &status);
  if (U_FAILURE(status)) return status;
  sharedConverters.unicodeToUtf8 = openStrictConverter("UTF-8", &status);
  return statusOf(status);
}

std::int32_t convertUTF8ToUnicode(const std::uint8_t* source, std::size_t sourceLength,
                                  unichar* destination, std::size_t destinationCapacity) {
  const std::int32_t opened = initUnicodeConverters();
  if (opened != 0 && opened != 1) return opened;
  return statusOf(toUnicode(sharedConverters.utf8ToUnicode.get(), source, sourceLength, destination,
                            destinationCapacity, nullptr));
}

std::int32_t convertUnicodeToUTF8(const unichar* source, std::size_t sourceLength,
                                  std::uint8_t* destination, std::size_t destinationCapacity) {
  const std::int32_t opened = initUnicodeConverters();
  if (opened != 0 && opened != 1) return opened;
  return statusOf(fromUnicode(sharedConverters.unicodeToUtf8.get(), source, sourceLength,
                              destination, destinationCapacity, nullptr));
}

std::int32_t convertEncodingToUnicode(const std::uint8_t* source, std::size_t sourceLength,
                                      CFStringEncoding encoding, unichar* destination,
                                      std::size_t destinationCapacity, std::size_t* unitsWritten) {
  *unitsWritten = 0;
  const char* name = icuConverterNameForCFStringEncoding(encoding);
  if (name == nullptr) return U_UNSUPPORTED_ERROR;
  UErrorCode status = U_ZERO_ERROR;
  ConverterPtr converter = openStrictConverter(name, &status);
  if (U_FAILURE(status)) return status;
  if (!converter) return 0;
  status = toUnicode(converter.get(), source, sourceLength, destination, destinationCapacity,
                     unitsWritten);
  return U_SUCCESS(status) ? 1 : 0;
}

std::optional<std::u16string> decodeStringLeniently(std::string_view bytes,
                                                    CFStringEncoding encoding) {
  const char* name = icuConverterNameForCFStringEncoding(encoding);
  if (name == nullptr) return std::nullopt;
  UErrorCode status = U_ZERO_ERROR;
  ConverterPtr converter(ucnv_open(name, &status));
  if (U_FAILURE(status)) return std::nullopt;
  ucnv_setToUCallBack(converter.get(), substituteReplacementCharacter, nullptr, nullptr, nullptr,
                      &status);
  if (U_FAILURE(status)) return std::nullopt;
  // One unit per byte is enough for nearly every encoding; grown when it is not.
  std::u16string text(bytes.size() + 16, u'\0');
  std::size_t written = 0;
  const char* in = bytes.data();
  const char* const end = bytes.data() + bytes.size();
  for (;;) {
    status = U_ZERO_ERROR;
    UChar* const start = reinterpret_cast<UChar*>(text.data());
    UChar* out = start + written;
    ucnv_toUnicode(converter.get(), &out, start + text.size(), &in, end, nullptr, true, &status);
    written = static_cast<std::size_t>(out - start);
    if (status != U_BUFFER_OVERFLOW_ERROR) break;
    text.resize(text.size() * 2);
  }
  if (U_FAILURE(status)) return std::nullopt;
  text.resize(written);
  return text;
}

std::optional<std::vector<std::uint8_t>> encodeString(std::u16string_view string,
                                                      CFStringEncoding encoding) {
  const char* name = icuConverterNameForCFStringEncoding(encoding);
  if (name == nullptr) return std::nullopt;
  UErrorCode status = U_ZERO_ERROR;
  ConverterPtr converter = openStrictConverter(name, &status);
  if (!converter) return std::nullopt;
  // ICU's own bound (UCNV_GET_MAX_BYTES_FOR_STRING), computed without its 32-bit limit:
  // the longest character, times the units plus room for state-shift sequences.
  const auto maxCharSize = static_cast<std::size_t>(ucnv_getMaxCharSize(converter.get()));
  std::vector<std::uint8_t> bytes((string.size() + 10) * maxCharSize);
  std::size_t written = 0;
  status = fromUnicode(converter.get(), string.data(), string.size(), bytes.data(), bytes.size(),
                       &written);
  if (U_FAILURE(status)) return std::nullopt;
  bytes.resize(written);
  return bytes;
}

}  // namespace orvel
