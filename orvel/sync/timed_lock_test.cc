#include "orvel/sync/timed_lock.h"

#include <mutex>
#include <thread>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "orvel/testing/log_capture.h"

namespace orvel {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

// A clock the test moves: readings alternate between 0 and the wait, so that the wait comes
// out exact (a difference of two large times would not be).
double gTimes[2];
int gReading = 0;
double steppingClock() { return gTimes[gReading++ % 2]; }

void waitFor(double seconds) {
  gTimes[0] = 0.0;
  gTimes[1] = seconds;
  gReading = 0;
}

TEST(TimedLockTest, WaitsOverOneHundredthOfASecondAreLogged) {
  const testing::LogCapture log;
  TimedLock lock("store");
  lock.setClock(steppingClock);
  waitFor(0.01);
  { const std::lock_guard guard(lock); }
  waitFor(0.0101);
  { const std::unique_lock guard(lock); }
  EXPECT_THAT(log.lines(), ElementsAre("store locked for 0.010100s"));
  EXPECT_NEAR(lock.totalTime(), 0.0201, 1e-9);
  EXPECT_NEAR(lock.measureTime(), 0.0201, 1e-9);
  EXPECT_NEAR(lock.measureTime("all stores"), 0.0201, 1e-9);
  lock.resetTime();
  EXPECT_EQ(lock.totalTime(), 0.0);
  EXPECT_THAT(log.lines(), ElementsAre("store locked for 0.010100s", "store: 0.020100s",
                                       "all stores: 0.020100s"));
}

TEST(TimedLockTest, AnUncontendedLockLogsNothingAndCountsATinyWait) {
  const testing::LogCapture log;
  TimedLock lock;
  lock.lock();
  lock.unlock();
  EXPECT_GE(lock.totalTime(), 0.0);
  EXPECT_LT(lock.totalTime(), 0.01);
  EXPECT_THAT(log.lines(), IsEmpty());
  EXPECT_TRUE(lock.try_lock());
  lock.unlock();
  lock.setName("named");
  lock.measureTime();
  EXPECT_THAT(log.lines().back(), ::testing::StartsWith("named: 0.0"));
  TimedLock unnamed;
  unnamed.measureTime();
  EXPECT_EQ(log.lines().back(), "(null): 0.000000s");
}

TEST(TimedLockTest, AContendedLockCountsTheWait) {
  const testing::LogCapture log;
  TimedLock lock("contended");
  lock.lock();
  std::thread waiter([&] { const std::lock_guard guard(lock); });
  std::this_thread::sleep_for(std::chrono::milliseconds(50));
  lock.unlock();
  waiter.join();
  EXPECT_GT(lock.totalTime(), 0.03);
  ASSERT_EQ(log.lines().size(), 1u);
  EXPECT_THAT(log.lines()[0], ::testing::StartsWith("contended locked for 0.0"));
}

TEST(TimedRecursiveLockTest, ReacquiringIsTimedToo) {
  const testing::LogCapture log;
  TimedRecursiveLock lock("recursive");
  lock.setClock(steppingClock);
  waitFor(0.004);
  {
    const std::lock_guard outer(lock);
    waitFor(0.02);
    const std::lock_guard inner(lock);  // the owner again: no wait, but timed
  }
  EXPECT_NEAR(lock.totalTime(), 0.024, 1e-9);
  EXPECT_THAT(log.lines(), ElementsAre("recursive locked for 0.020000s"));
}

}  // namespace
}  // namespace orvel
