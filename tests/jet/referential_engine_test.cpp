// Relationships enforced by the database's own writers, on databases the engine made:
// each rule both ways, Null foreign keys, relationships without integrity, cascades over
// two levels, refusals that leave nothing (inside a transaction too).
#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <set>

#include "alter_table_support.h"
#include "jet/db/create_database.h"
#include "jet/base/error.h"
#include "jet/ddl/relationship_write.h"
#include "jet/storage/transaction.h"
#include "support/linux_programs.h"

// Each test file keeps its own names, apart from the others compiled with it.
namespace referential_engine_test_cases {

namespace {

using namespace alter_table_test;
using V = jet::Value;
namespace attributes = jet::relationship_attributes;

// The Jet error `action` raises, with its text.
std::pair<int, std::string> failure(const std::function<void()>& action) {
  try {
    action();
  } catch (const jet::Error& e) {
    return {e.number(), e.description()};
  }
  return {0, ""};
}

std::string made(const jet_test::ScratchDir& dir, std::uint32_t attributes, std::uint32_t grand_attributes) {
  const std::string path = (dir.path() / "related.mdb").string();
  make_related_database(path, attributes, grand_attributes);
  return path;
}

TEST(ReferentialEngine, ForeignKeysNeedTheirReferencedRowAndNullsAreFree) {
  jet_test::ScratchDir dir;
  const std::string path = made(dir, 0, 0);
  auto db = jet::WritableDatabase::open(path);
  const auto refused = failure([&] { insert(*db, "Child", {{"Id", V::long_(20)}, {"ParentId", V::long_(9)}}); });
  EXPECT_EQ(refused.first, 3201);
  EXPECT_EQ(refused.second,
            "Impossible d'ajouter ou de modifier un enregistrement car un enregistrement connexe est requis dans la table 'Parent'.");
  insert(*db, "Child", {{"Id", V::long_(21)}, {"ParentId", V::long_(3)}});
  insert(*db, "Child", {{"Id", V::long_(22)}});  // Null key: nothing to check
  const jet::RowId orphan = find(*db, "Child", "Id", 13);
  EXPECT_EQ(failure([&] { update(*db, "Child", orphan, {{"ParentId", V::long_(9)}}); }).first, 3201);
  update(*db, "Child", orphan, {{"ParentId", V::long_(2)}});
  EXPECT_EQ(failure([&] { insert(*db, "GrandChild", {{"Id", V::long_(102)}, {"ChildId", V::long_(99)}}); }).first, 3201);
  EXPECT_EQ(longs(*db, "Child", "Id"), (std::vector<std::int32_t>{10, 11, 12, 13, 21, 22}));
  EXPECT_EQ(longs(*db, "Child", "ParentId"), (std::vector<std::int32_t>{-1, 1, 1, 2, 2, 3}));
  EXPECT_EQ(longs(*db, "GrandChild", "Id"), (std::vector<std::int32_t>{100, 101}));
}

// One writer, rows refused by a relationship after their index checks passed, each followed
// by a row that goes in: the indexes get the keys of the rows written, none of the refused.
TEST(ReferentialEngine, RowsRefusedAfterTheirIndexChecksLeaveNoKeysBehind) {
  jet_test::ScratchDir dir;
  const std::string path = made(dir, 0, 0);
  {
    auto db = jet::WritableDatabase::open(path);
    jet::TableWriter writer = db->writer("Child");
    const jet::TableDef def = writer.definition();
    auto child = [&](std::int32_t id, std::int32_t parent) {
      jet::Row row(def.columns.size(), V::null());
      row[def.find_column("Id")->definition_order] = V::long_(id);
      row[def.find_column("ParentId")->definition_order] = V::long_(parent);
      return row;
    };
    EXPECT_EQ(failure([&] { writer.insert(child(40, 9)); }).first, 3201);
    writer.insert(child(41, 3));
    EXPECT_EQ(failure([&] { writer.insert(child(42, 8)); }).first, 3201);
    writer.insert(child(43, 1));
    EXPECT_EQ(failure([&] { writer.insert(child(41, 2)); }).first, 3022);  // 41's key is there
    EXPECT_EQ(longs(*db, "Child", "Id"), (std::vector<std::int32_t>{10, 11, 12, 13, 41, 43}));
  }
  EXPECT_EQ(problems(path), "");
}

TEST(ReferentialEngine, ReferencedRowsStayWhileRowsReferToThem) {
  jet_test::ScratchDir dir;
  const std::string path = made(dir, 0, 0);
  {
    auto db = jet::WritableDatabase::open(path);
    const jet::RowId one = find(*db, "Parent", "Id", 1);
    const auto refused = failure([&] { remove(*db, "Parent", one); });
    EXPECT_EQ(refused.first, 3200);
    EXPECT_NE(refused.second.find("'Child'"), std::string::npos) << refused.second;
    EXPECT_EQ(failure([&] { update(*db, "Parent", one, {{"Id", V::long_(5)}}); }).first, 3200);
    EXPECT_EQ(failure([&] { remove(*db, "Child", find(*db, "Child", "Id", 12)); }).first, 3200);
    update(*db, "Parent", one, {{"Name", V::text("renamed")}});  // key unchanged
    update(*db, "Parent", find(*db, "Parent", "Id", 3), {{"Id", V::long_(30)}});  // nobody refers to 3
    remove(*db, "Parent", find(*db, "Parent", "Id", 30));
    // The referring rows gone, the referenced one may go.
    remove(*db, "GrandChild", find(*db, "GrandChild", "Id", 101));
    remove(*db, "Child", find(*db, "Child", "Id", 12));
    remove(*db, "Parent", find(*db, "Parent", "Id", 2));
    EXPECT_EQ(longs(*db, "Parent", "Id"), (std::vector<std::int32_t>{1}));
    EXPECT_EQ(longs(*db, "Child", "Id"), (std::vector<std::int32_t>{10, 11, 13}));
  }
  EXPECT_EQ(problems(path), "");
}

TEST(ReferentialEngine, RelationshipsWithoutIntegrityAreNotEnforced) {
  jet_test::ScratchDir dir;
  const std::string path = made(dir, attributes::NoIntegrity, 0);
  auto db = jet::WritableDatabase::open(path);
  insert(*db, "Child", {{"Id", V::long_(20)}, {"ParentId", V::long_(9)}});
  remove(*db, "Parent", find(*db, "Parent", "Id", 1));
  EXPECT_EQ(longs(*db, "Parent", "Id"), (std::vector<std::int32_t>{2, 3}));
  // The other relationship still is.
  EXPECT_EQ(failure([&] { insert(*db, "GrandChild", {{"Id", V::long_(102)}, {"ChildId", V::long_(99)}}); }).first, 3201);
}

TEST(ReferentialEngine, CascadeDeletesGoDownTwoLevelsOrNotAtAll) {
  jet_test::ScratchDir dir;
  const std::string path = made(dir, attributes::CascadeDeletes, attributes::CascadeDeletes);
  {
    auto db = jet::WritableDatabase::open(path);
    remove(*db, "Parent", find(*db, "Parent", "Id", 1));
    EXPECT_EQ(longs(*db, "Parent", "Id"), (std::vector<std::int32_t>{2, 3}));
    EXPECT_EQ(longs(*db, "Child", "Id"), (std::vector<std::int32_t>{12, 13}));
    EXPECT_EQ(longs(*db, "GrandChild", "Id"), (std::vector<std::int32_t>{101}));
  }
  EXPECT_EQ(problems(path), "");

  // Second level without cascade: the whole removal is refused, nothing goes.
  jet_test::ScratchDir other;
  const std::string refused_path = made(other, attributes::CascadeDeletes, 0);
  {
    auto db = jet::WritableDatabase::open(refused_path);
    const auto refused = failure([&] { remove(*db, "Parent", find(*db, "Parent", "Id", 1)); });
    EXPECT_EQ(refused.first, 3200);
    EXPECT_NE(refused.second.find("'GrandChild'"), std::string::npos) << refused.second;
    EXPECT_EQ(longs(*db, "Child", "Id"), (std::vector<std::int32_t>{10, 11, 12, 13}));
    EXPECT_EQ(longs(*db, "GrandChild", "Id"), (std::vector<std::int32_t>{100, 101}));
    remove(*db, "Parent", find(*db, "Parent", "Id", 3));  // no children: nothing to cascade
  }
  auto db = jet::WritableDatabase::open(refused_path);
  EXPECT_EQ(longs(*db, "Parent", "Id"), (std::vector<std::int32_t>{1, 2}));
  EXPECT_EQ(longs(*db, "Child", "Id"), (std::vector<std::int32_t>{10, 11, 12, 13}));
}

// Country(Code) <- Region(Country, Name) <- Town(Country, Region, Name): a change of a
// country's code changes the regions' keys, which the towns follow.
std::string made_places(const jet_test::ScratchDir& dir, std::uint32_t attributes) {
  const std::string path = (dir.path() / "places.mdb").string();
  auto db = jet::create_database(path);
  auto text = [](const std::string& name) {
    jet::ColumnDesign c;
    c.name = name;
    c.type = jet::ColumnType::Text;
    c.size = 20;
    return c;
  };
  auto key = [](std::vector<std::string> columns) {
    jet::IndexDesign i;
    i.name = "PrimaryKey";
    for (auto& c : columns) i.columns.push_back({c, false});
    i.primary = true;
    return i;
  };
  db->create_table({"Country", {text("Code")}, {key({"Code"})}, {}});
  db->create_table({"Region", {text("Country"), text("Name")}, {key({"Country", "Name"})}, {}});
  db->create_table({"Town", {text("Country"), text("Region"), text("Name")}, {key({"Name"})}, {}});
  jet::create_relationship(*db, {"RegionCountry", "Region", "Country", {"Country"}, {"Code"}, attributes});
  jet::create_relationship(*db, {"TownRegion", "Town", "Region", {"Country", "Region"}, {"Country", "Name"}, attributes});
  for (const char* c : {"FR", "BE"}) insert(*db, "Country", {{"Code", V::text(c)}});
  insert(*db, "Region", {{"Country", V::text("FR")}, {"Name", V::text("Bretagne")}});
  insert(*db, "Region", {{"Country", V::text("FR")}, {"Name", V::text("Île-de-France")}});
  insert(*db, "Region", {{"Country", V::text("BE")}, {"Name", V::text("Wallonie")}});
  insert(*db, "Town", {{"Country", V::text("FR")}, {"Region", V::text("Bretagne")}, {"Name", V::text("Rennes")}});
  insert(*db, "Town", {{"Country", V::text("fr")}, {"Region", V::text("île-de-france")}, {"Name", V::text("Paris")}});
  insert(*db, "Town", {{"Country", V::text("BE")}, {"Region", V::text("Wallonie")}, {"Name", V::text("Namur")}});
  return path;
}

std::multiset<std::string> texts(jet::WritableDatabase& db, const std::string& table, const std::vector<std::string>& columns) {
  const jet::TableDef def = db.table(table).def();
  std::multiset<std::string> out;
  for (const auto& [id, row] : rows(db, table)) {
    std::string s;
    for (const auto& c : columns) s += (s.empty() ? "" : "/") + row[def.find_column(c)->definition_order].as_text();
    out.insert(s);
  }
  return out;
}

TEST(ReferentialEngine, CascadeUpdatesCarryCompositeKeysTwoLevelsDown) {
  QUELIS_NEEDS_MDBTOOLS();
  jet_test::ScratchDir dir;
  const std::string path = made_places(dir, attributes::CascadeUpdates);
  {
    auto db = jet::WritableDatabase::open(path);
    // Composite keys compare as text keys do, without regard to case.
    EXPECT_EQ(failure([&] {
                insert(*db, "Town", {{"Country", V::text("BE")}, {"Region", V::text("Bretagne")}, {"Name", V::text("Brest")}});
              }).first,
              3201);
    const jet::RowId fr = rows(*db, "Country").front().first;
    update(*db, "Country", fr, {{"Code", V::text("FX")}});
    EXPECT_EQ(texts(*db, "Region", {"Country", "Name"}),
              (std::multiset<std::string>{"FX/Bretagne", "FX/Île-de-France", "BE/Wallonie"}));
    EXPECT_EQ(texts(*db, "Town", {"Country", "Region", "Name"}),
              (std::multiset<std::string>{"FX/Bretagne/Rennes", "FX/Île-de-France/Paris", "BE/Wallonie/Namur"}));
    // Deletions do not cascade here.
    EXPECT_EQ(failure([&] { remove(*db, "Country", rows(*db, "Country").back().first); }).first, 3200);
  }
  EXPECT_EQ(problems(path), "");
  EXPECT_NE(jet_test::mdb_export(path, "Town").find("\"FX\",\"Bretagne\",\"Rennes\""), std::string::npos);
}

TEST(ReferentialEngine, RefusalInsideTransactionKeepsEarlierWorkAndRollbackRestoresTheFile) {
  jet_test::ScratchDir dir;
  const std::string path = made(dir, attributes::CascadeDeletes, 0);
  const auto before = jet_test::read_file(path);
  {
    auto db = jet::WritableDatabase::open(path);
    jet::Transaction transaction(db->pager());
    insert(*db, "Child", {{"Id", V::long_(30)}, {"ParentId", V::long_(3)}, {"Body", V::text(long_text('z', 5000))}});
    // Parent 2's removal would cascade to Child 12, which GrandChild 101 refers to.
    EXPECT_EQ(failure([&] { remove(*db, "Parent", find(*db, "Parent", "Id", 2)); }).first, 3200);
    EXPECT_EQ(failure([&] { insert(*db, "Child", {{"Id", V::long_(31)}, {"ParentId", V::long_(8)}}); }).first, 3201);
    EXPECT_EQ(longs(*db, "Child", "Id"), (std::vector<std::int32_t>{10, 11, 12, 13, 30}));
    EXPECT_EQ(longs(*db, "Parent", "Id"), (std::vector<std::int32_t>{1, 2, 3}));
    EXPECT_EQ(longs(*db, "GrandChild", "Id"), (std::vector<std::int32_t>{100, 101}));
    transaction.rollback();
  }
  EXPECT_EQ(jet_test::read_file(path), before);
}

}  // namespace

}  // namespace referential_engine_test_cases
