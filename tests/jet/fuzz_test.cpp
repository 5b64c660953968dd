// Damaged files: mutated and truncated copies of Access-made databases, opened and read in
// full (every table, row and long value, then the whole verification). Reading must end,
// without crash or out-of-page access (the sanitizers watch), and each failure must be a
// jet::Error with its French text. The generator starts from a fixed value, so every run
// tries the same files.
#include <gtest/gtest.h>

#include <array>
#include <random>

#include "jet/db/database.h"
#include "jet/base/error.h"
#include "jet/tools/index_verify.h"
#include "jet/tools/verify.h"
#include "jet_test_support.h"
#include "page_builder.h"

// Each test file keeps its own names, apart from the others compiled with it.
namespace fuzz_test_cases {

namespace {

using jet_test::Bytes;

// Reads everything; returns the Jet error number met (0 when all went through).
int read_everything(const std::string& path) {
  try {
    auto db = jet::Database::open(path);
    for (const auto& name : db->table_names(true)) {
      try {
        const jet::Table table = db->table(name);
        std::size_t cells = 0;
        table.scan([&](jet::RowId, const jet::Row& row) {
          cells += row.size();
          return true;
        });
        (void)cells;
      } catch (const jet::Error& e) {
        EXPECT_EQ(e.number(), 3049) << e.description();
        EXPECT_NE(e.description().find("Impossible d'ouvrir la base de données"), std::string::npos);
      }
    }
    db->catalog().relationships();
    jet::verify_database(*db, jet::verify_index);
    return 0;
  } catch (const jet::Error& e) {
    EXPECT_TRUE(e.number() == 3049 || e.number() == 3343) << e.number() << " " << e.description();
    EXPECT_FALSE(e.description().empty());
    return e.number();
  }
}

void mutate(Bytes& bytes, std::mt19937& random) {
  const std::size_t pages = bytes.size() / 4096;
  auto pick = [&](std::size_t n) { return std::uniform_int_distribution<std::size_t>(0, n - 1)(random); };
  switch (pick(5)) {
    case 0: {  // a few random bytes anywhere after the header
      for (std::size_t i = 0, n = 1 + pick(8); i < n; ++i)
        bytes[4096 + pick(bytes.size() - 4096)] = static_cast<std::uint8_t>(pick(256));
      break;
    }
    case 1: {  // a 16-bit field of a page header or slot table set to an extreme
      const std::size_t at = (1 + pick(pages - 1)) * 4096 + pick(64) * 2;
      const std::uint16_t v = std::array<std::uint16_t, 5>{0, 0xFFFF, 0x1FFF, 0x4000, 0x8000}[pick(5)];
      jet_test::put16(bytes, at, v);
      break;
    }
    case 2: {  // a 32-bit pointer-sized field set to a page of the file or beyond
      const std::size_t at = (1 + pick(pages - 1)) * 4096 + pick(1020) * 4;
      jet_test::put32(bytes, at, static_cast<std::uint32_t>(pick(pages + 3)) << (pick(2) ? 8 : 0));
      break;
    }
    case 3: {  // the file cut short
      bytes.resize(pick(bytes.size()));
      break;
    }
    default: {  // a whole page replaced by another one (cycles, wrong kinds)
      const std::size_t from = pick(pages), to = 1 + pick(pages - 1);
      std::copy_n(bytes.begin() + static_cast<std::ptrdiff_t>(from * 4096), 4096,
                  bytes.begin() + static_cast<std::ptrdiff_t>(to * 4096));
      break;
    }
  }
}

TEST(JetFuzz, DamagedCopiesFailCleanly) {
  const std::vector<std::string> sources{"emptyV2000.mdb", "delTestV2000.mdb", "overflowTestV2000.mdb",
                                         "fixedNumericTestV2000.mdb", "indexTestV2000.mdb",
                                         "queryTestV2000.mdb", "test2V2000.mdb"};
  jet_test::ScratchDir dir;
  std::mt19937 random(0x4A455434u);
  int failures = 0, runs = 0;
  for (const auto& source : sources) {
    const Bytes original = jet_test::read_file(jet_test::fixture(source));
    for (int i = 0; i < 40; ++i) {
      Bytes bytes = original;
      mutate(bytes, random);
      if (i % 4 == 0) mutate(bytes, random);
      SCOPED_TRACE(source + " #" + std::to_string(i));
      if (read_everything(dir.write("abime.mdb", bytes)) != 0) ++failures;
      ++runs;
    }
  }
  // Some of the damage must have been met (opening refused or the catalog unreadable).
  EXPECT_GT(failures, 0);
  EXPECT_EQ(runs, 280);
}

}  // namespace

}  // namespace fuzz_test_cases
