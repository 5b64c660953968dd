// Work handed by one thread to a helper thread, one piece at a time: the caller prepares the
// next piece while the helper does the last. Without a second core, or without a thread to be
// had, each piece runs at once on the caller's thread.
#pragma once

#include <condition_variable>
#include <exception>
#include <functional>
#include <mutex>
#include <thread>

namespace jet {

class HandOff {
 public:
  HandOff() = default;
  // Waits for the piece under way; what it threw is dropped.
  ~HandOff();
  HandOff(const HandOff&) = delete;
  HandOff& operator=(const HandOff&) = delete;

  // Waits for the piece under way (rethrowing what it threw), then starts `work`.
  void start(std::function<void()> work);
  // Waits for the piece under way; rethrows what it threw.
  void wait();
  // True when pieces run on a helper thread (the machine has a second core).
  static bool helps() noexcept;

 private:
  void serve();

  std::mutex mutex_;
  std::condition_variable changed_;
  std::function<void()> work_;
  bool busy_ = false;
  bool stopping_ = false;
  std::exception_ptr error_;
  std::thread thread_;
};

}  // namespace jet
