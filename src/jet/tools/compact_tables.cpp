// Tables carried by the compaction: definition, rows in storage order, indexes built in bulk.
#include <algorithm>
#include <map>
#include <optional>
#include <unordered_map>

#include "jet/table/btree_build.h"
#include "jet/table/bulk_row_writer.h"
#include "jet/table/index_entry_sort.h"
#include "jet/btree/btree_write_overlay.h"
#include "jet/tools/compact_index_gathering.h"
#include "jet/tools/compact_internal.h"
#include "jet/base/error.h"
#include "jet/btree/index_row_key.h"
#include "jet/btree/index_stored_key.h"
#include "jet/base/names.h"
#include "jet/table/table_design.h"
#include "jet/table/table_writer.h"
#include "jet/record/long_value.h"
#include "jet/record/row.h"
#include "jet/record/tdef_encode.h"
#include "jet/storage/transaction.h"
#include "jet/storage/format.h"
#include "jet/base/bytes.h"

namespace jet::compact_detail {
namespace {
constexpr const char* kPlaceholder = "~cle_etrangere_";

[[noreturn]] void cannot_carry(const std::string& path, const std::string& what) {
  throw_damaged(path, "compactage impossible : " + what);
}

// The source's real index over the same columns (by name) in the same directions.
const IndexDef* source_index(const TableDef& source, const TableDef& def, const IndexDef& index) {
  const auto same = [&](const IndexDef& candidate) {
    if (candidate.columns.size() != index.columns.size()) return false;
    for (std::size_t i = 0; i < index.columns.size(); ++i) {
      const ColumnDef* a = def.column_by_number(index.columns[i].column_number);
      const ColumnDef* b = source.column_by_number(candidate.columns[i].column_number);
      if (!a || !b || !same_name(a->name, b->name) ||
          index.columns[i].ascending != candidate.columns[i].ascending) {
        return false;
      }
    }
    return true;
  };
  for (const IndexDef& candidate : source.indexes)
    if (same(candidate)) return &candidate;
  return nullptr;
}

// Rows of a damaged source can break a unique index (two rows of one key): carried as they
// are, they would give a new file that does not check sound. Passes the sorted entries on,
// refusing two neighbours of one key without a Null part.
using CopiedFrom = std::vector<std::pair<std::uint32_t, RowId>>;

// Builds the indexes of the filled table. A row whose key cannot be computed carries the
// entry the source's matching index holds for the row it was copied from (`copied_from`
// gives, when first needed, each destination row pointer and its source row, sorted by
// destination).
void rebuild_indexes(WritableDatabase& db, PageNumber page, const std::string& name, const Table& source,
                     const std::function<CopiedFrom()>& copied_from, GatheredIndexes& gathered) {
  const TableDef def = read_table_def(db.pager(), page);
  OverlayIndexPageStore store(db.allocator());
  const Table table(db.pager(), name, def);
  std::optional<CopiedFrom> origins;
  for (std::size_t i = 0; i < def.indexes.size(); ++i) {
    const IndexDef& index = def.indexes[i];
    if (IndexEntrySort* entries = gathered.take(i)) {
      store.select_index(index);
      build_index_tree_from(store, def.page, index.root_page, checking_unique(def, index, entries->sorted(), [&] {
        cannot_carry(db.path(), "clé en double dans un index unique de la table « " + name + " »");
      }));
      entries->clear();
      continue;
    }
    const IndexDef* from = source_index(source.def(), def, index);
    std::optional<std::unordered_map<std::uint32_t, std::vector<std::uint8_t>>> held;
    const auto stored = [&](RowId row) -> std::optional<std::vector<std::uint8_t>> {
      if (!from) return std::nullopt;
      if (!origins) origins = copied_from();
      const auto origin = std::lower_bound(origins->begin(), origins->end(), std::make_pair(row.pointer(), RowId{}));
      if (origin == origins->end() || origin->first != row.pointer()) return std::nullopt;
      if (!held) held = stored_keys_by_row(source.pager(), source.def(), *from);
      const auto it = held->find(origin->second.pointer());
      if (it == held->end()) return std::nullopt;
      return it->second;
    };
    rebuild_index(store, table, index, stored);
  }
}

// Gives the destination's columns the source's flags (fixed-length text, hyperlink...),
// and the restated ones their stored size, and their stored type unless `as_binary` (so
// that the table writer can fill them); the row layout follows. Only on an empty table.
void restate_columns(WritableDatabase& db, PageNumber page, const TableDef& source,
                     const std::map<std::string, std::pair<ColumnType, std::uint16_t>>& restated, bool as_binary) {
  TableDef def = read_table_def(db.pager(), page);
  bool changed = false;
  for (ColumnDef& c : def.columns) {
    const ColumnDef* from = source.find_column(c.name);
    if (from && from->flags != c.flags) {
      c.flags = from->flags;
      changed = true;
    }
    auto it = restated.find(c.name);
    if (it == restated.end()) continue;
    c.type = as_binary ? ColumnType::Binary : it->second.first;
    c.length = it->second.second;
    changed = true;
  }
  if (!changed) return;
  std::uint16_t variable = 0, fixed_offset = 0;
  for (ColumnDef& c : def.columns) {
    c.var_index = variable;
    c.fixed_offset = 0;
    if (!c.is_fixed()) {
      ++variable;
    } else if (c.type != ColumnType::Boolean) {
      c.fixed_offset = fixed_offset;
      fixed_offset = static_cast<std::uint16_t>(fixed_offset + fixed_column_size(c));
    }
  }
  def.variable_columns = variable;
  write_table_def(db.pager(), db.allocator(), def);
}

}  // namespace

bool engine_table(std::string_view name) {
  for (std::string_view own : {"MSysObjects", "MSysACEs", "MSysQueries", "MSysRelationships"})
    if (same_name(own, name)) return true;
  return false;
}

namespace {

// Destination position of each source column, by name.
std::vector<std::optional<std::size_t>> positions(const TableDef& from, const TableDef& to) {
  std::vector<std::optional<std::size_t>> position(from.columns.size());
  for (const ColumnDef& c : from.columns)
    if (const ColumnDef* d = to.find_column(c.name)) position[c.definition_order] = d->definition_order;
  return position;
}

// Rows appended page by page after the destination's own. When both tables are laid out
// alike, a row is carried as stored, only the columns its index entries need decoded.
std::uint64_t append_rows(Database& source, const Table& from, WritableDatabase& destination,
                          const CatalogEntry& entry, std::size_t sort_bytes, RowsProgress* progress) {
  const TableDef to = read_table_def(destination.pager(), entry.table_page());
  GatheredIndexes gathered(to, destination.pager().layout(), destination.pager().services(), destination.path(),
                           sort_bytes);
  BulkRowWriter writer(destination.pager(), destination.allocator(), entry.name, entry.table_page(), &gathered);
  const bool stored = writer.takes_stored_rows_of(from.def(), source.pager());
  const ColumnSelection needs = stored ? writer.stored_row_needs() : ColumnSelection{};
  const bool decode_needed = std::find(needs.begin(), needs.end(), true) != needs.end();
  const auto position = positions(from.def(), to);
  std::uint64_t copied = 0;
  std::vector<std::uint32_t> placed;  // destination row pointers, in the order of the source's rows
  Row values, out;
  from.scan_stored([&](RowId, const ByteView& bytes) {
    std::optional<RowId> at;
    if (stored) {
      if (decode_needed) decode_row_into(source.pager(), from.def(), bytes, values, needs);
      at = writer.add_stored(source.pager(), bytes, values);
    }
    if (!at) {
      decode_row_into(source.pager(), from.def(), bytes, values);
      out.assign(to.columns.size(), Value::null());
      for (std::size_t i = 0; i < values.size(); ++i)
        if (position[i]) out[*position[i]] = std::move(values[i]);
      at = writer.add(out);
    }
    placed.push_back(at->pointer());
    ++copied;
    if (progress) progress->add();
    return true;
  });
  writer.finish();
  // The source rows again, in the same order, when an index needs its stored entries.
  const auto copied_from = [&] {
    CopiedFrom pairs;
    pairs.reserve(placed.size());
    from.scan_stored([&](RowId id, const ByteView&) {
      pairs.emplace_back(placed.at(pairs.size()), id);
      return pairs.size() < placed.size();
    });
    std::sort(pairs.begin(), pairs.end(), [](const auto& a, const auto& b) { return a.first < b.first; });
    return pairs;
  };
  rebuild_indexes(destination, entry.table_page(), entry.name, from, copied_from, gathered);
  return copied;
}

}  // namespace

std::uint64_t copy_rows(Database& source, std::string_view table, WritableDatabase& destination,
                        const std::function<bool(const TableDef&, Row&)>& adjust, bool overwrite,
                        std::size_t sort_bytes, RowsProgress* progress) {
  const Table from = source.table(table);
  const CatalogEntry* entry = destination.catalog().find_table(table);
  if (!entry) throw Error(ErrorCode::TableNotFound, table);
  if (!adjust && !overwrite) return append_rows(source, from, destination, *entry, sort_bytes, progress);
  std::vector<RowId> existing;
  if (overwrite)
    destination.table(entry->name).scan([&](RowId id, const Row&) {
      existing.push_back(id);
      return true;
    });
  std::size_t reused = 0;
  const TableDef to = read_table_def(destination.pager(), entry->table_page());
  GatheredIndexes gathered(to, destination.pager().layout(), destination.pager().services(), destination.path(),
                           sort_bytes);
  TableWriter writer(destination.pager(), destination.allocator(), entry->name, entry->table_page(), {}, &gathered);
  const auto position = positions(from.def(), to);
  std::uint64_t copied = 0;
  std::vector<std::pair<std::uint32_t, RowId>> copied_from;
  from.scan([&](RowId id, const Row& row) {
    Row out(to.columns.size(), Value::null());
    for (std::size_t i = 0; i < row.size(); ++i)
      if (position[i]) out[*position[i]] = row[i];
    if (adjust && !adjust(to, out)) return true;
    // A row overwritten in place keeps its row id, even when its bytes move elsewhere.
    if (reused < existing.size()) {
      writer.update(existing[reused], out);
      copied_from.emplace_back(existing[reused++].pointer(), id);
    } else {
      copied_from.emplace_back(writer.insert(out).pointer(), id);
    }
    ++copied;
    if (progress) progress->add();
    return true;
  });
  for (; reused < existing.size(); ++reused) writer.remove(existing[reused]);
  std::sort(copied_from.begin(), copied_from.end(),
            [](const auto& a, const auto& b) { return a.first < b.first; });
  rebuild_indexes(destination, entry->table_page(), entry->name, from, [&] { return copied_from; }, gathered);
  return copied;
}

CarriedDesign carried_design(const std::string& path, const std::string& name, const TableDef& def,
                             const PropertySet& properties) {
  CarriedDesign carried;
  TableDesign& design = carried.design;
  design = design_of(name, def, properties);
  // Access's own tables hold columns a table design may not state: long binaries of a type
  // code of their own (MSysAccessObjects.Data, 3992 bytes). They are created as binaries of
  // the largest stated size, filled, then given their stored type and size back.
  for (ColumnDesign& c : design.columns) {
    const ColumnDef* column = def.find_column(c.name);
    const bool binary_like = c.type == ColumnType::Binary || static_cast<std::uint8_t>(c.type) == 0x11;
    if (column && binary_like && (c.type != ColumnType::Binary || column->length > 255)) {
      carried.restated[c.name] = {column->type, column->length};
      c.type = ColumnType::Binary;
      c.size = 255;
    }
  }
  // Foreign-key indexes are made as plain indexes with the same columns and rules, then
  // turned into foreign keys once every table exists (finish_foreign_keys).
  for (const LogicalIndex& logical : def.logical_indexes) {
    if (logical.kind != IndexKind::ForeignKey) continue;
    const IndexDef* real = def.real_index(logical.real_index);
    if (!real) cannot_carry(path, "index « " + logical.name + " » sans index physique");
    IndexDesign index;
    index.name = kPlaceholder + std::to_string(carried.foreign_keys.size());
    index.unique = real->unique();
    index.ignore_nulls = real->ignore_nulls();
    index.required = real->required();
    for (const IndexColumn& ic : real->columns) {
      const ColumnDef* c = def.column_by_number(ic.column_number);
      if (!c) cannot_carry(path, "index « " + logical.name + " » sur une colonne absente");
      index.columns.push_back({c->name, !ic.ascending});
    }
    carried.foreign_keys[index.name] = logical.name;
    design.indexes.push_back(std::move(index));
  }
  validate(design);
  return carried;
}

CarriedTable carry_table(Database& source, const CatalogEntry& entry, WritableDatabase& destination,
                         CompactReport& report, std::size_t sort_bytes, RowsProgress* progress) {
  const Table table = source.table(entry.name);
  const TableDef& def = table.def();
  CarriedDesign built = carried_design(source.path(), entry.name, def, entry.property_set());
  const TableDesign& design = built.design;
  const auto& restated = built.restated;
  CarriedTable carried;
  carried.name = entry.name;
  carried.source_page = def.page;
  carried.foreign_keys = std::move(built.foreign_keys);

  Transaction tx(destination.pager());
  carried.page = destination.create_table(design);
  restate_columns(destination, carried.page, def, restated, true);
  carried.rows = copy_rows(source, entry.name, destination, {}, false, sort_bytes, progress);
  report.rows += carried.rows;
  restate_columns(destination, carried.page, def, restated, false);
  const TableDef written = read_table_def(destination.pager(), carried.page);
  if (written.next_autonumber != def.next_autonumber) {
    std::vector<std::uint8_t> bytes = destination.pager().read(carried.page).view().copy();
    store_le32(bytes, disk::kTdefNextAutonumber, def.next_autonumber);
    destination.pager().write(carried.page, std::move(bytes));
  }
  tx.commit();
  ++report.tables;
  return carried;
}

void finish_foreign_keys(Database& source, WritableDatabase& destination, const std::vector<CarriedTable>& tables) {
  std::map<PageNumber, const CarriedTable*> by_source_page;
  for (const auto& t : tables) by_source_page[t.source_page] = &t;
  // Destination definitions before any renaming; logical index numbers do not change.
  std::map<PageNumber, TableDef> defs;
  for (const auto& t : tables) defs[t.page] = read_table_def(destination.pager(), t.page);
  auto number_in = [&](const CarriedTable& t, const std::string& name) -> std::int32_t {
    for (const LogicalIndex& li : defs.at(t.page).logical_indexes) {
      auto placeholder = t.foreign_keys.find(li.name);
      const std::string& final_name = placeholder != t.foreign_keys.end() ? placeholder->second : li.name;
      if (same_name(final_name, name)) return static_cast<std::int32_t>(li.number);
    }
    return -1;
  };

  Transaction tx(destination.pager());
  for (const auto& t : tables) {
    if (t.foreign_keys.empty()) continue;
    const TableDef source_def = source.table(t.name).def();
    TableDef def = defs.at(t.page);
    for (LogicalIndex& li : def.logical_indexes) {
      auto placeholder = t.foreign_keys.find(li.name);
      if (placeholder == t.foreign_keys.end()) continue;
      const LogicalIndex* from = nullptr;
      for (const LogicalIndex& s : source_def.logical_indexes)
        if (s.name == placeholder->second) from = &s;
      auto related = by_source_page.find(from->related_table_page);
      if (related == by_source_page.end())
        cannot_carry(source.path(), "la clé étrangère « " + from->name + " » désigne une table non copiée");
      li.name = from->name;
      li.kind = IndexKind::ForeignKey;
      li.related_table_kind = from->related_table_kind;
      li.related_table_page = related->second->page;
      li.cascade_updates = from->cascade_updates;
      li.cascade_deletes = from->cascade_deletes;
      li.related_index = -1;
      if (from->related_index >= 0) {
        const TableDef related_source = source.table(related->second->name).def();
        for (const LogicalIndex& r : related_source.logical_indexes)
          if (static_cast<std::int32_t>(r.number) == from->related_index)
            li.related_index = number_in(*related->second, r.name);
        if (li.related_index < 0)
          cannot_carry(source.path(), "la clé étrangère « " + from->name + " » désigne un index introuvable");
      }
    }
    write_table_def(destination.pager(), destination.allocator(), def);
  }
  tx.commit();
}

}  // namespace jet::compact_detail
