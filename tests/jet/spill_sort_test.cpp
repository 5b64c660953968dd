// Records sorted through scratch runs come out exactly as a stable in-memory sort gives them,
// and a scratch file that cannot be written or read is a clear error.
#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "jet/tools/spill_sort.h"
#include "jet_test_support.h"
#include "os/faulty_file_system.h"

namespace spill_sort_test {
namespace {

struct Item {
  std::uint64_t order;
  std::vector<std::uint8_t> payload;
  bool operator==(const Item&) const = default;
};

// Few distinct orders (many ties), payloads of 0 to 300 bytes numbered by their position.
std::vector<Item> random_items(std::size_t n, unsigned start) {
  std::mt19937 random(start);
  std::vector<Item> out;
  for (std::size_t i = 0; i < n; ++i) {
    std::vector<std::uint8_t> payload(random() % 301, static_cast<std::uint8_t>(i));
    if (payload.size() >= 2) {
      payload[0] = static_cast<std::uint8_t>(i >> 8);
      payload[1] = static_cast<std::uint8_t>(i);
    }
    const std::uint64_t order = (std::uint64_t{random() % 50} << 40) | (random() % 3);
    out.push_back({order, std::move(payload)});
  }
  return out;
}

std::vector<Item> drain(jet::SpillSort& sort) {
  std::vector<Item> out;
  for (jet::SpillSort::Record r; sort.next(r);) out.push_back({r.order, {r.payload.begin(), r.payload.end()}});
  return out;
}

TEST(SpillSort, RunsMergeIntoTheOrderOfAStableInMemorySort) {
  os::FaultyFileSystem files{*os::system_services().files};
  const os::Services services{&files, os::system_services().clock, os::system_services().random};
  for (const std::size_t count : {std::size_t{0}, std::size_t{1}, std::size_t{200}, std::size_t{5000}}) {
    for (const std::size_t budget : {std::size_t{0}, std::size_t{2000}, std::size_t{64} << 10, std::size_t{64} << 20}) {
      SCOPED_TRACE(std::to_string(count) + " records, budget " + std::to_string(budget));
      auto items = random_items(count, static_cast<unsigned>(count + budget));
      const int writes_before = files.writes();
      jet::SpillSort sort(services, budget);
      for (const auto& i : items) sort.add(i.order, i.payload);
      EXPECT_EQ(sort.size(), count);
      if (budget == std::size_t{64} << 20) {
        EXPECT_EQ(sort.runs(), 0u);  // what fits the budget never touches the disk
        EXPECT_EQ(files.writes(), writes_before);
      } else if (count == 5000) {
        EXPECT_GT(sort.runs(), 5u);
        EXPECT_GT(files.writes(), writes_before);
      }
      std::stable_sort(items.begin(), items.end(), [](const Item& a, const Item& b) { return a.order < b.order; });
      EXPECT_TRUE(drain(sort) == items);
      jet::SpillSort::Record after;
      EXPECT_FALSE(sort.next(after)) << "the end stays the end";
    }
  }
}

TEST(SpillSort, AScratchFileThatFailsIsAClearError) {
  os::FaultyFileSystem files{*os::system_services().files};
  const os::Services services{&files, os::system_services().clock, os::system_services().random};
  const auto items = random_items(5000, 7);
  {
    files.disk_full_after(20000);
    jet::SpillSort sort(services, 4096);
    EXPECT_EQ(jet_test::error_of([&] {
                for (const auto& i : items) sort.add(i.order, i.payload);
              }),
              3026);
    files.heal();
  }
  {
    jet::SpillSort sort(services, 4096);
    for (const auto& i : items) sort.add(i.order, i.payload);
    ASSERT_GT(sort.runs(), 0u);
    files.fail_read(3);
    EXPECT_EQ(jet_test::error_of([&] { drain(sort); }), 3040);
    files.heal();
  }
}

}  // namespace
}  // namespace spill_sort_test
