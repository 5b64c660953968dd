// Damaged files: a sweep of mutated and truncated copies of Access-made databases (bytes
// flipped, pages zeroed or copied over others, impossible row counts and row offsets,
// cycles in long-value chains, usage-map pointers sent elsewhere or past the end, files cut
// short). Each copy goes through damage_check: a copy verify calls sound must read in full,
// compact, take writes and (for a sample) export with mdbtools; a damaged copy must fail
// cleanly (a sample is compacted too); repair either refuses it untouched or leaves it
// sound. Each fixture's mutants come from a generator started from the fixture's name, so
// every run tries the same files and a failure names the mutant that shows it.
#include <gtest/gtest.h>

#include <array>
#include <random>

#include "damage_check.h"
#include "jet/db/database.h"
#include "jet/record/table_def.h"
#include "jet_test_support.h"
#include "page_builder.h"
#include "support/linux_programs.h"

// Each test file keeps its own names, apart from the others compiled with it.
namespace fuzz_test_cases {

namespace {

using jet_test::Bytes;
constexpr std::size_t kPage = 4096;

std::uint16_t get16(const Bytes& b, std::size_t at) { return static_cast<std::uint16_t>(b[at] | (b[at + 1] << 8)); }

// Where the structures worth damaging lie in the original file.
struct Targets {
  std::vector<jet::PageNumber> data_pages;               // data pages holding rows
  std::vector<std::pair<jet::PageNumber, int>> lv_rows;  // rows of long-value pages
  std::vector<std::size_t> map_pointers;                 // offsets of row pointers to usage maps
  std::vector<std::pair<jet::PageNumber, int>> map_rows; // rows holding usage maps
  std::vector<std::size_t> root_pointers;                // offsets of index root page numbers
};

Targets find_targets(const std::string& path, const Bytes& bytes) {
  Targets t;
  const std::size_t pages = bytes.size() / kPage;
  for (std::size_t p = 1; p < pages; ++p) {
    const std::size_t at = p * kPage;
    if (bytes[at] != 1 || get16(bytes, at + 12) == 0) continue;
    t.data_pages.push_back(static_cast<jet::PageNumber>(p));
    if (std::equal(bytes.begin() + static_cast<std::ptrdiff_t>(at + 4), bytes.begin() + static_cast<std::ptrdiff_t>(at + 8),
                   std::begin("LVAL")))
      for (int r = 0; r < get16(bytes, at + 12); ++r) t.lv_rows.emplace_back(static_cast<jet::PageNumber>(p), r);
  }
  auto db = jet::Database::open(path);
  for (const jet::CatalogEntry* entry : db->catalog().tables(true)) {
    const jet::TableDef def = jet::read_table_def(db->pager(), entry->table_page());
    const std::size_t tdef = std::size_t{def.page} * kPage;
    t.map_pointers.push_back(tdef + 35);  // the table's own pages
    t.map_pointers.push_back(tdef + 39);  // its pages with room
    for (std::uint32_t map : {def.owned_pages, def.free_pages}) t.map_rows.emplace_back(map >> 8, map & 0xFF);
    for (const jet::IndexDef& index : def.indexes) {
      t.map_rows.emplace_back(index.usage_map >> 8, index.usage_map & 0xFF);
      // Definitions that fit on their first page: find the root by its value there.
      for (std::size_t at = tdef + 63; at + 8 <= tdef + kPage; ++at)
        if (jet_test::Bytes(bytes.begin() + static_cast<std::ptrdiff_t>(at), bytes.begin() + static_cast<std::ptrdiff_t>(at + 8)) ==
            Bytes{static_cast<std::uint8_t>(index.usage_map), static_cast<std::uint8_t>(index.usage_map >> 8),
                  static_cast<std::uint8_t>(index.usage_map >> 16), static_cast<std::uint8_t>(index.usage_map >> 24),
                  static_cast<std::uint8_t>(index.root_page), static_cast<std::uint8_t>(index.root_page >> 8),
                  static_cast<std::uint8_t>(index.root_page >> 16), static_cast<std::uint8_t>(index.root_page >> 24)}) {
          t.map_pointers.push_back(at);
          t.root_pointers.push_back(at + 4);
          break;
        }
    }
  }
  return t;
}

class Mutator {
 public:
  Mutator(const Bytes& original, const Targets& targets, std::uint32_t start)
      : original_(original), targets_(targets), random_(start) {}

  // One damaged copy and what was done to it.
  std::pair<Bytes, std::string> next() {
    Bytes bytes = original_;
    std::string what = mutate(bytes);
    if (pick(4) == 0 && !bytes.empty()) what += " ; " + mutate(bytes);
    return {std::move(bytes), what};
  }

