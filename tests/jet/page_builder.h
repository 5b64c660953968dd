// Hand-built pages for the engine's read tests: data pages with their slot table, Jet 4 rows
// and long-value references, laid out as Access lays them out.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace jet_test {

using Bytes = std::vector<std::uint8_t>;

void put16(Bytes& b, std::size_t at, std::uint16_t v);
void put32(Bytes& b, std::size_t at, std::uint32_t v);
void append16(Bytes& b, std::uint16_t v);
void append32(Bytes& b, std::uint32_t v);
Bytes utf16(const std::string& ascii);

struct Slot {
  Bytes row;
  std::uint16_t flags = 0;  // 0x8000 deleted, 0x4000 moved
};

// A data page owned by `owner` (a table-definition page, or "LVAL" for long values when
// `long_values` is set), rows stored from the end of the page downwards.
Bytes data_page(std::uint32_t owner, const std::vector<Slot>& slots, bool long_values = false,
                std::size_t page_size = 4096);

// A Jet 4 row: column count, fixed area, variable data, offsets (reversed), null mask.
// `var` holds each variable column's bytes in order; a missing trailing entry is absent.
Bytes jet4_row(std::uint16_t column_count, const Bytes& fixed, const std::vector<Bytes>& var,
               const std::vector<bool>& present, bool has_var_table = true);

// The 12-byte reference of a long value.
Bytes long_value_inline(const Bytes& data);
Bytes long_value_ref(std::uint32_t length, std::uint32_t flags, std::uint32_t pointer);

}  // namespace jet_test
