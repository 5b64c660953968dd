// Joining to a table through one of its indexes. When the ON part of an inner or left join
// equates every column of an index of the right-hand table to expressions over the left
// side, each left tuple seeks that index instead of the whole table being read and held:
// only the rows that match are read, so an update joined to a large backup by its primary
// key reads a few rows per changed row and holds none of the others.
//
// Every pair found is still checked against the whole ON condition with Jet's comparison, so
// the seek only has to find a superset of the matching rows: the keys of an index compare as
// Jet compares values of the column's own type (texts without case or trailing blanks). A
// left value of another kind than the column (a text against a number...), or one the
// column cannot hold, could equal by Jet's rules rows whose keys differ: the join then goes
// the general way, reading the whole table.
#include <unordered_map>

#include "jet/base/error.h"
#include "jet/btree/index_cursor.h"
#include "jet/btree/index_row_key.h"
#include "jet/exec/exec_internal.h"

namespace jet::sql::detail {
namespace {

enum class KeyKind { Text, Number, Date, Other };

KeyKind key_kind(ValueKind v) {
  switch (v) {
    case ValueKind::Text: return KeyKind::Text;
    case ValueKind::Byte:
    case ValueKind::Integer:
    case ValueKind::Long:
    case ValueKind::Currency:
    case ValueKind::Single:
    case ValueKind::Double:
    case ValueKind::Decimal: return KeyKind::Number;
    case ValueKind::Date: return KeyKind::Date;
    default: return KeyKind::Other;
  }
}

KeyKind key_kind(ColumnType t) {
  switch (t) {
    case ColumnType::Text: return KeyKind::Text;
    case ColumnType::Byte:
    case ColumnType::Integer:
    case ColumnType::Long:
    case ColumnType::Currency:
    case ColumnType::Single:
    case ColumnType::Double:
    case ColumnType::Numeric: return KeyKind::Number;
    case ColumnType::DateTime: return KeyKind::Date;
    default: return KeyKind::Other;
  }
}

// Thrown inside the seek loop when the general way must be taken.
struct NotByIndex {};

}  // namespace

std::optional<Relation> Scope::index_join(JoinKind kind, const Relation& left, const TableRef& right,
                                          const std::vector<const Expr*>& on, const std::vector<const Expr*>& where) {
  if (kind != JoinKind::Inner && kind != JoinKind::Left) return std::nullopt;
  const auto* named = std::get_if<NamedTable>(&right.node);
  if (!named) return std::nullopt;
  int index = -1;
  for (std::size_t i = 0; i < sources.size(); ++i)
    if (sources[i].ref == named) index = static_cast<int>(i);
  if (index < 0) return std::nullopt;
  Source& s = sources[static_cast<std::size_t>(index)];
  if (s.is_query || !s.table || s.all_columns) return std::nullopt;
  const jet::TableDef& def = s.table->def();

  // Column number of the right table -> the left expression it must equal.
  std::unordered_map<std::uint16_t, const Expr*> equal_to;
  for (const Expr* c : on) {
    for (const auto& [bound_column, other_side] : equalities_on(*c, index)) {
      const Expr& other = *other_side;
      const std::set<int> used = sources_of(other);
      if (used.empty() || used.count(index)) continue;
      bool left_only = true;
      for (int u : used)
        if (std::find(left.members.begin(), left.members.end(), u) == left.members.end()) left_only = false;
      if (left_only) equal_to.emplace(def.columns[static_cast<std::size_t>(bound_column)].number, &other);
    }
  }
  // The index with the most columns, all of them equated.
  const jet::IndexDef* chosen = nullptr;
  for (const jet::IndexDef& candidate : def.indexes) {
    if (candidate.columns.empty() || !index_keys_known(def, candidate)) continue;
    bool covered = true;
    for (const jet::IndexColumn& c : candidate.columns) covered &= equal_to.count(c.column_number) > 0;
    if (covered && (!chosen || candidate.columns.size() > chosen->columns.size())) chosen = &candidate;
  }
  if (!chosen) return std::nullopt;
  std::vector<const jet::ColumnDef*> key_columns;
  for (const jet::IndexColumn& c : chosen->columns) key_columns.push_back(def.column_by_number(c.column_number));

  std::vector<const Expr*> filters;
  if (!s.nullable) {
    for (const Expr* c : where) {
      const std::set<int> used = sources_of(*c);
      if (used.size() == 1 && *used.begin() == index) filters.push_back(c);
    }
  }
  const ColumnSelection wanted = prepare(index);

  Relation out;
  out.width = left.width;
  out.members = left.members;
  out.members.push_back(index);
  CurrentGuard guard(*this);
  const std::size_t width = static_cast<std::size_t>(out.width);
  std::vector<std::int32_t> merged(width);
  std::unordered_map<std::uint32_t, std::int32_t> read;  // row pointer -> stored row, -1 filtered out
  std::vector<Value> values(key_columns.size());
  std::vector<std::int32_t> candidates;
  // One cursor for every seek: it keeps the index pages it parsed (nothing is written while
  // the join runs).
  IndexCursor cursor(s.table->pager(), def, *chosen);
  try {
    for (std::size_t i = 0; i < left.size(); ++i) {
      const std::int32_t* l = left.at(i);
      current = l;
      bool has_null = false;
      for (std::size_t k = 0; k < key_columns.size() && !has_null; ++k) {
        const Value v = eval(*equal_to.at(key_columns[k]->number));
        if (v.is_null() || v.is_empty()) {
          has_null = true;  // equal to nothing
          break;
        }
        if (key_kind(v.kind()) == KeyKind::Other || key_kind(v.kind()) != key_kind(key_columns[k]->type)) throw NotByIndex{};
        try {
          values[k] = convert_for_column(*key_columns[k], v);
        } catch (const jet::Error&) {
          throw NotByIndex{};
        }
      }
      candidates.clear();
      if (!has_null) {
        std::vector<std::uint8_t> key;
        try {
          key = index_key_for_values(def, *chosen, values);
        } catch (const jet::Error&) {
          throw NotByIndex{};
        }
        for (bool on_entry = cursor.seek(key); on_entry; on_entry = cursor.next()) {
          const auto& entry = cursor.entry().key;
          if (entry.size() < key.size() || !std::equal(key.begin(), key.end(), entry.begin())) break;
          const RowId id = cursor.row_id();
          auto [it, fresh] = read.emplace(id.pointer(), -1);
          if (fresh) {
            if (auto row = read_row(s.table->pager(), def, id, wanted)) {
              if (keep(index, id, *row, filters)) it->second = static_cast<std::int32_t>(s.ids.size() - 1);
            }
          }
          if (it->second >= 0) candidates.push_back(it->second);
        }
      }
      bool matched = false;
      for (const std::int32_t r : candidates) {
        std::copy(l, l + width, merged.begin());
        merged[static_cast<std::size_t>(index)] = r;
        current = merged.data();
        bool holds_all = true;
        for (const Expr* c : on)
          if (!test(*c)) {
            holds_all = false;
            break;
          }
        if (holds_all) {
          out.push(merged.data());
          matched = true;
        }
      }
      if (!matched && kind == JoinKind::Left) out.push(l);
    }
  } catch (const NotByIndex&) {
    return std::nullopt;
  }
  for (const Expr* f : filters) applied_.insert(f);
  return out;
}

}  // namespace jet::sql::detail
