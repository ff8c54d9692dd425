// FastArray: a growable array of non-owning references with direct access to its slots,
// for hot loops. It never owns what its elements point to: the caller keeps every element
// alive while it is in the array. Elements are never null: storing null does nothing.
//
// Growth by one element doubles the capacity while the count is at most growBy, then adds
// growBy (linear steps once large); every other capacity change grows to exactly the size
// needed. The capacity is never below 16, growBy never below 1024. Allocation failure
// ends the process. Range-for over the array hands out its slots directly.
#pragma once

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <sstream>
#include <string>
#include <type_traits>
#include <vector>

#include "orvel/base/assert.h"
#include "orvel/base/range.h"

namespace orvel {

template <typename T>
requires std::is_pointer_v<T>
class FastArray {
 public:
  static constexpr std::size_t kMinimumCapacity = 16;
  static constexpr std::size_t kMinimumGrowBy = 1024;

  // Comparators receive pointers to two slots and answer negative, zero or positive.
  using Comparator = int (*)(const T* a, const T* b);
  using ContextComparator = int (*)(void* context, const T* a, const T* b);
  using Function = void (*)(T element, void* context);

  explicit FastArray(std::size_t capacity = kMinimumCapacity, std::size_t growBy = kMinimumGrowBy)
      : _growBy(std::max(growBy, kMinimumGrowBy)) {
    setCapacityExactly(std::max(capacity, kMinimumCapacity));
  }
  FastArray(const T* objects, std::size_t count) : FastArray(count) { setObjects(objects, count); }
  explicit FastArray(const std::vector<T>& elements) : FastArray(elements.size()) {
    setArray(elements);
  }
  // Copies are shallow: the same references.
  FastArray(const FastArray& other) : FastArray(other._count) { setFastArray(other); }
  FastArray& operator=(const FastArray& other) {
    if (this != &other) setFastArray(other);
    return *this;
  }
  ~FastArray() { std::free(_objects); }

  [[nodiscard]] static FastArray arrayWithObject(T object) {
    FastArray array;
    array.addObject(object);
    return array;
  }

  // Replace the whole content; the capacity grows to exactly the new count when needed.
  void setObjects(const T* objects, std::size_t count) {
    if (objects == nullptr || count == 0) {
      _count = 0;
      return;
    }
    if (count > _capacity) setCapacityExactly(count);
    std::memmove(_objects, objects, count * sizeof(T));
    _count = count;
  }
  void setArray(const std::vector<T>& elements) { setObjects(elements.data(), elements.size()); }
  void setFastArray(const FastArray& other) { setObjects(other._objects, other._count); }

  [[nodiscard]] std::size_t count() const { return _count; }
  [[nodiscard]] std::size_t capacity() const { return _capacity; }
  [[nodiscard]] std::size_t growBy() const { return _growBy; }
  // Only shrinks; answers the count.
  std::size_t setCount(std::size_t count) {
    if (count < _count) _count = count;
    return _count;
  }
  // Only grows; answers the slots.
  T* setCapacity(std::size_t capacity) {
    if (capacity > _capacity) setCapacityExactly(capacity);
    return _objects;
  }
  void removeAllObjects() { _count = 0; }

  [[nodiscard]] T objectAtIndex(std::size_t index) const {
    return index < _count ? _objects[index] : nullptr;
  }
  [[nodiscard]] T firstObject() const { return _count > 0 ? _objects[0] : nullptr; }
  [[nodiscard]] T lastObject() const { return _count > 0 ? _objects[_count - 1] : nullptr; }
  [[nodiscard]] T* getObjectsPtr() { return _objects; }
  [[nodiscard]] const T* getObjectsPtr() const { return _objects; }
  void getObjects(T* buffer) const { std::memmove(buffer, _objects, _count * sizeof(T)); }
  // Copies nothing unless the range is not empty and lies wholly within the count.
  void getObjects(T* buffer, Range range) const {
    if (range.length == 0 || range.location >= _count || range.length > _count - range.location) {
      return;
    }
    std::memmove(buffer, _objects + range.location, range.length * sizeof(T));
  }
  [[nodiscard]] std::vector<T> objects() const { return std::vector<T>(begin(), end()); }

  void addObject(T object) {
    if (object == nullptr) return;
    growForOneMore();
    _objects[_count++] = object;
  }
  // A null-terminated list of references.
  void addObjects(const T* list) {
    for (; list != nullptr && *list != nullptr; ++list) addObject(*list);
  }
  void addObjectsFromArray(const std::vector<T>& elements) {
    if (elements.empty()) return;
    if (_count + elements.size() > _capacity) setCapacityExactly(_count + elements.size());
    std::memmove(_objects + _count, elements.data(), elements.size() * sizeof(T));
    _count += elements.size();
  }
  // An index at or beyond the count appends.
  void insertObject(T object, std::size_t index) {
    if (object == nullptr) return;
    growForOneMore();
    if (index < _count) {
      std::memmove(_objects + index + 1, _objects + index, (_count - index) * sizeof(T));
      _objects[index] = object;
    } else {
      _objects[_count] = object;
    }
    ++_count;
  }
  void replaceObjectAtIndex(std::size_t index, T object) {
    if (object != nullptr && index < _count) _objects[index] = object;
  }

