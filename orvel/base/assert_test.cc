#include "orvel/base/assert.h"

#include <gtest/gtest.h>

#include "orvel/base/range.h"

namespace orvel {
namespace {

TEST(AssertDeathTest, FailedAssertionPrintsFileLineAndConditionThenAborts) {
  const int two = 2;
  EXPECT_DEATH(ORVEL_ASSERT(two == 3), "assert_test.cc:[0-9]+: Failed debug assertion `two == 3'");
  ORVEL_ASSERT(two == 2);  // a holding condition costs nothing and says nothing
}

TEST(RangeTest, ContainsItsUnitsOnly) {
  const Range range{5, 3};
  EXPECT_FALSE(range.contains(4));
  EXPECT_TRUE(range.contains(5));
  EXPECT_TRUE(range.contains(7));
  EXPECT_FALSE(range.contains(8));
  EXPECT_EQ(range.end(), 8u);
  EXPECT_FALSE(Range{}.contains(0));
  EXPECT_FALSE(Range::notFound().found());
  EXPECT_EQ(Range::notFound(), (Range{NSNotFound, 0}));
}

}  // namespace
}  // namespace orvel
