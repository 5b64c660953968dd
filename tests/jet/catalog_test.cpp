// The catalog of Access-made files: tables, system tables, saved queries, relationships,
// compared with what mdbtools reads where it can tell.
#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <sstream>

#include "jet/db/database.h"
#include "jet_test_support.h"
#include "support/linux_programs.h"

// Each test file keeps its own names, apart from the others compiled with it.
namespace catalog_test_cases {

namespace {

using jet_test::fixture;

std::set<std::string> lines(const std::string& text) {
  std::set<std::string> out;
  std::istringstream in(text);
  for (std::string line; std::getline(in, line);)
    if (!line.empty()) out.insert(line);
  return out;
}

TEST(JetCatalog, UserAndSystemTablesMatchMdbtools) {
  QUELIS_NEEDS_MDBTOOLS();
  for (const auto& name : jet_test::all_fixtures()) {
    SCOPED_TRACE(name);
    const std::string path = fixture(name);
    auto db = jet::Database::open(path);
    const auto user = db->table_names(false);
    const auto all = db->table_names(true);
    EXPECT_EQ(std::set<std::string>(user.begin(), user.end()),
              lines(jet_test::run("mdb-tables -1 " + jet_test::shell_quote(path))));
    EXPECT_EQ(std::set<std::string>(all.begin(), all.end()),
              lines(jet_test::run("mdb-tables -S -1 " + jet_test::shell_quote(path))));
    EXPECT_TRUE(std::find(all.begin(), all.end(), "MSysObjects") != all.end());
  }
}

TEST(JetCatalog, SavedQueryNamesMatchMdbtools) {
  QUELIS_NEEDS_MDBTOOLS();
  const std::string path = fixture("queryTestV2000.mdb");
  auto db = jet::Database::open(path);
  std::set<std::string> ours;
  for (const auto* q : db->catalog().queries()) ours.insert(q->name);
  EXPECT_EQ(ours, lines(jet_test::run("mdb-queries -1 " + jet_test::shell_quote(path))));
  EXPECT_TRUE(ours.count("SelectQuery"));
  EXPECT_FALSE(db->catalog().query_rows().empty());
}

TEST(JetCatalog, Relationships) {
  auto db = jet::Database::open(fixture("indexTestV2000.mdb"));
  const auto relations = db->catalog().relationships();
  auto named = [&](const std::string& n) {
    auto it = std::find_if(relations.begin(), relations.end(), [&](const auto& r) { return r.name == n; });
    if (it == relations.end()) throw std::runtime_error("missing relationship " + n);
    return *it;
  };
  const auto r = named("Table2Table1");
  EXPECT_EQ(r.table, "Table1");
  EXPECT_EQ(r.referenced_table, "Table2");
  EXPECT_EQ(r.columns, std::vector<std::string>{"otherfk1"});
  EXPECT_EQ(r.referenced_columns, std::vector<std::string>{"id"});
  EXPECT_TRUE(r.flags & 0x1000);   // cascade deletes
  EXPECT_FALSE(r.flags & 0x100);
  EXPECT_TRUE(named("Table3Table1").flags & 0x100);  // cascade updates
  EXPECT_TRUE(jet::Database::open(fixture("testV2000.mdb"))->catalog().relationships().empty());
}

TEST(JetCatalog, EntriesCarryTheirDefinitionPageAndProperties) {
  auto db = jet::Database::open(fixture("testV2000.mdb"));
  const auto* t1 = db->catalog().find_table("TABLE1");
  ASSERT_NE(t1, nullptr);
  EXPECT_EQ(t1->name, "Table1");
  EXPECT_FALSE(t1->is_system());
  EXPECT_EQ(db->table("Table1").def().page, t1->table_page());
  EXPECT_FALSE(t1->properties.empty());  // Access keeps column widths and the like there
  EXPECT_EQ(std::string(t1->properties.begin(), t1->properties.begin() + 3), "MR2");
  EXPECT_TRUE(db->catalog().find_table("MSysObjects")->is_system());
}

}  // namespace

}  // namespace catalog_test_cases