 private:
  std::size_t pick(std::size_t n) { return n == 0 ? 0 : std::uniform_int_distribution<std::size_t>(0, n - 1)(random_); }
  template <class T>
  const T& any(const std::vector<T>& v) { return v[pick(v.size())]; }
  std::uint32_t row_pointer(std::size_t pages) {
    return static_cast<std::uint32_t>((pick(pages + 3) << 8) | pick(4));
  }

  std::string mutate(Bytes& bytes) {
    const std::size_t pages = bytes.size() / kPage;
    if (pages < 3) return "rien (fichier trop court)";
    switch (pick(9)) {
      case 0: {
        std::string what = "octets changés :";
        for (std::size_t i = 0, n = 1 + pick(8); i < n; ++i) {
          const std::size_t at = kPage + pick(bytes.size() - kPage);
          bytes[at] ^= static_cast<std::uint8_t>(1 + pick(255));
          what += " " + std::to_string(at);
        }
        return what;
      }
      case 1: {
        const std::size_t p = 1 + pick(pages - 1);
        std::fill_n(bytes.begin() + static_cast<std::ptrdiff_t>(p * kPage), kPage, 0);
        return "page " + std::to_string(p) + " mise à zéro";
      }
      case 2: {
        if (targets_.data_pages.empty()) return "rien";
        const jet::PageNumber p = any(targets_.data_pages);
        const std::size_t at = std::size_t{p} * kPage;
        if (at + kPage > bytes.size()) return "rien (page coupée)";
        const std::uint16_t rows = get16(bytes, at + 12);
        if (pick(4) == 0) {
          const std::uint16_t count = std::array<std::uint16_t, 4>{0x7FFF, 257, static_cast<std::uint16_t>(rows + 1), 0}[pick(4)];
          jet_test::put16(bytes, at + 12, count);
          return "page " + std::to_string(p) + " : nombre de lignes " + std::to_string(count);
        }
        const std::size_t slot = pick(rows);
        const std::uint16_t flags = std::array<std::uint16_t, 4>{0, 0, 0x4000, 0x8000}[pick(4)];
        const std::uint16_t offset = std::array<std::uint16_t, 4>{
            0, 0x1FFF, static_cast<std::uint16_t>(pick(kPage)), get16(bytes, at + 14 + 2 * pick(rows))}[pick(4)];
        jet_test::put16(bytes, at + 14 + 2 * slot, static_cast<std::uint16_t>(flags | (offset & 0x1FFF)));
        return "page " + std::to_string(p) + ", ligne " + std::to_string(slot) + " : position " + std::to_string(offset);
      }
      case 3: {
        if (targets_.lv_rows.empty()) return "rien";
        const auto [p, r] = any(targets_.lv_rows);
        const auto [to_page, to_row] = pick(2) ? std::pair<jet::PageNumber, int>{p, r} : any(targets_.lv_rows);
        const std::size_t slot_at = std::size_t{p} * kPage + 14 + 2 * static_cast<std::size_t>(r);
        if (std::size_t{p + 1} * kPage > bytes.size()) return "rien (page coupée)";
        const std::size_t row_at = std::size_t{p} * kPage + (get16(bytes, slot_at) & 0x1FFF);
        if (row_at + 4 > bytes.size()) return "rien";
        jet_test::put32(bytes, row_at, (to_page << 8) | static_cast<std::uint32_t>(to_row));
        return "valeur longue " + std::to_string(p) + ":" + std::to_string(r) + " enchaînée à " +
               std::to_string(to_page) + ":" + std::to_string(to_row);
      }
      case 4: {
        if (pick(2) == 0 && !targets_.map_pointers.empty()) {
          const std::size_t at = any(targets_.map_pointers);
          const std::uint32_t to = row_pointer(pages);
          if (at + 4 > bytes.size()) return "rien (page coupée)";
          jet_test::put32(bytes, at, to);
          return "pointeur de table d'utilisation en " + std::to_string(at) + " -> " + std::to_string(to >> 8) + ":" +
                 std::to_string(to & 0xFF);
        }
        if (targets_.map_rows.empty()) return "rien";
        const auto [p, r] = any(targets_.map_rows);
        const std::size_t slot_at = std::size_t{p} * kPage + 14 + 2 * static_cast<std::size_t>(r);
        if (std::size_t{p} >= pages || slot_at + 2 > bytes.size()) return "rien";
        const std::size_t row_at = std::size_t{p} * kPage + (get16(bytes, slot_at) & 0x1FFF);
        if (row_at + 9 > bytes.size()) return "rien";
        const std::size_t field = row_at + 1 + 4 * pick(2);
        const std::uint32_t to = static_cast<std::uint32_t>(pick(pages + 3));
        jet_test::put32(bytes, field, to);
        return "table d'utilisation " + std::to_string(p) + ":" + std::to_string(r) + " : champ en " +
               std::to_string(field - row_at) + " -> " + std::to_string(to);
      }
      case 5: {
        const std::size_t length = pick(2) ? pick(pages) * kPage : pick(bytes.size());
        bytes.resize(length);
        return "fichier coupé à " + std::to_string(length) + " octets";
      }
      case 6: {
        const std::size_t from = pick(pages), to = 1 + pick(pages - 1);
        std::copy_n(original_.begin() + static_cast<std::ptrdiff_t>(from * kPage), kPage,
                    bytes.begin() + static_cast<std::ptrdiff_t>(to * kPage));
        return "page " + std::to_string(from) + " copiée sur la page " + std::to_string(to);
      }
      case 7: {
        if (targets_.root_pointers.empty()) return "rien";
        const std::size_t at = any(targets_.root_pointers);
        const auto to = static_cast<std::uint32_t>(pick(pages + 3));
        if (at + 4 > bytes.size()) return "rien (page coupée)";
        jet_test::put32(bytes, at, to);
        return "racine d'index en " + std::to_string(at) + " -> " + std::to_string(to);
      }
      default: {
        const std::size_t at = (1 + pick(pages - 1)) * kPage + pick(64) * 2;
        const std::uint16_t v = std::array<std::uint16_t, 5>{0, 0xFFFF, 0x1FFF, 0x4000, 0x8000}[pick(5)];
        jet_test::put16(bytes, at, v);
        return "mot de 16 bits en " + std::to_string(at) + " -> " + std::to_string(v);
      }
    }
  }

