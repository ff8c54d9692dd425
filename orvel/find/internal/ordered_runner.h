// Work on a stream of items in parallel, with the results taken in the items' order.
#pragma once

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>
#include <utility>
#include <vector>

namespace orvel::internal {

// Takes items from `source` (one caller at a time, nullopt at the end) and runs
// work(item, threadIndex) for each on `threads` threads; next() answers the results in the
// items' order, each as soon as it is made. The thread calling next() is one of the threads
// (index 0): while the result it must answer is still being made elsewhere it takes items
// itself, and sleeps only when there is none to take, so small items cost no hand-over to a
// sleeping consumer. The other threads start with the first next(). No item is taken more
// than `window` items ahead of the next result answered, so at most `window` results are
// held at any time, however many items there are. work must not throw.
//
// A search hands over thousands of small results a second, so the hand-over takes no lock:
// a result is published in its slot by a flag, and a lock is taken only to sleep and to wake
// a sleeper. Each sleeper announces itself before it checks again for what it waits for, and
// each waker publishes before it checks for a sleeper (both sequentially consistent), so that
// one of the two always sees the other. Taking an item holds the source's own lock alone.
template <typename Item, typename Result>
class OrderedRunner {
 public:
  using Source = std::function<std::optional<Item>()>;
  using Work = std::function<Result(Item&, unsigned threadIndex)>;

  // `takenAtOnce` items are taken at a time (with one thread, take 1: nothing is then made
  // ahead of the results asked for).
  OrderedRunner(unsigned threads, std::size_t window, std::size_t takenAtOnce, Source source,
                Work work)
      : _threads(std::max(1u, threads)),
        _window(std::max<std::size_t>(window, _threads)),
        _takenAtOnce(std::max<std::size_t>(1, takenAtOnce)),
        _slots(std::make_unique<Slot[]>(_window)),
        _source(std::move(source)),
        _work(std::move(work)) {}

  ~OrderedRunner() {
    stop();
    for (std::thread& thread : _workers) thread.join();
  }
  OrderedRunner(const OrderedRunner&) = delete;
  OrderedRunner& operator=(const OrderedRunner&) = delete;

  // The next result in order; nullopt after the last, or once stopped. One thread calls it.
  std::optional<Result> next() {
    if (!_started) start();
    for (;;) {
      if (_stopping.load()) return std::nullopt;
      const std::size_t answered = _answered.load(std::memory_order_relaxed);
      Slot& slot = _slots[answered % _window];
      if (slot.ready.load(std::memory_order_acquire)) {
        std::optional<Result> result = std::exchange(slot.result, std::nullopt);
        slot.ready.store(false, std::memory_order_relaxed);
        _answered.store(answered + 1);
        if (_waitingForRoom.load() > 0) wake(_room);
        return result;
      }
      if (finished(answered)) return std::nullopt;
      if (hasRoom()) {
        makeSome(0, _consumerItems);
        continue;
      }
      std::unique_lock lock(_mutex);
      _consumerWaiting.store(true);
      if (!slot.ready.load() && !_stopping.load() && !finished(answered)) _ready.wait(lock);
      _consumerWaiting.store(false);
    }
  }

  // Whether the next result in order is made, so that next() answers it without waiting (from
  // the consumer's thread).
  [[nodiscard]] bool nextIsReady() const {
    if (!_started || _stopping.load()) return false;
    const std::size_t answered = _answered.load(std::memory_order_relaxed);
    return _slots[answered % _window].ready.load(std::memory_order_acquire);
  }

  // Stops taking items, from any thread; next() answers nullopt from then on. Items being
  // worked on are finished and dropped.
  void stop() {
    _stopping.store(true);
    wake(_room);
    wake(_ready);
  }

 private:
  struct Slot {
    std::optional<Result> result;
    std::atomic<bool> ready{false};
  };

  // Whether an item may be taken now (a stale answer only sends a thread to check again).
  [[nodiscard]] bool hasRoom() const {
    return !_sourceDone.load() && _taken.load() < _answered.load() + _window;
  }
  // Whether every result has been answered.
  [[nodiscard]] bool finished(std::size_t answered) const {
    return _sourceDone.load() && answered == _taken.load();
  }

  // Wakes the sleepers on a condition: the lock, taken after the state they wait for was
  // published, orders the wake after their last check.
  void wake(std::condition_variable& condition) {
    { const std::lock_guard lock(_mutex); }
    condition.notify_all();
  }

  void start() {
    _started = true;
    for (unsigned t = 1; t < _threads; ++t) {
      _workers.emplace_back([this, t] {
        std::vector<Item> items;
        while (!_stopping.load() && !_sourceDone.load()) {
          if (!hasRoom()) {
            std::unique_lock lock(_mutex);
            _waitingForRoom.fetch_add(1);
            if (!hasRoom() && !_stopping.load() && !_sourceDone.load()) _room.wait(lock);
            _waitingForRoom.fetch_sub(1);
            continue;
          }
          makeSome(t, items);
        }
      });
    }
  }

  // Takes the next few items, as many as there is room for, and works on each in turn,
  // publishing its result. Taking a few at a time keeps the threads from meeting at the
  // source's lock, which the walk may hold while it reads a folder.
  void makeSome(unsigned threadIndex, std::vector<Item>& items) {
    items.clear();
    std::unique_lock source(_sourceMutex);
    const std::size_t first = _taken.load(std::memory_order_relaxed);
    while (items.size() < _takenAtOnce && hasRoom()) {
      std::optional<Item> item = _source();
      if (!item) {
        _sourceDone.store(true);
        break;
      }
      items.push_back(std::move(*item));
      _taken.store(first + items.size());
    }
    const bool ended = _sourceDone.load();
    source.unlock();
    if (ended) {
      wake(_room);
      wake(_ready);
    }
    for (std::size_t k = 0; k < items.size(); ++k) {
      const std::size_t index = first + k;
      Slot& slot = _slots[index % _window];
      slot.result = _work(items[k], threadIndex);
      slot.ready.store(true);
      if (_consumerWaiting.load() && index == _answered.load()) wake(_ready);
    }
  }

  const unsigned _threads;
  const std::size_t _window;
  const std::size_t _takenAtOnce;
  std::unique_ptr<Slot[]> _slots;  // item i waits in slot i % window
  Source _source;
  Work _work;
  std::vector<std::thread> _workers;
  std::vector<Item> _consumerItems;  // the items the consumer's thread works on, reused
  bool _started = false;

  std::mutex _sourceMutex;                // taking an item: the source, and _taken
  std::mutex _mutex;                      // only to sleep on the conditions and to wake sleepers
  std::condition_variable _ready;         // the result the consumer waits for arrived, or the end
  std::condition_variable _room;          // results were answered, or the run stops
  std::atomic<std::size_t> _taken{0};     // items taken from the source
  std::atomic<std::size_t> _answered{0};  // results answered by next()
  std::atomic<std::size_t> _waitingForRoom{0};
  std::atomic<bool> _consumerWaiting{false};
  std::atomic<bool> _sourceDone{false};
  std::atomic<bool> _stopping{false};
};

}  // namespace orvel::internal
