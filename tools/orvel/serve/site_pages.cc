#include "tools/orvel/serve/site_pages.h"

namespace orvel::serve {

std::string pageHtml(std::string_view title, std::string_view bodyClass,
                     std::string_view headerLinks, std::string_view body) {
  std::string html =
      "<!doctype html>\n<html lang=\"en\"><head><meta charset=\"utf-8\">"
      "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">"
      "<meta name=\"color-scheme\" content=\"light dark\"><title>";
  html += escapeHtml(title);
  html +=
      " · orvel</title><link rel=\"stylesheet\" href=\"/style.css\">"
      "<script src=\"/app.js\" defer></script></head><body class=\"";
  html += bodyClass;
  html += "\"><header class=\"bar\"><span class=\"mark\">orvel</span><h1>";
  html += escapeHtml(title);
  html += "</h1>";
  html += headerLinks;
  html += "</header><main>";
  html += body;
  return html + "</main></body></html>\n";
}

std::string escapeHtml(std::string_view text) {
  std::string html;
  html.reserve(text.size());
  for (const char c : text) {
    switch (c) {
      case '&': html += "&amp;"; break;
      case '<': html += "&lt;"; break;
      case '>': html += "&gt;"; break;
      case '"': html += "&quot;"; break;
      case '\'': html += "&#39;"; break;
      default: html += c;
    }
  }
  return html;
}

std::string encodeQueryValue(std::string_view text) {
  static constexpr char kHex[] = "0123456789ABCDEF";
  std::string encoded;
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if ((byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z') ||
        (byte >= '0' && byte <= '9') || c == '-' || c == '.' || c == '_' || c == '~' || c == '/') {
      encoded += c;
    } else {
      encoded += '%';
      encoded += kHex[byte >> 4];
      encoded += kHex[byte & 15];
    }
  }
  return encoded;
}

}  // namespace orvel::serve
