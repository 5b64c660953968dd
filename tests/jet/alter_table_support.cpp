#include "alter_table_support.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <sstream>

#include "jet/db/create_database.h"
#include "jet/record/data_page.h"
#include "jet/db/database.h"
#include "jet/tools/index_verify.h"
#include "jet/ddl/relationship_write.h"
#include "jet/record/usage_map_write.h"
#include "jet/tools/verify.h"

namespace alter_table_test {
namespace {

constexpr std::uint32_t kLongValueOwner = 0x4C41564C;  // "LVAL" read as a little-endian u32

bool has_live_row(const jet::Page& page) {
  const jet::DataPage data(page);
  for (std::uint16_t r = 0; r < data.row_count(); ++r)
    if (!data.deleted(r)) return true;
  return false;
}

jet::Row row_of(const jet::TableDef& def, const Values& values) {
  jet::Row row(def.columns.size(), jet::Value::null());
  for (const auto& [name, value] : values) {
    const jet::ColumnDef* c = def.find_column(name);
    if (!c) throw std::runtime_error("no column " + name);
    row[c->definition_order] = value;
  }
  return row;
}

jet::ColumnDesign column(const std::string& name, jet::ColumnType type) {
  jet::ColumnDesign c;
  c.name = name;
  c.type = type;
  if (type == jet::ColumnType::Text) c.size = 50;
  return c;
}

jet::IndexDesign primary(const std::string& column) {
  jet::IndexDesign i;
  i.name = "PrimaryKey";
  i.columns = {{column, false}};
  i.primary = true;
  return i;
}

}  // namespace

std::set<jet::PageNumber> free_pages(const std::string& path) {
  auto db = jet::Database::open(path);
  const auto marked = jet::marked_pages(db->pager(), jet::kGlobalUsageMap, db->pager().page_count());
  return {marked.begin(), marked.end()};
}

std::set<jet::PageNumber> unaccounted_pages(const std::string& path) {
  const std::set<jet::PageNumber> free = free_pages(path);
  auto db = jet::Database::open(path);
  jet::Pager& pager = db->pager();
  std::set<jet::PageNumber> tables;
  std::set<jet::PageNumber> definitions;
  for (const jet::CatalogEntry* e : db->catalog().tables(true)) {
    tables.insert(e->table_page());
    for (jet::PageNumber p = e->table_page(); p != 0 && p < pager.page_count() && definitions.insert(p).second;)
      p = pager.read(p).view().u32(4);
  }
  std::set<jet::PageNumber> out;
  for (jet::PageNumber p = 3; p < pager.page_count(); ++p) {
    if (free.count(p)) continue;
    const jet::Page page = pager.read(p);
    const std::uint8_t kind = page.view().u8(0);
    const std::uint32_t owner = page.view().u32(4);
    bool explained = false;
    switch (static_cast<jet::PageKind>(kind)) {
      case jet::PageKind::TableDefinition: explained = definitions.count(p) > 0; break;
      case jet::PageKind::IndexIntermediate:
      case jet::PageKind::IndexLeaf: explained = tables.count(owner) > 0; break;
      case jet::PageKind::UsageMap: explained = true; break;
      case jet::PageKind::Data: explained = tables.count(owner) > 0 || has_live_row(page); break;
      default: break;
    }
    if (!explained) out.insert(p);
  }
  return out;
}

std::set<jet::PageNumber> pages_of_table(const std::string& path, jet::PageNumber definition_page) {
  const std::set<jet::PageNumber> free = free_pages(path);
  auto db = jet::Database::open(path);
  std::set<jet::PageNumber> out;
  for (jet::PageNumber p = 3; p < db->pager().page_count(); ++p) {
    if (free.count(p)) continue;
    const jet::Page page = db->pager().read(p);
    const std::uint8_t kind = page.view().u8(0);
    const bool owned = kind == static_cast<std::uint8_t>(jet::PageKind::Data) ||
                       kind == static_cast<std::uint8_t>(jet::PageKind::IndexIntermediate) ||
                       kind == static_cast<std::uint8_t>(jet::PageKind::IndexLeaf);
    if ((owned && page.view().u32(4) == definition_page) ||
        (p == definition_page && kind == static_cast<std::uint8_t>(jet::PageKind::TableDefinition)))
      out.insert(p);
  }
  return out;
}

std::set<jet::PageNumber> long_value_pages(const std::string& path) {
  const std::set<jet::PageNumber> free = free_pages(path);
  auto db = jet::Database::open(path);
  std::set<jet::PageNumber> out;
  for (jet::PageNumber p = 3; p < db->pager().page_count(); ++p) {
    if (free.count(p)) continue;
    const jet::Page page = db->pager().read(p);
    if (page.view().u8(0) == static_cast<std::uint8_t>(jet::PageKind::Data) && page.view().u32(4) == kLongValueOwner)
      out.insert(p);
  }
  return out;
}

std::set<std::string> mdb_tables(const std::string& path) {
  bool ok = false;
  std::istringstream in(jet_test::run("mdb-tables -1 " + jet_test::shell_quote(path), &ok));
  EXPECT_TRUE(ok) << "mdb-tables failed on " << path;
  std::set<std::string> out;
  for (std::string line; std::getline(in, line);)
    if (!line.empty()) out.insert(line);
  return out;
}

std::string problems(const std::string& path) {
  auto db = jet::Database::open(path);
  std::string out;
  for (const auto& p : jet::verify_database(*db, jet::verify_indexes)) out += p + "\n";
  return out;
}

jet::RowId insert(jet::WritableDatabase& db, const std::string& table, const Values& values) {
  jet::TableWriter writer = db.writer(table);
  return writer.insert(row_of(writer.definition(), values));
}

void update(jet::WritableDatabase& db, const std::string& table, jet::RowId id, const Values& values) {
  jet::TableWriter writer = db.writer(table);
  const jet::TableDef def = writer.definition();
  jet::Row row = *jet::read_row(db.pager(), def, id);
  for (const auto& [name, value] : values) row[def.find_column(name)->definition_order] = value;
  writer.update(id, row);
}

std::vector<std::pair<jet::RowId, jet::Row>> rows(jet::WritableDatabase& db, const std::string& table) {
  std::vector<std::pair<jet::RowId, jet::Row>> out;
  db.table(table).scan([&](jet::RowId id, const jet::Row& row) {
    out.emplace_back(id, row);
    return true;
  });
  return out;
}

jet::RowId find(jet::WritableDatabase& db, const std::string& table, const std::string& column, std::int32_t value) {
  const jet::TableDef def = db.table(table).def();
  const std::size_t at = def.find_column(column)->definition_order;
  for (const auto& [id, row] : rows(db, table))
    if (!row[at].is_null() && row[at].to_int64() == value) return id;
  ADD_FAILURE() << "no row of " << table << " with " << column << " = " << value;
  return {};
}

std::vector<std::int32_t> longs(jet::WritableDatabase& db, const std::string& table, const std::string& column) {
  const jet::TableDef def = db.table(table).def();
  const std::size_t at = def.find_column(column)->definition_order;
  std::vector<std::int32_t> out;
  for (const auto& [id, row] : rows(db, table))
    out.push_back(row[at].is_null() ? -1 : static_cast<std::int32_t>(row[at].to_int64()));
  std::sort(out.begin(), out.end());
  return out;
}

std::string long_text(char fill, std::size_t length) {
  std::string s;
  for (std::size_t i = 0; i < length; ++i) s += static_cast<char>(fill + static_cast<char>(i % 7));
  return s;
}

void remove(jet::WritableDatabase& db, const std::string& table, jet::RowId id) { db.writer(table).remove(id); }

void make_related_database(const std::string& path, std::uint32_t attributes, std::uint32_t grand_attributes) {
  auto db = jet::create_database(path);
  using jet::ColumnType;
  jet::TableDesign parent{"Parent", {column("Id", ColumnType::Long), column("Name", ColumnType::Text), column("Notes", ColumnType::Memo)}, {primary("Id")}, {}};
  jet::TableDesign child{"Child", {column("Id", ColumnType::Long), column("ParentId", ColumnType::Long), column("Body", ColumnType::Memo)}, {primary("Id")}, {}};
  jet::TableDesign grand{"GrandChild", {column("Id", ColumnType::Long), column("ChildId", ColumnType::Long)}, {primary("Id")}, {}};
  jet::TableDesign other{"Other", {column("Id", ColumnType::Long), column("Label", ColumnType::Text)}, {primary("Id")}, {}};
  for (const auto* d : {&parent, &child, &grand, &other}) db->create_table(*d);
  using V = jet::Value;
  for (int id : {1, 2, 3})
    insert(*db, "Parent", {{"Id", V::long_(id)}, {"Name", V::text("p" + std::to_string(id))}, {"Notes", V::text(long_text('a', 300 * id))}});
  insert(*db, "Child", {{"Id", V::long_(10)}, {"ParentId", V::long_(1)}, {"Body", V::text(long_text('k', 9000))}});
  insert(*db, "Child", {{"Id", V::long_(11)}, {"ParentId", V::long_(1)}, {"Body", V::text("court")}});
  insert(*db, "Child", {{"Id", V::long_(12)}, {"ParentId", V::long_(2)}, {"Body", V::text(long_text('m', 700))}});
  insert(*db, "Child", {{"Id", V::long_(13)}});
  insert(*db, "GrandChild", {{"Id", V::long_(100)}, {"ChildId", V::long_(10)}});
  insert(*db, "GrandChild", {{"Id", V::long_(101)}, {"ChildId", V::long_(12)}});
  for (int id : {1, 2}) insert(*db, "Other", {{"Id", V::long_(id)}, {"Label", V::text("o" + std::to_string(id))}});
  jet::create_relationship(*db, {"ChildParent", "Child", "Parent", {"ParentId"}, {"Id"}, attributes});
  jet::create_relationship(*db, {"GrandChildChild", "GrandChild", "Child", {"ChildId"}, {"Id"}, grand_attributes});
}

}  // namespace alter_table_test
