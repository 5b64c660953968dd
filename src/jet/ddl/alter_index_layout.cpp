#include "jet/ddl/alter_index_layout.h"

#include <algorithm>

#include "jet/table/btree_build.h"
#include "jet/btree/btree_write_overlay.h"
#include "jet/btree/btree_write_page.h"
#include "jet/db/create_table.h"
#include "jet/base/error.h"
#include "jet/record/usage_map_write.h"

namespace jet::index_layout {

// A new, empty real index over `numbers`, with its usage map and root page.
IndexDef new_real_index(WritableDatabase& db, const TableDef& def, const std::vector<std::uint16_t>& numbers) {
  IndexDef index;
  index.number = static_cast<std::uint32_t>(def.indexes.size());
  for (auto n : numbers) index.columns.push_back({n, true});
  UsageMapPages maps(db.pager(), db.allocator());
  index.usage_map = maps.add_map();
  IndexNode root;
  root.leaf = true;
  root.owner = def.page;
  root.number = db.allocator().allocate(std::vector<std::uint8_t>(db.pager().page_size(), 0));
  auto bytes = encode_index_node(root, db.pager().page_size());
  if (!bytes) throw Error(ErrorCode::OperationNotSupported, "page d'index vide");
  db.pager().write(root.number, std::move(*bytes));
  index.root_page = root.number;
  set_usage_bit(db.pager(), RowId::from_pointer(index.usage_map), root.number, true, true,
                [&](std::vector<std::uint8_t> b) { return db.allocator().allocate(std::move(b)); });
  return index;
}

// Removes logical index `number` of `def` and, when no other logical index uses it, its real
// index (tree pages given back); other tables' references to renumbered indexes follow.
void remove_logical(WritableDatabase& db, std::map<PageNumber, TableDef>& defs, PageNumber page, std::uint32_t number) {
  TableDef& def = defs.at(page);
  auto it = std::find_if(def.logical_indexes.begin(), def.logical_indexes.end(),
                         [&](const LogicalIndex& li) { return li.number == number; });
  const std::uint32_t real = it->real_index;
  def.logical_indexes.erase(it);
  for (LogicalIndex& li : def.logical_indexes)
    if (li.number > number) --li.number;
  for (auto& [other_page, other] : defs)
    for (LogicalIndex& li : other.logical_indexes)
      if (li.kind == IndexKind::ForeignKey && li.related_table_page == page && li.related_index > static_cast<std::int32_t>(number))
        --li.related_index;
  if (std::any_of(def.logical_indexes.begin(), def.logical_indexes.end(),
                  [&](const LogicalIndex& li) { return li.real_index == real; }))
    return;
  auto index = std::find_if(def.indexes.begin(), def.indexes.end(), [&](const IndexDef& r) { return r.number == real; });
  if (index == def.indexes.end()) return;
  OverlayIndexPageStore store(db.allocator());
  store.select_index(*index);
  for (PageNumber p : index_tree_pages(db.pager(), index->root_page)) store.free_page(p);
  def.indexes.erase(index);
  for (IndexDef& r : def.indexes)
    if (r.number > real) --r.number;
  for (LogicalIndex& li : def.logical_indexes)
    if (li.real_index > real) --li.real_index;
}

}  // namespace jet::index_layout
