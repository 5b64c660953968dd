#include "jet/btree/index_page.h"

#include <string>

#include "jet/btree/index_key.h"
#include "jet/storage/format.h"

namespace jet {
namespace {

std::uint32_t big_endian(std::span<const std::uint8_t> b) {
  std::uint32_t v = 0;
  for (std::uint8_t x : b) v = (v << 8) | x;
  return v;
}

}  // namespace

std::vector<PageNumber> IndexPage::children() const {
  std::vector<PageNumber> out;
  if (leaf) return out;
  out.reserve(entries.size() + 1);
  for (const auto& e : entries) out.push_back(e.child);
  if (tail != 0) out.push_back(tail);
  return out;
}

IndexPage parse_index_page(const Page& page) {
  const ByteView v = page.view();
  IndexPage p;
  p.number = page.number();
  const std::uint8_t kind = v.u8(0);
  if (kind != disk::kPageIndexNode && kind != disk::kPageIndexLeaf) {
    v.damaged("page d'index attendue, type " + std::to_string(kind) + " trouvé");
  }
  p.leaf = (kind == disk::kPageIndexLeaf);
  p.free_space = v.u16(2);
  p.owner = v.u32(4);
  const FormatLayout& layout = page.layout();
  p.prev = v.u32(layout.index_prev);
  p.next = v.u32(layout.index_next);
  p.tail = v.u32(layout.index_tail);
  p.prefix_length = layout.index_prefix_size == 1 ? v.u8(layout.index_prefix) : v.u16(layout.index_prefix);

  const std::size_t entries_at = layout.index_entries;
  v.check(entries_at, 0);
  const std::size_t data_size = v.size() - entries_at;
  const std::size_t mask_size = entries_at - layout.index_mask;
  const ByteView mask = v.sub(layout.index_mask, mask_size);
  const ByteView data = v.sub(entries_at, data_size);
  const std::size_t tail_size = disk::kIndexRowPointerSize + (p.leaf ? 0 : disk::kIndexChildSize);

  std::vector<std::uint8_t> prefix;
  std::size_t start = 0;
  for (std::size_t i = 0; i < mask_size; ++i) {
    const std::uint8_t bits = mask.u8(i);
    if (bits == 0) continue;
    for (unsigned j = 0; j < 8; ++j) {
      if (!(bits & (1u << j))) continue;
      const std::size_t end = i * 8 + j;
      if (end > data_size) {
        v.damaged("entrée d'index au-delà de la fin de la page (octet " + std::to_string(end) + ")");
      }
      if (end <= start) v.damaged("entrée d'index vide");
      const ByteView stored = data.sub(start, end - start);
      IndexEntry e;
      e.offset = static_cast<std::uint16_t>(entries_at + start);
      std::vector<std::uint8_t> bytes;
      if (p.entries.empty()) {
        bytes = stored.copy();
        if (p.prefix_length > bytes.size()) {
          v.damaged("préfixe partagé de " + std::to_string(p.prefix_length) +
                    " octets plus long que la première entrée");
        }
        prefix.assign(bytes.begin(), bytes.begin() + p.prefix_length);
      } else {
        bytes = prefix;
        const auto s = stored.span();
        bytes.insert(bytes.end(), s.begin(), s.end());
      }
      if (bytes.size() < tail_size + 1) {
        v.damaged("entrée d'index trop courte à l'octet " + std::to_string(e.offset));
      }
      const std::size_t key_size = bytes.size() - tail_size;
      const std::span<const std::uint8_t> all(bytes);
      e.row.page = big_endian(all.subspan(key_size, 3));
      e.row.row = all[key_size + 3];
      if (!p.leaf) e.child = big_endian(all.subspan(key_size + disk::kIndexRowPointerSize, disk::kIndexChildSize));
      bytes.resize(key_size);
      e.key = std::move(bytes);
      p.entries.push_back(std::move(e));
      start = end;
    }
  }
  p.used_bytes = static_cast<std::uint16_t>(start);
  return p;
}

IndexPage read_index_page(Pager& pager, PageNumber number) {
  return parse_index_page(pager.read(number));
}

std::strong_ordering compare_entries(std::span<const std::uint8_t> key_a, RowId row_a,
                                     std::span<const std::uint8_t> key_b, RowId row_b) noexcept {
  if (auto c = compare_keys(key_a, key_b); c != 0) return c;
  return row_a <=> row_b;
}

}  // namespace jet