  const Bytes& original_;
  const Targets& targets_;
  std::mt19937 random_;
};

std::uint32_t start_of(const std::string& name) {
  std::uint32_t h = 0x4A455434u;
  for (char c : name) h = h * 31 + static_cast<std::uint8_t>(c);
  return h;
}

TEST(JetFuzz, MutatedCopiesKeepTheToolsPromises) {
  QUELIS_NEEDS_MDBTOOLS();
  struct Source {
    std::string name;
    int mutants;
  };
  // The small files get most mutants; the large one (long-value chains over hundreds of
  // pages) a few.
  const std::vector<Source> sources{
      {"emptyV2000.mdb", 25},          {"delTestV2000.mdb", 25},        {"overflowTestV2000.mdb", 25},
      {"fixedNumericTestV2000.mdb", 20}, {"indexTestV2000.mdb", 25},    {"queryTestV2000.mdb", 25},
      {"test2V2000.mdb", 25},          {"compIndexTestV2000.mdb", 25},  {"delColTestV2000.mdb", 20},
      {"fixedTextTestV2000.mdb", 20},  {"testIndexPropertiesV2000.mdb", 25}, {"testPromotionV2000.mdb", 20},
      {"testV2000.mdb", 5}};
  jet_test::ScratchDir dir;
  int mutants = 0, sound = 0, repaired = 0, refused = 0, exported = 0;
  for (const auto& source : sources) {
    const std::string path = jet_test::fixture(source.name);
    const Bytes original = jet_test::read_file(path);
    const Targets targets = find_targets(path, original);
    Mutator mutator(original, targets, start_of(source.name));
    for (int i = 0; i < source.mutants; ++i) {
      auto [bytes, what] = mutator.next();
      ++mutants;
      // mdb-export costs a process per table: every other sound copy is exported; a damaged
      // copy is compacted one time in three (each compaction is a new database).
      damage_check::Options options;
      options.mdbtools = sound % 2 == 0;
      options.compact_damaged = i % 3 == 0;
      const damage_check::Result result = damage_check::check(bytes, dir.path(), options);
      if (result.sound) {
        ++sound;
        if (options.mdbtools) ++exported;
      }
      if (result.repair == damage_check::RepairOutcome::Repaired) ++repaired;
      if (result.repair == damage_check::RepairOutcome::Refused) ++refused;
      if (!result.broken.empty())
        ADD_FAILURE() << source.name << " #" << i << " (" << what << ") :\n" << jet_test::joined(result.broken);
    }
  }
  // The sweep must reach every outcome, or it no longer tests what it claims to.
  EXPECT_GT(sound, 0);
  EXPECT_GT(exported, 0);
  EXPECT_GT(repaired, 0);
  EXPECT_GT(refused, 0);
  EXPECT_GT(mutants - sound, 0);
  RecordProperty("mutants", mutants);
  std::cout << mutants << " mutants : " << sound << " sains (" << exported << " exportés par mdbtools), " << repaired
            << " réparés, " << refused << " refusés\n";
}

}  // namespace

}  // namespace fuzz_test_cases
