// Long values freed on a page give their room back to the values written after them,
// on that page, before the file grows (as Access leaves a freed long value: emptied).
#include <gtest/gtest.h>

#include "jet/db/create_database.h"
#include "jet/record/data_page_write.h"
#include "jet/record/long_value.h"
#include "jet/record/long_value_write.h"
#include "jet/storage/transaction.h"
#include "jet/db/writable_database.h"
#include "jet_test_support.h"

// Each test file keeps its own names, apart from the others compiled with it.
namespace long_value_write_test_cases {

namespace {

jet::RowId row_of(const std::vector<std::uint8_t>& field) {
  const std::uint32_t pointer = field[4] | (field[5] << 8) | (field[6] << 16) | (static_cast<std::uint32_t>(field[7]) << 24);
  return jet::RowId::from_pointer(pointer);
}
jet::PageNumber page_of(const std::vector<std::uint8_t>& field) { return row_of(field).page; }

TEST(LongValueWrite, FreedValuesLeaveRoomThatLaterValuesFill) {
  jet_test::ScratchDir dir;
  auto db = jet::create_database((dir.path() / "lv.mdb").string(), {});
  jet::Transaction tx(db->pager());
  jet::LongValueWriter writer(db->pager(), db->allocator());
  const std::vector<std::uint8_t> big(3000, 0x41), other(3000, 0x42), later(2500, 0x43);
  const auto first = writer.write(big, 0);
  const auto second = writer.write(other, 0);
  ASSERT_NE(page_of(first), page_of(second));  // two values of 3000 bytes share no page
  writer.free(first);
  const jet::PageNumber pages = db->pager().page_count();
  // A writer started afterwards (as the next table or catalog row would) finds the room.
  jet::LongValueWriter next(db->pager(), db->allocator());
  const auto third = next.write(later, 0);
  EXPECT_EQ(page_of(third), page_of(first));
  EXPECT_EQ(db->pager().page_count(), pages);
  // The freed row keeps its slot, deleted and empty; the new value reads back whole.
  jet::DataPageEditor page(db->pager().read(page_of(first)).view().copy());
  EXPECT_TRUE(page.row(row_of(first).row).empty());
  EXPECT_NE(page.flags(row_of(first).row), 0);
  const auto written = page.row(row_of(third).row);
  EXPECT_EQ(std::vector<std::uint8_t>(written.begin(), written.end()), later);
  // A value too big for any freed room starts a page of its own.
  const auto fourth = next.write(std::vector<std::uint8_t>(3500, 0x44), 0);
  EXPECT_EQ(db->pager().page_count(), pages + 1);
  EXPECT_EQ(page_of(fourth), pages);
}

}  // namespace

}  // namespace long_value_write_test_cases
