// Damaged files that once broke a promise of verify or repair, found by the mutation sweep
// (fuzz_test.cpp) or by the fuzzer (scripts/fuzz), kept as the bytes they change in a copy of
// a fixture. Each must now keep every promise of damage_check.h, be reported by verify with
// the sentence given (or refused at opening with it), and be repaired or refused as given.
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>

#include "damage_check.h"
#include "jet/base/error.h"
#include "jet/db/database.h"
#include "jet/tools/compact.h"
#include "jet/tools/repair.h"
#include "jet/tools/index_verify.h"
#include "jet/tools/verify.h"
#include "jet_test_support.h"
#include "page_builder.h"
#include "support/linux_programs.h"

// Each test file keeps its own names, apart from the others compiled with it.
namespace damaged_files_test_cases {

namespace {

using jet_test::Bytes;
using damage_check::RepairOutcome;
constexpr std::size_t kPage = 4096;

std::size_t page_at(std::size_t page) { return page * kPage; }
// Where row `row` of data page `page` starts.
std::size_t row_at(const Bytes& b, std::size_t page, std::size_t row) {
  const std::size_t slot = page_at(page) + 14 + 2 * row;
  return page_at(page) + ((b[slot] | (b[slot + 1] << 8)) & 0x1FFF);
}
// Where it ends: where the previous slot's row starts (rows grow down from the page end).
std::size_t row_end(const Bytes& b, std::size_t page, std::size_t row) {
  return row == 0 ? page_at(page + 1) : row_at(b, page, row - 1);
}
void copy_page(Bytes& b, std::size_t from, std::size_t to) {
  std::copy_n(b.begin() + static_cast<long>(page_at(from)), kPage, b.begin() + static_cast<long>(page_at(to)));
}
void zero_page(Bytes& b, std::size_t page) { std::fill_n(b.begin() + static_cast<long>(page_at(page)), kPage, 0); }
std::uint32_t pointer(std::uint32_t page, std::uint32_t row) { return page << 8 | row; }

struct Case {
  const char* fixture;
  const char* damage;  // as the sweep names it
  std::function<void(Bytes&)> apply;
  const char* reported;  // words of what verify says
  RepairOutcome repair;
};

// Cases named "<fixture> #<mutant>" come from the sweep's first runs, before the checks
// they led to; the damage is the one that mutant made.
const std::vector<Case>& cases() {
  static const std::vector<Case> all{
      {"emptyV2000.mdb", "#5 page 6 copiée sur la page 14 (la page du catalogue)",
       [](Bytes& b) { copy_page(b, 6, 14); }, "le catalogue ne décrit pas la table système « MSysQueries »",
       RepairOutcome::Refused},
      {"emptyV2000.mdb", "#10 valeur longue 23:0 enchaînée à elle-même (propriétés de MSysDb)",
       [](Bytes& b) { jet_test::put32(b, row_at(b, 23, 0), pointer(23, 0)); },
       "objet « MSysDb » du catalogue : propriétés illisibles", RepairOutcome::Refused},
      {"emptyV2000.mdb", "#19 table d'utilisation 6:20 : champ en 5 -> 21 (elle compte la page 2)",
       [](Bytes& b) { jet_test::put32(b, row_at(b, 6, 20) + 5, 21); },
       "page 2 revendiquée par table « MSysObjects » et par table « MSysACEs », index 0", RepairOutcome::Repaired},
      {"emptyV2000.mdb", "#1 racine d'index en 61619 -> 18 (une page de données d'une autre table)",
       [](Bytes& b) { jet_test::put32(b, 61619, 18); }, "index", RepairOutcome::Repaired},
      {"fixedNumericTestV2000.mdb", "#10 pointeur de table d'utilisation en 9012 -> 9:1 (une page d'index)",
       [](Bytes& b) { jet_test::put32(b, 9012, pointer(9, 1)); },
       "table « MSysObjects », index 0 : table d'utilisation illisible", RepairOutcome::Refused},
      {"queryTestV2000.mdb", "#13 page 20 copiée sur la page 31 (une page de données hors de sa table)",
       [](Bytes& b) { copy_page(b, 20, 31); },
       "page 31 : page de données de la table « MSysAccessObjects » absente de sa table d'utilisation",
       RepairOutcome::Refused},
      {"compIndexTestV2000.mdb", "#21 table d'utilisation 6:30 : champ en 5 -> 15",
       [](Bytes& b) { jet_test::put32(b, row_at(b, 6, 30) + 5, 15); }, "revendiquée par", RepairOutcome::Repaired},
      {"overflowTestV2000.mdb", "#12 page 33 : nombre de lignes 2",
       [](Bytes& b) { jet_test::put16(b, page_at(33) + 12, 2); }, "(page 33 : ligne 1 aux bornes incohérentes",
       RepairOutcome::Refused},
      {"delTestV2000.mdb", "#3 page 21 mise à zéro", [](Bytes& b) { zero_page(b, 21); },
       "qui n'est pas une de ses pages de données", RepairOutcome::Repaired},
      {"test2V2000.mdb", "#53 d'un balayage de 180 copies par fichier : page 28 copiée sur la page 58",
       [](Bytes& b) { copy_page(b, 28, 58); },
       "la valeur longue de la colonne « RESERVED_BINARY_DATA » ne termine pas sa chaîne", RepairOutcome::Repaired},
      {"test2V2000.mdb", "#73 d'un balayage de 180 copies par fichier : valeur longue 33:0 enchaînée à elle-même",
       [](Bytes& b) { jet_test::put32(b, row_at(b, 33, 0), pointer(33, 0)); },
       "(sa dernière ligne, page 33 ligne 0, désigne encore la page 33 ligne 0)", RepairOutcome::Repaired},
      {"fixedNumericTestV2000.mdb",
       "#130 d'un balayage de 180 copies par fichier : un caractère de contrôle dans le nom d'une colonne",
       [](Bytes& b) {
         const Bytes name{'c', 0, 'o', 0, 'l', 0, '2', 0};
         const auto at = std::search(b.begin(), b.end(), name.begin(), name.end());
         ASSERT_NE(at, b.end());
         at[6] = 0x01;
       },
       "table « test » : définition impossible à recréer", RepairOutcome::Refused},
      {"compIndexTestV2000.mdb",
       "#24 d'un balayage de 180 copies par fichier : une ligne du catalogue dont la 8e colonne variable (Null) "
       "commence au-delà de la ligne",
       [](Bytes& b) {
         // Row 6 of page 14: 17 columns (a 3-byte Null mask), 11 variable ones.
         jet_test::put16(b, row_end(b, 14, 6) - 3 - 4 - 2 * 7, 165);
       },
       "page 14 : décalage de colonne variable incohérent (165)", RepairOutcome::Refused},
      {"fixedNumericTestV2000.mdb",
       "#119 d'un balayage de 180 copies par fichier : un nombre trop grand pour la précision de sa colonne",
       [](Bytes& b) { b[page_at(28) + 4050] = 0xAE; },  // a high byte of col7 (Numeric 18) in row 0
       "la valeur de la colonne « col7 » ne tient pas dans la colonne", RepairOutcome::Refused},
      {"testV2000.mdb", "page 553 : nombre de lignes 32767",
       [](Bytes& b) { jet_test::put16(b, page_at(553) + 12, 0x7FFF); },
       "nombre de lignes impossible (32767)", RepairOutcome::Refused},
  };
  return all;
}

TEST(DamagedFiles, EachFindingKeepsThePromisesOfVerifyAndRepair) {
  jet_test::ScratchDir dir;
  for (const Case& c : cases()) {
    SCOPED_TRACE(std::string(c.fixture) + " " + c.damage);
    Bytes bytes = jet_test::read_file(jet_test::fixture(c.fixture));
    c.apply(bytes);
    const std::string path = dir.write("abime.mdb", bytes);
    std::string report;
    try {
      auto db = jet::Database::open(path);
      report = jet_test::joined(jet::verify_database(*db, jet::verify_indexes));
    } catch (const jet::Error& e) {
      report = e.description();  // the catalog itself unreadable
    }
    EXPECT_NE(report.find(c.reported), std::string::npos) << report;
    const damage_check::Result result = damage_check::check(bytes, dir.path());
    EXPECT_EQ(jet_test::joined(result.broken), "");
    EXPECT_FALSE(result.sound);
    EXPECT_EQ(static_cast<int>(result.repair), static_cast<int>(c.repair)) << result.refusal;
  }
}

// A chain whose last row loops back on itself: the engine reads up to the declared length,
// mdb-export followed the pointer for ever. Repair ends the chain; mdbtools then reads.
TEST(DamagedFiles, ChainsThatDoNotEndAreEnded) {
  QUELIS_NEEDS_MDBTOOLS();
  jet_test::ScratchDir dir;
  Bytes bytes = jet_test::read_file(jet_test::fixture("test2V2000.mdb"));
  jet_test::put32(bytes, row_at(bytes, 33, 0), pointer(33, 0));
  const std::string path = dir.write("abime.mdb", bytes);
  const std::string actions = jet_test::joined(jet::repair(path).actions);
  EXPECT_NE(actions.find("chaîne de la valeur longue de la colonne « LvProp » terminée à la page 33 ligne 0"),
            std::string::npos)
      << actions;
  EXPECT_EQ(jet_test::joined(jet_test::verify_problems(path)), "");
  EXPECT_EQ(jet_test::mdb_export(path, "MSysObjects"),
            jet_test::mdb_export(jet_test::fixture("test2V2000.mdb"), "MSysObjects"));
}

// The fuzzer's first findings were promises stated wrong for Access 97 files, which the
// engine reads but never writes: their properties are not decoded (3251), and repair refuses
// them (3041) before opening them, damaged or not.
TEST(DamagedFiles, Access97FilesKeepTheirOwnRules) {
  jet_test::ScratchDir dir;
  const Bytes original = jet_test::read_file(std::string(QUELIS_FIXTURES97) + "/delTestV1997.mdb");
  const damage_check::Result whole = damage_check::check(original, dir.path());
  EXPECT_EQ(jet_test::joined(whole.broken), "");
  EXPECT_TRUE(whole.sound);
  EXPECT_NE(whole.refusal.find("3041"), std::string::npos) << whole.refusal;
  const Bytes cut(original.begin(), original.begin() + 2 * 2048);  // too short to open
  const damage_check::Result damaged = damage_check::check(cut, dir.path());
  EXPECT_EQ(jet_test::joined(damaged.broken), "");
  EXPECT_FALSE(damaged.opened);
  EXPECT_NE(damaged.refusal.find("3041"), std::string::npos) << damaged.refusal;
}

// Found when the sweep began to compact damaged files too: compaction carried property
// blobs as bytes, damage included, and wrote a new file that did not check sound.
TEST(DamagedFiles, CompactionCarriesNoDamage) {
  jet_test::ScratchDir dir;
  Bytes bytes = jet_test::read_file(jet_test::fixture("emptyV2000.mdb"));
  jet_test::put32(bytes, row_at(bytes, 23, 0), pointer(23, 0));  // the properties of MSysDb
  const std::string source = dir.write("abime.mdb", bytes);
  const std::string destination = (dir.path() / "compacte.mdb").string();
  try {
    jet::compact(source, destination);
    ADD_FAILURE() << "compacted";
  } catch (const jet::Error& e) {
    EXPECT_EQ(e.number(), 3049);
    EXPECT_NE(e.description().find("objet « MSysDb » du catalogue : propriétés illisibles"), std::string::npos)
        << e.description();
  }
  EXPECT_FALSE(std::filesystem::exists(destination));
}

}  // namespace

}  // namespace damaged_files_test_cases
