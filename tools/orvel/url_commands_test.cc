// orvel url, run as a user runs it.
#include <string>

#include <gtest/gtest.h>

#include "tools/orvel/cli_test_support.h"

namespace orvel {
namespace {

TEST(UrlCommandTest, CleanAndRelFromArgumentsOrLines) {
  expectSuccess(orvel({"url", "clean", "\\\"/path/x\\\"", "/a%20%22", "\"\""}), "/path/x\n/a\n-\n");
  expectSuccess(orvel({"url", "clean"}, "http://a.org/x\r\n  /y&amp;z  \n"),
                "http://a.org/x\n/y&z\n");
  expectSuccess(orvel({"url", "clean", "--decode-percent", "/caf%C3%A9"}), "/café\n");
  expectSuccess(orvel({"url", "rel", "img/a.png", "../b.png"}), "/img/a.png\n../b.png\n");
}

TEST(UrlCommandTest, FilterAndRemoteAnswerYesOrNo) {
  expectSuccess(orvel({"url", "filter", "mailto:x@y.org", "page.html", "#"}), "yes\nno\nyes\n");
  expectSuccess(orvel({"url", "remote", "https://a.org", "www.a.org", "/local", "http://a...b/"}),
                "yes\nyes\nno\nno\n");
  EXPECT_EQ(orvel({"url", "clean"}, "bad \xFF").exitCode, 1);
  EXPECT_EQ(orvel({"url"}).exitCode, 2);
}

}  // namespace
}  // namespace orvel
