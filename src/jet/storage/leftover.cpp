#include "jet/storage/leftover.h"

#include "jet/storage/rollback_journal.h"

namespace jet {

bool remove_if_unheld(const os::Services& services, const std::string& path) {
  os::FileSystem& files = *services.files;
  if (!files.exists(path)) return true;
  try {
    files.open(path, os::Access::Read, os::Sharing::Exclusive).reset();
  } catch (const os::Failure& failure) {
    if (failure.kind() == os::FailureKind::InUse || failure.kind() == os::FailureKind::HeldExclusively) return false;
    throw;
  }
  files.remove(path);
  files.remove(journal_path(path));
  return true;
}

}  // namespace jet
