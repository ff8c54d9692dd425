// The ordered runner under load: results in the items' order whatever the threads' speeds,
// never more items taken than the window allows, and a stop that wakes a waiting consumer.
#include "orvel/find/internal/ordered_runner.h"

#include <atomic>
#include <chrono>
#include <random>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

namespace orvel::internal {
namespace {

using Runner = OrderedRunner<int, int>;

TEST(OrderedRunnerTest, ResultsComeInOrderAndTheWindowBoundsWhatIsTaken) {
  constexpr int kItems = 4000;
  constexpr std::size_t kWindow = 16;
  for (const unsigned threads : {1u, 2u, 8u}) {
    for (const std::size_t atOnce : {std::size_t{1}, std::size_t{4}}) {
      int given = 0;
      std::atomic<int> consumed{0};
      int mostAhead = 0;
      Runner runner(
          threads, kWindow, atOnce,
          [&]() -> std::optional<int> {
            if (given == kItems) return std::nullopt;
            mostAhead = std::max(mostAhead, given - consumed.load());
            return given++;
          },
          [](int& item, unsigned) {
            // Some items take far longer than others, so that threads finish out of order.
            if (item % 97 == 0) std::this_thread::sleep_for(std::chrono::microseconds(300));
            return item * 2;
          });
      int expected = 0;
      while (const auto result = runner.next()) {
        ASSERT_EQ(*result, 2 * expected) << threads << " threads";
        ++expected;
        consumed.store(expected);
      }
      EXPECT_EQ(expected, kItems);
      // The one just answered may not be counted yet by the consumer.
      EXPECT_LE(mostAhead, static_cast<int>(kWindow) + 1) << threads << " threads";
    }
  }
}

TEST(OrderedRunnerTest, AStopWakesAConsumerWaitingForASlowItem) {
  std::atomic<bool> release{false};
  Runner runner(
      2, 4, 1, [n = 0]() mutable -> std::optional<int> { return n++; },
      [&](int& item, unsigned) {
        // The first item waits until the test lets it go, after the stop.
        while (item == 0 && !release.load()) {
          std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        return item;
      });
  std::thread stopper([&] {
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    runner.stop();
    release.store(true);
  });
  // Whichever thread took item 0, the consumer waits for it (asleep, or working on it) until
  // the stop: then it answers nothing, though later items are ready.
  int answered = 0;
  while (runner.next()) ++answered;
  stopper.join();
  EXPECT_EQ(answered, 0);
  EXPECT_FALSE(runner.next().has_value());
}

TEST(OrderedRunnerTest, AnEmptySourceEndsAtOnce) {
  for (const unsigned threads : {1u, 4u}) {
    Runner runner(
        threads, 8, 4, []() -> std::optional<int> { return std::nullopt; },
        [](int& item, unsigned) { return item; });
    EXPECT_FALSE(runner.next().has_value());
  }
}

}  // namespace
}  // namespace orvel::internal
