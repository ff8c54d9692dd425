// Cleaning the links found in pages, feeds and pasted text, and deciding which to follow.
//
// Links arrive dirty: with line breaks, tabs, object-replacement characters, escaped quotes
// from scripts, entity references, trailing percent-escaped junk and surrounding quotes.
// normalizedStringURL takes all of that away; filterLink says which links cannot be
// followed as web pages (mail, script, chat and data links, this library's private
// schemes); isRemoteWebKitStringURL which name a remote web address.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "orvel/base/types.h"
#include "orvel/text/cf_encodings.h"

namespace orvel {

// The cleaned link, or nullopt when nothing usable remains. In order: line-break, tab,
// form-feed, U+0003, U+FFFC, U+2028, U+2029 and U+FEFF units are dropped; escaped quotes
// (\") around the whole link are removed, and backslashes become slashes unless the link
// has a query; numeric and markup entity references are decoded (links of 4 units or
// more); trailing escapes of junk (%09 %0A %0D %20 %22 %27 %3E %5C %5D) are cut; with
// decodePercentEscapes, percent escapes are decoded; white space is trimmed; and double
// quotes around the whole link are removed.
[[nodiscard]] std::optional<std::u16string> normalizedStringURL(std::u16string_view link,
                                                                bool decodePercentEscapes = false);

// The cleaned link made root-relative when it is relative ("img/a.png" -> "/img/a.png"); a
// link starting with "." or "/", or holding "://", as it is.
[[nodiscard]] std::optional<std::u16string> normalizedRelLink(std::u16string_view link);

// Whether a link is to be dropped: "#", "&", "-" or ":" alone; an opaque link (a scheme
// whose ":" is not followed by "/": mail, script, ...) unless it is a feed link; a link
// whose scheme is a chat, data, about, calendar, phone, script or manual scheme; and this
// library's private schemes (those starting "x-orvel", and "orveladdress:").
[[nodiscard]] bool filterLink(std::u16string_view link);

// Whether a link names a remote web address by its start: "http://", "https://",
// "feed://", "www." (and, with file-transfer schemes enabled, "ftp://", "ftps://",
// "sftp://", "ftp."), in any case; never below 5 units.
[[nodiscard]] bool isRemoteWebKitStringURL(std::u16string_view link);

// Whether ftp, ftps and sftp count as remote schemes. The platform this library comes from
// decides it by whether its web engine loads them; here it is a process-wide setting,
// enabled unless set otherwise.
[[nodiscard]] bool fileTransferSchemesEnabled();
void setFileTransferSchemesEnabled(bool enabled);

// Scheme tests by the link's start, in any case.
[[nodiscard]] bool isFeedStringURL(std::u16string_view link);         // feed: feeds:
[[nodiscard]] bool isDataStringURL(std::u16string_view link);         // data:
[[nodiscard]] bool isAboutStringURL(std::u16string_view link);        // about:
[[nodiscard]] bool isJavaScriptStringURL(std::u16string_view link);   // javascript:
[[nodiscard]] bool isAppleScriptStringURL(std::u16string_view link);  // applescript:
[[nodiscard]] bool isMailStringURL(std::u16string_view link);         // mailto: message:

// Decodes percent escapes in place: each run of escapes that spells well-formed UTF-8
// becomes its characters; escapes that do not stay as written. Answers the new length.
std::size_t convertPercentEscapesOfURL(unichar* units, std::size_t length);

// The link with the characters a URL may not hold percent-escaped, as bytes in `encoding`
// (non-ASCII characters, controls, space, " < > \ ^ ` { | }, and a "%" that starts no
// escape); nullopt when the encoding cannot hold a character or is unknown.
[[nodiscard]] std::optional<std::u16string> stringByAddingPercentEscapesToURL(
    std::u16string_view link, NSStringEncoding encoding = NSUTF8StringEncoding);

}  // namespace orvel
