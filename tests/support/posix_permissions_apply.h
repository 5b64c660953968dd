// File permissions that bind even the administrator: a test run as root (a container, the
// build machine) cannot otherwise meet a read-only folder, since root passes every permission
// check. While a PermissionsApply lives, the calling thread works without the capabilities
// that override permissions (CAP_DAC_OVERRIDE, CAP_DAC_READ_SEARCH); a process without them
// is unchanged. Linux only.
#pragma once

#include <linux/capability.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace test_support {

class PermissionsApply {
 public:
  PermissionsApply() {
    header_.version = _LINUX_CAPABILITY_VERSION_3;
    header_.pid = 0;
    if (::syscall(SYS_capget, &header_, saved_) != 0) return;
    __user_cap_data_struct reduced[2] = {saved_[0], saved_[1]};
    reduced[0].effective &= ~((1u << CAP_DAC_OVERRIDE) | (1u << CAP_DAC_READ_SEARCH));
    restore_ = ::syscall(SYS_capset, &header_, reduced) == 0;
  }
  ~PermissionsApply() {
    if (restore_) ::syscall(SYS_capset, &header_, saved_);
  }
  PermissionsApply(const PermissionsApply&) = delete;
  PermissionsApply& operator=(const PermissionsApply&) = delete;

 private:
  __user_cap_header_struct header_{};
  __user_cap_data_struct saved_[2]{};
  bool restore_ = false;
};

}  // namespace test_support
