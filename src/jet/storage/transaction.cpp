#include "jet/storage/transaction.h"

#include "jet/base/error.h"

namespace jet {

Transaction::~Transaction() {
  // Only the innermost level can be dropped; a level left open by an inner scope that
  // escaped (never by RAII use) is dropped with it.
  if (!active_) return;
  while (pager_.depth() >= depth_) pager_.rollback();
}

void Transaction::check_innermost() const {
  if (!active_ || pager_.depth() != depth_)
    throw Error(static_cast<int>(ErrorCode::OperationNotSupported),
                describe(static_cast<int>(ErrorCode::OperationNotSupported)) +
                    " (transaction déjà terminée ou niveau intérieur encore ouvert)");
}

void Transaction::commit() {
  check_innermost();
  pager_.commit();
  active_ = false;
}

void Transaction::rollback() {
  check_innermost();
  pager_.rollback();
  active_ = false;
}

}  // namespace jet
