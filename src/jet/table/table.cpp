#include "jet/table/table.h"

#include "jet/record/data_page.h"

namespace jet {

Table::Table(Pager& pager, std::string name, TableDef def)
    : pager_(&pager), name_(std::move(name)), def_(std::move(def)) {}

bool Table::owns(const Page& page) const {
  const ByteView v = page.view();
  return v.u8(0) == static_cast<std::uint8_t>(PageKind::Data) && v.u32(4) == def_.page;
}

const std::vector<PageNumber>& Table::pages_to_read() const {
  if (data_pages_) return *data_pages_;
  if (!listed_pages_) listed_pages_ = read_usage_map(*pager_, RowId::from_pointer(def_.owned_pages));
  return *listed_pages_;
}

const std::vector<PageNumber>& Table::data_pages() const {
  if (!data_pages_) {
    std::vector<PageNumber> pages;
    // The usage map also lists pages the table let go of; keep its own data pages only.
    for (PageNumber p : pages_to_read())
      if (owns(pager_->read(p))) pages.push_back(p);
    data_pages_ = std::move(pages);
  }
  return *data_pages_;
}

Table::Cursor::Cursor(const Table& table, ColumnSelection wanted)
    : table_(&table), pages_(&table.pages_to_read()), wanted_(std::move(wanted)) {}

bool Table::Cursor::next() {
  const auto& pages = *pages_;
  while (page_index_ < pages.size()) {
    if (!page_) {
      page_ = table_->pager_->read(pages[page_index_]);
      slot_ = -1;
      if (!table_->owns(*page_)) {
        page_.reset();
        ++page_index_;
        continue;
      }
    }
    const DataPage page(*page_);
    while (++slot_ < page.row_count()) {
      const auto row = static_cast<std::uint16_t>(slot_);
      // A moved row is read through its slot; its new place is flagged deleted.
      if (page.deleted(row)) continue;
      current_ = RowId{page_->number(), static_cast<std::uint8_t>(row)};
      if (page.overflow(row)) {
        auto moved = read_row(*table_->pager_, table_->def_, current_, wanted_);
        if (!moved) page_->view().damaged("ligne déplacée introuvable (ligne " + std::to_string(row) + ")");
        row_ = std::move(*moved);
      } else {
        decode_row_into(*table_->pager_, table_->def_, page.row_bytes(row), row_, wanted_);
      }
      return true;
    }
    page_.reset();
    ++page_index_;
  }
  return false;
}

void Table::scan(const std::function<bool(RowId, const Row&)>& visit) const {
  Cursor c(*this);
  while (c.next())
    if (!visit(c.row_id(), c.row())) return;
}

void Table::scan(const ColumnSelection& wanted, const std::function<bool(RowId, const Row&)>& visit) const {
  Cursor c(*this, wanted);
  while (c.next())
    if (!visit(c.row_id(), c.row())) return;
}

void Table::scan_stored(const std::function<bool(RowId, const ByteView&)>& visit) const {
  for (PageNumber p : pages_to_read()) {
    const Page held = pager_->read(p);
    if (!owns(held)) continue;
    const DataPage page(held);
    for (std::uint16_t r = 0; r < page.row_count(); ++r) {
      if (page.deleted(r)) continue;
      const RowId id{p, static_cast<std::uint8_t>(r)};
      if (!page.overflow(r)) {
        if (!visit(id, page.row_bytes(r))) return;
        continue;
      }
      Page moved;
      const auto bytes = locate_row(*pager_, id, def_.page, &moved);
      if (!bytes) held.view().damaged("ligne déplacée introuvable (ligne " + std::to_string(r) + ")");
      if (!visit(id, *bytes)) return;
    }
  }
}

std::uint64_t Table::count_rows() const {
  std::uint64_t n = 0;
  for (PageNumber p : pages_to_read()) {
    const Page held = pager_->read(p);
    if (!owns(held)) continue;
    const DataPage page(held);
    for (std::uint16_t r = 0; r < page.row_count(); ++r)
      if (!page.deleted(r)) ++n;
  }
  return n;
}

}  // namespace jet
