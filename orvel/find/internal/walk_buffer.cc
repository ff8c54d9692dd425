#include "orvel/find/internal/walk_buffer.h"

#include <algorithm>
#include <vector>

namespace orvel::internal {

WalkBuffer::WalkBuffer(WalkInputs inputs, std::function<void(const WalkItem&)> found,
                       std::size_t batch)
    : _walk(std::move(inputs)), _found(std::move(found)), _batch(std::max<std::size_t>(1, batch)) {}

std::optional<WalkItem> WalkBuffer::next() {
  if (_batch == 1) {  // nothing ahead: straight from the walk
    const std::lock_guard walk(_walkMutex);
    std::optional<WalkItem> item = _walk.next();
    if (item && _found) _found(*item);
    return item;
  }
  for (;;) {
    {
      const std::lock_guard buffer(_bufferMutex);
      if (!_buffer.empty()) {
        WalkItem item = std::move(_buffer.front());
        _buffer.pop_front();
        _buffered.store(_buffer.size(), std::memory_order_relaxed);
        return item;
      }
      if (_walkDone.load(std::memory_order_relaxed)) return std::nullopt;
    }
    // Empty: walk now, unless a refill under way filled it meanwhile.
    const std::lock_guard walk(_walkMutex);
    if (_buffered.load(std::memory_order_relaxed) == 0) walkBatch();
  }
}

void WalkBuffer::refill() {
  if (_batch == 1 || _walkDone.load(std::memory_order_relaxed) ||
      _buffered.load(std::memory_order_relaxed) >= _batch / 2) {
    return;
  }
  const std::unique_lock walk(_walkMutex, std::try_to_lock);
  if (walk.owns_lock()) walkBatch();
}

void WalkBuffer::walkBatch() {
  std::vector<WalkItem> batch;
  bool ended = _walkDone.load(std::memory_order_relaxed);
  while (!ended && batch.size() < _batch) {
    std::optional<WalkItem> item = _walk.next();
    ended = !item;
    if (!item) break;
    if (_found) _found(*item);
    batch.push_back(std::move(*item));
  }
  const std::lock_guard buffer(_bufferMutex);
  for (WalkItem& item : batch) _buffer.push_back(std::move(item));
  _walkDone.store(ended, std::memory_order_relaxed);
  _buffered.store(_buffer.size(), std::memory_order_relaxed);
}

}  // namespace orvel::internal
