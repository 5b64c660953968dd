// Saved queries of the Access-made fixtures, read with mdbtools at test time: MSysQueries
// rows (storage order) and the names and flags of the query objects in MSysObjects.
#pragma once

#include <map>
#include <ostream>

#include "jet/db/database.h"
#include "jet/catalog/query_rows.h"
#include "properties_oracle.h"

namespace jet {
// Readable failures when rows differ.
inline void PrintTo(const QueryRow& r, std::ostream* os) {
  auto opt = [&](const char* name, const auto& v) {
    *os << " " << name << "=";
    if (v) {
      *os << *v;
    } else {
      *os << "Null";
    }
  };
  *os << "{id=" << r.object_id << " attr=" << int(r.attribute);
  *os << " order=" << (r.order ? std::to_string(r.order->size()) + " bytes" : "Null");
  opt("name1", r.name1);
  opt("name2", r.name2);
  opt("expr", r.expression);
  opt("flag", r.flag);
  opt("extra", r.extra);
  *os << "}";
}
}  // namespace jet

namespace jet_oracle {

struct SavedQuery {
  std::string name;
  std::int32_t id = 0;
  std::int32_t flags = 0;  // MSysObjects.Flags
  std::vector<jet::QueryRow> rows;  // storage order
};

// MSysQueries rows as the catalog would decode them: each column a jet::Value of its type.
inline std::vector<std::vector<std::pair<std::string, jet::Value>>> query_row_values(
    const std::filesystem::path& db) {
  const ExportedTable t = export_table(db, "MSysQueries");
  std::vector<std::vector<std::pair<std::string, jet::Value>>> out;
  for (const auto& row : t.rows) {
    auto& columns = out.emplace_back();
    for (std::size_t i = 0; i < t.columns.size(); ++i) {
      const std::string& name = t.columns[i];
      const auto& field = row[i];
      jet::Value v = jet::Value::null();
      if (field) {
        if (name == "ObjectId" || name == "LvExtra") v = jet::Value::long_(std::stoi(*field));
        else if (name == "Attribute") v = jet::Value::byte(static_cast<std::uint8_t>(std::stoi(*field)));
        else if (name == "Flag") v = jet::Value::integer(static_cast<std::int16_t>(std::stoi(*field)));
        else if (name == "Order") v = jet::Value::binary(from_hex(*field));
        else v = jet::Value::text(*field);
      }
      columns.emplace_back(name, std::move(v));
    }
  }
  return out;
}

// The queries of a fixture, in MSysObjects order, each with its rows.
inline std::vector<SavedQuery> saved_queries(const std::filesystem::path& db) {
  std::map<std::int32_t, std::vector<jet::QueryRow>> rows;
  for (const auto& columns : query_row_values(db)) {
    const jet::QueryRow row = jet::query_row_from_columns(columns);
    rows[row.object_id].push_back(row);
  }
  const ExportedTable objects = export_table(db, "MSysObjects");
  const std::size_t id = objects.column("Id"), name = objects.column("Name"),
                    type = objects.column("Type"), flags = objects.column("Flags");
  std::vector<SavedQuery> out;
  for (const auto& o : objects.rows) {
    if (o[type] != "5") continue;
    SavedQuery q{o[name].value_or(""), std::stoi(o[id].value_or("0")), std::stoi(o[flags].value_or("0")), {}};
    q.rows = rows[q.id];
    out.push_back(std::move(q));
  }
  return out;
}

// The same queries read through the engine's catalog (rows in storage order).
inline std::vector<SavedQuery> engine_queries(const std::filesystem::path& path) {
  const auto db = jet::Database::open(path.string());
  std::map<std::int32_t, std::vector<jet::QueryRow>> rows;
  for (const auto& columns : db->catalog().query_rows()) {
    const jet::QueryRow row = jet::query_row_from_columns(columns);
    rows[row.object_id].push_back(row);
  }
  std::vector<SavedQuery> out;
  for (const auto* e : db->catalog().queries()) {
    out.push_back({e->name, e->id, static_cast<std::int32_t>(e->flags), rows[e->id]});
  }
  return out;
}

}  // namespace jet_oracle
