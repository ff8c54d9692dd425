#include "orvel/markup/markup_file_types.h"

#include <algorithm>

#include "orvel/base/file_extension.h"
#include "orvel/text/conversion_tables.h"

namespace orvel {
namespace {

std::vector<std::u16string> inBothCases(std::initializer_list<std::u16string_view> names) {
  const ConversionTable upper = initUpperCharsTable();
  std::vector<std::u16string> types;
  for (const std::u16string_view name : names) {
    std::u16string upperName(name);
    for (unichar& c : upperName) c = upper[c];
    types.emplace_back(name);
    types.push_back(upperName);
  }
  return types;
}

bool equalsIgnoringCase(std::u16string_view a, std::u16string_view b) {
  const ConversionTable upper = initUpperCharsTable();
  return a.size() == b.size() &&
         std::equal(a.begin(), a.end(), b.begin(),
                    [upper](unichar x, unichar y) { return upper[x] == upper[y]; });
}

bool isAmong(std::u16string_view extension, std::initializer_list<std::u16string_view> names) {
  return std::any_of(names.begin(), names.end(), [extension](std::u16string_view name) {
    return equalsIgnoringCase(extension, name);
  });
}

constexpr std::initializer_list<std::u16string_view> kHTMLNames = {
    u"html", u"htm",  u"shtml", u"shtm", u"xhtml", u"xhtm", u"phtml", u"mhtml", u"jhtml",
    u"php",  u"php3", u"php4",  u"php5", u"asp",   u"aspx", u"jsp",   u"cfm",   u"cgi"};

}  // namespace

const std::vector<std::u16string>& HTMLFileTypes() {
  static const std::vector<std::u16string> types = inBothCases(kHTMLNames);
  return types;
}

bool isHTMLExtension(std::optional<std::u16string_view> extension) {
  if (!extension) return false;
  const std::u16string_view cut = extension->substr(0, extension->find(u'?'));
  return isAmong(cut, kHTMLNames);
}

bool isHTMLFile(const std::filesystem::path& path) {
  return isHTMLExtension(fileExtensionUnits(path));
}

const std::vector<std::u16string>& XMLFileTypes() {
  static const std::vector<std::u16string> types = [] {
    auto both = inBothCases({u"xml", u"xsl", u"xslt", u"xsd", u"dtd", u"ent", u"sgm", u"sgml",
                             u"wml", u"xbl", u"opml", u"tbx", u"sdef", u"wsdl"});
    for (const auto* lower : {u"rss", u"rdf", u"rsd", u"idata", u"xmloutline", u"ooutline"}) {
      both.emplace_back(lower);
    }
    return both;
  }();
  return types;
}

bool isXMLExtension(std::optional<std::u16string_view> extension) {
  if (!extension || extension->size() < 3 || extension->size() > 10) return false;
  return isAmong(*extension,
                 {u"XML",  u"XSL",  u"ENT",  u"WML",  u"DTD",   u"SGM",      u"XBL",
                  u"RSS",  u"RDF",  u"RSD",  u"TBX",  u"XSD",   u"SGML",     u"OPML",
                  u"SHTM", u"XSLT", u"SDEF", u"WSDL", u"IDATA", u"OOUTLINE", u"XMLOUTLINE"});
}

bool isXMLFile(const std::filesystem::path& path) {
  return isXMLExtension(fileExtensionUnits(path));
}

bool isTagOpenCharacters(const unichar* characters, Range range) {
  return characters != nullptr && range.length >= 3 && characters[range.location + 1] != u'/';
}

bool isTagClosedCharacters(const unichar* characters, Range range) {
  return characters != nullptr && range.length >= 4 &&
         (characters[range.location + 1] == u'/' ||
          characters[range.location + range.length - 2] == u'/');
}

bool isMetaTag(std::u16string_view tag) {
  return tag.size() >= 7 && tag[1] == u'!' && tag[2] == u'[';
}

bool isRemarkTag(std::u16string_view tag) {
  return tag.size() >= 7 && tag[1] == u'!' && tag[2] == u'-';
}

}  // namespace orvel
