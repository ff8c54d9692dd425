// The walk of a collection search, a few hundred items ahead of the searching threads:
// items are taken from a buffer, and the walk that refills it (reading folders) runs on a
// searching thread between two files, outside the lock that taking an item holds, so that
// reading a folder never holds up a thread that wants its next file. The buffer stays small
// however large the tree.
#pragma once

#include <atomic>
#include <cstddef>
#include <deque>
#include <functional>
#include <mutex>
#include <optional>

#include "orvel/find/collection_walk.h"

namespace orvel::internal {

class WalkBuffer {
 public:
  // `found` is called with each item as the walk finds it. `batch` items are walked at a
  // time, and refilled when fewer than half of that wait; 1 walks only when an item is
  // wanted, nothing ahead.
  WalkBuffer(WalkInputs inputs, std::function<void(const WalkItem&)> found, std::size_t batch);

  // The next item in the walk's order, walking for it when the buffer is empty; nullopt at
  // the end.
  std::optional<WalkItem> next();
  // Walks a batch into the buffer when it runs low and no other thread is walking; any
  // thread may call it, between two files.
  void refill();

 private:
  // Walks up to a batch of items into the buffer, in order; the walk's lock is held.
  void walkBatch();

  CollectionWalk _walk;
  std::function<void(const WalkItem&)> _found;
  const std::size_t _batch;  // items walked at a time
  std::mutex _walkMutex;     // the walk; taken before _bufferMutex
  std::mutex _bufferMutex;   // the buffer; _walkDone is set under it too
  std::deque<WalkItem> _buffer;
  std::atomic<std::size_t> _buffered{0};  // the buffer's size, read without the lock
  std::atomic<bool> _walkDone{false};     // the walk has ended (the buffer may still hold items)
};

}  // namespace orvel::internal
