#include "jet/record/row_frame.h"

#include <string>

namespace jet {
namespace {

void read_wide(const ByteView& bytes, RowFrame& f, bool offsets_checked) {
  if (f.mask_at < 4) bytes.damaged("table des colonnes variables hors de la ligne");
  f.var_count = bytes.u16(f.mask_at - 2);
  if (std::size_t{f.var_count} * 2 + 4 > f.mask_at) bytes.damaged("table des colonnes variables hors de la ligne");
  f.var_table = f.mask_at - 4;  // variable column 0; column i at var_table - 2*i
  f.fixed_end = bytes.u16(f.var_table);
  if (offsets_checked) return;
  // Every offset, a Null column's too, in order and short of the offset table: other readers
  // (mdbtools) check them all and drop the row otherwise.
  const std::size_t table_start = f.var_table - 2 * std::size_t{f.var_count};
  for (std::size_t i = 0, previous = 0; i <= f.var_count; ++i) {
    const std::size_t offset = bytes.u16(f.var_table - 2 * i);
    if (offset < previous || offset > table_start)
      bytes.damaged("décalage de colonne variable incohérent (" + std::to_string(offset) + ")");
    previous = offset;
  }
}

// One-byte offsets: the jump table says where each passes a 256-byte boundary.
void read_narrow(const ByteView& bytes, RowFrame& f) {
  if (f.mask_at < 2) bytes.damaged("table des colonnes variables hors de la ligne");
  f.var_count = bytes.u8(f.mask_at - 1);
  const std::size_t jumps_stored = (bytes.size() - 1) / 256;
  // Offset of variable column 0; column i at first - i, the end of data at first - var_count.
  if (f.mask_at < 2 + jumps_stored + f.var_count + 1) bytes.damaged("table des colonnes variables hors de la ligne");
  const std::size_t first = f.mask_at - 2 - jumps_stored;
  const std::size_t end_at = first - f.var_count;
  // The last stored jump is padding when the offset table itself lies below its boundary.
  std::size_t jumps = jumps_stored;
  if (jumps > 0 && end_at / 256 < jumps) --jumps;
  f.offsets.resize(std::size_t{f.var_count} + 1);
  std::size_t used = 0;
  for (std::size_t i = 0; i <= f.var_count; ++i) {
    while (used < jumps && bytes.u8(f.mask_at - 2 - used) == i) ++used;
    const std::size_t offset = bytes.u8(first - i) + 256 * used;
    if (offset > end_at || (i > 0 && offset < f.offsets[i - 1]))
      bytes.damaged("décalage de colonne variable incohérent (" + std::to_string(offset) + ")");
    f.offsets[i] = static_cast<std::uint16_t>(offset);
  }
  f.fixed_end = f.offsets[0];
}

}  // namespace

RowFrame read_row_frame(const ByteView& bytes, const FormatLayout& layout, bool has_variable, bool offsets_checked) {
  RowFrame f;
  f.stored_columns = layout.row_count_size == 1 ? bytes.u8(0) : bytes.u16(0);
  const std::size_t mask_size = (std::size_t{f.stored_columns} + 7) / 8;
  if (mask_size + layout.row_count_size > bytes.size()) bytes.damaged("masque des valeurs nulles hors de la ligne");
  f.mask_at = bytes.size() - mask_size;
  f.fixed_end = f.mask_at;
  if (!has_variable) return f;
  if (layout.row_count_size == 1) read_narrow(bytes, f);
  else read_wide(bytes, f, offsets_checked);
  if (f.fixed_end < layout.row_count_size) bytes.damaged("zone fixe négative");
  return f;
}

}  // namespace jet
