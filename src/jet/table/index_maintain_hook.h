// The table writer's index hook, kept by IndexMaintainer over the writable overlay: checks
// before the row is written, brings every index up to date after (same statement, so a
// failure rolls both back).
#pragma once

#include <optional>

#include "jet/btree/btree_write_overlay.h"
#include "jet/btree/index_maintain.h"
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
  // The insert last checked, until its apply: the table writer checks a row, writes it
  // (nothing of its indexes) and applies the same row, whose keys are then not worked out
  // and checked a second time.
  struct Pending {
    const TableDef* def;
    const Row* row;
    IndexMaintainer::CheckedInsert checked;
  };
  std::optional<Pending> pending_;
};

}  // namespace jet
