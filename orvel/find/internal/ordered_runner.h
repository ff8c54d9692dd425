// Work on a stream of items in parallel, with the results taken in the items' order.
#pragma once

#include <algorithm>
#include <condition_variable>
#include <cstddef>
#include <functional>
#include <mutex>
#include <optional>
#include <thread>
#include <utility>
#include <vector>

namespace orvel::internal {

// Takes items from `source` (called under a lock, one item at a time, nullopt at the end) and
// runs work(item, threadIndex) for each on `threads` threads; next() answers the results in
// the items' order, each as soon as it is made. The thread calling next() is one of the
// threads (index 0): while the result it must answer is still being made elsewhere it takes
// items itself, and sleeps only when there is none to take, so small items cost no hand-over
// to a sleeping consumer. The other threads start with the first next(). No item is taken
// more than `window` items ahead of the next result answered, so at most `window` results
// are held at any time, however many items there are. work must not throw.
template <typename Item, typename Result>
class OrderedRunner {
 public:
  using Source = std::function<std::optional<Item>()>;
  using Work = std::function<Result(Item&, unsigned threadIndex)>;

  OrderedRunner(unsigned threads, std::size_t window, Source source, Work work)
      : _threads(std::max(1u, threads)),
        _window(std::max<std::size_t>(window, _threads)),
        _slots(_window),
        _source(std::move(source)),
        _work(std::move(work)) {}

  ~OrderedRunner() {
    stop();
    for (std::thread& thread : _workers) thread.join();
  }
  OrderedRunner(const OrderedRunner&) = delete;
  OrderedRunner& operator=(const OrderedRunner&) = delete;

  // The next result in order; nullopt after the last, or once stopped.
  std::optional<Result> next() {
    if (!_started) start();
    std::unique_lock lock(_mutex);
    for (;;) {
      if (_stopping) return std::nullopt;
      if (std::optional<Result>& slot = _slots[_answered % _window]; slot.has_value()) {
        std::optional<Result> result = std::exchange(slot, std::nullopt);
        ++_answered;
        if (_waitingForRoom > 0) _room.notify_all();
        return result;
      }
      if (_sourceDone && _answered == _taken) return std::nullopt;
      if (_taken < _answered + _window && !_sourceDone) {
        makeOne(lock, 0);
        continue;
      }
      _consumerWaiting = true;
      _ready.wait(lock);
      _consumerWaiting = false;
    }
  }

  // Stops taking items, from any thread; next() answers nullopt from then on. Items being
  // worked on are finished and dropped.
  void stop() {
    {
      const std::lock_guard lock(_mutex);
      _stopping = true;
    }
    _room.notify_all();
    _ready.notify_all();
  }

 private:
  void start() {
    _started = true;
    for (unsigned t = 1; t < _threads; ++t) {
      _workers.emplace_back([this, t] {
        std::unique_lock lock(_mutex);
        for (;;) {
          if (!_stopping && !_sourceDone && _taken >= _answered + _window) {
            ++_waitingForRoom;
            _room.wait(lock,
                       [&] { return _stopping || _sourceDone || _taken < _answered + _window; });
            --_waitingForRoom;
          }
          if (_stopping || _sourceDone) return;
          makeOne(lock, t);
        }
      });
    }
  }

  // Takes the next item and works on it with the lock released; false when the source ended.
  bool makeOne(std::unique_lock<std::mutex>& lock, unsigned threadIndex) {
    std::optional<Item> item = _source();
    if (!item) {
      _sourceDone = true;
      _room.notify_all();
      _ready.notify_all();
      return false;
    }
    const std::size_t index = _taken++;
    lock.unlock();
    Result result = _work(*item, threadIndex);
    lock.lock();
    _slots[index % _window] = std::move(result);
    if (_consumerWaiting && index == _answered) _ready.notify_one();
    return true;
  }

  const unsigned _threads;
  const std::size_t _window;
  std::vector<std::optional<Result>> _slots;  // item i waits in slot i % window
  Source _source;
  Work _work;
  std::vector<std::thread> _workers;
  bool _started = false;

  std::mutex _mutex;
  std::condition_variable _ready;  // the result the consumer waits for arrived, or the end
  std::condition_variable _room;   // results were answered, or the run stops
  std::size_t _taken = 0;          // items taken from the source
  std::size_t _answered = 0;       // results answered by next()
  std::size_t _waitingForRoom = 0;
  bool _consumerWaiting = false;
  bool _sourceDone = false;
  bool _stopping = false;
};

}  // namespace orvel::internal
