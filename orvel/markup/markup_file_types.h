// Which files hold markup, by their extension, and quick tests on one tag's characters.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "orvel/base/range.h"
#include "orvel/base/types.h"

namespace orvel {

// html, htm, shtml, shtm, xhtml, xhtm, phtml, mhtml, jhtml, php, php3, php4, php5, asp,
// aspx, jsp, cfm, cgi, each in lower and upper case.
[[nodiscard]] const std::vector<std::u16string>& HTMLFileTypes();
// An extension (cut at its first "?") among them, in any case.
[[nodiscard]] bool isHTMLExtension(std::optional<std::u16string_view> extension);
[[nodiscard]] bool isHTMLFile(const std::filesystem::path& path);

// xml, xsl, xslt, xsd, dtd, ent, sgm, sgml, wml, xbl, opml, tbx, sdef, wsdl (both cases);
// rss, rdf, rsd, idata, xmloutline, ooutline (lower case).
[[nodiscard]] const std::vector<std::u16string>& XMLFileTypes();
// 3 to 10 units, in any case: the XML types above, and shtm as well (as it always was).
[[nodiscard]] bool isXMLExtension(std::optional<std::u16string_view> extension);
[[nodiscard]] bool isXMLFile(const std::filesystem::path& path);

// An opening tag: at least 3 units, the unit after "<" not "/".
[[nodiscard]] bool isTagOpenCharacters(const unichar* characters, Range range);
// A closing or self-closing tag: at least 4 units, "/" after "<" or before ">".
[[nodiscard]] bool isTagClosedCharacters(const unichar* characters, Range range);
[[nodiscard]] inline bool isTagOpen(std::u16string_view tag) {
  return isTagOpenCharacters(tag.data(), Range{0, tag.size()});
}
[[nodiscard]] inline bool isTagClosed(std::u16string_view tag) {
  return isTagClosedCharacters(tag.data(), Range{0, tag.size()});
}
// "<![" and "<!-" pieces of at least 7 units.
[[nodiscard]] bool isMetaTag(std::u16string_view tag);
[[nodiscard]] bool isRemarkTag(std::u16string_view tag);

}  // namespace orvel
