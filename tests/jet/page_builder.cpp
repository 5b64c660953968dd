#include "page_builder.h"

#include <stdexcept>

namespace jet_test {

void put16(Bytes& b, std::size_t at, std::uint16_t v) {
  b.at(at) = static_cast<std::uint8_t>(v);
  b.at(at + 1) = static_cast<std::uint8_t>(v >> 8);
}

void put32(Bytes& b, std::size_t at, std::uint32_t v) {
  for (int i = 0; i < 4; ++i) b.at(at + static_cast<std::size_t>(i)) = static_cast<std::uint8_t>(v >> (8 * i));
}

void append16(Bytes& b, std::uint16_t v) {
  b.push_back(static_cast<std::uint8_t>(v));
  b.push_back(static_cast<std::uint8_t>(v >> 8));
}

void append32(Bytes& b, std::uint32_t v) {
  for (int i = 0; i < 4; ++i) b.push_back(static_cast<std::uint8_t>(v >> (8 * i)));
}

Bytes utf16(const std::string& ascii) {
  Bytes out;
  for (char c : ascii) append16(out, static_cast<std::uint8_t>(c));
  return out;
}

Bytes data_page(std::uint32_t owner, const std::vector<Slot>& slots, bool long_values, std::size_t page_size) {
  Bytes page(page_size, 0);
  page[0] = 0x01;
  page[1] = 0x01;
  if (long_values) {
    page[4] = 'L'; page[5] = 'V'; page[6] = 'A'; page[7] = 'L';
  } else {
    put32(page, 4, owner);
  }
  put16(page, 12, static_cast<std::uint16_t>(slots.size()));
  std::size_t end = page_size;
  for (std::size_t i = 0; i < slots.size(); ++i) {
    const Bytes& row = slots[i].row;
    if (row.size() > end) throw std::runtime_error("page overflow");
    const std::size_t start = end - row.size();
    std::copy(row.begin(), row.end(), page.begin() + static_cast<std::ptrdiff_t>(start));
    put16(page, 14 + 2 * i, static_cast<std::uint16_t>(start | slots[i].flags));
    end = start;
  }
  put16(page, 2, static_cast<std::uint16_t>(end - (14 + 2 * slots.size())));
  return page;
}

Bytes jet4_row(std::uint16_t column_count, const Bytes& fixed, const std::vector<Bytes>& var,
               const std::vector<bool>& present, bool has_var_table) {
  Bytes row;
  append16(row, column_count);
  row.insert(row.end(), fixed.begin(), fixed.end());
  std::vector<std::uint16_t> offsets;
  for (const Bytes& v : var) {
    offsets.push_back(static_cast<std::uint16_t>(row.size()));
    row.insert(row.end(), v.begin(), v.end());
  }
  if (has_var_table) {
    offsets.push_back(static_cast<std::uint16_t>(row.size()));  // end of data
    for (auto it = offsets.rbegin(); it != offsets.rend(); ++it) append16(row, *it);
    append16(row, static_cast<std::uint16_t>(var.size()));
  }
  Bytes mask((column_count + 7u) / 8u, 0);
  for (std::size_t i = 0; i < present.size() && i < column_count; ++i)
    if (present[i]) mask[i / 8] = static_cast<std::uint8_t>(mask[i / 8] | (1u << (i % 8)));
  row.insert(row.end(), mask.begin(), mask.end());
  return row;
}

Bytes long_value_ref(std::uint32_t length, std::uint32_t flags, std::uint32_t pointer) {
  Bytes b;
  append32(b, length | flags);
  append32(b, pointer);
  append32(b, 0);
  return b;
}

Bytes long_value_inline(const Bytes& data) {
  Bytes b = long_value_ref(static_cast<std::uint32_t>(data.size()), 0x80000000u, 0);
  b.insert(b.end(), data.begin(), data.end());
  return b;
}

}  // namespace jet_test
