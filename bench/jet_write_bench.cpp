// Write throughput: a new database with a case-file table (four-part primary key, about
// thirty columns of mixed types, three secondary indexes, a memo), 100,000 rows inserted in
// one transaction and committed, then 10% of the rows updated and 5% removed in a second
// one. Prints rows per second, file size and peak memory, and the ratio of the insert time
// to a plain sequential write of the same number of bytes. Times are given as elapsed and as
// processor time of this process (the figure to compare on a machine shared with other
// work). Prints figures only; never fails.
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "jet/db/create_database.h"
#include "jet/base/error.h"
#include "jet/table/index_maintain_hook.h"
#include "jet/storage/transaction.h"

namespace {

using Clock = std::chrono::steady_clock;
using jet::ColumnType;
using jet::Value;

double seconds_since(Clock::time_point start) { return std::chrono::duration<double>(Clock::now() - start).count(); }

// Processor time (user and system) used by this process so far.
double cpu_seconds() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  auto of = [](const timeval& t) { return static_cast<double>(t.tv_sec) + static_cast<double>(t.tv_usec) / 1e6; };
  return of(usage.ru_utime) + of(usage.ru_stime);
}

jet::ColumnDesign column(std::string name, ColumnType type, std::uint16_t size = 255) {
  jet::ColumnDesign c;
  c.name = std::move(name);
  c.type = type;
  c.size = size;
  c.allow_zero_length = true;
  return c;
}

jet::TableDesign fiche() {
  jet::TableDesign design;
  design.name = "FICHE";
  design.columns = {column("DEPT", ColumnType::Text, 3), column("COMMUNE", ColumnType::Text, 3),
                  column("SECTION", ColumnType::Text, 2), column("NUMERO", ColumnType::Long)};
  for (int i = 0; i < 8; ++i) design.columns.push_back(column("LIB" + std::to_string(i), ColumnType::Text, 60));
  for (int i = 0; i < 6; ++i) design.columns.push_back(column("NB" + std::to_string(i), ColumnType::Long));
  for (int i = 0; i < 4; ++i) design.columns.push_back(column("DATE" + std::to_string(i), ColumnType::DateTime));
  for (int i = 0; i < 3; ++i) design.columns.push_back(column("MONTANT" + std::to_string(i), ColumnType::Currency));
  for (int i = 0; i < 3; ++i) design.columns.push_back(column("SURF" + std::to_string(i), ColumnType::Double));
  for (int i = 0; i < 2; ++i) design.columns.push_back(column("FLAG" + std::to_string(i), ColumnType::Boolean));
  design.columns.push_back(column("OBSERVATIONS", ColumnType::Memo));
  design.indexes = {{"PrimaryKey", {{"DEPT", false}, {"COMMUNE", false}, {"SECTION", false}, {"NUMERO", false}}, true, false, false, false},
                  {"LIB0", {{"LIB0", false}}, false, false, false, false},
                  {"DATE0", {{"DATE0", true}}, false, false, false, false},
                  {"NB0", {{"NB0", false}, {"LIB1", false}}, false, false, true, false}};
  return design;
}

jet::Row row_for(const jet::TableDef& def, int n, int version) {
  jet::Row row(def.columns.size(), Value::null());
  char buffer[16];
  std::snprintf(buffer, sizeof buffer, "%03d", 1 + n % 95);
  row[0] = Value::text(buffer);
  std::snprintf(buffer, sizeof buffer, "%03d", (n / 95) % 600);
  row[1] = Value::text(buffer);
  row[2] = Value::text(std::string(1, static_cast<char>('A' + (n / 57000) % 26)) + "B");
  row[3] = Value::long_(n);
  for (int i = 0; i < 8; ++i)
    row[4 + static_cast<std::size_t>(i)] = Value::text("Libellé " + std::to_string((n * 7919 + i * 31 + version) % 100003) + " é");
  for (int i = 0; i < 6; ++i) row[12 + static_cast<std::size_t>(i)] = Value::long_((n * (i + 3) + version) % 9973);
  for (int i = 0; i < 4; ++i) row[18 + static_cast<std::size_t>(i)] = Value::date(36000.0 + (n * 13 + i) % 9000);
  for (int i = 0; i < 3; ++i) row[22 + static_cast<std::size_t>(i)] = Value::currency(static_cast<std::int64_t>(n) * 125 + i);
  for (int i = 0; i < 3; ++i) row[25 + static_cast<std::size_t>(i)] = Value::double_(n / 3.0 + i);
  row[28] = Value::boolean(n % 2 == 0);
  row[29] = Value::boolean(n % 3 == 0);
  if (n % 4 == 0) row[30] = Value::text(std::string(40 + n % 300, 'o'));
  return row;
}

