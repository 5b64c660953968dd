// The fault-injecting file system fails exactly the operation it was told to, leaves the
// others to the real one, and tears or truncates writes the way a failing disk does.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "os/faulty_file_system.h"
#include "os/services.h"
#include "support/scratch_folder.h"

// Each test file keeps its own names, apart from the others compiled with it.
namespace faulty_file_system_test_cases {

namespace {

namespace fs = std::filesystem;

struct FaultyFiles : ::testing::Test {
  FaultyFiles() { std::ofstream(path, std::ios::binary) << std::string(8, '.'); }
  // Read once the file is closed: Windows refuses other openers of an exclusively held file.
  std::string content() const {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), {});
  }
  test_support::ScratchFolder scratch;
  fs::path dir = scratch.path();
  std::string path = (dir / "f.bin").string();
  os::FaultyFileSystem files{*os::system_services().files};
};

const std::uint8_t kFour[] = {'a', 'b', 'c', 'd'};

TEST_F(FaultyFiles, FailsTheNthWriteOnlyCountingAcrossFiles) {
  auto one = files.open(path, os::Access::ReadWrite, os::Sharing::Shared);
  files.fail_write(3, os::FailureKind::IoError);
  one->write_at(0, kFour);
  {
    auto two = files.create_new((dir / "g.bin").string());
    two->write_at(0, kFour);  // the second write, on another file
  }
  try {
    one->write_at(4, kFour);
    FAIL() << "third write went through";
  } catch (const os::Failure& f) {
    EXPECT_EQ(f.kind(), os::FailureKind::IoError);
    EXPECT_EQ(f.path(), path);
  }
  one->write_at(4, kFour);  // the fourth succeeds again
  EXPECT_EQ(files.writes(), 4);
  EXPECT_EQ(content(), "abcdabcd");
}

TEST_F(FaultyFiles, ATornWriteLeavesHalfItsBytes) {
  {
    auto f = files.open(path, os::Access::ReadWrite, os::Sharing::Exclusive);
    files.fail_write(1, os::FailureKind::IoError, true);
    EXPECT_THROW(f->write_at(0, kFour), os::Failure);
  }
  EXPECT_EQ(content(), "ab......");
}

TEST_F(FaultyFiles, AFullDiskRefusesGrowthOnlyAfterTakingWhatFits) {
  {
    auto f = files.open(path, os::Access::ReadWrite, os::Sharing::Exclusive);
    files.disk_full_after(6);
    f->write_at(0, kFour);  // over bytes already there: takes no room
    f->write_at(8, kFour);  // grows by four
    try {
      f->write_at(12, kFour);
      FAIL() << "write past the free space went through";
    } catch (const os::Failure& failure) {
      EXPECT_EQ(failure.kind(), os::FailureKind::DiskFull);
    }
    EXPECT_THROW(f->write_at(14, kFour), os::Failure);  // still full
    f->write_at(2, kFour);                              // overwriting still works
  }
  EXPECT_EQ(content(), "ababcd..abcdab");
  EXPECT_EQ(files.bytes_written(), 14u);
}

TEST_F(FaultyFiles, SyncReadAndRenameFailuresAreCuedSeparately) {
  auto f = files.open(path, os::Access::ReadWrite, os::Sharing::Exclusive);
  files.fail_sync(2, os::FailureKind::DiskFull);
  files.fail_read(1);
  f->sync();
  EXPECT_THROW(f->sync(), os::Failure);
  std::vector<std::uint8_t> buffer(4);
  EXPECT_THROW(f->read_at(0, buffer), os::Failure);
  EXPECT_EQ(f->read_at(0, buffer), 4u);
  EXPECT_EQ(files.syncs(), 2);
  EXPECT_EQ(files.reads(), 2);

  const std::string temp = (dir / "t.bin").string();
  files.create_new(temp);
  files.fail_rename(1, os::FailureKind::AccessDenied);
  EXPECT_THROW(files.publish_new(temp, (dir / "u.bin").string()), os::Failure);
  EXPECT_TRUE(files.exists(temp));
  files.publish_new(temp, (dir / "u.bin").string());
  EXPECT_TRUE(files.exists((dir / "u.bin").string()));
}

// Code that takes the machine's services (the platform layer, the engine by default) meets
// the faulty file system while an override is in force, and the real one again after.
TEST_F(FaultyFiles, AnOverrideServesItToEveryoneAskingForTheMachinesFiles) {
  os::FileSystem* real = os::system_services().files;
  {
    const os::Services faulty{&files, os::system_services().clock, os::system_services().random};
    os::ServicesOverride override(faulty);
    EXPECT_EQ(os::system_services().files, &files);
    files.fail_write(1, os::FailureKind::DiskFull);
    auto f = os::system_services().files->open(path, os::Access::ReadWrite, os::Sharing::Exclusive);
    EXPECT_THROW(f->write_at(0, kFour), os::Failure);
  }
  EXPECT_EQ(os::system_services().files, real);
  EXPECT_EQ(content(), "........");
}

}  // namespace

}  // namespace faulty_file_system_test_cases
