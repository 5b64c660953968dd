// The growing array of plain values behind the index sorts' buffers.
#include <gtest/gtest.h>

#include <cstdint>
#include <new>
#include <numeric>
#include <vector>

#include "jet/base/trivial_array.h"

namespace trivial_array_test_cases {
namespace {

struct Entry {
  std::uint64_t key;
  std::uint32_t row;
};

TEST(TrivialArray, KeepsItsValuesAcrossGrowthAndItsCapacityAcrossClear) {
  jet::TrivialArray<Entry> entries;
  for (std::uint32_t i = 0; i < 100000; ++i) entries.push_back({std::uint64_t{i} * 3, i});
  ASSERT_EQ(entries.size(), 100000u);
  for (std::uint32_t i = 0; i < 100000; i += 997) {
    EXPECT_EQ(entries[i].key, std::uint64_t{i} * 3);
    EXPECT_EQ(entries[i].row, i);
  }
  const std::size_t capacity = entries.capacity();
  const auto data = reinterpret_cast<std::uintptr_t>(entries.data());
  entries.clear();
  EXPECT_TRUE(entries.empty());
  EXPECT_EQ(entries.capacity(), capacity);
  entries.push_back({7, 7});
  EXPECT_EQ(reinterpret_cast<std::uintptr_t>(entries.data()), data);  // the same buffer serves again
  EXPECT_EQ(entries.capacity(), capacity);
}

TEST(TrivialArray, AppendsRunsLongerThanItsCapacity) {
  jet::TrivialArray<std::uint8_t> bytes;
  std::vector<std::uint8_t> expected;
  for (std::size_t n : {1u, 0u, 5u, 300u, 70000u, 2u}) {
    std::vector<std::uint8_t> run(n);
    std::iota(run.begin(), run.end(), static_cast<std::uint8_t>(n));
    bytes.append(run.data(), run.size());
    expected.insert(expected.end(), run.begin(), run.end());
  }
  ASSERT_EQ(bytes.size(), expected.size());
  EXPECT_TRUE(std::equal(bytes.begin(), bytes.end(), expected.begin()));
}

TEST(TrivialArray, MovesAndSwapsWithoutCopyingAndRefusesImpossibleSizes) {
  jet::TrivialArray<std::uint8_t> a;
  a.append(reinterpret_cast<const std::uint8_t*>("parcelle"), 8);
  const auto data = reinterpret_cast<std::uintptr_t>(a.data());
  jet::TrivialArray<std::uint8_t> b(std::move(a));
  EXPECT_EQ(reinterpret_cast<std::uintptr_t>(b.data()), data);
  EXPECT_EQ(b.size(), 8u);
  EXPECT_EQ(a.size(), 0u);
  EXPECT_EQ(a.data(), nullptr);
  a.push_back(1);
  a.swap(b);
  EXPECT_EQ(a.size(), 8u);
  EXPECT_EQ(b.size(), 1u);
  EXPECT_EQ(b[0], 1);
  b = std::move(a);
  EXPECT_EQ(reinterpret_cast<std::uintptr_t>(b.data()), data);
  jet::TrivialArray<Entry> entries;
  entries.push_back({1, 2});
  EXPECT_THROW(entries.reserve(static_cast<std::size_t>(-1) / 4), std::bad_alloc);
  EXPECT_EQ(entries.size(), 1u);  // unchanged by the refusal
  EXPECT_EQ(entries[0].row, 2u);
}

}  // namespace
}  // namespace trivial_array_test_cases
