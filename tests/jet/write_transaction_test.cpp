// Transactions over created tables: rollback leaves the file byte-identical, commit then
// reopen shows everything.
#include <gtest/gtest.h>

#include <functional>

#include "jet/db/create_database.h"
#include "jet/base/error.h"
#include "jet/table/index_maintain_hook.h"
#include "jet/tools/index_verify.h"
#include "jet/storage/transaction.h"
#include "jet/tools/verify.h"
#include "jet_test_support.h"
#include "support/linux_programs.h"

// Each test file keeps its own names, apart from the others compiled with it.
namespace write_transaction_test_cases {

namespace {

using jet::Value;

jet::ColumnDesign column(const char* name, jet::ColumnType type, std::uint16_t size = 255) {
  jet::ColumnDesign c;
  c.name = name;
  c.type = type;
  c.size = size;
  return c;
}

jet::TableDesign people() {
  jet::TableDesign design;
  design.name = "Personnes";
  jet::ColumnDesign id = column("Id", jet::ColumnType::Long);
  id.autonumber = true;
  jet::ColumnDesign name = column("Nom", jet::ColumnType::Text, 40);
  jet::ColumnDesign note = column("Note", jet::ColumnType::Memo);
  design.columns = {id, name, note};
  design.indexes = {{"PrimaryKey", {{"Id", false}}, true, false, false, false},
                  {"Nom", {{"Nom", false}}, false, true, true, false}};
  return design;
}

jet::Row person(const std::string& name, std::size_t note_length = 0) {
  return {Value::null(), Value::text(name), note_length ? Value::text(std::string(note_length, 'n')) : Value::null()};
}

TEST(WriteTransaction, RollbackLeavesTheFileByteIdenticalAndCommitPersists) {
  QUELIS_NEEDS_MDBTOOLS();
  jet_test::ScratchDir dir;
  const std::string path = (dir.path() / "t.mdb").string();
  jet::create_database(path)->create_table(people());
  const auto before = jet_test::read_file(path);
  {
    auto db = jet::WritableDatabase::open(path);
    jet::TableIndexHook hook(db->allocator());
    jet::Transaction tx(db->pager());
    auto writer = db->writer("Personnes", &hook);
    for (int i = 0; i < 500; ++i) writer.insert(person("Nom " + std::to_string(i), i % 5 ? 0 : 9000));
    EXPECT_EQ(db->table("Personnes").count_rows(), 500u);
    tx.rollback();
  }
  EXPECT_EQ(jet_test::read_file(path), before);
  {
    auto db = jet::WritableDatabase::open(path);
    jet::TableIndexHook hook(db->allocator());
    jet::Transaction tx(db->pager());
    auto writer = db->writer("Personnes", &hook);
    for (int i = 0; i < 500; ++i) writer.insert(person("Nom " + std::to_string(i), i % 5 ? 0 : 9000));
    // A refused statement inside the transaction takes nothing else with it.
    EXPECT_THROW(writer.insert(person("Nom 7")), jet::Error);
    tx.commit();
  }
  auto db = jet::Database::open(path);
  EXPECT_EQ(db->table("Personnes").count_rows(), 500u);
  EXPECT_EQ(jet::verify_database(*db, jet::verify_indexes), std::vector<std::string>{});
  const std::string csv = jet_test::run("mdb-export " + jet_test::shell_quote(path) + " Personnes");
  EXPECT_NE(csv.find("\n500,\"Nom 499\","), std::string::npos);
  EXPECT_NE(csv.find("\n1,\"Nom 0\",\"" + std::string(9000, 'n') + "\"\n"), std::string::npos);
}

TEST(WriteTransaction, AutonumbersContinueFromTheStoredValueAfterReopening) {
  jet_test::ScratchDir dir;
  const std::string path = (dir.path() / "t.mdb").string();
  jet::create_database(path)->create_table(people());
  for (int round = 0; round < 3; ++round) {
    auto db = jet::WritableDatabase::open(path);
    jet::TableIndexHook hook(db->allocator());
    auto writer = db->writer("Personnes", &hook);
    const jet::RowId id = writer.insert(person("Tour " + std::to_string(round)));
    EXPECT_EQ((*db->table("Personnes").read(id))[0], Value::long_(round + 1));
    if (round == 1) writer.remove(id);  // a deleted number is not given again
  }
  auto db = jet::Database::open(path);
  EXPECT_EQ(db->table("Personnes").def().next_autonumber, 3u);
}

}  // namespace

}  // namespace write_transaction_test_cases
