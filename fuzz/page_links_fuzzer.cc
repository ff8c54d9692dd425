// Links and frames of any page: every list holds each link once and no empty one, the
// filtered forms answer as the plain ones, the handler form keeps a subset, and the head
// fields are read without fault.
#include <cstdint>
#include <set>
#include <string>
#include <vector>

#include "orvel/url/page_links.h"

#include "fuzz/fuzz_support.h"

namespace {

void checkUnique(const std::vector<std::u16string>& links) {
  const std::set<std::u16string> distinct(links.begin(), links.end());
  ORVEL_FUZZ_CHECK(distinct.size() == links.size());
  for (const std::u16string& link : links) ORVEL_FUZZ_CHECK(!link.empty());
}

bool everyLink(std::u16string_view, std::u16string_view, void*) { return true; }

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::u16string page = orvel::fuzz::unitsOf(orvel::fuzz::bytesOf(data, size));
  std::optional<orvel::URL> base;
  const auto links = orvel::htmlLinksBaseURL(page, &base);
  checkUnique(links);
  if (base) ORVEL_FUZZ_CHECK(base->isRemoteWebKitURL());
  ORVEL_FUZZ_CHECK(orvel::filteredHtmlLinksBaseURL(page) == links);
  int context = 0;
  const auto handled = orvel::htmlLinksBaseURL(page, nullptr, everyLink, &context);
  checkUnique(handled);
  checkUnique(orvel::htmlLinksContaining(page, u"a", true));
  orvel::PageFields fields;
  fields.wantFavIcon = fields.wantTitle = fields.wantRefresh = fields.wantRobots =
      fields.wantRevisit = true;
  checkUnique(orvel::htmlFramesBaseURL(page, &base, &fields));
  checkUnique(orvel::htmlLinksAndFramesBaseURL(page, nullptr, &fields));
  ORVEL_FUZZ_CHECK(!fields.frameset);
  static_cast<void>(orvel::htmlFavIcon(page));
  if (fields.revisit) ORVEL_FUZZ_CHECK(orvel::revisitAfter(*fields.revisit) >= 0);
  return 0;
}
