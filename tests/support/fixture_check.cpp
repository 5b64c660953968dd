// Test programs that read the Access-made fixture databases check at start that the folder is
// there, so that a checkout without the team's shared folder fails with one clear message per
// test instead of a puzzling "file not found" deep inside one.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

namespace {

class FixturesPresent : public ::testing::Environment {
 public:
  void SetUp() override {
    for (const char* folder : {QUELIS_FIXTURES, QUELIS_FIXTURES97}) {
      std::error_code ec;
      if (!std::filesystem::is_directory(folder, ec)) {
        GTEST_FAIL() << "The Access-made fixture databases are expected in " << folder
                     << " (the team's shared folder ../shared/fixtures beside the checkout, or the "
                        "folder named by the QUELIS_FIXTURES variable when configuring).";
      }
    }
  }
};

const auto* const registered = ::testing::AddGlobalTestEnvironment(new FixturesPresent);

}  // namespace
