#include "jet/base/hand_off.h"

#include <system_error>
#include <utility>

namespace jet {

bool HandOff::helps() noexcept {
  static const bool second_core = std::thread::hardware_concurrency() > 1;
  return second_core;
}

HandOff::~HandOff() {
  {
    std::unique_lock lock(mutex_);
    stopping_ = true;
  }
  changed_.notify_all();
  if (thread_.joinable()) thread_.join();
}

void HandOff::serve() {
  std::unique_lock lock(mutex_);
  for (;;) {
    changed_.wait(lock, [this] { return busy_ || stopping_; });
    if (!busy_) return;  // stopping, nothing left to do
    std::function<void()> work = std::move(work_);
    lock.unlock();
    std::exception_ptr error;
    try {
      work();
    } catch (...) {
      error = std::current_exception();
    }
    lock.lock();
    error_ = error;
    busy_ = false;
    changed_.notify_all();
  }
}

void HandOff::wait() {
  std::unique_lock lock(mutex_);
  changed_.wait(lock, [this] { return !busy_; });
  if (error_) std::rethrow_exception(std::exchange(error_, nullptr));
}

void HandOff::start(std::function<void()> work) {
  wait();
  if (!thread_.joinable() && helps()) {
    try {
      thread_ = std::thread([this] { serve(); });
    } catch (const std::system_error&) {
      // No thread to be had: the work is done here.
    }
  }
  if (!thread_.joinable()) return work();
  {
    std::unique_lock lock(mutex_);
    work_ = std::move(work);
    busy_ = true;
  }
  changed_.notify_all();
}

}  // namespace jet
