#include "platform/filelock.h"

#include <cerrno>
#include <system_error>
#include <utility>

#include "os/failure.h"
#include "os/services.h"
#include "platform/localfs.h"

namespace platform {

bool IsLockedByAnother(const std::filesystem::path& file) {
  return os::system_services().files->locked_by_another(localfs::toUtf8(file));
}

FileLockHolder::FileLockHolder(const std::filesystem::path& file) {
  try {
    hold_ = os::system_services().files->hold_lock(localfs::toUtf8(file));
  } catch (const os::Failure& failure) {
    const int code = failure.system_code() != 0 ? failure.system_code() : EIO;
    throw std::system_error(code, std::generic_category(), "lock " + localfs::toUtf8(file));
  }
}

FileLockHolder::FileLockHolder(FileLockHolder&& other) noexcept = default;
FileLockHolder& FileLockHolder::operator=(FileLockHolder&& other) noexcept = default;
FileLockHolder::~FileLockHolder() = default;

void FileLockHolder::release() { hold_.reset(); }

}  // namespace platform
