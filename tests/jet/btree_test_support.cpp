#include "btree_test_support.h"

#include <algorithm>

#include "jet/catalog/catalog.h"
#include "jet/btree/index_cursor.h"
#include "jet/btree/index_page.h"
#include "jet/tools/index_verify.h"
#include "jet/record/table_def.h"
#include "jet_test_support.h"

namespace btree_test {

std::unique_ptr<jet::MemoryPager> load_fixture(const std::string& name) {
  const auto bytes = jet_test::read_file(jet_test::fixture(name));
  auto pager = std::make_unique<jet::MemoryPager>(4096, name);
  for (std::size_t at = 0; at < bytes.size(); at += 4096) {
    pager->add({bytes.begin() + static_cast<std::ptrdiff_t>(at),
                bytes.begin() + static_cast<std::ptrdiff_t>(std::min(at + 4096, bytes.size()))});
  }
  return pager;
}

std::vector<std::uint8_t> image(jet::Pager& pager) {
  std::vector<std::uint8_t> out;
  for (jet::PageNumber p = 0; p < pager.page_count(); ++p) {
    const auto bytes = pager.read(p).view().copy();
    out.insert(out.end(), bytes.begin(), bytes.end());
  }
  return out;
}

std::unique_ptr<jet::MemoryPager> reopen(jet::Pager& pager) {
  auto copy = std::make_unique<jet::MemoryPager>(pager.page_size(), pager.file_name());
  for (jet::PageNumber p = 0; p < pager.page_count(); ++p) copy->add(pager.read(p).view().copy());
  return copy;
}

jet::Table open_table(jet::Pager& pager, const std::string& name) {
  jet::Catalog catalog(pager);
  const auto* entry = catalog.find_table(name);
  if (!entry) throw std::runtime_error("no table " + name);
  return jet::Table(pager, name, jet::read_table_def(pager, entry->table_page()));
}

std::vector<Entry> scan(jet::Pager& pager, const jet::TableDef& table, const jet::IndexDef& index) {
  std::vector<Entry> out;
  jet::IndexCursor cursor(pager, table, index);
  while (cursor.next()) out.emplace_back(cursor.entry().key, cursor.entry().row);
  return out;
}

std::vector<Entry> sorted(std::vector<Entry> entries) {
  std::sort(entries.begin(), entries.end(), [](const Entry& a, const Entry& b) {
    return jet::compare_entries(a.first, a.second, b.first, b.second) < 0;
  });
  return entries;
}

std::size_t depth(jet::Pager& pager, jet::PageNumber root) {
  std::size_t d = 1;
  for (auto page = jet::read_index_page(pager, root); !page.leaf; ++d) {
    page = jet::read_index_page(pager, page.children().front());
  }
  return d;
}

std::vector<std::string> tree_problems(const jet::Table& table, const jet::IndexDef& index) {
  auto problems = jet::verify_index(table, index);
  std::erase_if(problems, [](const std::string& p) {
    return p.find("absente ou supprimée") != std::string::npos ||
           p.find("aucune entrée dans l'index") != std::string::npos;
  });
  return problems;
}

}  // namespace btree_test
