#include "jet/table/bulk_row_writer.h"

#include <cstring>

#include "jet/base/bytes.h"
#include "jet/base/error.h"
#include "jet/base/error_texts.h"
#include "jet/record/long_value.h"
#include "jet/record/row_encode.h"
#include "jet/record/row_frame.h"
#include "jet/record/usage_map_write.h"
#include "jet/storage/format.h"

namespace jet {
namespace {

// The stored bytes of column `c` in a row framed by `f`, or nothing when the row holds no
// value for it (Null, or written before the column existed).
std::optional<ByteView> stored_field(const ByteView& row, const RowFrame& f, const ColumnDef& c) {
  if (c.number >= f.stored_columns || ((row.u8(f.mask_at + c.number / 8) >> (c.number % 8)) & 1) == 0) return {};
  if (c.is_fixed()) {
    const std::size_t start = 2 + std::size_t{c.fixed_offset}, size = fixed_column_size(c);
    if (start + size > f.fixed_end) return {};
    return row.sub(start, size);
  }
  if (c.var_index >= f.var_count) return {};
  const std::size_t start = f.var_offset(row, c.var_index), end = f.var_offset(row, std::size_t{c.var_index} + 1);
  if (start > end || end > f.mask_at) row.damaged("colonne variable « " + c.name + " » hors de la ligne");
  return row.sub(start, end - start);
}

// Whether a stored field surely fits its column as a writer requires it (a text within its
// size, a number within its precision), judged from the bytes where that is enough. A row
// with a field not proven to fit is written from its values, which refuses a damaged one.
bool fits_as_stored(const ColumnDef& c, const ByteView& field) {
  switch (c.type) {
    case ColumnType::Text: {
      // Two bytes a character, or at least one once compressed (after the 2-byte mark).
      const bool compressed = field.size() >= 2 && field.u8(0) == 0xFF && field.u8(1) == 0xFE;
      const std::size_t most = compressed ? field.size() - 2 : field.size() / 2;
      return (compressed || field.size() % 2 == 0) && most * 2 <= c.length;
    }
    case ColumnType::Binary: return field.size() <= c.length;
    case ColumnType::Numeric:
      try {
        coerce_to_column(c, decode_field(c, field));
        return true;
      } catch (const Error&) {
        return false;
      }
    default: return true;
  }
}

bool examined_when_stored(const ColumnDef& c) {
  return c.type == ColumnType::Text || c.type == ColumnType::Binary || c.type == ColumnType::Numeric ||
         is_long_value(c.type);
}

}  // namespace

BulkRowWriter::BulkRowWriter(OverlayPager& pager, PageAllocator& allocator, std::string table_name,
                             PageNumber definition_page, IndexHook* hook)
    : pager_(pager),
      allocator_(allocator),
      name_(std::move(table_name)),
      def_(read_table_def(pager, definition_page)),
      hook_(hook),
      long_values_(pager, allocator),
      next_auto_(def_.next_autonumber) {
  for (const ColumnDef& c : def_.columns) {
    if (examined_when_stored(c)) examined_.push_back(&c);
    if (c.is_autonumber()) autonumbers_.push_back(&c);
  }
  if (!def_.indexes.empty() && !hook_)
    throw Error(static_cast<int>(ErrorCode::OperationNotSupported),
                describe(static_cast<int>(ErrorCode::OperationNotSupported)) + " (la table « " + name_ +
                    " » a des index, que ce programme ne sait pas encore tenir à jour)");
}

RowId BulkRowWriter::add(const Row& values) {
  const Row row = prepare_row(def_, values, {}, name_, *pager_.services().random, &next_auto_);
  if (hook_) hook_->check(def_, nullptr, &row, std::nullopt);
  const std::vector<std::uint8_t> bytes = encode_stored_row(def_, row, long_values_, pager_.page_size());
  return put(bytes, &row);
}

bool BulkRowWriter::takes_stored_rows_of(const TableDef& source, const Pager& source_pager) const {
  if (source_pager.layout().format != pager_.layout().format || source_pager.page_size() != pager_.page_size() ||
      source.columns.size() != def_.columns.size() || source.variable_columns != def_.variable_columns) {
    return false;
  }
  for (std::size_t i = 0; i < def_.columns.size(); ++i) {
    const ColumnDef& a = source.columns[i];
    const ColumnDef& b = def_.columns[i];
    if (a.type != b.type || a.number != b.number || a.var_index != b.var_index || a.fixed_offset != b.fixed_offset ||
        a.length != b.length || a.flags != b.flags || a.code_page != b.code_page || a.precision != b.precision ||
        a.scale != b.scale) {
      return false;
    }
  }
  return true;
}

ColumnSelection BulkRowWriter::stored_row_needs() const {
  ColumnSelection wanted(def_.columns.size(), false);
  if (!hook_ || !hook_->takes_stored_rows())
    for (const IndexDef& index : def_.indexes)
      for (const IndexColumn& ic : index.columns)
        if (const ColumnDef* c = def_.column_by_number(ic.column_number)) wanted[c->definition_order] = true;
  return wanted;
}

std::optional<RowId> BulkRowWriter::add_stored(Pager& source_pager, const ByteView& bytes, const Row& values) {
  const RowFrame frame = read_row_frame(bytes, pager_.layout(), def_.variable_columns > 0);
  // Autonumbers as TableWriter sees them: a Null one is numbered (which only encoding can
  // do), a larger one moves the counter on.
  std::uint32_t next_auto = next_auto_;
  for (const ColumnDef* c : autonumbers_) {
    // Fixed columns (a long or a GUID): present when their bit is set and they lie in the row.
    const std::size_t start = pager_.layout().row_count_size + std::size_t{c->fixed_offset};
    if (!c->is_fixed() || c->number >= frame.stored_columns ||
        ((bytes.u8(frame.mask_at + c->number / 8) >> (c->number % 8)) & 1) == 0 ||
        start + fixed_column_size(*c) > frame.fixed_end) {
      return std::nullopt;
    }
    if (c->type == ColumnType::Long) {
      const auto number = static_cast<std::int32_t>(bytes.u32(start));
      if (number > 0 && static_cast<std::uint32_t>(number) > next_auto) next_auto = static_cast<std::uint32_t>(number);
    }
  }
  fields_.clear();
  for (const ColumnDef* c : examined_) {
    const std::optional<ByteView> field = stored_field(bytes, frame, *c);
    if (!field) continue;
    if (is_long_value(c->type)) {
      if (field->size() >= disk::kLongValueFieldSize &&
          parse_long_value_ref(*field).storage != LongValueStorage::Inline) {
        fields_.push_back(*field);
      }
    } else if (!fits_as_stored(*c, *field)) {
      return std::nullopt;
    }
  }
  const bool as_stored = hook_ && hook_->takes_stored_rows();
  if (hook_ && !as_stored) hook_->check(def_, nullptr, &values, std::nullopt);
  next_auto_ = next_auto;
  carried_.assign(bytes.data(), bytes.data() + bytes.size());
  for (const ByteView& field : fields_) {
    // Kept out of the row as in the source, so that the row keeps its size.
    const std::vector<std::uint8_t> reference = long_values_.write(read_long_value(source_pager, field), 0);
    const auto at = static_cast<std::size_t>(field.data() - bytes.data());
    std::memcpy(carried_.data() + at, reference.data(), disk::kLongValueFieldSize);
  }
  return put(carried_, as_stored ? nullptr : &values);
}

RowId BulkRowWriter::put(std::span<const std::uint8_t> row, const Row* values) {
  if (!page_ || !page_->fits(row.size())) {
    write_page();
    start_page();
    if (!page_->fits(row.size())) throw Error(3047, error_message(3047));
  }
  const RowId id{page_number_, page_->add_row(row)};
  ++added_;
  if (hook_ && values) hook_->apply(def_, nullptr, values, id);
  else if (hook_) hook_->apply_stored(def_, row, id);
  return id;
}

void BulkRowWriter::start_page() {
  page_ = DataPageEditor::blank(pager_.page_size(), def_.page);
  page_number_ = allocator_.allocate(page_->bytes());
  const PageAppender append = [this](std::vector<std::uint8_t> b) { return allocator_.allocate(std::move(b)); };
  set_usage_bit(pager_, RowId::from_pointer(def_.owned_pages), page_number_, true, true, append);
}

void BulkRowWriter::write_page() {
  if (!page_) return;
  pager_.write(page_number_, page_->release());
  page_.reset();
}

void BulkRowWriter::finish() {
  if (page_) {
    const PageNumber last = page_number_;
    write_page();
    const PageAppender append = [this](std::vector<std::uint8_t> b) { return allocator_.allocate(std::move(b)); };
    set_usage_bit(pager_, RowId::from_pointer(def_.free_pages), last, true, true, append);
  }
  std::vector<std::uint8_t> bytes = pager_.read(def_.page).view().copy();
  store_le32(bytes, disk::kTdefRowCount, def_.row_count + added_);
  store_le32(bytes, disk::kTdefNextAutonumber, next_auto_);
  pager_.write(def_.page, std::move(bytes));
  def_.row_count += added_;
  def_.next_autonumber = next_auto_;
  added_ = 0;
}

}  // namespace jet
