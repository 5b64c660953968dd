// The checker's page rules on a database this engine wrote, with damage planted by hand:
// a wrong free-space count, a page the global map calls free while a table owns it, a data
// page of another table listed in a table's map.
#include <gtest/gtest.h>

#include <functional>

#include "jet/db/create_database.h"
#include "jet/table/index_maintain_hook.h"
#include "jet/storage/transaction.h"
#include "jet/record/usage_map_write.h"
#include "jet/tools/verify.h"
#include "jet_test_support.h"

// Each test file keeps its own names, apart from the others compiled with it.
namespace write_verify_pages_test_cases {

namespace {

struct Built {
  jet_test::ScratchDir dir;
  std::string path = (dir.path() / "v.mdb").string();
  jet::PageNumber a_page = 0, b_page = 0, a_data = 0, b_data = 0;
  Built() {
    auto db = jet::create_database(path);
    for (const char* name : {"A", "B"}) {
      jet::TableDesign design;
      design.name = name;
      jet::ColumnDesign c;
      c.name = "Texte";
      design.columns = {c};
      db->create_table(design);
      auto writer = db->writer(name);
      writer.insert({jet::Value::text("une ligne")});
    }
    a_page = db->catalog().find_table("A")->table_page();
    b_page = db->catalog().find_table("B")->table_page();
    a_data = db->table("A").data_pages().at(0);
    b_data = db->table("B").data_pages().at(0);
  }
  std::vector<std::string> problems() {
    auto db = jet::Database::open(path);
    return jet::verify_database(*db);
  }
  void patch(const std::function<void(jet::WritableDatabase&)>& damage) {
    auto db = jet::WritableDatabase::open(path);
    jet::Transaction tx(db->pager());
    damage(*db);
    tx.commit();
  }
};

bool mentions(const std::vector<std::string>& problems, const std::string& text) {
  for (const auto& p : problems)
    if (p.find(text) != std::string::npos) return true;
  return false;
}

TEST(WriteVerifyPages, WrittenFileIsSoundAndEachPlantedDamageIsNamed) {
  {
    Built b;
    EXPECT_EQ(b.problems(), std::vector<std::string>{});
    b.patch([&](jet::WritableDatabase& db) {
      auto bytes = db.pager().read(b.a_data).view().copy();
      bytes[2] ^= 0x10;  // free-space count
      db.pager().write(b.a_data, std::move(bytes));
    });
    const auto found = b.problems();
    EXPECT_TRUE(mentions(found, "page " + std::to_string(b.a_data) + " : espace libre annoncé")) << found.size();
  }
  {
    Built b;
    b.patch([&](jet::WritableDatabase& db) { jet::set_usage_bit(db.pager(), jet::kGlobalUsageMap, b.b_data, true, false); });
    EXPECT_TRUE(mentions(b.problems(), "la page " + std::to_string(b.b_data) + " est marquée libre"));
  }
  {
    Built b;
    b.patch([&](jet::WritableDatabase& db) {
      const jet::TableDef def = jet::read_table_def(db.pager(), b.a_page);
      jet::set_usage_bit(db.pager(), jet::RowId::from_pointer(def.owned_pages), b.b_data, true);
    });
    EXPECT_TRUE(mentions(b.problems(), "compte la page " + std::to_string(b.b_data)));
  }
}

}  // namespace

}  // namespace write_verify_pages_test_cases
