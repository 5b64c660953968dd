#include "jet/tools/long_value_chains.h"

#include <algorithm>

#include "jet/base/error.h"
#include "jet/record/data_page.h"
#include "jet/record/long_value.h"
#include "jet/record/row.h"
#include "jet/record/row_encode.h"

namespace jet {

bool may_hold_open_chains(const Table& table) {
  const TableDef& def = table.def();
  return table.pager().layout().format == FileFormat::Jet4 &&
         std::any_of(def.columns.begin(), def.columns.end(), [](const ColumnDef& c) { return is_long_value(c.type); });
}

void add_open_chains(const Table& table, RowId id, std::vector<OpenChain>& out) {
  const TableDef& def = table.def();
  Pager& pager = table.pager();
  try {
    Page keep;
    const auto bytes = locate_row(pager, id, def.page, &keep);
    if (!bytes) return;
    const RowLayout layout = read_row_layout(def, *bytes);
    for (const ColumnDef& column : def.columns) {
      const auto& field = layout.fields[column.definition_order];
      if (!is_long_value(column.type) || !field || field->size() < disk::kLongValueFieldSize) continue;
      const LongValueChain chain = long_value_chain(pager, *field);
      if (!chain.rows.empty() && chain.next != 0)
        out.push_back({id, column.name, RowId::from_pointer(chain.rows.back()), chain.next});
    }
  } catch (const Error&) {
  }
}

std::vector<OpenChain> open_chains(const Table& table) {
  std::vector<OpenChain> out;
  if (!may_hold_open_chains(table)) return out;
  for (PageNumber p : table.pages_to_read()) {
    try {
      const Page held = table.pager().read(p);
      if (!table.owns(held)) continue;
      const DataPage page(held);
      for (std::uint16_t r = 0; r < page.row_count(); ++r)
        if (!page.deleted(r)) add_open_chains(table, RowId{p, static_cast<std::uint8_t>(r)}, out);
    } catch (const Error&) {
    }
  }
  return out;
}

}  // namespace jet
