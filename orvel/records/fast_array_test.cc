#include "orvel/records/fast_array.h"

#include <numeric>
#include <random>
#include <vector>

#include <gtest/gtest.h>

namespace orvel {
namespace {

int compareInts(int* const* a, int* const* b) { return **a - **b; }

std::vector<int> values(const FastArray<int*>& array) {
  std::vector<int> result;
  for (int* element : array) result.push_back(*element);
  return result;
}

TEST(FastArrayTest, GrowthDoublesThenStepsByGrowBy) {
  std::vector<int> storage(5000);
  FastArray<int*> array;
  EXPECT_EQ(array.capacity(), 16u);
  for (int i = 0; i < 16; ++i) array.addObject(&storage[i]);
  EXPECT_EQ(array.capacity(), 16u);
  array.addObject(&storage[16]);
  EXPECT_EQ(array.capacity(), 32u);
  while (array.count() < 2048) array.addObject(&storage[array.count()]);
  EXPECT_EQ(array.capacity(), 2048u);
  array.addObject(&storage[2048]);
  EXPECT_EQ(array.capacity(), 3072u);  // 2048 > 1024: linear step
  const FastArray<int*> sized(10, 100);
  EXPECT_EQ(sized.capacity(), 16u);
  EXPECT_EQ(sized.growBy(), 1024u);
}

TEST(FastArrayTest, NullIsNeverStored) {
  int a = 1;
  FastArray<int*> array;
  array.addObject(nullptr);
  array.insertObject(nullptr, 0);
  array.addObject(&a);
  array.replaceObjectAtIndex(0, nullptr);
  EXPECT_EQ(array.count(), 1u);
  EXPECT_EQ(array.objectAtIndex(0), &a);
  EXPECT_EQ(array.objectAtIndex(1), nullptr);
  EXPECT_EQ(FastArray<int*>::arrayWithObject(nullptr).count(), 0u);
}

TEST(FastArrayTest, InsertRemoveAndSearch) {
  int a = 1, b = 2, c = 3, otherA = 1;
  FastArray<int*> array;
  array.addObject(&a);
  array.addObject(&b);
  array.addObject(&c);
  array.insertObject(&c, 99);  // beyond the count: appends
  EXPECT_EQ(values(array), (std::vector<int>{1, 2, 3, 3}));
  array.insertObject(&b, 0);
  EXPECT_EQ(values(array), (std::vector<int>{2, 1, 2, 3, 3}));
  EXPECT_EQ(array.indexOfObject(&otherA), 1u);                     // equal value
  EXPECT_EQ(array.indexOfObjectIdenticalTo(&otherA), NSNotFound);  // not the same reference
  array.removeObject(&c);  // every equal element, adjacent ones too
  EXPECT_EQ(values(array), (std::vector<int>{2, 1, 2}));
  array.removeObjectIdenticalTo(&b);
  EXPECT_EQ(values(array), (std::vector<int>{1}));
  array.removeObjectAtIndex(5);  // out of range: ignored
  EXPECT_EQ(array.count(), 1u);
  EXPECT_EQ(array.setCount(10), 1u);  // only shrinks
  EXPECT_EQ(array.setCount(0), 0u);
  EXPECT_EQ(array.lastObject(), nullptr);
}

TEST(FastArrayTest, BulkCopiesAndRanges) {
  int v[5] = {10, 11, 12, 13, 14};
  int* pointers[5] = {&v[0], &v[1], &v[2], &v[3], &v[4]};
  FastArray<int*> array(pointers, 5);
  int* out[5] = {};
  array.getObjects(out, Range{3, 3});  // ends beyond the count: nothing copied
  EXPECT_EQ(out[0], nullptr);
  array.getObjects(out, Range{1, 2});
  EXPECT_EQ(out[0], &v[1]);
  EXPECT_EQ(out[1], &v[2]);
  array.addObjectsFromArray({&v[0], &v[0]});
  EXPECT_EQ(array.count(), 7u);
  FastArray<int*> copy(array);
  EXPECT_EQ(copy.objects(), array.objects());
  int* list[] = {&v[4], &v[3], nullptr};
  copy.addObjects(list);
  EXPECT_EQ(copy.count(), 9u);
  int sum = 0;
  copy.applyFunction([](int* element, void* total) { *static_cast<int*>(total) += *element; }, &sum,
                     Range{7, 100});
  EXPECT_EQ(sum, 27);
}

TEST(FastArrayTest, PartialSortLeavesTheSmallestInFront) {
  int v[5] = {5, 1, 4, 2, 3};
  FastArray<int*> array;
  for (int& x : v) array.addObject(&x);
  array.sortUsingFunction(compareInts, 3);
  const auto sorted = values(array);
  EXPECT_EQ(std::vector<int>(sorted.begin(), sorted.begin() + 3), (std::vector<int>{1, 2, 3}));
}

TEST(FastArrayTest, PartialSortAgreesWithAFullSortOnItsHead) {
  std::mt19937 generator(3);
  std::vector<int> storage(4000);
  for (int& x : storage) x = static_cast<int>(generator() % 500);
  for (std::size_t n : {1u, 7u, 50u, 60u}) {
    FastArray<int*> array;
    for (int& x : storage) array.addObject(&x);
    array.sortUsingFunction(compareInts, n);
    std::vector<int> expected = storage;
    std::sort(expected.begin(), expected.end());
    const auto head = values(array);
    EXPECT_EQ(std::vector<int>(head.begin(), head.begin() + n),
              std::vector<int>(expected.begin(), expected.begin() + n))
        << n;
  }
}

TEST(FastArrayTest, DescriptionListsTheElements) {
  int a = 7, b = 8;
  FastArray<int*> array;
  EXPECT_EQ(array.description(), "()");
  array.addObject(&a);
  array.addObject(&b);
  EXPECT_EQ(array.description(), "(\n\t7\n\t8\n)");
}

}  // namespace
}  // namespace orvel
