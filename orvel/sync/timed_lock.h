// Locks that measure how long their callers wait, for finding contention: drop-in
// replacements of std::mutex and std::recursive_mutex (Lockable: use them with
// std::lock_guard, std::unique_lock and std::scoped_lock).
//
// Each lock() takes the time, acquires, takes the time again and adds the wait to
// totalTime(); a wait over 0.01 s is logged as "NAME locked for 0.012345s". unlock() and
// try_lock() are the base's, untimed. Time comes from a monotonic clock (std::steady_clock),
// so that a change of the wall clock is never counted as waiting; tests may give a lock a
// clock of their own. totalTime is written by the holder of the lock and read and reset
// without taking it, as an atomic value.
#pragma once

#include <atomic>
#include <mutex>
#include <string>
#include <string_view>

namespace orvel {
namespace internal {

// Seconds on a monotonic clock.
using TimedLockClock = double (*)();
[[nodiscard]] double monotonicSeconds();
void logLockWait(const std::string& name, double seconds);
double logMeasuredTime(const std::string& label, double seconds);

template <typename Mutex>
class TimedLockBase {
 public:
  TimedLockBase() = default;
  explicit TimedLockBase(std::string name) : _name(std::move(name)) {}
  TimedLockBase(const TimedLockBase&) = delete;
  TimedLockBase& operator=(const TimedLockBase&) = delete;

  void lock() {
    const double start = _clock();
    _mutex.lock();
    const double wait = _clock() - start;
    if (wait > kLoggedWait) logLockWait(_name, wait);
    _totalTime.store(_totalTime.load(std::memory_order_relaxed) + wait, std::memory_order_relaxed);
  }
  void unlock() { _mutex.unlock(); }
  [[nodiscard]] bool try_lock() { return _mutex.try_lock(); }

  [[nodiscard]] const std::string& name() const { return _name; }
  void setName(std::string name) { _name = std::move(name); }

  // Seconds waited since creation or the last reset.
  [[nodiscard]] double totalTime() const { return _totalTime.load(std::memory_order_relaxed); }
  void resetTime() { _totalTime.store(0, std::memory_order_relaxed); }
  // Logs "NAME: 0.123456s" (or the label in place of the name) and answers totalTime().
  double measureTime() { return logMeasuredTime(_name, totalTime()); }
  double measureTime(std::string_view label) {
    return logMeasuredTime(std::string(label), totalTime());
  }

  // The clock lock() reads; for tests.
  void setClock(TimedLockClock clock) { _clock = clock; }

  static constexpr double kLoggedWait = 0.01;

 private:
  Mutex _mutex;
  std::string _name;
  std::atomic<double> _totalTime{0};
  TimedLockClock _clock = monotonicSeconds;
};

}  // namespace internal

class TimedLock : public internal::TimedLockBase<std::mutex> {
 public:
  using TimedLockBase::TimedLockBase;
};

// Re-acquiring by the thread that holds it is timed and counted too.
class TimedRecursiveLock : public internal::TimedLockBase<std::recursive_mutex> {
 public:
  using TimedLockBase::TimedLockBase;
};

}  // namespace orvel
