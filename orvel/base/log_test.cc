#include "orvel/base/log.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "orvel/testing/log_capture.h"

namespace orvel {
namespace {

using ::testing::ElementsAre;

TEST(LogTest, FormatsOneLinePerCallWithoutTrailingNewline) {
  testing::LogCapture capture;
  log("Invalid header at %lld", 1024LL);
  log("Failed fdopen: %s %d\n", "/tmp/x", 9);
  EXPECT_THAT(capture.lines(), ElementsAre("Invalid header at 1024", "Failed fdopen: /tmp/x 9"));
}

TEST(LogTest, LongLinesAreNotCut) {
  testing::LogCapture capture;
  const std::string longText(5000, 'x');
  log("%s!", longText.c_str());
  ASSERT_EQ(capture.lines().size(), 1u);
  EXPECT_EQ(capture.lines()[0], longText + "!");
}

}  // namespace
}  // namespace orvel
