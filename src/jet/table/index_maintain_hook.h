// The table writer's index hook, kept by IndexMaintainer over the writable overlay: checks
// before the row is written, brings every index up to date after (same statement, so a
// failure rolls both back).
#pragma once

#include "jet/btree/btree_write_overlay.h"
#include "jet/table/table_writer.h"

namespace jet {

class TableIndexHook final : public IndexHook {
 public:
  explicit TableIndexHook(PageAllocator& allocator) : store_(allocator) {}

  void check(const TableDef& def, const Row* old_values, const Row* new_values,
             std::optional<RowId> id) override;
  void apply(const TableDef& def, const Row* old_values, const Row* new_values, RowId id) override;

 private:
  OverlayIndexPageStore store_;
};

}  // namespace jet
