#include "tools/orvel/document_text.h"

#include <filesystem>

#include "orvel/formats/markdown_files.h"

#include "tools/orvel/command_support.h"

namespace orvel::cli {

std::u16string readDocumentText(const std::string& input) {
  if (input != "-" && isTextBundleFile(input)) {
    DocumentText bundle = textBundleDocumentText(input);
    if (!bundle.text) throw CommandError(input, bundle.notTextReason);
    return std::move(*bundle.text);
  }
  const std::filesystem::path path =
      input == "-" ? std::filesystem::path() : std::filesystem::path(input);
  const std::string bytes = readAll(input, [&](std::string_view first) {
    return whyNotDocument(first, documentKind(path, first));
  });
  DocumentText document = documentText(bytes, documentKind(path, bytes));
  if (!document.text) throw CommandError(displayName(input), document.notTextReason);
  return std::move(*document.text);
}

WebPage readWebPageInput(const std::string& input) {
  WebPage page = readWebPage(readAll(
      input, [](std::string_view first) { return whyNotMarkup(webPageText(first)).value_or(""); }));
  if (const auto why = whyNotMarkup(page.text)) throw CommandError(displayName(input), *why);
  return page;
}

}  // namespace orvel::cli
