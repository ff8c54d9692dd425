// The site's own files (the search page, its help, style sheet and script, written as
// files beside this code and built into the program) and the frame every page shares.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace orvel::serve {

// A built-in file by name ("search.html", "help.html", "style.css", "app.js").
[[nodiscard]] std::optional<std::string_view> pageAsset(std::string_view name);

// A whole page: the shared head (style sheet and script of the site's own, nothing from
// elsewhere), a header with the title and `headerLinks` (HTML), then `body` (HTML).
[[nodiscard]] std::string pageHtml(std::string_view title, std::string_view bodyClass,
                                   std::string_view headerLinks, std::string_view body);

// Text escaped for HTML: & < > " ' as references.
[[nodiscard]] std::string escapeHtml(std::string_view text);

// Text percent-encoded for a URL's query value: everything but letters, digits and
// "-._~/" is escaped.
[[nodiscard]] std::string encodeQueryValue(std::string_view text);

}  // namespace orvel::serve
