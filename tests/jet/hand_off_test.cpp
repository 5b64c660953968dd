// Work handed to a helper thread is done in order, once each, and what it throws reaches the
// caller at the next wait or start, never lost and never thrown twice.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "jet/base/hand_off.h"

namespace hand_off_test {
namespace {

TEST(HandOff, PiecesRunInOrderAndWaitSeesThemAllDone) {
  std::vector<int> done;  // touched by one piece at a time, read after wait
  jet::HandOff helper;
  for (int i = 0; i < 200; ++i) {
    helper.start([&done, i] {
      if (i % 50 == 0) std::this_thread::sleep_for(std::chrono::milliseconds(2));  // the caller runs ahead
      done.push_back(i);
    });
  }
  helper.wait();
  ASSERT_EQ(done.size(), 200u);
  for (int i = 0; i < 200; ++i) EXPECT_EQ(done[static_cast<std::size_t>(i)], i);
}

TEST(HandOff, AnErrorReachesTheCallerOnceThenTheHelperServesAgain) {
  jet::HandOff helper;
  const auto failing = [] { throw std::runtime_error("piece failed"); };
  // Thrown at the wait that follows, or at once where there is no helper thread.
  try {
    helper.start(failing);
    helper.wait();
    ADD_FAILURE() << "the error was lost";
  } catch (const std::runtime_error& e) {
    EXPECT_EQ(std::string(e.what()), "piece failed");
  }
  EXPECT_NO_THROW(helper.wait());  // not thrown twice
  // At the next start too, before the new piece runs.
  bool next_ran = false;
  try {
    helper.start(failing);
    helper.start([&next_ran] { next_ran = true; });
    helper.wait();
    ADD_FAILURE() << "the error was lost";
  } catch (const std::runtime_error&) {
  }
  EXPECT_FALSE(next_ran);
  helper.start([&next_ran] { next_ran = true; });
  helper.wait();
  EXPECT_TRUE(next_ran);
}

TEST(HandOff, DestructionWaitsForThePieceUnderWay) {
  std::atomic<bool> finished{false};
  {
    jet::HandOff helper;
    helper.start([&finished] {
      std::this_thread::sleep_for(std::chrono::milliseconds(20));
      finished = true;
    });
  }
  EXPECT_TRUE(finished);
  // A failing piece left unwaited is dropped with the helper, not thrown from its destructor.
  EXPECT_NO_THROW({
    jet::HandOff helper;
    try {
      helper.start([] { throw std::runtime_error("dropped"); });
    } catch (const std::runtime_error&) {
      // a machine of one core ran it at once
    }
  });
}

}  // namespace
}  // namespace hand_off_test
