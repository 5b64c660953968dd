// Compaction of every Access-made fixture: the new file holds the same things (engine
// comparison and mdbtools export), checks sound, is no larger than Access made it (Access
// compacted these files itself), and the source is left byte for byte;
// deleted rows give space back; refused destinations leave nothing behind.
#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <sstream>

#include "jet/tools/compact.h"
#include "jet/tools/diff.h"
#include "jet/base/error.h"
#include "jet/table/index_maintain_hook.h"
#include "jet/tools/index_verify.h"
#include "jet/storage/transaction.h"
#include "jet/tools/verify.h"
#include "jet/db/writable_database.h"
#include "jet_test_support.h"
#include "support/linux_programs.h"

// Each test file keeps its own names, apart from the others compiled with it.
namespace compact_test_cases {

namespace {

using jet_test::joined;
using jet_test::error_of;
std::string mdbtools(const std::string& command, const std::string& path, const std::string& table = {}) {
  bool ok = false;
  std::string cmd = command + " " + jet_test::shell_quote(path);
  if (!table.empty()) cmd += " " + jet_test::shell_quote(table);
  const std::string out = jet_test::run(cmd + " 2>&1", &ok);
  EXPECT_TRUE(ok) << cmd << "\n" << out;
  return out;
}

// Every table's export, its lines sorted: rows Access moved to other pages are exported
// by mdbtools where they now lie, and the compacted file stores them in their place.
std::string export_all(const std::string& path) {
  std::string out;
  for (const auto& table : jet::Database::open(path)->table_names()) {
    std::vector<std::string> lines;
    std::istringstream in(mdbtools("mdb-export", path, table));
    for (std::string line; std::getline(in, line);) lines.push_back(line);
    std::sort(lines.begin(), lines.end());
    out += table + "\n" + joined(lines);
  }
  return out;
}

TEST(Compact, EveryFixtureIsCarriedWhole) {
  QUELIS_NEEDS_MDBTOOLS();
  jet_test::ScratchDir dir;
  for (const auto& name : jet_test::all_fixtures()) {
    SCOPED_TRACE(name);
    const std::string source = jet_test::fixture(name);
    const auto before = jet_test::read_file(source);
    const std::string destination = (dir.path() / ("compact-" + name)).string();
    jet::CompactReport report;
    try {
      report = jet::compact(source, destination);
    } catch (const jet::Error& e) {
      ADD_FAILURE() << e.description();
      continue;
    }
    EXPECT_TRUE(jet_test::read_file(source) == before) << "the source was written";
    EXPECT_LE(std::filesystem::file_size(destination), before.size()) << "pages beyond the source's";
    EXPECT_EQ(joined(jet::diff_files(source, destination)), "");
    EXPECT_EQ(export_all(destination), export_all(source));
    EXPECT_EQ(mdbtools("mdb-queries -L", destination), mdbtools("mdb-queries -L", source));
    EXPECT_EQ(mdbtools("mdb-schema", destination), mdbtools("mdb-schema", source));
    auto db = jet::Database::open(destination);
    EXPECT_EQ(joined(jet::verify_database(*db, jet::verify_indexes)), "");
    EXPECT_EQ(report.tables >= db->table_names().size(), true);
  }
}

TEST(Compact, DeletedRowsGiveTheirSpaceBack) {
  QUELIS_NEEDS_MDBTOOLS();
  jet_test::ScratchDir dir;
  const std::string source = dir.write("source.mdb", jet_test::read_file(jet_test::fixture("compIndexTestV2000.mdb")));
  {
    auto db = jet::WritableDatabase::open(source);
    jet::TableIndexHook hook(db->allocator());
    jet::Transaction tx(db->pager());
    jet::TableWriter writer = db->writer("Table1", &hook);
    std::vector<jet::RowId> ids;
    db->table("Table1").scan([&](jet::RowId id, const jet::Row&) {
      ids.push_back(id);
      return true;
    });
    ASSERT_GT(ids.size(), 100u);
    for (std::size_t i = 0; i < ids.size(); ++i)
      if (i % 4 != 0) writer.remove(ids[i]);
    tx.commit();
  }
  const std::string destination = (dir.path() / "compacted.mdb").string();
  const auto report = jet::compact(source, destination);
  EXPECT_GE(report.rows, jet::Database::open(source)->table("Table1").count_rows());
  EXPECT_EQ(jet::Database::open(destination)->table("Table1").count_rows(),
            jet::Database::open(source)->table("Table1").count_rows());
  EXPECT_LT(std::filesystem::file_size(destination), std::filesystem::file_size(source));
  EXPECT_EQ(joined(jet::diff_files(source, destination)), "");
  EXPECT_EQ(mdbtools("mdb-export", destination, "Table1"), mdbtools("mdb-export", source, "Table1"));
}

TEST(Compact, RefusedDestinationsAndSourcesLeaveNothingBehind) {
  jet_test::ScratchDir dir;
  const std::string source = jet_test::fixture("testV2000.mdb");
  // An existing destination is neither used nor changed.
  const std::string taken = dir.write("taken.mdb", {1, 2, 3});
  EXPECT_EQ(error_of([&] { jet::compact(source, taken); }), 3204);
  EXPECT_EQ(jet_test::read_file(taken), (std::vector<std::uint8_t>{1, 2, 3}));
  // A missing folder.
  EXPECT_EQ(error_of([&] { jet::compact(source, (dir.path() / "absent" / "out.mdb").string()); }), 3044);
  // A damaged source: refused, and no destination left.
  auto bytes = jet_test::read_file(source);
  jet::PageNumber data = 0;
  {
    auto db = jet::Database::open(source);
    data = db->table("Table1").data_pages().front();
  }
  std::fill(bytes.begin() + data * 4096 + 14, bytes.begin() + data * 4096 + 18, 0x3F);
  const std::string damaged = dir.write("damaged.mdb", bytes);
  const std::string out = (dir.path() / "out.mdb").string();
  EXPECT_EQ(error_of([&] { jet::compact(damaged, out); }), 3049);
  EXPECT_FALSE(std::filesystem::exists(out));
  // A source in use exclusively elsewhere.
  const std::string held = dir.write("held.mdb", jet_test::read_file(source));
  auto holder = jet::WritableDatabase::open(held);
  EXPECT_EQ(error_of([&] { jet::compact(held, out); }), 3356);
  EXPECT_FALSE(std::filesystem::exists(out));
}

}  // namespace

}  // namespace compact_test_cases
