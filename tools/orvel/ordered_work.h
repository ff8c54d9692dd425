// Work on many items in parallel, with the results handed on in the items' order.
#pragma once

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <exception>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

namespace orvel::cli {

// Runs work(i) for every i below count on `threads` threads, and calls emit(i, result) on
// the calling thread in order of i, each as soon as the ones before it are emitted. The
// calling thread is one of the threads: between emitting it takes items itself, and sleeps
// only when the result it must emit next is still being made elsewhere, so small items cost
// no hand-over to a sleeping emitter. No thread starts an item more than `window` items
// ahead of the last one emitted, so at most twice `window` results are held at any time (a
// batch being emitted and the slots), however many items there are. An exception thrown by
// emit stops the workers and is rethrown once they are joined.
template <typename Result, typename Work, typename Emit>
void runInOrder(std::size_t count, unsigned threads, std::size_t window, Work work, Emit emit) {
  threads = std::max(1u, threads);
  if (threads == 1) {
    // One thread: no hand-over at all.
    for (std::size_t i = 0; i < count; ++i) emit(i, work(i));
    return;
  }
  window = std::max<std::size_t>(window, threads);
  std::vector<std::optional<Result>> slots(window);  // item i waits in slot i % window
  std::mutex mutex;
  std::condition_variable ready;  // the result the emitter waits for arrived
  std::condition_variable room;   // results were emitted, or the run stops
  std::size_t emitted = 0;
  std::size_t waitingForRoom = 0;
  bool emitterWaiting = false;
  bool stopping = false;
  std::atomic<std::size_t> next{0};

  // Stores a result; wakes the emitter only when it sleeps waiting for this very one.
  auto store = [&](std::size_t i, Result result) {
    bool wake = false;
    {
      const std::lock_guard lock(mutex);
      slots[i % window] = std::move(result);
      wake = emitterWaiting && i == emitted;
    }
    if (wake) ready.notify_one();
  };
  auto worker = [&] {
    for (std::size_t i = next++; i < count; i = next++) {
      {
        std::unique_lock lock(mutex);
        if (!stopping && i >= emitted + window) {
          ++waitingForRoom;
          room.wait(lock, [&] { return stopping || i < emitted + window; });
          --waitingForRoom;
        }
        if (stopping) return;
      }
      store(i, work(i));
    }
  };
  std::vector<std::thread> workers;
  for (unsigned t = 1; t < threads; ++t) workers.emplace_back(worker);

  // An item for the emitting thread to make, claimed only within the window: it cannot wait
  // for room, since it is the one that makes room.
  auto claimWithinWindow = [&]() -> std::optional<std::size_t> {
    std::size_t item = next.load();
    while (item < count && item < emitted + window && !next.compare_exchange_weak(item, item + 1)) {
    }
    if (item < count && item < emitted + window) return item;
    return std::nullopt;
  };

  std::exception_ptr failure;
  try {
    std::vector<Result> batch;
    for (std::size_t i = 0; i < count;) {
      bool wake = false;
      {
        const std::lock_guard lock(mutex);
        for (std::size_t j = i; j < count && slots[j % window].has_value(); ++j) {
          batch.push_back(std::move(*std::exchange(slots[j % window], std::nullopt)));
        }
        emitted += batch.size();
        wake = !batch.empty() && waitingForRoom > 0;
      }
      if (wake) room.notify_all();
      for (Result& result : batch) emit(i++, result);
      if (!batch.empty()) {
        batch.clear();
        continue;
      }
      // Nothing to emit: make an item here, or sleep until the awaited result is stored.
      if (const auto item = claimWithinWindow()) {
        store(*item, work(*item));
        continue;
      }
      std::unique_lock lock(mutex);
      emitterWaiting = true;
      ready.wait(lock, [&] { return slots[i % window].has_value(); });
      emitterWaiting = false;
    }
  } catch (...) {
    failure = std::current_exception();
    {
      const std::lock_guard lock(mutex);
      stopping = true;
    }
    room.notify_all();
  }
  for (std::thread& thread : workers) thread.join();
  if (failure) std::rethrow_exception(failure);
}

}  // namespace orvel::cli
