// Helpers of the index writer tests: Access-made fixtures loaded into memory (the file is
// never touched), tables opened over that image, index scans, and soundness checks.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "jet/storage/memory_pager.h"
#include "jet/table/table.h"

namespace btree_test {

using Entry = std::pair<std::vector<std::uint8_t>, jet::RowId>;

// The fixture's pages in a MemoryPager.
std::unique_ptr<jet::MemoryPager> load_fixture(const std::string& name);
// A copy of every page of `pager` (a database re-opened from its written image).
std::unique_ptr<jet::MemoryPager> reopen(jet::Pager& pager);
std::vector<std::uint8_t> image(jet::Pager& pager);

jet::Table open_table(jet::Pager& pager, const std::string& name);

// Every entry of the index in cursor order.
std::vector<Entry> scan(jet::Pager& pager, const jet::TableDef& table, const jet::IndexDef& index);
// Entries sorted in index order.
std::vector<Entry> sorted(std::vector<Entry> entries);

// Levels of the tree under `root` (1 for a lone leaf).
std::size_t depth(jet::Pager& pager, jet::PageNumber root);

// verify_indexes, leaving out only the complaints about entries and rows that do not match
// up (tests that insert entries of made-up rows, or are half-way through re-inserting).
std::vector<std::string> tree_problems(const jet::Table& table, const jet::IndexDef& index);

}  // namespace btree_test
