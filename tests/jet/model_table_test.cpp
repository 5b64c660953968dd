// Randomised changes to a created table with several indexes, checked against an in-memory
// model after every batch: rows, index soundness and order, seeks by key. Each batch is one
// transaction; the file is closed and re-opened between batches. Fixed seed: deterministic.
#include <gtest/gtest.h>

#include <map>
#include <random>

#include "jet/db/create_database.h"
#include "jet/base/error.h"
#include "jet/btree/index_cursor.h"
#include "jet/table/index_maintain_hook.h"
#include "jet/btree/index_row_key.h"
#include "jet/tools/index_verify.h"
#include "jet/storage/transaction.h"
#include "jet/tools/verify.h"
#include "jet_test_support.h"
#include "support/linux_programs.h"

// Each test file keeps its own names, apart from the others compiled with it.
namespace model_table_test_cases {

namespace {

using jet::Value;

jet::ColumnDesign column(const char* name, jet::ColumnType type, std::uint16_t size = 255) {
  jet::ColumnDesign c;
  c.name = name;
  c.type = type;
  c.size = size;
  c.allow_zero_length = true;
  return c;
}

jet::TableDesign design() {
  jet::TableDesign s;
  s.name = "Modèle";
  auto id = column("Id", jet::ColumnType::Long);
  id.autonumber = true;
  s.columns = {id, column("Code", jet::ColumnType::Text, 20), column("Nom", jet::ColumnType::Text, 120),
               column("Val", jet::ColumnType::Long), column("Note", jet::ColumnType::Memo)};
  s.indexes = {{"PrimaryKey", {{"Id", false}}, true, false, false, false},
               {"Code", {{"Code", false}}, false, true, true, false},
               {"NomVal", {{"Nom", false}, {"Val", true}}, false, false, false, false},
               {"Val", {{"Val", true}}, false, false, false, false}};
  return s;
}

class Generator {
 public:
  explicit Generator(unsigned seed) : rng_(seed) {}
  int below(int n) { return std::uniform_int_distribution<int>(0, n - 1)(rng_); }
  Value code() {
    if (below(6) == 0) return Value::null();
    return Value::text("K" + std::to_string(below(400)));  // a small pool: duplicates happen
  }
  Value name() {
    static const char* stems[] = {"Éloïse", "eloise", "Zoé", "zoe", "Ærø", "Çà et là", "Œuvre", "dupont", "Dupont", ""};
    if (below(10) == 0) return Value::null();
    std::string s = stems[below(9)];
    if (below(4) == 0) s += std::string(static_cast<std::size_t>(below(100)), 'x');
    return Value::text(s + " " + std::to_string(below(50)));
  }
  Value number() { return below(8) == 0 ? Value::null() : Value::long_(below(2000) - 1000); }
  Value note() {
    const int kind = below(5);
    if (kind == 0) return Value::null();
    if (kind == 1) return Value::text(std::string(static_cast<std::size_t>(3000 + below(9000)), static_cast<char>('a' + below(26))));
    return Value::text("note é " + std::to_string(below(1000)));
  }

