#include "jet/ddl/alter_index.h"

#include <algorithm>
#include <set>

#include "jet/ddl/alter_index_layout.h"
#include "jet/table/btree_build.h"
#include "jet/table/index_entry_sort.h"
#include "jet/btree/btree_write_overlay.h"
#include "jet/base/error.h"
#include "jet/base/names.h"
#include "jet/record/tdef_encode.h"
#include "jet/storage/transaction.h"

namespace jet {
namespace {

[[noreturn]] void refuse_index_change(const std::string& why) {
  throw Error(static_cast<int>(ErrorCode::OperationNotSupported),
              describe(static_cast<int>(ErrorCode::OperationNotSupported)) + " (" + why + ")");
}

std::uint8_t flags_of(const IndexDesign& s) {
  std::uint8_t flags = 0;
  if (s.primary || s.unique) flags |= index_flags::Unique;
  if (s.ignore_nulls) flags |= index_flags::IgnoreNulls;
  if (s.primary || s.required) flags |= index_flags::Required;
  return flags;
}

const CatalogEntry& indexed_table_entry(WritableDatabase& db, const std::string& table) {
  const CatalogEntry* entry = db.catalog().find_table(table);
  if (!entry) throw Error(ErrorCode::TableNotFound, table);
  return *entry;
}

// A primary or required index accepts no row with a Null in one of its columns (3058).
void refuse_nulls(WritableDatabase& db, const CatalogEntry& entry, const TableDef& def, const IndexDef& wanted) {
  std::vector<std::size_t> positions;
  for (const IndexColumn& c : wanted.columns) positions.push_back(def.column_by_number(c.column_number)->definition_order);
  bool found = false;
  Table(db.pager(), entry.name, def).scan([&](RowId, const Row& row) {
    found = std::any_of(positions.begin(), positions.end(), [&](std::size_t at) { return row[at].is_null(); });
    return !found;
  });
  if (found) throw Error(ErrorCode::IndexNullNotAllowed);
}

}  // namespace

void create_index(WritableDatabase& db, const std::string& table, const IndexDesign& design) {
  const CatalogEntry& entry = indexed_table_entry(db, table);
  TableDef def = read_table_def(db.pager(), entry.table_page());
  if (design.name.empty()) throw Error(ErrorCode::InvalidName, design.name);
  for (const LogicalIndex& li : def.logical_indexes) {
    if (same_name(li.name, design.name)) throw Error(ErrorCode::IndexExists, design.name);
    if (design.primary && li.kind == IndexKind::Primary) throw Error(ErrorCode::PrimaryKeyExists);
  }
  if (design.columns.empty() || design.columns.size() > 10) refuse_index_change("colonnes de l'index");
  IndexDef wanted;
  for (const IndexColumnDesign& c : design.columns) {
    const ColumnDef* column = def.find_column(c.column);
    if (!column) throw Error(ErrorCode::ItemNotFound, table + "." + c.column);
    if (is_long_value(column->type)) refuse_index_change("colonne Mémo ou OLE dans un index");
    wanted.columns.push_back({column->number, !c.descending});
  }
  wanted.flags = flags_of(design);
  if (wanted.flags & index_flags::Required) refuse_nulls(db, entry, def, wanted);

  jet::Statement statement(db.pager());
  auto same = std::find_if(def.indexes.begin(), def.indexes.end(), [&](const IndexDef& r) {
    if ((r.flags & 0x0F) != wanted.flags || r.columns.size() != wanted.columns.size()) return false;
    for (std::size_t i = 0; i < r.columns.size(); ++i)
      if (r.columns[i].column_number != wanted.columns[i].column_number || r.columns[i].ascending != wanted.columns[i].ascending)
        return false;
    return true;
  });
  std::uint32_t real = 0;
  bool build = false;
  if (same != def.indexes.end()) {
    real = same->number;
  } else {
    std::vector<std::uint16_t> numbers;
    for (const auto& c : wanted.columns) numbers.push_back(c.column_number);
    IndexDef made = index_layout::new_real_index(db, def, numbers);
    made.columns = wanted.columns;
    made.flags = wanted.flags;
    real = made.number;
    def.indexes.push_back(std::move(made));
    build = true;
  }
  LogicalIndex logical;
  logical.name = design.name;
  logical.number = static_cast<std::uint32_t>(def.logical_indexes.size());
  logical.real_index = real;
  logical.kind = design.primary ? IndexKind::Primary : IndexKind::Normal;
  def.logical_indexes.push_back(logical);
  write_table_def(db.pager(), db.allocator(), def);
  if (build) {
    const Table rows(db.pager(), entry.name, read_table_def(db.pager(), entry.table_page()));
    const IndexDef& index = *rows.def().real_index(real);
    // The entries sorted in bounded memory, a unique index refused on its first key met
    // twice (the statement then leaves nothing of itself).
    IndexEntrySort sort(db.pager().services(), {}, kIndexBuildSortBytes);
    gather_entries_of_rows(rows, index, sort);
    OverlayIndexPageStore store(db.allocator());
    store.select_index(index);
    build_index_tree_from(store, rows.def().page, index.root_page,
                          checking_unique(rows.def(), index, sort.sorted(), [] { throw Error(ErrorCode::DuplicateKey); }));
  }
  statement.commit();
}

void drop_index(WritableDatabase& db, const std::string& table, const std::string& index) {
  const CatalogEntry& entry = indexed_table_entry(db, table);
  std::map<PageNumber, TableDef> defs;
  defs[entry.table_page()] = read_table_def(db.pager(), entry.table_page());
  const TableDef& def = defs.at(entry.table_page());
  auto found = std::find_if(def.logical_indexes.begin(), def.logical_indexes.end(),
                            [&](const LogicalIndex& li) { return same_name(li.name, index); });
  if (found == def.logical_indexes.end()) throw Error(ErrorCode::ItemNotFound, index);
  if (found->kind == IndexKind::ForeignKey) refuse_index_change("l'index « " + found->name + " » sert à une relation");
  const std::uint32_t number = found->number;
  // Foreign keys of other tables name this table's indexes by number.
  for (const CatalogEntry* e : db.catalog().tables(true))
    if (!defs.count(e->table_page())) defs[e->table_page()] = read_table_def(db.pager(), e->table_page());
  std::map<PageNumber, std::vector<std::uint8_t>> before;
  for (const auto& [page, d] : defs) before[page] = encode_table_def(d);
  jet::Statement statement(db.pager());
  index_layout::remove_logical(db, defs, entry.table_page(), number);
  for (const auto& [page, d] : defs)
    if (encode_table_def(d) != before[page]) write_table_def(db.pager(), db.allocator(), d);
  statement.commit();
}

}  // namespace jet
