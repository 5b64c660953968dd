// Row comparison: rows matched by primary key when the table has one (so a compaction may
// store them in another order), else in storage order; columns matched by name.
#include <map>
#include <optional>

#include "jet/tools/diff_internal.h"
#include "jet/base/names.h"

namespace jet::diff_detail {
namespace {

constexpr std::size_t kShownLength = 60;

// Column positions (definition order) of the primary key, when there is one.
std::optional<std::vector<std::size_t>> primary_key(const TableDef& def) {
  for (const auto& li : def.logical_indexes) {
    if (li.kind != IndexKind::Primary) continue;
    const IndexDef* real = def.real_index(li.real_index);
    if (!real) return std::nullopt;
    std::vector<std::size_t> out;
    for (const auto& c : real->columns) {
      const ColumnDef* column = def.column_by_number(c.column_number);
      if (!column) return std::nullopt;
      out.push_back(column->definition_order);
    }
    return out;
  }
  return std::nullopt;
}

std::string key_text(const Row& row, const std::vector<std::size_t>& columns) {
  std::string key;
  for (std::size_t c : columns) {
    key += kind_name(row[c].kind());
    key += ':';
    key += row[c].to_display();
    key += '\x1f';
  }
  return key;
}

std::string key_shown(const Row& row, const std::vector<std::size_t>& columns) {
  std::string s;
  for (std::size_t c : columns) s += (s.empty() ? "" : ", ") + shown(row[c]);
  return s;
}

class RowComparer {
 public:
  RowComparer(Report& report, const Table& a, const Table& b, const DiffOptions& options)
      : report_(report), a_(a), options_(options) {
    for (const auto& ca : a.def().columns)
      if (const ColumnDef* cb = b.def().find_column(ca.name)) pairs_.push_back({&ca, cb});
  }

  void compare(const std::string& which, const Row& x, const Row& y) {
    for (const auto& [ca, cb] : pairs_) {
      const Value& vx = x[ca->definition_order];
      const Value& vy = y[cb->definition_order];
      if (vx == vy) continue;
      if (++count_ > options_.max_row_differences) continue;
      report_.differs("Table " + quoted(a_.name()) + ", " + which + ", colonne " + quoted(ca->name), shown(vx), shown(vy));
    }
  }
  void missing(const std::string& which, bool in_first) {
    if (++count_ > options_.max_row_differences) return;
    report_.only_in("Table " + quoted(a_.name()) + ", " + which, in_first);
  }
  void finish() {
    if (count_ > options_.max_row_differences)
      report_.note("Table " + quoted(a_.name()) + " : " + std::to_string(count_ - options_.max_row_differences) +
                   " autres différences de lignes.");
  }

 private:
  Report& report_;
  const Table& a_;  // names the table in the report; `b` only gives its columns
  const DiffOptions& options_;
  std::vector<std::pair<const ColumnDef*, const ColumnDef*>> pairs_;
  std::size_t count_ = 0;
};

std::vector<Row> all_rows(const Table& table) {
  std::vector<Row> rows;
  table.scan([&](RowId, const Row& row) {
    rows.push_back(row);
    return true;
  });
  return rows;
}

}  // namespace

std::string shown(const Value& value) {
  if (value.is_null()) return "Null";
  std::string text = value.to_display();
  if (text.size() > kShownLength) text = text.substr(0, kShownLength) + "… (" + std::to_string(text.size()) + " car.)";
  if (value.kind() == ValueKind::Text) return "'" + text + "'";
  return text;
}

void diff_rows(Report& report, const Table& first, const Table& second, const DiffOptions& options) {
  const std::vector<Row> rows_a = all_rows(first);
  const std::vector<Row> rows_b = all_rows(second);
  if (rows_a.size() != rows_b.size())
    report.differs("Table " + quoted(first.name()) + " : nombre de lignes", std::to_string(rows_a.size()),
                   std::to_string(rows_b.size()));
  RowComparer comparer(report, first, second, options);

  const auto key_a = primary_key(first.def());
  const auto key_b = primary_key(second.def());
  bool by_key = key_a && key_b && key_a->size() == key_b->size();
  for (std::size_t i = 0; by_key && i < key_a->size(); ++i)
    by_key = same_name(first.def().columns[(*key_a)[i]].name, second.def().columns[(*key_b)[i]].name);

  if (by_key) {
    std::map<std::string, const Row*> index_b;
    for (const auto& row : rows_b) index_b.emplace(key_text(row, *key_b), &row);
    for (const auto& row : rows_a) {
      const std::string which = "la ligne de clé (" + key_shown(row, *key_a) + ")";
      auto it = index_b.find(key_text(row, *key_a));
      if (it == index_b.end()) {
        comparer.missing(which, true);
        continue;
      }
      comparer.compare("ligne de clé (" + key_shown(row, *key_a) + ")", row, *it->second);
      index_b.erase(it);
    }
    for (const auto& [key, row] : index_b) comparer.missing("la ligne de clé (" + key_shown(*row, *key_b) + ")", false);
  } else {
    const std::size_t common = std::min(rows_a.size(), rows_b.size());
    for (std::size_t i = 0; i < common; ++i)
      comparer.compare("ligne " + std::to_string(i + 1), rows_a[i], rows_b[i]);
  }
  comparer.finish();
}

}  // namespace jet::diff_detail
