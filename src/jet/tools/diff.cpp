#include "jet/tools/diff.h"

#include <algorithm>
#include <map>
#include <set>

#include "jet/tools/diff_internal.h"
#include "jet/base/error.h"
#include "jet/base/names.h"
#include "jet/record/properties.h"
#include "jet/catalog/query_rows.h"
#include "jet/catalog/query_sql.h"

namespace jet {
namespace {

std::string joined_names(const std::vector<std::string>& names) {
  std::string s;
  for (const auto& n : names) s += (s.empty() ? "" : ", ") + n;
  return s;
}

using diff_detail::quoted;
using diff_detail::Report;
using diff_detail::shown;

std::string yes_no(bool b) { return b ? "oui" : "non"; }

// Walks two keyed collections: `both` for keys in both, an "only in" sentence otherwise.
template <class T, class Both>
void match(Report& report, const std::map<std::string, T>& first, const std::map<std::string, T>& second,
           const std::function<std::string(const T&)>& describe, Both both) {
  for (const auto& [key, a] : first) {
    auto it = second.find(key);
    if (it == second.end()) report.only_in(describe(a), true);
    else both(a, it->second);
  }
  for (const auto& [key, b] : second)
    if (!first.count(key)) report.only_in(describe(b), false);
}

// ---- columns ---------------------------------------------------------------------------

std::string column_flag_text(const ColumnDef& c) {
  std::string s;
  auto add = [&](bool on, const char* name) {
    if (on) s += s.empty() ? name : std::string(", ") + name;
  };
  add(c.flags & column_flags::Nullable, "nullable");
  add(c.flags & column_flags::AutoLong, "numéro auto");
  add(c.flags & column_flags::AutoGuid, "GUID auto");
  add(c.flags & column_flags::Replication, "réplication");
  add(c.flags & column_flags::Hyperlink, "lien hypertexte");
  add(c.flags & column_flags::Fixed, "longueur fixe");
  return s.empty() ? "aucun" : s;
}

void diff_column(Report& report, const std::string& where, const ColumnDef& a, const ColumnDef& b,
                 const DiffOptions& options) {
  if (a.name != b.name) report.differs(where + " : nom", a.name, b.name);
  if (a.type != b.type) report.differs(where + " : type", column_type_name(a.type), column_type_name(b.type));
  if (a.length != b.length) report.differs(where + " : longueur", std::to_string(a.length), std::to_string(b.length));
  if (column_flag_text(a) != column_flag_text(b))
    report.differs(where + " : attributs", column_flag_text(a), column_flag_text(b));
  if (a.compressed_unicode != b.compressed_unicode)
    report.differs(where + " : compression Unicode", yes_no(a.compressed_unicode), yes_no(b.compressed_unicode));
  if (is_textual(a.type) && a.sort_order != b.sort_order)
    report.differs(where + " : ordre de tri", std::to_string(a.sort_order), std::to_string(b.sort_order));
  if (a.type == ColumnType::Numeric && (a.precision != b.precision || a.scale != b.scale))
    report.differs(where + " : précision",
                   std::to_string(a.precision) + "," + std::to_string(a.scale),
                   std::to_string(b.precision) + "," + std::to_string(b.scale));
  if (options.column_numbers && a.number != b.number)
    report.differs(where + " : numéro", std::to_string(a.number), std::to_string(b.number));
}

void diff_columns(Report& report, const std::string& table, const TableDef& a, const TableDef& b,
                  const DiffOptions& options) {
  std::map<std::string, const ColumnDef*> first, second;
  for (const auto& c : a.columns) first[fold_name(c.name)] = &c;
  for (const auto& c : b.columns) second[fold_name(c.name)] = &c;
  std::function<std::string(const ColumnDef* const&)> name = [&](const ColumnDef* const& c) {
    return table + ", la colonne " + quoted(c->name);
  };
  match(report, first, second, name, [&](const ColumnDef* x, const ColumnDef* y) {
    diff_column(report, table + ", colonne " + quoted(x->name), *x, *y, options);
  });
  // Order of the columns both have (the ordinal positions Access shows).
  std::vector<std::string> order_a, order_b;
  for (const auto& c : a.columns)
    if (second.count(fold_name(c.name))) order_a.push_back(c.name);
  for (const auto& c : b.columns)
    if (first.count(fold_name(c.name))) order_b.push_back(c.name);
  bool same_order = order_a.size() == order_b.size();
  for (std::size_t i = 0; same_order && i < order_a.size(); ++i) same_order = same_name(order_a[i], order_b[i]);
  if (!same_order) report.differs(table + " : ordre des colonnes", joined_names(order_a), joined_names(order_b));
}

// ---- properties ------------------------------------------------------------------------

std::string property_text(const Property& p) {
  return shown(p.value) + " (type " + std::to_string(static_cast<int>(p.type)) +
         (p.is_ddl() ? ", moteur" : "") + ")";
}

void diff_block(Report& report, const std::string& where, const PropertyBlock* a, const PropertyBlock* b) {
  std::map<std::string, const Property*> first, second;
  if (a) for (const auto& p : a->properties) first[fold_name(p.name)] = &p;
  if (b) for (const auto& p : b->properties) second[fold_name(p.name)] = &p;
  std::function<std::string(const Property* const&)> name = [&](const Property* const& p) {
    return where + ", la propriété " + quoted(p->name);
  };
  match(report, first, second, name, [&](const Property* x, const Property* y) {
    if (property_text(*x) != property_text(*y) || !(x->value == y->value))
      report.differs(where + ", propriété " + quoted(x->name), property_text(*x), property_text(*y));
  });
}

// Object properties and the blocks of the columns both sides name.
void diff_properties(Report& report, const std::string& where, const CatalogEntry& a, const CatalogEntry& b) {
  PropertySet pa, pb;
  try {
    pa = a.property_set();
    pb = b.property_set();
  } catch (const Error& e) {
    report.note(where + " : propriétés illisibles (" + e.description() + ").");
    return;
  }
  diff_block(report, where, pa.object(), pb.object());
  std::set<std::string> columns;
  for (const auto& block : pa.blocks)
    if (block.kind == PropertyBlockKind::Column) columns.insert(fold_name(block.name));
  for (const auto& block : pb.blocks)
    if (block.kind == PropertyBlockKind::Column) columns.insert(fold_name(block.name));
  for (const auto& key : columns) {
    const PropertyBlock* x = pa.column(key);
    const PropertyBlock* y = pb.column(key);
    diff_block(report, where + ", colonne " + quoted(x ? x->name : y->name), x, y);
  }
}

// ---- indexes ---------------------------------------------------------------------------

// Everything of a named index that matters, as one text per aspect.
struct IndexShape {
  std::string name;
  std::string kind;
  std::string columns;
  std::string flags;
  std::string foreign;
};

IndexShape shape_of(const Catalog& catalog, const TableDef& def, const LogicalIndex& li) {
  IndexShape s;
  s.name = li.name;
  s.kind = li.kind == IndexKind::Primary ? "clé primaire" : li.kind == IndexKind::ForeignKey ? "clé étrangère" : "index";
  if (const IndexDef* real = def.real_index(li.real_index)) {
    for (const auto& c : real->columns) {
      const ColumnDef* column = def.column_by_number(c.column_number);
      s.columns += (s.columns.empty() ? "" : ", ") + (column ? column->name : "#" + std::to_string(c.column_number)) +
                   (c.ascending ? "" : " DESC");
    }
    s.flags = std::string(real->unique() ? "unique" : "non unique") + (real->ignore_nulls() ? ", ignore Null" : "") +
              (real->required() ? ", requis" : "");
  } else {
    s.columns = "(index physique " + std::to_string(li.real_index) + " absent)";
  }
  if (li.kind == IndexKind::ForeignKey) {
    std::string related = "page " + std::to_string(li.related_table_page);
    for (const auto* e : catalog.tables(true))
      if (e->table_page() == li.related_table_page) related = e->name;
    s.foreign = related + (li.related_table_kind == 1 ? " (côté référencé)" : "") +
                (li.cascade_updates ? ", mise à jour en cascade" : "") +
                (li.cascade_deletes ? ", suppression en cascade" : "");
  }
  return s;
}

void diff_indexes(Report& report, const std::string& table, const Catalog& ca, const TableDef& a,
                  const Catalog& cb, const TableDef& b) {
  std::map<std::string, IndexShape> first, second;
  for (const auto& li : a.logical_indexes) first[fold_name(li.name)] = shape_of(ca, a, li);
  for (const auto& li : b.logical_indexes) second[fold_name(li.name)] = shape_of(cb, b, li);
  std::function<std::string(const IndexShape&)> name = [&](const IndexShape& s) {
    return table + ", l'index " + quoted(s.name);
  };
  match(report, first, second, name, [&](const IndexShape& x, const IndexShape& y) {
    const std::string where = table + ", index " + quoted(x.name);
    if (x.kind != y.kind) report.differs(where + " : genre", x.kind, y.kind);
    if (x.columns != y.columns) report.differs(where + " : colonnes", x.columns, y.columns);
    if (x.flags != y.flags) report.differs(where + " : attributs", x.flags, y.flags);
    if (x.foreign != y.foreign) report.differs(where + " : table liée", x.foreign, y.foreign);
  });
}

// ---- tables ----------------------------------------------------------------------------

void diff_table(Report& report, Database& da, const CatalogEntry& ea, Database& db, const CatalogEntry& eb,
                const DiffOptions& options) {
  const std::string where = "Table " + quoted(ea.name);
  Table ta = da.table(ea.name);
  Table tb = db.table(eb.name);
  diff_columns(report, where, ta.def(), tb.def(), options);
  diff_indexes(report, where, da.catalog(), ta.def(), db.catalog(), tb.def());
  diff_properties(report, where, ea, eb);
  if (ta.def().next_autonumber != tb.def().next_autonumber)
    report.differs(where + " : prochain numéro automatique", std::to_string(ta.def().next_autonumber),
                   std::to_string(tb.def().next_autonumber));
  if (options.rows) diff_detail::diff_rows(report, ta, tb, options);
}

// ---- relationships, queries, access rows -------------------------------------------------

void diff_relationships(Report& report, const Catalog& a, const Catalog& b) {
  std::map<std::string, Relationship> first, second;
  for (auto& r : a.relationships()) first[fold_name(r.name)] = r;
  for (auto& r : b.relationships()) second[fold_name(r.name)] = r;
  std::function<std::string(const Relationship&)> name = [](const Relationship& r) {
    return "La relation " + quoted(r.name);
  };
  match(report, first, second, name, [&](const Relationship& x, const Relationship& y) {
    const std::string where = "Relation " + quoted(x.name);
    const std::string sa = x.table + " (" + joined_names(x.columns) + ") -> " + x.referenced_table + " (" +
                           joined_names(x.referenced_columns) + ")";
    const std::string sb = y.table + " (" + joined_names(y.columns) + ") -> " + y.referenced_table + " (" +
                           joined_names(y.referenced_columns) + ")";
    if (fold_name(sa) != fold_name(sb)) report.differs(where + " : colonnes", sa, sb);
    if (x.flags != y.flags) report.differs(where + " : attributs", std::to_string(x.flags), std::to_string(y.flags));
  });
}

std::map<std::int32_t, std::vector<QueryRow>> query_rows_by_object(const Catalog& catalog) {
  std::map<std::int32_t, std::vector<QueryRow>> rows;
  for (const auto& columns : catalog.query_rows()) {
    QueryRow row = query_row_from_columns(columns);
    rows[row.object_id].push_back(std::move(row));
  }
  return rows;
}

std::string sql_of(std::map<std::int32_t, std::vector<QueryRow>>& rows, std::int32_t id) {
  try {
    return query_sql(rows[id]);
  } catch (const Error& e) {
    return "(SQL illisible : " + e.description() + ")";
  }
}

void diff_queries(Report& report, const Catalog& a, const Catalog& b) {
  auto rows_a = query_rows_by_object(a);
  auto rows_b = query_rows_by_object(b);
  std::map<std::string, const CatalogEntry*> first, second;
  for (const auto* q : a.queries()) first[fold_name(q->name)] = q;
  for (const auto* q : b.queries()) second[fold_name(q->name)] = q;
  std::function<std::string(const CatalogEntry* const&)> name = [](const CatalogEntry* const& q) {
    return "La requête " + quoted(q->name);
  };
  match(report, first, second, name, [&](const CatalogEntry* x, const CatalogEntry* y) {
    const std::string where = "Requête " + quoted(x->name);
    const std::string sa = sql_of(rows_a, x->id);
    const std::string sb = sql_of(rows_b, y->id);
    if (sa != sb) report.differs(where + " : SQL", sa, sb);
    if (x->flags != y->flags) report.differs(where + " : attributs", std::to_string(x->flags), std::to_string(y->flags));
    diff_properties(report, where, *x, *y);
  });
}

// MSysACEs rows keyed by the object they concern (container/name), the user SID and rights.
std::multiset<std::string> access_rows(Database& db) {
  std::multiset<std::string> out;
  const Catalog& catalog = db.catalog();
  if (!catalog.find_table("MSysACEs")) return out;
  std::map<std::int32_t, const CatalogEntry*> by_id;
  for (const auto& e : catalog.entries()) by_id[e.id] = &e;
  Table aces = db.table("MSysACEs");
  auto column = [&](const char* name) -> int {
    const ColumnDef* c = aces.def().find_column(name);
    return c ? static_cast<int>(c->definition_order) : -1;
  };
  const int object = column("ObjectId"), sid = column("SID"), acm = column("ACM"), inherit = column("FInheritable");
  aces.scan([&](RowId, const Row& row) {
    std::string key;
    if (object >= 0 && !row[object].is_null()) {
      const std::int32_t id = static_cast<std::int32_t>(row[object].to_int64());
      auto it = by_id.find(id);
      if (it == by_id.end()) {
        key = "objet n° " + std::to_string(id);
      } else {
        auto parent = by_id.find(it->second->parent_id);
        key = (parent != by_id.end() && parent->second != it->second ? parent->second->name + "/" : "") + it->second->name;
      }
    }
    key += " | utilisateur " + (sid >= 0 ? row[sid].to_display() : "");
    key += " | droits " + (acm >= 0 ? row[acm].to_display() : "");
    key += " | hérité " + (inherit >= 0 ? row[inherit].to_display() : "");
    out.insert(key);
    return true;
  });
  return out;
}

void diff_access_rows(Report& report, Database& a, Database& b) {
  const auto first = access_rows(a);
  const auto second = access_rows(b);
  std::vector<std::string> only_a, only_b;
  std::set_difference(first.begin(), first.end(), second.begin(), second.end(), std::back_inserter(only_a));
  std::set_difference(second.begin(), second.end(), first.begin(), first.end(), std::back_inserter(only_b));
  for (const auto& k : only_a) report.only_in("Le droit d'accès " + quoted(k), true);
  for (const auto& k : only_b) report.only_in("Le droit d'accès " + quoted(k), false);
}

}  // namespace

std::vector<std::string> diff_databases(Database& first, Database& second, const DiffOptions& options) {
  Report report;
  std::map<std::string, const CatalogEntry*> ta, tb;
  for (const auto* e : first.catalog().tables(false)) ta[fold_name(e->name)] = e;
  for (const auto* e : second.catalog().tables(false)) tb[fold_name(e->name)] = e;
  std::function<std::string(const CatalogEntry* const&)> name = [](const CatalogEntry* const& e) {
    return "La table " + quoted(e->name);
  };
  match(report, ta, tb, name, [&](const CatalogEntry* x, const CatalogEntry* y) {
    try {
      diff_table(report, first, *x, second, *y, options);
    } catch (const Error& e) {
      report.note("Table " + quoted(x->name) + " : comparaison impossible (" + e.description() + ").");
    }
  });
  diff_relationships(report, first.catalog(), second.catalog());
  diff_queries(report, first.catalog(), second.catalog());
  diff_access_rows(report, first, second);
  return report.lines;
}

std::vector<std::string> diff_files(const std::string& first, const std::string& second, const DiffOptions& options) {
  auto a = Database::open(first);
  auto b = Database::open(second);
  return diff_databases(*a, *b, options);
}

}  // namespace jet
