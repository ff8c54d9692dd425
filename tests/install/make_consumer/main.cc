// Lists the links of a page given on standard input, through the C++ headers of an
// installed copy; the markup and URL subsystems (uriparser underneath) are linked in.
#include <cstdio>
#include <iostream>
#include <iterator>
#include <string>

#include "orvel/base/utf8.h"
#include "orvel/url/page_links.h"

int main() {
  const std::string page{std::istreambuf_iterator<char>(std::cin), {}};
  const auto links = orvel::htmlLinksBaseURL(orvel::utf8ToUtf16Lenient(page));
  for (const std::u16string& link : links) std::printf("%s\n", orvel::utf16ToUtf8(link).c_str());
  return links.empty() ? 1 : 0;
}
