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
// the calling thread in order of i, each as soon as the ones before it are emitted. A
// worker waits before it starts an item more than `window` items ahead of the last one
// emitted, so at most twice `window` results are held at any time (a batch being emitted
// and the slots), however many items there are. An exception thrown by emit stops the workers and
// is rethrown once they are joined.
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
  bool stopping = false;
  std::atomic<std::size_t> next{0};

  // Small items make the hand-over the main cost: a worker wakes the emitter only for the
  // result it waits for, and the emitter takes every result ready in order at once and wakes
  // workers only when one waits.
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
      Result result = work(i);
      bool awaited = false;
      {
        const std::lock_guard lock(mutex);
        slots[i % window] = std::move(result);
        awaited = i == emitted;
      }
      if (awaited) ready.notify_one();
    }
  };
  std::vector<std::thread> workers;
  for (unsigned t = 0; t < threads; ++t) workers.emplace_back(worker);

  std::exception_ptr failure;
  try {
    std::vector<Result> batch;
    for (std::size_t i = 0; i < count;) {
      bool wake = false;
      {
        std::unique_lock lock(mutex);
        ready.wait(lock, [&] { return slots[i % window].has_value(); });
        for (std::size_t j = i; j < count && slots[j % window].has_value(); ++j) {
          batch.push_back(std::move(*std::exchange(slots[j % window], std::nullopt)));
        }
        emitted += batch.size();
        wake = waitingForRoom > 0;
      }
      if (wake) room.notify_all();
      for (Result& result : batch) emit(i++, result);
      batch.clear();
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
