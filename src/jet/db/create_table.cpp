#include "jet/db/create_table.h"

#include <algorithm>
#include <map>

#include "jet/btree/btree_write_page.h"
#include "jet/catalog/catalog_write.h"
#include "jet/record/data_page_write.h"
#include "jet/base/error.h"
#include "jet/base/names.h"
#include "jet/record/tdef_encode.h"
#include "jet/storage/transaction.h"
#include "jet/record/usage_map_write.h"
#include "jet/db/writable_database.h"
#include "jet/storage/format.h"

namespace jet {
namespace {

// An inline usage map: kind byte, first page covered, then one bit per page (512 pages).

std::uint16_t stored_length(const ColumnDesign& c) {
  switch (c.type) {
    case ColumnType::Text: return static_cast<std::uint16_t>(c.size * 2);
    case ColumnType::Binary: return c.size;
    case ColumnType::Memo: case ColumnType::Ole: return 0;
    case ColumnType::Boolean: return 1;
    default: {
      ColumnDef probe;
      probe.type = c.type;
      return static_cast<std::uint16_t>(fixed_column_size(probe));
    }
  }
}

bool fixed_type(ColumnType type) {
  return type != ColumnType::Text && type != ColumnType::Binary && !is_long_value(type);
}

std::uint8_t real_flags(const IndexDesign& s) {
  std::uint8_t flags = 0;
  if (s.primary || s.unique) flags |= index_flags::Unique;
  if (s.ignore_nulls) flags |= index_flags::IgnoreNulls;
  if (s.primary || s.required) flags |= index_flags::Required;
  return flags;
}

}  // namespace

TableDef table_def_of(const TableDesign& design, std::uint16_t sort_order) {
  validate(design);
  TableDef def;
  std::uint16_t variable = 0;
  std::uint16_t fixed_offset = 0;
  for (std::size_t i = 0; i < design.columns.size(); ++i) {
    const ColumnDesign& s = design.columns[i];
    ColumnDef c;
    c.name = s.name;
    c.type = s.type;
    c.number = static_cast<std::uint16_t>(i);
    c.definition_order = static_cast<std::uint32_t>(i);
    c.display_index = static_cast<std::uint32_t>(i);
    c.length = stored_length(s);
    c.flags = column_flags::Nullable;
    if (fixed_type(s.type)) c.flags |= column_flags::Fixed;
    if (s.autonumber) c.flags |= s.type == ColumnType::Guid ? column_flags::AutoGuid : column_flags::AutoLong;
    c.compressed_unicode = is_textual(s.type) && s.compressed_unicode;
    c.sort_order = sort_order;
    if (s.type == ColumnType::Numeric) {
      c.precision = s.precision;
      c.scale = s.scale;
    }
    // Variable columns take the next slot; fixed ones record how many variable columns
    // precede them, as Access does.
    c.var_index = variable;
    if (c.is_fixed()) {
      if (c.type != ColumnType::Boolean) {
        c.fixed_offset = fixed_offset;
        fixed_offset = static_cast<std::uint16_t>(fixed_offset + fixed_column_size(c));
      }
    } else {
      ++variable;
    }
    def.columns.push_back(std::move(c));
  }
  def.max_columns = static_cast<std::uint16_t>(def.columns.size());
  def.variable_columns = variable;

  for (std::size_t i = 0; i < design.indexes.size(); ++i) {
    const IndexDesign& s = design.indexes[i];
    IndexDef real;
    for (const IndexColumnDesign& ic : s.columns)
      real.columns.push_back({def.find_column(ic.column)->number, !ic.descending});
    real.flags = real_flags(s);
    auto same = std::find_if(def.indexes.begin(), def.indexes.end(), [&](const IndexDef& r) {
      if (r.flags != real.flags || r.columns.size() != real.columns.size()) return false;
      for (std::size_t k = 0; k < r.columns.size(); ++k)
        if (r.columns[k].column_number != real.columns[k].column_number ||
            r.columns[k].ascending != real.columns[k].ascending)
          return false;
      return true;
    });
    LogicalIndex logical;
    logical.name = s.name;
    logical.number = static_cast<std::uint32_t>(i);
    logical.kind = s.primary ? IndexKind::Primary : IndexKind::Normal;
    if (same != def.indexes.end()) {
      logical.real_index = same->number;
    } else {
      real.number = static_cast<std::uint32_t>(def.indexes.size());
      logical.real_index = real.number;
      def.indexes.push_back(std::move(real));
    }
    def.logical_indexes.push_back(std::move(logical));
  }
  return def;
}

PropertySet properties_of(const TableDesign& design) {
  PropertySet set;
  for (const auto& [name, value] : design.properties) set.object_block().set(name, value);
  for (const ColumnDesign& c : design.columns) {
    std::vector<std::pair<std::string, Value>> values;
    if (c.default_value) values.emplace_back("DefaultValue", Value::text(*c.default_value));
    if (c.required) values.emplace_back("Required", Value::boolean(true));
    if (is_textual(c.type) && c.allow_zero_length) values.emplace_back("AllowZeroLength", Value::boolean(*c.allow_zero_length));
    if (c.description) values.emplace_back("Description", Value::text(*c.description));
    for (const auto& [name, value] : c.properties) values.emplace_back(name, value);
    if (values.empty()) continue;
    PropertyBlock& block = set.column_block(c.name);
    for (const auto& [name, value] : values) set_column_property(block, name, value);
  }
  return set;
}

std::uint32_t UsageMapPages::add_map() {
  std::vector<std::uint8_t> map(disk::kMapInlineRowSize, 0);
  if (current_) {
    DataPageEditor page(pager_.read(*current_).view().copy());
    if (page.fits(map.size()) && page.row_count() < disk::kDataMaxRows) {
      const std::uint8_t row = page.add_row(map);
      pager_.write(*current_, page.release());
      return RowId{*current_, row}.pointer();
    }
  }
  DataPageEditor page = DataPageEditor::blank(pager_.page_size(), 0);
  const std::uint8_t row = page.add_row(map);
  current_ = allocator_.allocate(page.release());
  return RowId{*current_, row}.pointer();
}

void lay_out_table(OverlayPager& pager, PageAllocator& allocator, UsageMapPages& maps, TableDef& def) {
  // Map rows in Access's order: owned pages, pages with room, the long-value columns' pairs
  // (by column number), then one per real index.
  def.owned_pages = maps.add_map();
  def.free_pages = maps.add_map();
  std::map<std::uint16_t, LongValueMaps> long_values;
  for (const ColumnDef& c : def.columns) {
    if (!is_long_value(c.type)) continue;
    LongValueMaps lv;
    lv.column_number = c.number;
    lv.owned_pages = maps.add_map();
    lv.free_pages = maps.add_map();
    long_values[c.number] = lv;
  }
  const PageAppender append = [&](std::vector<std::uint8_t> bytes) { return allocator.allocate(std::move(bytes)); };
  for (IndexDef& index : def.indexes) index.usage_map = maps.add_map();
  for (IndexDef& index : def.indexes) {
    IndexNode root;
    root.leaf = true;
    root.owner = def.page;
    root.number = allocator.allocate(std::vector<std::uint8_t>(pager.page_size(), 0));
    auto bytes = encode_index_node(root, pager.page_size());
    if (!bytes) throw Error(ErrorCode::OperationNotSupported, "page d'index vide");
    pager.write(root.number, std::move(*bytes));
    index.root_page = root.number;
    set_usage_bit(pager, RowId::from_pointer(index.usage_map), root.number, true, true, append);
  }
  // The definition lists the long-value maps in the stored column order.
  def.long_value_maps.clear();
  std::vector<const ColumnDef*> stored;
  for (const ColumnDef& c : def.columns) stored.push_back(&c);
  std::stable_sort(stored.begin(), stored.end(),
                   [](const ColumnDef* a, const ColumnDef* b) { return a->display_index < b->display_index; });
  for (const ColumnDef* c : stored)
    if (is_long_value(c->type)) def.long_value_maps.push_back(long_values[c->number]);
  write_table_def(pager, allocator, def);
}

PageNumber WritableDatabase::create_table(const TableDesign& design) {
  TableDef def = table_def_of(design, static_cast<std::uint16_t>(header().sort_order ? header().sort_order : 0x0409));
  for (const CatalogEntry& e : catalog_->entries())
    if (e.parent_id == object_ids::Tables && same_name(e.name, design.name)) throw Error(ErrorCode::TableExists, design.name);
  Statement statement(*overlay_);
  def.page = allocator_->allocate(std::vector<std::uint8_t>(overlay_->page_size(), 0));
  UsageMapPages maps(*overlay_, *allocator_);
  lay_out_table(*overlay_, *allocator_, maps, def);

  CatalogWriter catalog(*overlay_, *allocator_);
  ObjectRow row;
  row.id = static_cast<std::int32_t>(def.page);
  row.parent_id = object_ids::Tables;
  row.name = design.name;
  row.type = static_cast<std::int16_t>(ObjectType::Table);
  row.properties = encode_properties(properties_of(design));
  catalog.add(row);
  catalog.add_access(row.id, default_access(ObjectType::Table));
  statement.commit();
  reload_catalog();
  return def.page;
}

}  // namespace jet
