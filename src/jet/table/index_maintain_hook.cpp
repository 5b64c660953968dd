#include "jet/table/index_maintain_hook.h"

#include "jet/btree/index_maintain.h"

namespace jet {

void TableIndexHook::check(const TableDef& def, const Row* old_values, const Row* new_values,
                           std::optional<RowId> id) {
  pending_.reset();
  IndexMaintainer maintainer(store_, def);
  if (new_values && !old_values) pending_ = Pending{&def, new_values, maintainer.checked_insert(*new_values)};
  if (new_values && old_values && id) maintainer.check_update(*id, *old_values, *new_values);
}

void TableIndexHook::apply(const TableDef& def, const Row* old_values, const Row* new_values,
                           RowId id) {
  IndexMaintainer maintainer(store_, def);
  std::optional<Pending> pending = std::move(pending_);
  pending_.reset();
  if (new_values && old_values) {
    maintainer.row_updated(id, *old_values, id, *new_values);
  } else if (new_values && pending && pending->def == &def && pending->row == new_values) {
    maintainer.row_inserted(id, std::move(pending->checked));
  } else if (new_values) {
    maintainer.row_inserted(id, *new_values);
  } else if (old_values) {
    maintainer.row_deleted(id, *old_values);
  }
}

}  // namespace jet