 private:
  std::mt19937 rng_;
};

struct Model {
  std::map<std::int32_t, jet::Row> rows;  // by Id
  std::map<std::int32_t, jet::RowId> where;
  bool code_taken(const Value& code, std::int32_t except) const {
    if (code.is_null()) return false;
    for (const auto& [id, row] : rows)
      if (id != except && !row[1].is_null() && row[1].as_text() == code.as_text()) return true;
    return false;
  }
};

const jet::IndexDef& index_named(const jet::TableDef& def, const std::string& name) {
  for (const auto& l : def.logical_indexes)
    if (l.name == name) return *def.real_index(l.real_index);
  throw std::runtime_error("index " + name);
}

void check(const std::string& path, const Model& model, Generator& gen) {
  auto db = jet::Database::open(path);
  const jet::Table table = db->table("Modèle");
  std::map<std::int32_t, jet::Row> stored;
  table.scan([&](jet::RowId, const jet::Row& row) {
    stored[row[0].as_long()] = row;
    return true;
  });
  ASSERT_EQ(stored.size(), model.rows.size());
  for (const auto& [id, row] : model.rows) {
    ASSERT_TRUE(stored.count(id)) << id;
    for (std::size_t c = 1; c < row.size(); ++c) {
      // Empty texts are stored as such, not as Null.
      EXPECT_EQ(stored[id][c], row[c]) << "row " << id << " column " << c;
    }
  }
  EXPECT_EQ(table.def().row_count, model.rows.size());
  for (const auto& index : table.def().indexes)
    EXPECT_EQ(jet::verify_index(table, index), std::vector<std::string>{}) << "index " << index.number;
  // The unique code index: every code in the model is found, codes nobody has are not.
  const jet::IndexDef& code = index_named(table.def(), "Code");
  std::size_t entries = 0;
  jet::IndexCursor all(db->pager(), table.def(), code);
  all.before_first();
  while (all.next()) ++entries;
  std::size_t coded = 0;
  for (const auto& [id, row] : model.rows) coded += !row[1].is_null();
  EXPECT_EQ(entries, coded);  // nulls are left out
  for (int probe = 0; probe < 40; ++probe) {
    const Value wanted = Value::text("K" + std::to_string(gen.below(400)));
    const std::int32_t* owner = nullptr;
    for (const auto& [id, row] : model.rows)
      if (!row[1].is_null() && row[1].as_text() == wanted.as_text()) owner = &id;
    jet::IndexCursor cursor(db->pager(), table.def(), code);
    const bool found = cursor.seek_exact(jet::index_key_for_values(table.def(), code, {wanted}));
    ASSERT_EQ(found, owner != nullptr) << wanted.as_text();
    if (found) {
      EXPECT_EQ((*table.read(cursor.row_id()))[0], Value::long_(*owner));
    }
  }
  // The descending value index lists values from high to low, nulls grouped at one end.
  const jet::IndexDef& val = index_named(table.def(), "Val");
  jet::IndexCursor by_val(db->pager(), table.def(), val);
  by_val.before_first();
  std::vector<std::int32_t> values;
  while (by_val.next()) {
    const Value v = (*table.read(by_val.row_id()))[3];
    if (!v.is_null()) values.push_back(v.as_long());
  }
  EXPECT_TRUE(std::is_sorted(values.rbegin(), values.rend()));
}

TEST(ModelTable, RandomChangesMatchTheModelAcrossReopenings) {
  QUELIS_NEEDS_MDBTOOLS();
  jet_test::ScratchDir dir;
  const std::string path = (dir.path() / "m.mdb").string();
  jet::create_database(path)->create_table(design());
  Generator gen(20240611u);
  Model model;
  std::int32_t next_id = 1;
  int refused = 0;
  constexpr int kBatches = 8, kOps = 150;
  for (int batch = 0; batch < kBatches; ++batch) {
    {
      auto db = jet::WritableDatabase::open(path);
      jet::TableIndexHook hook(db->allocator());
      jet::Transaction tx(db->pager());
      jet::TableWriter writer = db->writer("Modèle", &hook);
      for (int op = 0; op < kOps; ++op) {
        const int kind = model.rows.empty() ? 0 : gen.below(10);
        if (kind < 5) {
          jet::Row row{Value::null(), gen.code(), gen.name(), gen.number(), gen.note()};
          if (model.code_taken(row[1], -1)) {
            EXPECT_EQ([&] {
              try {
                writer.insert(row);
              } catch (const jet::Error& e) {
                return e.number();
              }
              return 0;
            }(), 3022);
            ++refused;
            continue;
          }
          const jet::RowId id = writer.insert(row);
          row[0] = Value::long_(next_id);
          model.where[next_id] = id;
          model.rows[next_id++] = row;
        } else {
          auto it = model.rows.begin();
          std::advance(it, gen.below(static_cast<int>(model.rows.size())));
          const std::int32_t id = it->first;
          if (kind < 8) {
            jet::Row row = it->second;
            switch (gen.below(4)) {
              case 0: row[1] = gen.code(); break;
              case 1: row[2] = gen.name(); break;
              case 2: row[3] = gen.number(); break;
              default: row[4] = gen.note(); break;
            }
            if (model.code_taken(row[1], id)) {
              EXPECT_THROW(writer.update(model.where[id], row), jet::Error);
              ++refused;
              continue;
            }
            writer.update(model.where[id], row);
            it->second = row;
          } else {
            writer.remove(model.where[id]);
            model.rows.erase(it);
            model.where.erase(id);
          }
        }
      }
      tx.commit();
    }
    SCOPED_TRACE("batch " + std::to_string(batch));
    check(path, model, gen);
    if (HasFatalFailure()) return;
  }
  EXPECT_GT(refused, 5);         // duplicates were met and refused
  EXPECT_GT(model.rows.size(), 150u);
  auto db = jet::Database::open(path);
  EXPECT_EQ(jet::verify_database(*db, jet::verify_indexes), std::vector<std::string>{});
  bool ok = false;
  const std::string csv = jet_test::run("mdb-export " + jet_test::shell_quote(path) + " 'Modèle' | wc -l", &ok);
  EXPECT_TRUE(ok);
  EXPECT_EQ(std::stoul(csv), model.rows.size() + 1);
}

}  // namespace

}  // namespace model_table_test_cases
