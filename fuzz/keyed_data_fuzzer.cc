// KeyedData over any buffer: validity, the record walk, every reader, enumeration,
// counting, equality and removal stay inside the buffer and agree with each other.
#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

#include "orvel/records/keyed_data.h"
#include "orvel/records/keyed_data_urls.h"

#include "fuzz/fuzz_support.h"

namespace {

bool countAll(std::uint32_t, orvel::KeyedKey, const void*, void* context) {
  ++*static_cast<std::size_t*>(context);
  return true;
}

bool removeOdd(std::uint32_t, orvel::KeyedKey key, void*) { return key % 2 == 1; }

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const orvel::KeyedBytes bytes(data, size);
  std::size_t walked = 0;
  std::vector<std::pair<std::uint32_t, orvel::KeyedKey>> records;
  const std::size_t end = orvel::walkKeyedRecords(bytes, [&](const orvel::KeyedRecordView& record) {
    ORVEL_FUZZ_CHECK(record.offset < size);
    ORVEL_FUZZ_CHECK(record.payload.empty() ||
                     (record.payload.data() >= data &&
                      record.payload.data() + record.payload.size() <= data + size));
    records.emplace_back(record.tag, record.key);
    ++walked;
  });
  ORVEL_FUZZ_CHECK(end <= size);
  ORVEL_FUZZ_CHECK(orvel::isValid(bytes) == (size > 0 && end == size));
  for (const auto& [tag, key] : records) {
    ORVEL_FUZZ_CHECK(orvel::offsetOfKeyedRecord(bytes, tag, key) != orvel::NSNotFound);
    static_cast<void>(orvel::stringForKey(bytes, key));
    static_cast<void>(orvel::stringsForKey(bytes, key));
    static_cast<void>(orvel::dataForKey(bytes, key));
    static_cast<void>(orvel::URLForKey(bytes, key));
    static_cast<void>(orvel::descriptionWithCalendarFormat(bytes, "%Y-%m-%d %H:%M:%S", key));
    static_cast<void>(orvel::doubleForKey(bytes, key));
    static_cast<void>(orvel::boolForKey(bytes, key));
  }
  std::size_t handled = 0;
  static_cast<void>(orvel::handleKeyedDataUsingHandler(bytes, countAll, 0, true, false, &handled));
  static_cast<void>(orvel::handleKeyedDataUsingHandler(bytes, countAll, 0, true, true, &handled));
  static_cast<void>(orvel::numberOfKeyedData(bytes, 0));
  static_cast<void>(orvel::numberOfStrings(bytes));
  // Records are compared with the first of their tag and key, so a buffer equals itself
  // when no tag and key repeat.
  std::sort(records.begin(), records.end());
  const bool unique = std::adjacent_find(records.begin(), records.end()) == records.end();
  if (orvel::isValid(bytes) && unique) ORVEL_FUZZ_CHECK(orvel::isEqualToKeyedData(bytes, bytes, 0));
  orvel::KeyedBuffer copy(bytes.begin(), bytes.end());
  orvel::removeKeyedDataUsingHandler(copy, removeOdd, nullptr);
  ORVEL_FUZZ_CHECK(copy.size() <= size);
  if (orvel::isValid(bytes) && !copy.empty()) ORVEL_FUZZ_CHECK(orvel::isValid(copy));
  return 0;
}
