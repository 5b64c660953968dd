#include "jet/table/index_maintain_hook.h"

#include "jet/btree/index_maintain.h"

namespace jet {

void TableIndexHook::check(const TableDef& def, const Row* old_values, const Row* new_values,
                           std::optional<RowId> id) {
  IndexMaintainer maintainer(store_, def);
  if (new_values && !old_values) maintainer.check_insert(*new_values);
  if (new_values && old_values && id) maintainer.check_update(*id, *old_values, *new_values);
}

void TableIndexHook::apply(const TableDef& def, const Row* old_values, const Row* new_values,
                           RowId id) {
  IndexMaintainer maintainer(store_, def);
  if (new_values && old_values) {
    maintainer.row_updated(id, *old_values, id, *new_values);
  } else if (new_values) {
    maintainer.row_inserted(id, *new_values);
  } else if (old_values) {
    maintainer.row_deleted(id, *old_values);
  }
}

}  // namespace jet
