// Autonumbers on a copy of an Access-made file: numbers continue from the value the
// definition keeps, survive re-opening, and the other tables stay byte for byte as Access
// left them.
#include <gtest/gtest.h>

#include "jet/table/index_maintain_hook.h"
#include "jet/tools/index_verify.h"
#include "jet/storage/transaction.h"
#include "jet/tools/verify.h"
#include "jet/db/writable_database.h"
#include "jet_test_support.h"
#include "support/linux_programs.h"

// Each test file keeps its own names, apart from the others compiled with it.
namespace write_autonumber_test_cases {

namespace {

using jet::Value;

std::vector<std::uint8_t> pages_of(const std::string& path, const std::string& table) {
  auto db = jet::Database::open(path);
  const jet::Table t = db->table(table);
  std::vector<std::uint8_t> out = db->pager().read(t.def().page).view().copy();
  for (jet::PageNumber p : t.data_pages()) {
    const auto bytes = db->pager().read(p).view().copy();
    out.insert(out.end(), bytes.begin(), bytes.end());
  }
  return out;
}

TEST(WriteAutonumber, AccessTableNumbersFromItsStoredCounter) {
  QUELIS_NEEDS_MDBTOOLS();
  jet_test::ScratchDir dir;
  const std::string path = dir.write("t.mdb", jet_test::read_file(jet_test::fixture("testV2000.mdb")));
  const auto table1 = pages_of(path, "Table1");
  const auto table2 = pages_of(path, "Table2");
  std::uint32_t stored = 0;
  {
    auto db = jet::Database::open(path);
    const jet::TableDef def = db->table("Table3").def();
    ASSERT_TRUE(def.find_column("a")->is_autonumber());
    stored = def.next_autonumber;
  }
  for (int round = 0; round < 2; ++round) {
    auto db = jet::WritableDatabase::open(path);
    jet::TableIndexHook hook(db->allocator());
    jet::Transaction tx(db->pager());
    auto writer = db->writer("Table3", &hook);
    for (int i = 0; i < 3; ++i) {
      const jet::RowId id = writer.insert({Value::null(), Value::text("tour " + std::to_string(round))});
      EXPECT_EQ((*db->table("Table3").read(id))[0], Value::long_(static_cast<std::int32_t>(stored) + round * 3 + i + 1));
    }
    tx.commit();
  }
  auto db = jet::Database::open(path);
  EXPECT_EQ(db->table("Table3").def().next_autonumber, stored + 6);
  EXPECT_EQ(jet::verify_database(*db, jet::verify_indexes), std::vector<std::string>{});
  const std::string csv = jet_test::run("mdb-export " + jet_test::shell_quote(path) + " Table3");
  EXPECT_NE(csv.find("\n" + std::to_string(stored + 6) + ",\"tour 1\"\n"), std::string::npos) << csv;
  EXPECT_EQ(pages_of(path, "Table1"), table1);
  EXPECT_EQ(pages_of(path, "Table2"), table2);
}

}  // namespace

}  // namespace write_autonumber_test_cases
