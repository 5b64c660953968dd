// Data page edits checked through the read side's own view of the page, and usage-map bit
// edits checked through the read side's map reader.
#include <gtest/gtest.h>

#include <random>

#include "jet/record/data_page.h"
#include "jet/record/data_page_write.h"
#include "jet/base/error.h"
#include "jet/storage/memory_pager.h"
#include "jet/storage/overlay_pager.h"
#include "jet/storage/transaction.h"
#include "jet/record/usage_map_write.h"

// Each test file keeps its own names, apart from the others compiled with it.
namespace write_data_page_test_cases {

namespace {

using Bytes = std::vector<std::uint8_t>;

Bytes pattern(std::size_t length, std::uint8_t seed) {
  Bytes b(length);
  for (std::size_t i = 0; i < length; ++i) b[i] = static_cast<std::uint8_t>(seed + i * 7);
  return b;
}

jet::DataPage read_side(const jet::DataPageEditor& editor) {
  return jet::DataPage(jet::Page(9, std::make_shared<const Bytes>(editor.bytes()), nullptr));
}

// The page as the read side sees it matches the expected rows, and the stored free-space
// count matches the space left between the slot table and the lowest row.
void expect_rows(const jet::DataPageEditor& editor, const std::vector<Bytes>& rows) {
  const jet::DataPage page = read_side(editor);
  ASSERT_EQ(page.row_count(), rows.size());
  std::size_t used = 0;
  for (std::uint16_t r = 0; r < rows.size(); ++r) {
    EXPECT_EQ(page.row_bytes(r).copy(), rows[r]) << "row " << r;
    used += rows[r].size();
  }
  EXPECT_EQ(page.free_space(), 4096 - 14 - 2 * rows.size() - used);
  EXPECT_EQ(page.free_space(), editor.free_space());
}

TEST(DataPageEditor, RowsAddedReplacedAndResizedKeepTheOthersIntact) {
  jet::DataPageEditor editor = jet::DataPageEditor::blank(4096, 0x1234);
  EXPECT_EQ(read_side(editor).owner(), 0x1234u);
  std::vector<Bytes> rows = {pattern(30, 1), pattern(10, 2), pattern(50, 3)};
  for (const Bytes& r : rows) editor.add_row(r);
  expect_rows(editor, rows);
  rows[1] = pattern(200, 4);  // grows: the rows stored below shift down
  ASSERT_TRUE(editor.replace_row(1, rows[1]));
  expect_rows(editor, rows);
  rows[0] = pattern(3, 5);  // shrinks: the rows below shift up
  ASSERT_TRUE(editor.replace_row(0, rows[0]));
  expect_rows(editor, rows);
  rows[2] = {};
  ASSERT_TRUE(editor.replace_row(2, rows[2]));
  expect_rows(editor, rows);
}

TEST(DataPageEditor, ARowTooLargeForTheRoomLeftChangesNothing) {
  jet::DataPageEditor editor = jet::DataPageEditor::blank(4096, 7);
  editor.add_row(pattern(2000, 1));
  editor.add_row(pattern(2000, 2));
  const Bytes before = editor.bytes();
  const std::size_t room = editor.free_space();  // 4096 - 14 - 4 - 4000 = 78
  EXPECT_EQ(room, 78u);
  EXPECT_FALSE(editor.replace_row(0, pattern(2000 + room + 1, 3)));
  EXPECT_EQ(editor.bytes(), before);
  EXPECT_FALSE(editor.fits(room - 1));  // the slot takes two bytes
  EXPECT_TRUE(editor.fits(room - 2));
  try {
    editor.add_row(pattern(room, 4));
    ADD_FAILURE() << "a row larger than the room was added";
  } catch (const jet::Error& e) {
    EXPECT_EQ(e.number(), 3251);
  }
  EXPECT_TRUE(editor.replace_row(1, pattern(2000 + room, 5)));  // exactly the room left
  EXPECT_EQ(editor.free_space(), 0u);
}

TEST(DataPageEditor, AtMostTwoHundredFiftyFiveRows) {
  jet::DataPageEditor editor = jet::DataPageEditor::blank(4096, 7);
  for (int i = 0; i < 255; ++i) editor.add_row(pattern(1, static_cast<std::uint8_t>(i)));
  EXPECT_FALSE(editor.fits(1));
  EXPECT_GT(editor.free_space(), 100u);
}

TEST(DataPageEditor, DeletedRowsAndPointersAreWhatTheReaderExpects) {
  jet::DataPageEditor editor = jet::DataPageEditor::blank(4096, 7);
  editor.add_row(pattern(40, 1));
  editor.add_row(pattern(2, 2));
  editor.add_row(pattern(40, 3), jet::disk::kRowDeleted);  // a moved row's new place
  editor.mark_deleted(0);
  editor.make_pointer(1, {0x123456, 7});  // a row of 2 bytes grows to hold the pointer
  const jet::DataPage page = read_side(editor);
  EXPECT_TRUE(page.deleted(0));
  EXPECT_EQ(page.row_bytes(0).copy(), pattern(40, 1));  // the bytes stay
  EXPECT_FALSE(page.deleted(1));
  EXPECT_TRUE(page.overflow(1));
  EXPECT_EQ(page.overflow_target(1), (jet::RowId{0x123456, 7}));
  EXPECT_TRUE(page.deleted(2));
  EXPECT_FALSE(page.overflow(2));
  EXPECT_EQ(page.row_bytes(2).copy(), pattern(40, 3));
  EXPECT_EQ(page.free_space(), editor.free_space());
}

TEST(DataPageEditor, RandomEditsAgreeWithASimpleModel) {
  std::mt19937 random(20261122);
  for (int round = 0; round < 20; ++round) {
    jet::DataPageEditor editor = jet::DataPageEditor::blank(4096, 7);
    std::vector<Bytes> model;
    for (int step = 0; step < 200; ++step) {
      const std::size_t length = random() % 300;
      const Bytes data = pattern(length, static_cast<std::uint8_t>(random()));
      if (model.empty() || random() % 3 == 0) {
        if (editor.fits(length)) {
          editor.add_row(data);
          model.push_back(data);
        }
      } else {
        const auto row = static_cast<std::uint8_t>(random() % model.size());
        std::size_t used = 0;
        for (const Bytes& r : model) used += r.size();
        const bool room = used - model[row].size() + length + 14 + 2 * model.size() <= 4096;
        ASSERT_EQ(editor.replace_row(row, data), room);
        if (room) model[row] = data;
      }
    }
    expect_rows(editor, model);
  }
}

// ---- usage maps ----

// A memory file: page 0, page 1 holding two 69-byte map rows (row 0: global map, row 1: a
// table's map), then `pages` filler pages.
jet::MemoryPager map_file(std::size_t pages) {
  jet::MemoryPager base(4096);
  base.add(Bytes(4096, 0));
  jet::DataPageEditor holder = jet::DataPageEditor::blank(4096, 0);
  holder.add_row(Bytes(69, 0));
  Bytes table_map(69, 0);
  table_map[1] = 2;  // inline map starting at page 2
  holder.add_row(table_map);
  base.add(holder.bytes());
  for (std::size_t i = 0; i < pages; ++i) base.add(Bytes(4096, 0xEE));
  return base;
}

TEST(UsageMapWrite, InlineBitsThenPromotionToAReferenceMapKeepingEveryPage) {
  jet::MemoryPager base = map_file(4);
  jet::OverlayPager pager(base, nullptr);
  jet::Transaction t(pager);
  const jet::RowId table_map{1, 1};
  const jet::PageAppender append = [&](Bytes b) { return pager.append(std::move(b)); };
  EXPECT_TRUE(jet::set_usage_bit(pager, table_map, 3, true));
  EXPECT_TRUE(jet::set_usage_bit(pager, table_map, 5, true));
  EXPECT_TRUE(jet::set_usage_bit(pager, table_map, 3, false));
  EXPECT_EQ(jet::read_usage_map(pager, table_map), (std::vector<jet::PageNumber>{5}));
  // Page 1000 lies past the 512 pages an inline map of 64 bytes covers from page 2.
  for (int i = 0; i < 1000; ++i) pager.append(Bytes(4096, 0));
  EXPECT_TRUE(jet::set_usage_bit(pager, table_map, 1000, true, true, append));
  EXPECT_EQ(jet::read_usage_map(pager, table_map), (std::vector<jet::PageNumber>{5, 1000}));
  const jet::Page holder = pager.read(1);
  EXPECT_EQ(holder.view().u8(jet::row_span(holder, 1).offset), 1);  // now a reference map
  // Its bitmap page is a usage-map page appended to the file.
  const jet::PageNumber bitmap = holder.view().u32(jet::row_span(holder, 1).offset + 1);
  EXPECT_EQ(pager.read(bitmap).kind_byte(), static_cast<std::uint8_t>(jet::PageKind::UsageMap));
  EXPECT_TRUE(jet::set_usage_bit(pager, table_map, 5, false, true, append));
  EXPECT_EQ(jet::read_usage_map(pager, table_map), (std::vector<jet::PageNumber>{1000}));
}

TEST(UsageMapWrite, TheGlobalMapNeverGrowsAndReportsWhatItCannotRecord) {
  jet::MemoryPager base = map_file(4);
  jet::OverlayPager pager(base, nullptr);
  jet::Transaction t(pager);
  EXPECT_TRUE(jet::set_usage_bit(pager, jet::kGlobalUsageMap, 4, true, false));
  EXPECT_FALSE(jet::set_usage_bit(pager, jet::kGlobalUsageMap, 600, true, false));
  EXPECT_TRUE(jet::set_usage_bit(pager, jet::kGlobalUsageMap, 600, false, false));  // uncovered = used
  // Bits past the end of the file are allowed in the global map and skipped below a limit.
  EXPECT_TRUE(jet::set_usage_bit(pager, jet::kGlobalUsageMap, 100, true, false));
  EXPECT_EQ(jet::marked_pages(pager, jet::kGlobalUsageMap, pager.page_count()), (std::vector<jet::PageNumber>{4}));
  EXPECT_EQ(jet::marked_pages(pager, jet::kGlobalUsageMap, 101), (std::vector<jet::PageNumber>{4, 100}));
}

}  // namespace

}  // namespace write_data_page_test_cases
