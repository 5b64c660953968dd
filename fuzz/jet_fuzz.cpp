// libFuzzer program: each input is a database file. It goes through damage_check (opening,
// verify, reading every table, writes to a copy of a sound file, compaction into a new file,
// repair of a copy: tests/jet/damage_check.h); a promise not kept aborts, so
// that libFuzzer keeps the input. jet::Error is the engine's answer to damage and is caught
// there; any other exception, a sanitizer report or a hang (-timeout) is a finding too.
//
// Half the mutations are libFuzzer's own (bytes); the other half know the page structure and
// damage what a byte change seldom reaches: a page zeroed or copied over another, a data
// page's row count or one of its row offsets, a row pointer in a table definition (its maps)
// or in a long-value row (chains), the file cut at a page boundary.
//
// QUELIS_FUZZ_MDBTOOLS=1 also runs mdb-export on every table of the inputs verify calls
// sound (a process per table: slow, for longer runs).
#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <random>
#include <string>
#include <system_error>
#include <vector>

#include <unistd.h>

#include "damage_check.h"

namespace {

namespace fs = std::filesystem;

// A folder of this process for the scratch files, removed at exit.
const fs::path& work_folder() {
  static const fs::path folder = [] {
    fs::path p = fs::temp_directory_path() / ("jet-fuzz-" + std::to_string(::getpid()));
    fs::create_directories(p);
    std::atexit([] {
      std::error_code ignored;
      fs::remove_all(work_folder(), ignored);
    });
    return p;
  }();
  return folder;
}

constexpr std::size_t kPage = 4096;

std::uint16_t get16(const std::uint8_t* b) { return static_cast<std::uint16_t>(b[0] | (b[1] << 8)); }
void put16(std::uint8_t* b, std::uint16_t v) {
  b[0] = static_cast<std::uint8_t>(v);
  b[1] = static_cast<std::uint8_t>(v >> 8);
}
void put32(std::uint8_t* b, std::uint32_t v) {
  for (int i = 0; i < 4; ++i) b[i] = static_cast<std::uint8_t>(v >> (8 * i));
}

// One damage of the page structure; returns the new size.
std::size_t damage_pages(std::uint8_t* data, std::size_t size, std::mt19937& random) {
  const std::size_t pages = size / kPage;
  if (pages < 3) return size;
  const auto pick = [&](std::size_t n) { return std::uniform_int_distribution<std::size_t>(0, n - 1)(random); };
  // Pages of a kind: 1 data, 2 table definition.
  const auto page_of_kind = [&](std::uint8_t kind) -> std::uint8_t* {
    for (int tries = 0; tries < 64; ++tries) {
      std::uint8_t* page = data + (1 + pick(pages - 1)) * kPage;
      if (page[0] == kind) return page;
    }
    return nullptr;
  };
  const auto any_row_pointer = [&] { return static_cast<std::uint32_t>(pick(pages + 2) << 8 | pick(8)); };
  switch (pick(7)) {
    case 0:
      std::memset(data + (1 + pick(pages - 1)) * kPage, 0, kPage);
      break;
    case 1:
      std::memmove(data + (1 + pick(pages - 1)) * kPage, data + pick(pages) * kPage, kPage);
      break;
    case 2:
      if (std::uint8_t* page = page_of_kind(1)) {
        const std::uint16_t rows = get16(page + 12);
        if (rows == 0 || pick(4) == 0) {
          put16(page + 12, std::array<std::uint16_t, 4>{0, 1, 257, 0x7FFF}[pick(4)]);
        } else {
          const std::uint16_t flags = std::array<std::uint16_t, 3>{0, 0x4000, 0x8000}[pick(3)];
          put16(page + 14 + 2 * pick(std::min<std::size_t>(rows, 256)), static_cast<std::uint16_t>(flags | pick(0x2000)));
        }
      }
      break;
    case 3:
      if (std::uint8_t* page = page_of_kind(2)) {
        // The maps of the table (35, 39), or any 32-bit field of the definition.
        const std::size_t at = pick(2) ? std::array<std::size_t, 2>{35, 39}[pick(2)] : 8 + pick((kPage - 12) / 4) * 4;
        put32(page + at, any_row_pointer());
      }
      break;
    case 4:
      if (std::uint8_t* page = page_of_kind(1); page && std::memcmp(page + 4, "LVAL", 4) == 0) {
        const std::uint16_t rows = get16(page + 12);
        if (rows == 0) break;
        const std::size_t start = get16(page + 14 + 2 * pick(std::min<std::size_t>(rows, 256))) & 0x1FFF;
        if (start + 4 <= kPage) put32(page + start, any_row_pointer());
      }
      break;
    case 5:
      return (2 + pick(pages - 2)) * kPage;
    default:
      // A 32-bit field of page 1, the free-page map.
      put32(data + kPage + 14 + pick((kPage - 18) / 4) * 4, static_cast<std::uint32_t>(random()));
      break;
  }
  return size;
}

}  // namespace

extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t max_size);

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size, std::size_t max_size,
                                                unsigned int start) {
  std::mt19937 random(start);
  if (random() % 2 == 0) return LLVMFuzzerMutate(data, size, max_size);
  return damage_pages(data, size, random);
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const bool mdbtools = [] {
    const char* v = std::getenv("QUELIS_FUZZ_MDBTOOLS");
    return v && std::string(v) == "1";
  }();
  damage_check::Options options;
  options.mdbtools = mdbtools;
  const std::vector<std::uint8_t> bytes(data, data + size);
  const damage_check::Result result = damage_check::check(bytes, work_folder(), options);
  if (!result.broken.empty()) {
    for (const auto& line : result.broken) std::fprintf(stderr, "promesse non tenue : %s\n", line.c_str());
    std::abort();
  }
  return 0;
}
