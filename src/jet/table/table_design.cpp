#include "jet/table/table_design.h"

#include <algorithm>

#include "jet/base/error.h"
#include "jet/base/names.h"
#include "jet/storage/format.h"

namespace jet {
namespace {

std::size_t characters(std::string_view utf8) {
  std::size_t n = 0;
  for (unsigned char c : utf8)
    if ((c & 0xC0) != 0x80) ++n;
  return n;
}

// Object names as Jet accepts them: 1 to 64 characters, no leading space, none of . ! ` [ ]
// and no control character.
void check_object_name(const std::string& name) {
  bool bad = name.empty() || characters(name) > disk::kMaxNameLength || name.front() == ' ';
  for (unsigned char c : name)
    if (c < 0x20 || c == '.' || c == '!' || c == '`' || c == '[' || c == ']') bad = true;
  if (bad) throw Error(ErrorCode::InvalidName, name);
}

bool designable_type(ColumnType type) {
  switch (type) {
    case ColumnType::Boolean: case ColumnType::Byte: case ColumnType::Integer: case ColumnType::Long:
    case ColumnType::Currency: case ColumnType::Single: case ColumnType::Double: case ColumnType::DateTime:
    case ColumnType::Binary: case ColumnType::Text: case ColumnType::Ole: case ColumnType::Memo:
    case ColumnType::Guid: case ColumnType::Numeric:
      return true;
  }
  return false;
}

std::optional<std::string> text_property(const PropertyBlock* block, std::string_view name) {
  if (!block) return std::nullopt;
  const Property* p = block->find(name);
  if (!p || p->value.kind() != ValueKind::Text) return std::nullopt;
  return p->value.as_text();
}

bool flag_property(const PropertyBlock* block, std::string_view name) {
  if (!block) return false;
  const Property* p = block->find(name);
  if (!p || p->value.is_null() || p->value.is_empty()) return false;
  if (p->value.kind() == ValueKind::Boolean) return p->value.as_boolean();
  return p->value.is_numeric() && p->value.to_int64() != 0;
}

// A Yes/No property as stored, nullopt when the block has none.
std::optional<bool> stored_flag(const PropertyBlock* block, std::string_view name) {
  const Property* p = block ? block->find(name) : nullptr;
  if (!p || p->value.is_null() || p->value.is_empty()) return std::nullopt;
  return flag_property(block, name);
}

}  // namespace

void validate(const TableDesign& design) {
  check_object_name(design.name);
  if (design.columns.empty() || design.columns.size() > disk::kMaxColumns)
    throw Error(ErrorCode::OperationNotSupported, design.name);
  for (std::size_t i = 0; i < design.columns.size(); ++i) {
    const ColumnDesign& c = design.columns[i];
    check_object_name(c.name);
    for (std::size_t j = 0; j < i; ++j)
      if (same_name(design.columns[j].name, c.name)) throw Error(ErrorCode::FieldDefinedTwice, c.name);
    if (!designable_type(c.type)) throw Error(ErrorCode::OperationNotSupported, c.name);
    if ((c.type == ColumnType::Text || c.type == ColumnType::Binary) && (c.size == 0 || c.size > 255))
      throw Error(ErrorCode::OperationNotSupported, c.name);
    if (c.autonumber && c.type != ColumnType::Long && c.type != ColumnType::Guid)
      throw Error(ErrorCode::OperationNotSupported, c.name);
    if (c.type == ColumnType::Numeric && (c.precision == 0 || c.precision > 28 || c.scale > c.precision))
      throw Error(ErrorCode::OperationNotSupported, c.name);
  }
  if (design.indexes.size() > disk::kMaxIndexes) throw Error(ErrorCode::OperationNotSupported, design.name);
  bool primary = false;
  for (std::size_t i = 0; i < design.indexes.size(); ++i) {
    const IndexDesign& index = design.indexes[i];
    check_object_name(index.name);
    for (std::size_t j = 0; j < i; ++j)
      if (same_name(design.indexes[j].name, index.name)) throw Error(ErrorCode::IndexExists, index.name);
    if (index.primary) {
      if (primary) throw Error(ErrorCode::PrimaryKeyExists);
      primary = true;
    }
    if (index.columns.empty() || index.columns.size() > disk::kMaxIndexColumns)
      throw Error(ErrorCode::OperationNotSupported, index.name);
    for (std::size_t k = 0; k < index.columns.size(); ++k) {
      const auto it = std::find_if(design.columns.begin(), design.columns.end(),
                                   [&](const ColumnDesign& c) { return same_name(c.name, index.columns[k].column); });
      if (it == design.columns.end()) throw Error(ErrorCode::ItemNotFound, index.columns[k].column);
      if (is_long_value(it->type)) throw Error(ErrorCode::OperationNotSupported, index.columns[k].column);
      for (std::size_t m = 0; m < k; ++m)
        if (same_name(index.columns[m].column, index.columns[k].column))
          throw Error(ErrorCode::FieldDefinedTwice, index.columns[k].column);
    }
  }
}

TableDesign design_of(std::string_view name, const TableDef& def, const PropertySet& properties) {
  TableDesign design;
  design.name = std::string(name);
  for (const ColumnDef& c : def.columns) {
    ColumnDesign col;
    col.name = c.name;
    col.type = c.type;
    // Jet 4 keeps 2 bytes per character, Jet 3 (text in a code page) one.
    if (c.type == ColumnType::Text) col.size = static_cast<std::uint16_t>(c.code_page ? c.length : c.length / 2);
    else if (c.type == ColumnType::Binary) col.size = c.length;
    col.autonumber = c.is_autonumber();
    col.compressed_unicode = c.compressed_unicode;
    col.precision = c.precision;
    col.scale = c.scale;
    const PropertyBlock* block = properties.column(c.name);
    col.default_value = text_property(block, "DefaultValue");
    col.required = flag_property(block, "Required");
    col.allow_zero_length = stored_flag(block, "AllowZeroLength");  // absent stays absent
    col.description = text_property(block, "Description");
    if (block)
      for (const Property& p : block->properties) {
        static constexpr std::string_view kStated[] = {"DefaultValue", "Required", "AllowZeroLength", "Description"};
        if (std::none_of(std::begin(kStated), std::end(kStated), [&](std::string_view s) { return same_name(s, p.name); }))
          col.properties.emplace_back(p.name, p.value);
      }
    design.columns.push_back(std::move(col));
  }
  for (const LogicalIndex& logical : def.logical_indexes) {
    if (logical.kind == IndexKind::ForeignKey) continue;
    const IndexDef* real = def.real_index(logical.real_index);
    if (!real) continue;
    IndexDesign index;
    index.name = logical.name;
    index.primary = logical.kind == IndexKind::Primary;
    index.unique = real->unique();
    index.ignore_nulls = real->ignore_nulls();
    index.required = real->required();
    for (const IndexColumn& ic : real->columns) {
      const ColumnDef* c = def.column_by_number(ic.column_number);
      if (c) index.columns.push_back({c->name, !ic.ascending});
    }
    design.indexes.push_back(std::move(index));
  }
  if (const PropertyBlock* table = properties.object())
    for (const Property& p : table->properties) design.properties.emplace_back(p.name, p.value);
  return design;
}

}  // namespace jet
