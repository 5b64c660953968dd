// Compaction of the largest Access-made fixture and of a generated database of 100,000 rows
// (the count may be given as argument; made with the engine's write side, one row in ten then deleted): time against a plain
// copy of the file, sizes before and after, and the process's peak resident memory.
// Then the size ratio output/input of the compaction of every Access-made fixture.
// Prints figures only; never fails.
#include <sys/resource.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "jet/tools/compact.h"
#include "jet/db/create_database.h"
#include "jet/base/error.h"
#include "jet/table/btree_build.h"
#include "jet/btree/btree_write_overlay.h"
#include "jet/storage/transaction.h"

namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

double seconds_since(Clock::time_point start) { return std::chrono::duration<double>(Clock::now() - start).count(); }

long peak_rss_mb() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return usage.ru_maxrss / 1024;
}

void measure(const std::string& label, const fs::path& source, const fs::path& work) {
  const fs::path copy = work / "copy.mdb";
  const fs::path compacted = work / "compacted.mdb";
  fs::remove(copy);
  fs::remove(compacted);
  auto start = Clock::now();
  fs::copy_file(source, copy);
  const double copy_time = seconds_since(start);
  start = Clock::now();
  const jet::CompactReport report = jet::compact(source.string(), compacted.string());
  const double compact_time = seconds_since(start);
  std::printf("%-28s %8llu lignes  %9ju -> %9ju octets  compactage %.3f s  copie %.4f s  rapport %.0f  RSS max %ld Mo\n",
              label.c_str(), static_cast<unsigned long long>(report.rows), static_cast<std::uintmax_t>(fs::file_size(source)),
              static_cast<std::uintmax_t>(fs::file_size(compacted)), compact_time, copy_time,
              copy_time > 0 ? compact_time / copy_time : 0.0, peak_rss_mb());
  std::fflush(stdout);
}

// Each Access-made fixture compacted: output size over input size. The fixtures are files
// Access itself compacted, so a ratio above 1 means the engine writes more than Access.
void size_ratios(const fs::path& work) {
  std::vector<fs::path> fixtures;
  for (const auto& entry : fs::directory_iterator(QUELIS_FIXTURES))
    if (entry.path().extension() == ".mdb") fixtures.push_back(entry.path());
  std::sort(fixtures.begin(), fixtures.end());
  int larger = 0;
  std::printf("taille compactée / taille Access :\n");
  for (const fs::path& source : fixtures) {
    const fs::path out = work / "ratio.mdb";
    fs::remove(out);
    try {
      jet::compact(source.string(), out.string());
    } catch (const jet::Error& e) {
      std::printf("  %-30s échec : %s\n", source.filename().c_str(), e.description().c_str());
      continue;
    }
    const double ratio = static_cast<double>(fs::file_size(out)) / static_cast<double>(fs::file_size(source));
    if (ratio > 1.0) ++larger;
    std::printf("  %-30s %9ju -> %9ju octets  rapport %.3f\n", source.filename().c_str(),
                static_cast<std::uintmax_t>(fs::file_size(source)), static_cast<std::uintmax_t>(fs::file_size(out)), ratio);
  }
  std::printf("  %d fichier(s) sur %zu plus grand(s) que chez Access\n", larger, fixtures.size());
  std::fflush(stdout);
}

fs::path generate(const fs::path& work, int rows) {
  const fs::path path = work / "generated.mdb";
  fs::remove(path);
  auto db = jet::create_database(path.string());
  jet::TableDesign design;
  design.name = "Dossiers";
  auto column = [](const char* name, jet::ColumnType type) {
    jet::ColumnDesign c;
    c.name = name;
    c.type = type;
    return c;
  };
  design.columns = {column("Id", jet::ColumnType::Long), column("Reference", jet::ColumnType::Text),
                  column("Montant", jet::ColumnType::Double), column("Depot", jet::ColumnType::DateTime),
                  column("Note", jet::ColumnType::Memo)};
  design.columns[0].autonumber = true;
  design.columns[1].size = 50;
  jet::IndexDesign primary;
  primary.name = "PrimaryKey";
  primary.columns = {{"Id", false}};
  primary.primary = primary.unique = primary.required = true;
  jet::IndexDesign reference;
  reference.name = "Reference";
  reference.columns = {{"Reference", false}};
  design.indexes = {primary, reference};
  db->create_table(design);
  // Indexes are built once the rows are in, as a bulk load would.
  struct Deferred final : jet::IndexHook {
    void check(const jet::TableDef&, const jet::Row*, const jet::Row*, std::optional<jet::RowId>) override {}
    void apply(const jet::TableDef&, const jet::Row*, const jet::Row*, jet::RowId) override {}
  } hook;
  jet::Transaction tx(db->pager());
  jet::TableWriter writer = db->writer("Dossiers", &hook);
  std::vector<jet::RowId> ids;
  for (int i = 0; i < rows; ++i) {
    ids.push_back(writer.insert({jet::Value::null(), jet::Value::text("REF-" + std::to_string(i * 7919 % rows)),
                                 jet::Value::double_(i * 1.25), jet::Value::date(40000 + i % 3000),
                                 i % 50 == 0 ? jet::Value::text(std::string(300, 'n')) : jet::Value::null()}));
  }
  for (std::size_t i = 0; i < ids.size(); i += 10) writer.remove(ids[i]);
  const jet::Table table = db->table("Dossiers");
  jet::OverlayIndexPageStore store(db->allocator());
  for (const auto& index : table.def().indexes) jet::rebuild_index(store, table, index);
  tx.commit();
  return path;
}

}  // namespace

int main(int argc, char** argv) {
  const int rows = argc > 1 ? std::atoi(argv[1]) : 100000;
  const fs::path work = fs::temp_directory_path() / ("jet-compact-bench-" + std::to_string(::getpid()));
  fs::create_directories(work);
  try {
    fs::path largest;
    for (const auto& entry : fs::directory_iterator(QUELIS_FIXTURES))
      if (entry.path().extension() == ".mdb" && (largest.empty() || entry.file_size() > fs::file_size(largest)))
        largest = entry.path();
    measure(largest.filename().string(), largest, work);
    size_ratios(work);
    const auto start = Clock::now();
    const fs::path generated = generate(work, rows);
    std::printf("(base de %d lignes écrite en %.1f s)\n", rows, seconds_since(start));
    std::fflush(stdout);
    measure(std::to_string(rows) + " lignes générées", generated, work);
  } catch (const jet::Error& e) {
    std::printf("échec : %s\n", e.description().c_str());
  }
  std::error_code ec;
  fs::remove_all(work, ec);
  return 0;
}
