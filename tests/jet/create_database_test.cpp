// A database created from nothing against the empty database Access 2000 made
// (emptyV2000.mdb): header fields, system table definitions, catalog rows, permissions and
// properties, read by the engine and by mdbtools.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <functional>
#include <map>
#include <set>
#include <tuple>

#include "jet/catalog/catalog_write.h"
#include "jet/db/create_database.h"
#include "jet/base/error.h"
#include "jet/tools/index_verify.h"
#include "jet/base/names.h"
#include "jet/record/properties.h"
#include "jet/tools/verify.h"
#include "jet_test_support.h"
#include "support/linux_programs.h"

// Each test file keeps its own names, apart from the others compiled with it.
namespace create_database_test_cases {

namespace {

namespace fs = std::filesystem;

using jet_test::error_of;
std::string created(const jet_test::ScratchDir& dir, const std::string& name = "new.mdb") {
  const std::string path = (dir.path() / name).string();
  jet::create_database(path).reset();
  return path;
}

std::string mdb(const std::string& tool, const std::string& path, const std::string& args = "") {
  bool ok = false;
  const std::string out = jet_test::run(tool + " " + args + " " + jet_test::shell_quote(path) + " 2>&1", &ok);
  EXPECT_TRUE(ok) << out;
  return out;
}

TEST(CreateDatabase, RefusesAnExistingFileOrAMissingFolderAndLeavesNothing) {
  jet_test::ScratchDir dir;
  const std::string existing = dir.write("there.mdb", {1, 2, 3});
  EXPECT_EQ(error_of([&] { jet::create_database(existing); }), 3204);
  EXPECT_EQ(jet_test::read_file(existing), (std::vector<std::uint8_t>{1, 2, 3}));

  const std::string missing = (dir.path() / "nowhere" / "x.mdb").string();
  EXPECT_EQ(error_of([&] { jet::create_database(missing); }), 3044);
  EXPECT_FALSE(fs::exists(dir.path() / "nowhere"));

  const std::string path = created(dir);
  EXPECT_EQ(error_of([&] { jet::create_database(path); }), 3204);
  // Only the two files: no temporary left beside them.
  EXPECT_EQ(std::distance(fs::directory_iterator(dir.path()), fs::directory_iterator()), 2);
}

TEST(CreateDatabase, HeaderMatchesAccess) {
  QUELIS_NEEDS_MDBTOOLS();
  jet_test::ScratchDir dir;
  jet::CreateOptions options;
  options.created = 38143.546523784724;  // the creation date of the Access file
  const std::string path = (dir.path() / "new.mdb").string();
  jet::create_database(path, options).reset();
  auto made = jet::Database::open(path);
  auto access = jet::Database::open(jet_test::fixture("emptyV2000.mdb"));
  EXPECT_EQ(made->header().format, jet::FileFormat::Jet4);
  EXPECT_EQ(made->header().code_page, access->header().code_page);
  EXPECT_EQ(made->header().sort_order, access->header().sort_order);
  EXPECT_EQ(made->header().database_key, access->header().database_key);
  EXPECT_EQ(made->header().password, "");
  EXPECT_EQ(made->header().creation_date, access->header().creation_date);
  // With the same date, page 0 is Access's byte for byte, masked part included.
  const auto ours = jet_test::read_file(path);
  const auto theirs = jet_test::read_file(jet_test::fixture("emptyV2000.mdb"));
  ASSERT_GE(ours.size(), 4096u);
  EXPECT_TRUE(std::equal(ours.begin(), ours.begin() + 4096, theirs.begin()));
  EXPECT_EQ(ours.size() % 4096, 0u);
  EXPECT_EQ(mdb("mdb-ver", path), "JET4\n");
}

// Everything a definition says, in stored order, page numbers included.
std::string describe(const jet::TableDef& def) {
  std::string s = "type " + std::to_string(def.system) + " max " + std::to_string(def.max_columns) + " var " +
                  std::to_string(def.variable_columns) + " page " + std::to_string(def.page) + " maps " +
                  std::to_string(def.owned_pages) + "/" + std::to_string(def.free_pages) + "\n";
  std::vector<const jet::ColumnDef*> stored;
  for (const auto& c : def.columns) stored.push_back(&c);
  std::sort(stored.begin(), stored.end(), [](auto* a, auto* b) { return a->display_index < b->display_index; });
  for (const auto* c : stored)
    s += c->name + " t" + std::to_string(static_cast<int>(c->type)) + " n" + std::to_string(c->number) + " v" +
         std::to_string(c->var_index) + " f" + std::to_string(c->is_fixed() ? c->fixed_offset : 0) + " l" +
         std::to_string(c->length) + " fl" + std::to_string(c->flags) + " cu" + std::to_string(c->compressed_unicode) +
         " so" + std::to_string(c->sort_order) + "\n";
  for (const auto& i : def.indexes) {
    s += "real " + std::to_string(i.number) + " flags " + std::to_string(i.flags) + " map " + std::to_string(i.usage_map) +
         " root " + std::to_string(i.root_page) + " cols";
    for (const auto& c : i.columns) s += " " + std::to_string(c.column_number) + (c.ascending ? "+" : "-");
    s += "\n";
  }
  for (const auto& l : def.logical_indexes)
    s += "logical " + l.name + " n" + std::to_string(l.number) + " r" + std::to_string(l.real_index) + " k" +
         std::to_string(static_cast<int>(l.kind)) + "\n";
  for (const auto& m : def.long_value_maps)
    s += "lv " + std::to_string(m.column_number) + " " + std::to_string(m.owned_pages) + "/" + std::to_string(m.free_pages) + "\n";
  return s;
}

TEST(CreateDatabase, SystemTablesAreDefinedAsAccessDefinesThem) {
  QUELIS_NEEDS_MDBTOOLS();
  jet_test::ScratchDir dir;
  const std::string path = created(dir);
  auto made = jet::Database::open(path);
  auto access = jet::Database::open(jet_test::fixture("emptyV2000.mdb"));
  for (const char* name : {"MSysObjects", "MSysACEs", "MSysQueries", "MSysRelationships"}) {
    SCOPED_TRACE(name);
    const jet::CatalogEntry* ours = made->catalog().find_table(name);
    const jet::CatalogEntry* theirs = access->catalog().find_table(name);
    ASSERT_TRUE(ours && theirs);
    // Same definition pages, usage-map rows and index roots: the same layout as Access.
    EXPECT_EQ(describe(jet::read_table_def(made->pager(), ours->table_page())),
              describe(jet::read_table_def(access->pager(), theirs->table_page())));
    EXPECT_EQ(mdb("mdb-schema", path, "-T " + std::string(name)),
              mdb("mdb-schema", jet_test::fixture("emptyV2000.mdb"), "-T " + std::string(name)));
  }
  // Access's own application table is left for Access to add.
  EXPECT_EQ(mdb("mdb-tables", path, "-S -1"), "MSysObjects\nMSysACEs\nMSysQueries\nMSysRelationships\n");
}

using ObjectKey = std::tuple<std::int32_t, std::int32_t, std::string, std::int16_t, std::uint32_t>;

TEST(CreateDatabase, CatalogRowsPermissionsAndPropertiesAreAccesss) {
  QUELIS_NEEDS_MDBTOOLS();
  jet_test::ScratchDir dir;
  const std::string path = created(dir);
  auto made = jet::Database::open(path);
  auto access = jet::Database::open(jet_test::fixture("emptyV2000.mdb"));

  std::map<std::int32_t, const jet::CatalogEntry*> theirs;
  for (const auto& e : access->catalog().entries()) theirs[e.id] = &e;
  std::set<std::string> ours_names;
  for (const auto& e : made->catalog().entries()) {
    SCOPED_TRACE(e.name);
    ours_names.insert(e.name);
    ASSERT_TRUE(theirs.count(e.id));
    const jet::CatalogEntry& t = *theirs[e.id];
    EXPECT_EQ(ObjectKey(e.id, e.parent_id, e.name, e.type, e.flags), ObjectKey(t.id, t.parent_id, t.name, t.type, t.flags));
    EXPECT_EQ(e.properties, t.properties);  // MSysDb's blob byte for byte; none elsewhere
  }
  // What Access has beyond the new file: its layout and document-summary objects and the
  // table of its own application objects, all written by Access itself when it opens a file.
  std::set<std::string> only_access;
  for (const auto& [id, e] : theirs)
    if (!ours_names.count(e->name)) only_access.insert(e->name);
  EXPECT_EQ(only_access, (std::set<std::string>{"AccessLayout", "SummaryInfo", "UserDefined", "MSysAccessObjects"}));

  // Permissions: the same rows for every object both files have.
  auto aces = [](const std::string& file, const std::set<std::string>& keep) {
    bool ok = false;
    const std::string csv = jet_test::run("mdb-export -b hex " + jet_test::shell_quote(file) + " MSysACEs", &ok);
    std::multiset<std::string> rows;
    std::size_t pos = csv.find('\n') + 1;
    while (pos < csv.size()) {
      const std::size_t end = csv.find('\n', pos);
      const std::string line = csv.substr(pos, end - pos);
      if (keep.count(line.substr(0, line.find(',')))) rows.insert(line);
      pos = end == std::string::npos ? csv.size() : end + 1;
    }
    return rows;
  };
  std::set<std::string> ids;
  for (const auto& e : made->catalog().entries()) ids.insert(std::to_string(e.id));
  const auto ours_rows = aces(path, ids);
  EXPECT_EQ(ours_rows.size(), 47u);
  EXPECT_EQ(ours_rows, aces(jet_test::fixture("emptyV2000.mdb"), ids));

  const jet::PropertySet db = made->catalog().find_object("MSysDb", 2)->property_set();
  ASSERT_NE(db.object(), nullptr);
  EXPECT_EQ(db.object()->find("AccessVersion")->value, jet::Value::text("08.50"));
}

TEST(CreateDatabase, NewFileIsSoundAndOpensForWriting) {
  jet_test::ScratchDir dir;
  const std::string path = created(dir);
  {
    auto db = jet::Database::open(path);
    EXPECT_EQ(jet::verify_database(*db, jet::verify_indexes), std::vector<std::string>{});
  }
  auto w = jet::WritableDatabase::open(path);
  EXPECT_EQ(w->catalog().tables(true).size(), 4u);
  // A second writer is kept out while the first holds the file.
  EXPECT_EQ(error_of([&] { jet::WritableDatabase::open(path); }), 3045);
}

}  // namespace

}  // namespace create_database_test_cases
