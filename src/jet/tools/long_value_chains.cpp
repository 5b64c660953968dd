#include "jet/tools/long_value_chains.h"

#include <algorithm>

#include "jet/base/error.h"
#include "jet/record/data_page.h"
#include "jet/record/long_value.h"
#include "jet/record/row.h"
#include "jet/record/row_encode.h"

namespace jet {

std::vector<OpenChain> open_chains(const Table& table) {
  std::vector<OpenChain> out;
  const TableDef& def = table.def();
  Pager& pager = table.pager();
  if (pager.layout().format != FileFormat::Jet4 ||
      std::none_of(def.columns.begin(), def.columns.end(), [](const ColumnDef& c) { return is_long_value(c.type); }))
    return out;
  for (PageNumber p : table.data_pages()) {
    try {
      const DataPage page(pager.read(p));
      for (std::uint16_t r = 0; r < page.row_count(); ++r) {
        if (page.deleted(r)) continue;
        const RowId id{p, static_cast<std::uint8_t>(r)};
        try {
          Page keep;
          const auto bytes = locate_row(pager, id, def.page, &keep);
          if (!bytes) continue;
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
    } catch (const Error&) {
    }
  }
  return out;
}

}  // namespace jet
