// Full read of every table (system tables included) of the largest Access-made fixtures:
// rows and values per second with this engine, against mdbtools' mdb-export of the same
// tables. Prints figures only; never fails.
#include <chrono>
#include <cstdio>
#include <string>
#include <vector>

#include "jet/db/database.h"
#include "jet/base/error.h"

namespace {

using Clock = std::chrono::steady_clock;

double seconds_since(Clock::time_point start) {
  return std::chrono::duration<double>(Clock::now() - start).count();
}

std::string quote(const std::string& s) {
  std::string q = "'";
  for (char c : s) q += c == '\'' ? std::string("'\\''") : std::string(1, c);
  return q + "'";
}

}  // namespace

int main() {
  const std::vector<std::string> files{"testV2000.mdb", "testRefGlobalV2000.mdb"};
  constexpr int kRounds = 5;
  for (const auto& name : files) {
    const std::string path = std::string(QUELIS_FIXTURES) + "/" + name;
    try {
      std::uint64_t rows = 0, values = 0;
      std::vector<std::string> tables;
      const auto start = Clock::now();
      for (int round = 0; round < kRounds; ++round) {
        auto db = jet::Database::open(path);
        tables = db->table_names(true);
        for (const auto& t : tables) {
          db->table(t).scan([&](jet::RowId, const jet::Row& row) {
            ++rows;
            values += row.size();
            return true;
          });
        }
      }
      const double ours = seconds_since(start) / kRounds;
      rows /= kRounds;
      values /= kRounds;

      const auto mdb_start = Clock::now();
      for (const auto& t : tables) {
        const std::string command = "mdb-export " + quote(path) + " " + quote(t) + " > /dev/null 2>&1";
        if (std::system(command.c_str()) != 0) std::printf("  (mdb-export %s a échoué)\n", t.c_str());
      }
      const double theirs = seconds_since(mdb_start);
      std::printf("%s : %zu tables, %llu lignes, %llu valeurs\n", name.c_str(), tables.size(),
                  static_cast<unsigned long long>(rows), static_cast<unsigned long long>(values));
      std::printf("  moteur jet  : %.4f s, %.0f lignes/s, %.0f valeurs/s\n", ours,
                  ours > 0 ? rows / ours : 0.0, ours > 0 ? values / ours : 0.0);
      std::printf("  mdb-export  : %.4f s (un processus par table, sortie CSV comprise)\n", theirs);
      std::printf("  rapport mdb-export / moteur : %.1f\n", ours > 0 ? theirs / ours : 0.0);
    } catch (const jet::Error& e) {
      std::printf("%s : erreur %d : %s\n", name.c_str(), e.number(), e.description().c_str());
    }
  }
  return 0;
}
