#include "jet/record/long_value.h"

#include <functional>
#include <set>
#include <string>

#include "jet/record/data_page.h"
#include "jet/storage/format.h"

namespace jet {
namespace {

// The bytes of the long-value row `id` (a live row of a data page).
ByteView long_value_row(Pager& pager, RowId id, Page& keep) {
  keep = pager.read(id.page);
  const DataPage page(keep);
  if (id.row >= page.row_count() || page.deleted(id.row) || page.overflow(id.row))
    keep.view().damaged("valeur longue introuvable à la ligne " + std::to_string(id.row));
  return page.row_bytes(id.row);
}

// Walks the rows of a chained value, handing each its share of the data, until the declared
// length is read; returns the rows and the last row's next pointer.
LongValueChain walk_chain(Pager& pager, const ByteView& field, const LongValueRef& ref,
                          const std::function<void(const ByteView&)>& take_piece) {
  LongValueChain chain;
  std::set<std::uint32_t> seen;
  std::uint32_t pointer = ref.pointer;
  std::size_t read = 0;
  Page keep;
  while (read < ref.length) {
    if (pointer == 0) field.damaged("chaîne de valeur longue interrompue");
    if (!seen.insert(pointer).second) field.damaged("chaîne de valeur longue circulaire");
    const ByteView row = long_value_row(pager, RowId::from_pointer(pointer), keep);
    chain.rows.push_back(pointer);
    const std::uint32_t next = row.u32(0);
    const std::size_t take = std::min<std::size_t>(row.size() - 4, ref.length - read);
    take_piece(row.sub(4, take));
    read += take;
    pointer = next;
  }
  chain.next = pointer;
  return chain;
}

}  // namespace

LongValueRef parse_long_value_ref(const ByteView& field) {
  const std::uint32_t head = field.u32(0);
  LongValueRef ref;
  ref.length = head & disk::kLongValueLengthMask;
  ref.storage = (head & disk::kLongValueInline)       ? LongValueStorage::Inline
                : (head & disk::kLongValueSinglePage) ? LongValueStorage::SinglePage
                                           : LongValueStorage::Chain;
  ref.pointer = field.u32(4);
  field.check(0, disk::kLongValueFieldSize);
  return ref;
}

std::vector<std::uint8_t> read_long_value(Pager& pager, const ByteView& field) {
  const LongValueRef ref = parse_long_value_ref(field);
  if (ref.length > pager.page_count() * pager.page_size())
    field.damaged("longueur de valeur longue impossible");
  Page keep;
  switch (ref.storage) {
    case LongValueStorage::Inline:
      return field.sub(disk::kLongValueFieldSize, ref.length).copy();
    case LongValueStorage::SinglePage: {
      const ByteView row = long_value_row(pager, RowId::from_pointer(ref.pointer), keep);
      if (row.size() < ref.length) row.damaged("valeur longue plus courte que sa longueur déclarée");
      return row.sub(0, ref.length).copy();
    }
    case LongValueStorage::Chain: {
      std::vector<std::uint8_t> out;
      out.reserve(ref.length);
      walk_chain(pager, field, ref, [&](const ByteView& piece) { out.insert(out.end(), piece.data(), piece.data() + piece.size()); });
      return out;
    }
  }
  return {};
}

LongValueChain long_value_chain(Pager& pager, const ByteView& field) {
  const LongValueRef ref = parse_long_value_ref(field);
  if (ref.storage != LongValueStorage::Chain) return {};
  if (ref.length > pager.page_count() * pager.page_size()) field.damaged("longueur de valeur longue impossible");
  return walk_chain(pager, field, ref, [](const ByteView&) {});
}

}  // namespace jet
