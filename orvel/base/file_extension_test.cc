#include "orvel/base/file_extension.h"

#include <gtest/gtest.h>

namespace orvel {
namespace {

// The extension is what std::filesystem::path::extension() gives, without its dot.
TEST(FileExtensionTest, AgreesWithFilesystemPaths) {
  for (const char* path :
       {"a.txt", "/x/y/b.tar.gz", "dir.d/name", ".profile", "/x/.profile", ".", "..", "/x/..",
        "trailing.", "dir/", "a.b/c.MD", "noext", "/x.y/.z.html", "caf\xC3\xA9.t\xC3\xA9xt"}) {
    const std::string expected = std::filesystem::path(path).extension().string();
    EXPECT_EQ(fileExtension(path), expected.empty() ? "" : expected.substr(1)) << path;
  }
  EXPECT_EQ(fileExtensionUnits("/x/Page.HTML"), u"HTML");
}

}  // namespace
}  // namespace orvel