long peak_rss_kib() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return usage.ru_maxrss;
}

}  // namespace

int main(int argc, char** argv) {
  // An optional argument gives another row count (quick runs in debug builds).
  const int kRows = argc > 1 ? std::max(100, std::atoi(argv[1])) : 100000;
  const auto dir = std::filesystem::temp_directory_path() / ("jet_write_bench_" + std::to_string(getpid()));
  std::filesystem::create_directories(dir);
  const std::string path = (dir / "bench.mdb").string();
  try {
    auto db = jet::create_database(path);
    db->create_table(fiche());
    jet::TableIndexHook hook(db->allocator());
    std::vector<jet::RowId> ids;
    ids.reserve(kRows);
    auto start = Clock::now();
    double cpu_start = cpu_seconds();
    {
      jet::Transaction tx(db->pager());
      jet::TableWriter writer = db->writer("FICHE", &hook);
      const jet::TableDef def = writer.definition();
      for (int n = 0; n < kRows; ++n) ids.push_back(writer.insert(row_for(def, n, 0)));
      tx.commit();
    }
    const double insert_seconds = seconds_since(start);
    const double insert_cpu = cpu_seconds() - cpu_start;
    const auto size = std::filesystem::file_size(path);

    // The same byte volume written plainly, in pages, then synced.
    const std::string plain = (dir / "plain.bin").string();
    start = Clock::now();
    {
      std::ofstream out(plain, std::ios::binary);
      std::vector<char> page(4096, 'x');
      for (std::uintmax_t written = 0; written < size; written += page.size()) out.write(page.data(), 4096);
    }
    const double plain_seconds = seconds_since(start);

    start = Clock::now();
    cpu_start = cpu_seconds();
    {
      jet::Transaction tx(db->pager());
      jet::TableWriter writer = db->writer("FICHE", &hook);
      const jet::TableDef def = writer.definition();
      for (int n = 0; n < kRows; n += 10) writer.update(ids[static_cast<std::size_t>(n)], row_for(def, n, 1));
      for (int n = 5; n < kRows; n += 20) writer.remove(ids[static_cast<std::size_t>(n)]);
      tx.commit();
    }
    const double change_seconds = seconds_since(start);
    const double change_cpu = cpu_seconds() - cpu_start;
    const int changes = kRows / 10 + kRows / 20;
    std::printf("jet write: %d inserts in %.2f s (%.0f rows/s), processor %.2f s (%.0f rows/s), file %.1f MiB\n", kRows,
                insert_seconds, kRows / insert_seconds, insert_cpu, kRows / insert_cpu,
                static_cast<double>(size) / 1048576.0);
    std::printf("jet write: %d updates + %d removals in %.2f s (%.0f rows/s), processor %.2f s (%.0f rows/s), file %.1f MiB\n",
                kRows / 10, kRows / 20, change_seconds, changes / change_seconds, change_cpu, changes / change_cpu,
                static_cast<double>(std::filesystem::file_size(path)) / 1048576.0);
    std::printf("jet write: inserts take %.1fx a plain write of the same bytes (%.3f s); peak RSS %.1f MiB\n",
                insert_seconds / (plain_seconds > 0 ? plain_seconds : 1e-9), plain_seconds, peak_rss_kib() / 1024.0);
  } catch (const jet::Error& e) {
    std::printf("jet write: failed: %s\n", e.what());
  }
  std::error_code ec;
  std::filesystem::remove_all(dir, ec);
  return 0;
}