  void removeObjectAtIndex(std::size_t index) {
    if (index >= _count) return;
    std::memmove(_objects + index, _objects + index + 1, (_count - index - 1) * sizeof(T));
    --_count;
  }
  // Every element equal to *object (compared by value), or identical to object.
  void removeObject(T object) {
    if (object != nullptr) removeWhere([object](T e) { return *e == *object; });
  }
  void removeObjectIdenticalTo(T object) {
    if (object != nullptr) removeWhere([object](T e) { return e == object; });
  }

  [[nodiscard]] std::size_t indexOfObject(T object) const {
    return indexWhere([object](T e) { return object != nullptr && *e == *object; });
  }
  [[nodiscard]] std::size_t indexOfObjectIdenticalTo(T object) const {
    return indexWhere([object](T e) { return object != nullptr && e == object; });
  }
  [[nodiscard]] bool containsObject(T object) const { return indexOfObject(object) != NSNotFound; }
  [[nodiscard]] bool containsObjectIdenticalTo(T object) const {
    return indexOfObjectIdenticalTo(object) != NSNotFound;
  }

  // Sorts all elements (not stable).
  void sortUsingFunction(Comparator compare) {
    if (_count < 2) return;
    std::sort(begin(), end(), [compare](const T& a, const T& b) { return compare(&a, &b) < 0; });
  }
  void sortUsingFunction(ContextComparator compare, void* context) {
    if (_count < 2) return;
    std::sort(begin(), end(),
              [compare, context](const T& a, const T& b) { return compare(context, &a, &b) < 0; });
  }
  // Leaves the n smallest elements in order at the front; the rest in no particular order.
  // Among equal elements the earlier ones stay in front.
  void sortUsingFunction(Comparator compare, std::size_t n) {
    partialSort(n, [compare](const T* a, const T* b) { return compare(a, b); });
  }
  void sortUsingFunction(ContextComparator compare, void* context, std::size_t n) {
    partialSort(n, [compare, context](const T* a, const T* b) { return compare(context, a, b); });
  }

  void applyFunction(Function function, void* context) const {
    applyFunction(function, context, Range{0, _count});
  }
  void applyFunction(Function function, void* context, Range range) const {
    if (function == nullptr) return;
    const std::size_t stop = std::min(range.end(), _count);
    for (std::size_t i = range.location; i < stop; ++i) function(_objects[i], context);
  }

  [[nodiscard]] T* begin() { return _objects; }
  [[nodiscard]] T* end() { return _objects + _count; }
  [[nodiscard]] const T* begin() const { return _objects; }
  [[nodiscard]] const T* end() const { return _objects + _count; }

  // "()" when empty, else "(\n", a tab and the element per line, ")".
  [[nodiscard]] std::string description() const {
    if (_count == 0) return "()";
    std::ostringstream text;
    text << "(\n";
    for (T element : *this) {
      text << '\t';
      if constexpr (requires(std::ostream & out) { out << *element; }) {
        text << *element;
      } else {
        text << static_cast<const void*>(element);
      }
      text << '\n';
    }
    text << ')';
    return text.str();
  }

 private:
  void setCapacityExactly(std::size_t capacity) {
    _objects = static_cast<T*>(std::realloc(_objects, capacity * sizeof(T)));
    ORVEL_ASSERT(_objects != nullptr);
    _capacity = capacity;
  }

  void growForOneMore() {
    if (_count < _capacity) return;
    setCapacityExactly(_count > _growBy ? _count + _growBy : 2 * _count);
  }

  template <typename Matches>
  void removeWhere(Matches matches) {
    for (std::size_t i = 0; i < _count;) {
      if (matches(_objects[i])) {
        removeObjectAtIndex(i);
      } else {
        ++i;
      }
    }
  }

  template <typename Matches>
  std::size_t indexWhere(Matches matches) const {
    for (std::size_t i = 0; i < _count; ++i) {
      if (matches(_objects[i])) return i;
    }
    return NSNotFound;
  }

  // Sorts the first n, then inserts each later element that is strictly smaller than the
  // prefix's last into the prefix, moving the displaced last element to its slot.
  template <typename Compare>
  void partialSort(std::size_t n, Compare compare) {
    if (_count < 2) return;
    auto less = [&](const T& a, const T& b) { return compare(&a, &b) < 0; };
    if (n >= _count || (n >= 51 && _count / 80 < n)) {
      std::sort(begin(), end(), less);
      return;
    }
    if (n == 0) return;
    std::sort(_objects, _objects + n, less);
    for (std::size_t i = n; i < _count; ++i) {
      const T element = _objects[i];
      std::size_t position = n;
      while (position > 0 && compare(&element, &_objects[position - 1]) < 0) --position;
      if (position >= n) continue;
      const T displaced = _objects[n - 1];
      std::memmove(_objects + position + 1, _objects + position, (n - 1 - position) * sizeof(T));
      _objects[position] = element;
      _objects[i] = displaced;
    }
  }

  std::size_t _capacity = 0;
  std::size_t _growBy = kMinimumGrowBy;
  std::size_t _count = 0;
  T* _objects = nullptr;
};

}  // namespace orvel
