#include "jet/btree/index_stored_key.h"

#include "jet/base/error.h"
#include "jet/btree/index_cursor.h"

namespace jet {

bool key_not_computable(const Error& e) {
  return e.number() == static_cast<int>(ErrorCode::UnsupportedKeyCharacter);
}

std::optional<std::vector<std::uint8_t>> stored_key_of_row(Pager& pager, const TableDef& table,
                                                           const IndexDef& index, RowId row) {
  IndexCursor cursor(pager, table, index);
  while (cursor.next()) {
    if (cursor.row_id() == row) return cursor.entry().key;
  }
  return std::nullopt;
}

std::unordered_map<std::uint32_t, std::vector<std::uint8_t>> stored_keys_by_row(
    Pager& pager, const TableDef& table, const IndexDef& index) {
  std::unordered_map<std::uint32_t, std::vector<std::uint8_t>> out;
  IndexCursor cursor(pager, table, index);
  while (cursor.next()) out.emplace(cursor.row_id().pointer(), cursor.entry().key);
  return out;
}

}  // namespace jet
