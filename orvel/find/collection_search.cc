#include "orvel/find/collection_search.h"

#include <mutex>
#include <thread>

#include "orvel/find/internal/file_search.h"
#include "orvel/find/internal/ordered_runner.h"
#include "orvel/find/internal/walk_buffer.h"

namespace orvel {

namespace {

using Clock = std::chrono::steady_clock;

// How many results each thread may make ahead of the one taken next: enough that a thread
// rarely waits for a slow file before it, few enough that little is held.
constexpr std::size_t kResultsAheadPerThread = 32;
// On several threads, items are taken a few at a time and walked a few hundred ahead, so
// that the threads seldom meet at a lock; one thread does nothing ahead of what is asked.
constexpr std::size_t kItemsTakenAtOnce = 4;
constexpr std::size_t kItemsWalkedAtOnce = 256;

unsigned threadsFor(const SearchRequest& request) {
  if (request.threads > 0) return request.threads;
  return std::max(1u, std::thread::hardware_concurrency());
}

}  // namespace

struct CollectionSearch::State {
  // A found item, or none: a matching file is answered, others only counted.
  using Runner = internal::OrderedRunner<WalkItem, std::optional<SearchResult>>;

  explicit State(SearchRequest searchRequest)
      : request(std::move(searchRequest)),
        plan(request),
        walk(
            request.inputs,
            [this](const WalkItem& item) {
              if (item.error == 0) filesFound.fetch_add(1, std::memory_order_relaxed);
            },
            threadsFor(request) > 1 ? kItemsWalkedAtOnce : 1),
        reading(threadsFor(request)),
        runner(
            threadsFor(request), kResultsAheadPerThread * threadsFor(request),
            threadsFor(request) > 1 ? kItemsTakenAtOnce : 1, [this] { return nextItem(); },
            [this](WalkItem& item, unsigned thread) { return search(item, thread); }) {}

  std::optional<WalkItem> nextItem() {
    std::optional<WalkItem> item = walk.next();
    if (!item) walkDone.store(true, std::memory_order_relaxed);
    return item;
  }

  std::optional<SearchResult> search(WalkItem& item, unsigned thread) {
    walk.refill();  // between two files, off the lock that taking an item holds
    const bool file = item.error == 0 && !item.skipped;
    std::optional<SearchResult> result = internal::searchWalkItem(item, plan, reading[thread]);
    if (file) {
      filesSearched.fetch_add(1, std::memory_order_relaxed);
      if (result) bytesRead.fetch_add(result->bytesRead, std::memory_order_relaxed);
    }
    if (result && result->status == SearchStatus::kMatched && request.prepare) {
      request.prepare(*result);
    }
    if (request.progress) reportProgress();
    return result;
  }

  // Calls the progress callback when its interval has passed, from one thread at a time.
  void reportProgress() {
    const std::int64_t now = Clock::now().time_since_epoch().count();
    std::int64_t due = progressDue.load(std::memory_order_relaxed);
    if (now < due) return;
    const std::unique_lock lock(progressMutex, std::try_to_lock);
    if (!lock.owns_lock() || !progressDue.compare_exchange_strong(due, now + interval())) return;
    request.progress(snapshot());
  }

  [[nodiscard]] std::int64_t interval() const {
    return std::chrono::duration_cast<Clock::duration>(request.progressInterval).count();
  }

  [[nodiscard]] SearchProgress snapshot() const {
    return {filesSearched.load(std::memory_order_relaxed),
            bytesRead.load(std::memory_order_relaxed), filesFound.load(std::memory_order_relaxed),
            walkDone.load(std::memory_order_relaxed)};
  }

  SearchRequest request;
  internal::SearchPlan plan;
  std::atomic<std::uint64_t> filesSearched{0};
  std::atomic<std::uint64_t> bytesRead{0};
  std::atomic<std::uint64_t> filesFound{0};  // counted by the walking thread
  std::atomic<bool> walkDone{false};
  std::mutex progressMutex;
  std::atomic<std::int64_t> progressDue{Clock::now().time_since_epoch().count() + interval()};
  // Last: the searching threads stop before what they use goes.
  internal::WalkBuffer walk;
  std::vector<internal::ReadingThread> reading;
  Runner runner;
};

CollectionSearch::CollectionSearch(SearchRequest request)
    : _state(std::make_unique<State>(std::move(request))) {}

CollectionSearch::~CollectionSearch() = default;

std::optional<SearchResult> CollectionSearch::next() {
  // Files that neither match nor need telling are passed over here.
  while (auto made = _state->runner.next()) {
    if (*made) return std::move(**made);
  }
  return std::nullopt;
}

bool CollectionSearch::nextIsReady() const { return _state->runner.nextIsReady(); }

void CollectionSearch::cancel() { _state->runner.stop(); }

SearchProgress CollectionSearch::progress() const { return _state->snapshot(); }

SearchProgress searchCollection(SearchRequest request,
                                const std::function<bool(SearchResult&)>& take) {
  CollectionSearch search(std::move(request));
  while (auto result = search.next()) {
    if (!take(*result)) {
      search.cancel();
      break;
    }
  }
  return search.progress();
}

}  // namespace orvel
