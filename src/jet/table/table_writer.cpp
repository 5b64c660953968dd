#include "jet/table/table_writer.h"


#include "jet/record/data_page.h"
#include "jet/record/data_page_write.h"
#include "jet/base/error.h"
#include "jet/base/error_texts.h"
#include "jet/record/row_encode.h"
#include "jet/storage/transaction.h"
#include "jet/record/usage_map_write.h"
#include "jet/storage/format.h"

namespace jet {
namespace {

[[noreturn]] void refuse_indexed_table(const std::string& why) {
  throw Error(static_cast<int>(ErrorCode::OperationNotSupported),
              describe(static_cast<int>(ErrorCode::OperationNotSupported)) + " (" + why + ")");
}

[[noreturn]] void record_too_large() {
  throw Error(3047, error_message(3047));
}

bool property_true(const PropertyBlock* block, std::string_view name, bool absent) {
  if (!block) return absent;
  const Property* p = block->find(name);
  if (!p || p->value.is_null() || p->value.is_empty()) return absent;
  return p->value.is_numeric() ? p->value.to_double() != 0 : absent;
}

Guid random_guid(os::Random& random) {
  Guid g;
  for (std::size_t half = 0; half < 2; ++half) {
    std::uint64_t bits = random.next();
    for (std::size_t i = 0; i < 8; ++i, bits >>= 8) g.bytes[half * 8 + i] = static_cast<std::uint8_t>(bits);
  }
  g.bytes[7] = static_cast<std::uint8_t>((g.bytes[7] & 0x0F) | 0x40);  // version 4 (stored little-endian)
  g.bytes[8] = static_cast<std::uint8_t>((g.bytes[8] & 0x3F) | 0x80);
  return g;
}

}  // namespace

ColumnRules ColumnRules::from_properties(const TableDef& def, const PropertySet& properties) {
  ColumnRules rules;
  for (const ColumnDef& column : def.columns) {
    const PropertyBlock* block = properties.column(column.name);
    if (property_true(block, "Required", false)) rules.required.insert(column.name);
    if (is_textual(column.type) && !property_true(block, "AllowZeroLength", true))
      rules.zero_length_refused.insert(column.name);
  }
  return rules;
}

TableWriter::TableWriter(OverlayPager& pager, PageAllocator& allocator, std::string table_name,
                         PageNumber definition_page, ColumnRules rules, IndexHook* hook)
    : pager_(pager), allocator_(allocator), long_values_(pager, allocator), name_(std::move(table_name)),
      page_(definition_page), rules_(std::move(rules)), hook_(hook) {}

std::shared_ptr<TableWriter::Parsed> TableWriter::parsed() const {
  if (parsed_) {
    bool same = true;
    PageNumber next = page_;
    for (const Page& held : parsed_->pages) {
      if (next == 0 || next >= pager_.page_count()) { same = false; break; }
      const Page now = pager_.read(next);
      if (now.view().data() != held.view().data()) { same = false; break; }
      next = now.view().u32(4);
    }
    if (same && next == 0) return parsed_;
  }
  auto fresh = std::make_shared<Parsed>();
  fresh->def = read_table_def(pager_, page_);
  // The chain of definition pages, as read_table_def just followed it.
  for (PageNumber next = page_; next != 0 && next < pager_.page_count() && fresh->pages.size() <= pager_.page_count();) {
    fresh->pages.push_back(pager_.read(next));
    next = fresh->pages.back().view().u32(4);
  }
  parsed_ = fresh;
  return fresh;
}

TableDef TableWriter::definition() const { return parsed()->def; }

void TableWriter::refuse_if_unindexed(const TableDef& def) const {
  if (!def.indexes.empty() && !hook_)
    refuse_indexed_table("la table « " + name_ + " » a des index, que ce programme ne sait pas encore tenir à jour");
}

Row prepare_row(const TableDef& def, const Row& values, const ColumnRules& rules, const std::string& table,
                os::Random& random, std::uint32_t* next_auto) {
  if (values.size() != def.columns.size()) refuse_indexed_table("nombre de valeurs différent du nombre de champs");
  Row row;
  row.reserve(values.size());
  for (std::size_t i = 0; i < values.size(); ++i) {
    const ColumnDef& column = def.columns[i];
    Value value = coerce_to_column(column, values[i]);
    if (next_auto && column.is_autonumber()) {
      if (column.type == ColumnType::Long && (column.flags & column_flags::AutoLong)) {
        if (value.is_null()) {
          value = Value::long_(static_cast<std::int32_t>(++*next_auto));
        } else if (value.as_long() > 0 && static_cast<std::uint32_t>(value.as_long()) > *next_auto) {
          *next_auto = static_cast<std::uint32_t>(value.as_long());
        }
      } else if (column.type == ColumnType::Guid && value.is_null()) {
        value = Value::guid(random_guid(random));
      }
    }
    if (value.is_null() && rules.required.count(column.name))
      throw Error(ErrorCode::FieldRequired, table + "." + column.name);
    if (value.kind() == ValueKind::Text && value.as_text().empty() && rules.zero_length_refused.count(column.name))
      throw Error(ErrorCode::ZeroLengthNotAllowed, table + "." + column.name);
    row.push_back(std::move(value));
  }
  return row;
}

std::vector<std::uint8_t> encode_stored_row(const TableDef& def, const Row& values, LongValueWriter& long_values,
                                            std::size_t page_size) {
  std::size_t used = 0;
  auto row = encode_row(def, values, [&](const ColumnDef& column, const Value& value) {
    std::vector<std::uint8_t> data = column.type == ColumnType::Memo
                                         ? encode_stored_text(value.as_text(), column.compressed_unicode)
                                         : value.as_binary();
    // Inline values share the row with the other fields: keep the row well inside a page.
    const std::size_t room = page_size / 2 > used ? page_size / 2 - used : 0;
    auto field = long_values.write(data, room);
    used += field.size();
    return field;
  });
  if (row.size() + 2 + disk::kDataHeaderSize > page_size) record_too_large();
  return row;
}

Row TableWriter::prepare(const TableDef& def, const Row& values, bool assign_autonumbers,
                         std::uint32_t* next_auto) const {
  return prepare_row(def, values, rules_, name_, *pager_.services().random, assign_autonumbers ? next_auto : nullptr);
}

std::vector<std::uint8_t> TableWriter::encode(const TableDef& def, const Row& values) {
  return encode_stored_row(def, values, long_values_, pager_.page_size());
}

RowId TableWriter::place_row(const TableDef& def, const std::vector<std::uint8_t>& row, std::uint16_t flags) {
  const RowId free_map = RowId::from_pointer(def.free_pages);
  // Pages before the last one used were already found full (and left the map) or not this
  // table's: the search goes on from there.
  PageNumber from = free_search_from_;
  while (const std::optional<PageNumber> found = first_marked_page(pager_, free_map, from, pager_.page_count())) {
    const PageNumber page = *found;
    from = page + 1;
    const Page current = pager_.read(page);
    if (current.view().u8(0) != static_cast<std::uint8_t>(PageKind::Data) || current.view().u32(4) != def.page)
      continue;  // not a data page of this table: never write there
    DataPageEditor editor(current.view().copy());
    if (!editor.fits(row.size())) {
      // Full for this row: the page leaves the map, as Access leaves nearly full pages out.
      set_usage_bit(pager_, free_map, page, false, false);
      continue;
    }
    const std::uint8_t slot = editor.add_row(row, flags);
    pager_.write(page, editor.release());
    free_search_from_ = page;
    return {page, slot};
  }
  DataPageEditor editor = DataPageEditor::blank(pager_.page_size(), def.page);
  const std::uint8_t slot = editor.add_row(row, flags);
  const PageNumber page = allocator_.allocate(editor.release());
  const PageAppender append = [this](std::vector<std::uint8_t> b) { return allocator_.allocate(std::move(b)); };
  set_usage_bit(pager_, RowId::from_pointer(def.owned_pages), page, true, true, append);
  set_usage_bit(pager_, free_map, page, true, true, append);
  free_search_from_ = page;
  return {page, slot};
}

void TableWriter::write_counters(Parsed& parsed, std::uint32_t rows, std::uint32_t next_auto) {
  const Page before = pager_.read(parsed.def.page);
  std::vector<std::uint8_t> bytes = before.view().copy();
  for (int i = 0; i < 4; ++i) {
    bytes[disk::kTdefRowCount + static_cast<std::size_t>(i)] = static_cast<std::uint8_t>(rows >> (8 * i));
    bytes[disk::kTdefNextAutonumber + static_cast<std::size_t>(i)] = static_cast<std::uint8_t>(next_auto >> (8 * i));
  }
  pager_.write(parsed.def.page, std::move(bytes));
  // The parsed definition follows when it was parsed from the page just replaced.
  if (!parsed.pages.empty() && parsed.pages.front().view().data() == before.view().data()) {
    parsed.def.row_count = rows;
    parsed.def.next_autonumber = next_auto;
    parsed.pages.front() = pager_.read(parsed.def.page);
  }
}

void TableWriter::free_long_values(const TableDef& def, const ByteView& row) {
  const RowLayout layout = read_row_layout(def, row);
  for (const ColumnDef& column : def.columns) {
    const auto& field = layout.fields[column.definition_order];
    if (is_long_value(column.type) && field && field->size() >= disk::kLongValueFieldSize)
      long_values_.free(field->span());
  }
}

RowId TableWriter::insert(const Row& values) {
  Statement statement(pager_);
  const auto state = parsed();
  const TableDef& def = state->def;
  refuse_if_unindexed(def);
  std::uint32_t next_auto = def.next_autonumber;
  const Row row = prepare(def, values, true, &next_auto);
  if (hook_) hook_->check(def, nullptr, &row, std::nullopt);
  const RowId id = place_row(def, encode(def, row), 0);
  write_counters(*state, def.row_count + 1, next_auto);
  if (hook_) hook_->apply(def, nullptr, &row, id);
  statement.commit();
  return id;
}

void TableWriter::update(RowId id, const Row& values) {
  Statement statement(pager_);
  const auto state = parsed();
  const TableDef& def = state->def;
  refuse_if_unindexed(def);
  const std::optional<Row> old_values = read_row(pager_, def, id);
  if (!old_values) throw Error(ErrorCode::NoCurrentRecord);
  std::uint32_t next_auto = def.next_autonumber;
  const Row row = prepare(def, values, false, &next_auto);
  if (hook_) hook_->check(def, &*old_values, &row, id);

  // Where the data is now.
  RowId data = id;
  {
    const DataPage header(pager_.read(id.page));
    if (header.overflow(id.row)) data = header.overflow_target(id.row);
  }
  {
    Page keep = pager_.read(data.page);
    const DataPage holder(keep);
    free_long_values(def, holder.row_bytes(data.row));
  }
  const std::vector<std::uint8_t> bytes = encode(def, row);
  DataPageEditor editor(pager_.read(data.page).view().copy());
  if (editor.replace_row(data.row, bytes)) {
    pager_.write(data.page, editor.release());
  } else {
    // No room: the data moves, the header slot points to it (the row id stays).
    if (data != id) {
      editor.mark_deleted(data.row);
      pager_.write(data.page, editor.release());
    }
    const RowId target = place_row(def, bytes, disk::kRowDeleted);
    DataPageEditor header(pager_.read(id.page).view().copy());
    header.make_pointer(id.row, target);
    pager_.write(id.page, header.release());
  }
  if (next_auto != def.next_autonumber) write_counters(*state, def.row_count, next_auto);
  if (hook_) hook_->apply(def, &*old_values, &row, id);
  statement.commit();
}

void TableWriter::remove(RowId id) {
  Statement statement(pager_);
  const auto state = parsed();
  const TableDef& def = state->def;
  refuse_if_unindexed(def);
  const std::optional<Row> old_values = read_row(pager_, def, id);
  if (!old_values) throw Error(ErrorCode::NoCurrentRecord);
  if (hook_) hook_->check(def, &*old_values, nullptr, id);
  RowId data = id;
  {
    const DataPage header(pager_.read(id.page));
    if (header.overflow(id.row)) data = header.overflow_target(id.row);
  }
  {
    Page keep = pager_.read(data.page);
    const DataPage holder(keep);
    free_long_values(def, holder.row_bytes(data.row));
  }
  if (data != id) {
    DataPageEditor moved(pager_.read(data.page).view().copy());
    moved.mark_deleted(data.row);
    pager_.write(data.page, moved.release());
  }
  DataPageEditor header(pager_.read(id.page).view().copy());
  header.mark_deleted(id.row);
  pager_.write(id.page, header.release());
  write_counters(*state, def.row_count > 0 ? def.row_count - 1 : 0, def.next_autonumber);
  if (hook_) hook_->apply(def, &*old_values, nullptr, id);
  statement.commit();
}

}  // namespace jet
