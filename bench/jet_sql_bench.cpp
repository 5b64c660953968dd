// The application's backup update on 100,000 records: a table joined on its keys to the same
// table of another database (100,000 records too), values copied where the WHERE holds.
// Run on copies of overflowTestV2000's Table1 (nine Text(50) columns) filled by the table
// writer. Prints the update's records per second and its time against a plain full read of
// the table; never fails.
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

#include <unistd.h>

#include "jet/db/database.h"
#include "jet/base/error.h"
#include "jet/exec/executor.h"
#include "jet/storage/transaction.h"
#include "jet/db/writable_database.h"

namespace {

using Clock = std::chrono::steady_clock;
constexpr int kRecords = 100000;

double seconds_since(Clock::time_point start) {
  return std::chrono::duration<double>(Clock::now() - start).count();
}

jet::Value text(const std::string& s) { return s.empty() ? jet::Value::null() : jet::Value::text(s); }

// Records N<i>/P<i>; every third one already processed (data8 set), kind '1' or '2'.
void fill(const std::string& path, bool backup) {
  auto db = jet::WritableDatabase::open(path);
  jet::sql::Executor exec(*db);
  exec.execute("DELETE FROM Table1");
  jet::TableWriter writer = db->writer("Table1");
  jet::Transaction t(db->pager());
  for (int i = 0; i < kRecords; ++i) {
    const std::string n = std::to_string(i);
    jet::Row row{text("N" + n), text("P" + n), text(i % 5 == 4 ? "2" : "1"), text(""),
                 text(backup ? "2013-01-18" : ""), text(backup ? "T" + n : ""),
                 text(!backup && i % 3 == 0 ? "seen" : ""), text(""), text("")};
    writer.insert(row);
  }
  t.commit();
}

}  // namespace

int main() {
  namespace fs = std::filesystem;
  const fs::path dir = fs::temp_directory_path() / ("jet_sql_bench_" + std::to_string(::getpid()));
  try {
    fs::create_directories(dir);
    const std::string fixture = std::string(QUELIS_FIXTURES) + "/overflowTestV2000.mdb";
    const std::string main_path = (dir / "main.mdb").string(), backup_path = (dir / "backup.mdb").string();
    fs::copy_file(fixture, main_path);
    fs::copy_file(fixture, backup_path);
    for (const auto& p : {main_path, backup_path})  // the fixtures are read-only
      fs::permissions(p, fs::perms::owner_read | fs::perms::owner_write, fs::perm_options::replace);
    auto start = Clock::now();
    fill(main_path, false);
    fill(backup_path, true);
    std::printf("préparation : 2 x %d enregistrements en %.2f s\n", kRecords, seconds_since(start));

    auto db = jet::WritableDatabase::open(main_path);
    start = Clock::now();
    std::uint64_t scanned = 0;
    db->table("Table1").scan([&](jet::RowId, const jet::Row&) { return ++scanned, true; });
    const double scan = seconds_since(start);

    jet::sql::Executor exec(*db);
    const std::string sql =
        "UPDATE Table1 INNER JOIN [;database=" + backup_path +
        "].Table1 AS T1 ON (Table1.data1 = T1.data1) AND (Table1.data3 = T1.data3) "
        "SET Table1.data6 = [T1].[data6], Table1.data7 = [T1].[data7] "
        "WHERE table1.data4 = '1' AND table1.data5 is null AND table1.data8 is null AND table1.data9 is null";
    start = Clock::now();
    const std::int64_t affected = exec.execute(sql);
    const double update = seconds_since(start);
    std::printf("lecture complète : %llu enregistrements en %.3f s (%.0f /s)\n",
                static_cast<unsigned long long>(scanned), scan, scanned / scan);
    std::printf("mise à jour jointe : %lld enregistrements modifiés en %.3f s (%.0f enregistrements lus/s), "
                "%.1f fois la lecture complète\n",
                static_cast<long long>(affected), update, kRecords / update, update / scan);
  } catch (const jet::Error& e) {
    std::printf("jet_sql_bench : erreur %d %s\n", e.number(), e.what());
  } catch (const std::exception& e) {
    std::printf("jet_sql_bench : %s\n", e.what());
  }
  std::error_code ignore;
  fs::remove_all(dir, ignore);
  return 0;
}
