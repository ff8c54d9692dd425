// Character-set names as markup declares them (`charset=windows-1252`,
// `encoding="ISO-8859-1"`) to encoding numbers.
//
// A name is reduced to its letters and digits, lower-cased ("ISO-8859-1" is "iso88591");
// under 3 units it is unknown. When it holds a digit, the number at its first digit is
// looked up first (437, 850 ... 1250 ... 1258, 8859-n and its common typing variants, 2022
// for the ISO-2022-JP family, ...); then the name rules, in order: windows, mac..., latin...,
// iso, visual, the Kamenicky and KOI8-CS2 names, ascii, utf7 (read as ASCII), gb2312, gbk,
// gb18030, utf8 and its misspellings, utf16, Shift_JIS, koi8, big5, the EUC family, KS C
// 5601, language codes given in place of a charset (enus, engb: UTF-8), none (ASCII).
#pragma once

#include <optional>
#include <string_view>

#include "orvel/text/cf_encodings.h"

namespace orvel {

// Encodings without a CoreFoundation number of their own.
inline constexpr CFStringEncoding kKamenickyEncoding = 40961;  // 0xA001
inline constexpr CFStringEncoding kKOI8CS2Encoding = 40962;    // 0xA002
// Their Foundation numbers.
inline constexpr NSStringEncoding kKamenickyNSStringEncoding = 0xFFFFFFF0;
inline constexpr NSStringEncoding kKOI8CS2NSStringEncoding = 0xFFFFFFF1;
inline constexpr NSStringEncoding kNSStringEncodingInvalid = 0xFFFFFFFF;

// The CoreFoundation number of a charset name; kCFStringEncodingInvalidId when unknown or
// missing.
[[nodiscard]] CFStringEncoding charset2CFStringEncoding(std::optional<std::u16string_view> name);
[[nodiscard]] inline CFStringEncoding CFEncodingFromName(std::u16string_view name) {
  return charset2CFStringEncoding(name);
}

// The Foundation number: Shift_JIS is 8, the two private numbers become 0xFFFFFFF0 and
// 0xFFFFFFF1, other known encodings that have a converter here are converted;
// 0xFFFFFFFF otherwise, logged as "Unknown/Unsupported encoding: NAME" unless the name is
// missing, empty, "auto" (any case) or one of "/", "0", "<", ">" (debris of broken
// attributes).
[[nodiscard]] NSStringEncoding charset2NSStringEncoding(std::optional<std::u16string_view> name);
[[nodiscard]] inline NSStringEncoding NSEncodingFromName(std::u16string_view name) {
  return charset2NSStringEncoding(name);
}

}  // namespace orvel
