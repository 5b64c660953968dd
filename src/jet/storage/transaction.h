// Scoped transactions over an OverlayPager.
//
// Transaction: begin() at construction; commit() ends it; leaving the scope without commit
// (an exception, an early return) rolls back. Nests: an inner Transaction is a level
// inside the outer one.
//
// Statement: the atomic unit of one data-changing statement. Inside a transaction it is a
// savepoint (a nested level): if the statement fails half way, its changes vanish and the
// enclosing transaction keeps its own. Outside any transaction it is autocommit: success
// writes the statement's pages to the file, failure leaves the file untouched.
#pragma once

#include "jet/storage/overlay_pager.h"

namespace jet {

class Transaction {
 public:
  explicit Transaction(OverlayPager& pager) : pager_(pager), depth_(pager.depth() + 1) { pager_.begin(); }
  ~Transaction();
  Transaction(const Transaction&) = delete;
  Transaction& operator=(const Transaction&) = delete;

  // Ends the level keeping its changes. Throws 3251 when called twice or out of order.
  void commit();
  // Ends the level dropping its changes (also done by the destructor).
  void rollback();
  bool active() const noexcept { return active_; }

 private:
  void check_innermost() const;
  OverlayPager& pager_;
  int depth_;
  bool active_ = true;
};

// A Transaction under the name of its role; commit() when the statement succeeded.
class Statement : public Transaction {
 public:
  using Transaction::Transaction;
};

}  // namespace jet
