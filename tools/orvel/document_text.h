// Reading documents for the commands: the text of an input named on the command line, with
// errors as the commands report them. The kinds of documents and how each is read are the
// library's (orvel/formats/documents.h).
#pragma once

#include <string>

#include "orvel/formats/documents.h"
#include "orvel/markup/web_page.h"

namespace orvel::cli {

// The text of an input (a FILE, or stdin for "-") by the rules above; throws CommandError
// naming it when it cannot be read or is not text (told by its first bytes when they can).
[[nodiscard]] std::u16string readDocumentText(const std::string& input);

// A web page or feed given as an input, read in its own encoding; throws CommandError naming
// it when it cannot be read or is binary (told by its first bytes).
[[nodiscard]] WebPage readWebPageInput(const std::string& input);

}  // namespace orvel::cli
