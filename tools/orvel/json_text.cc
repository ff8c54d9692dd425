#include "tools/orvel/json_text.h"

#include "orvel/base/utf8.h"

namespace orvel::cli {

void appendJsonString(std::string& out, std::string_view utf8) {
  if (!isValidUtf8(utf8)) return appendJsonString(out, utf16ToUtf8(utf8ToUtf16Lenient(utf8)));
  static constexpr char kHex[] = "0123456789abcdef";
  out += '"';
  std::size_t run = 0;  // the start of the bytes written as they are
  for (std::size_t k = 0; k < utf8.size(); ++k) {
    const auto byte = static_cast<unsigned char>(utf8[k]);
    if (byte >= 0x20 && byte != '"' && byte != '\\') continue;
    out.append(utf8.substr(run, k - run));
    run = k + 1;
    out += '\\';
    switch (byte) {
      case '"': out += '"'; break;
      case '\\': out += '\\'; break;
      case '\b': out += 'b'; break;
      case '\t': out += 't'; break;
      case '\n': out += 'n'; break;
      case '\f': out += 'f'; break;
      case '\r': out += 'r'; break;
      default:
        out += "u00";
        out += kHex[byte >> 4];
        out += kHex[byte & 15];
    }
  }
  out.append(utf8.substr(run));
  out += '"';
}

}  // namespace orvel::cli
