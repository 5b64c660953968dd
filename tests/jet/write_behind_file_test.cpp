// Bytes written behind read back as written, even while still being written; the file's
// size counts them at once; and a write that fails behind is thrown by the next call that
// depends on it, never lost.
#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>
#include <random>

#include "jet/storage/write_behind_file.h"
#include "jet_test_support.h"
#include "os/failure.h"
#include "os/faulty_file_system.h"
#include "os/services.h"

namespace write_behind_file_test {
namespace {

struct Disk {
  os::FaultyFileSystem files{*os::system_services().files};
  jet_test::ScratchDir dir;
  std::string path = (dir.path() / "base.mdb").string();
  std::unique_ptr<jet::WriteBehindFile> open() {
    return std::make_unique<jet::WriteBehindFile>(std::shared_ptr<os::File>(files.create_new(path)));
  }
};

std::vector<std::uint8_t> pattern(std::size_t size, unsigned seed) {
  std::vector<std::uint8_t> bytes(size);
  std::mt19937 random(seed);
  for (auto& b : bytes) b = static_cast<std::uint8_t>(random());
  return bytes;
}

// `bytes` cut into pieces of `size` bytes (the last one shorter).
std::vector<jet::WriteBehindFile::Piece> pieces(const std::vector<std::uint8_t>& bytes, std::size_t size) {
  std::vector<jet::WriteBehindFile::Piece> out;
  for (std::size_t at = 0; at < bytes.size(); at += size) {
    const auto end = bytes.begin() + static_cast<std::ptrdiff_t>(std::min(bytes.size(), at + size));
    out.push_back(std::make_shared<const std::vector<std::uint8_t>>(bytes.begin() + static_cast<std::ptrdiff_t>(at), end));
  }
  return out;
}

TEST(WriteBehindFile, WhatIsWrittenBehindReadsBackAtOnceAndLandsWhole) {
  Disk disk;
  std::vector<std::uint8_t> expected;
  {
    auto file = disk.open();
    // Runs of varied sizes one after the other, each read back before the next one starts
    // (it may still be under way), and the file's size counted at once.
    // Each run handed over as pieces of varied sizes, which land joined in their order.
    std::uint64_t end = 0;
    for (unsigned i = 0; i < 40; ++i) {
      const auto run = pattern(4096 * (1 + i % 7), i);
      file->write_behind(end, pieces(run, 1000 + 1000 * (i % 5)));
      end += run.size();
      EXPECT_EQ(file->size(), end);
      std::vector<std::uint8_t> back(run.size());
      ASSERT_EQ(file->read_at(end - run.size(), back), run.size());
      EXPECT_EQ(back, run) << "run " << i;
      expected.insert(expected.end(), run.begin(), run.end());
    }
    // A plain write over bytes still being written lands after them.
    const auto over = pattern(100, 99);
    file->write_behind(0, pieces(pattern(8192, 98), 4096));
    file->write_at(50, over);
    const auto first = pattern(8192, 98);
    std::copy(first.begin(), first.end(), expected.begin());
    std::copy(over.begin(), over.end(), expected.begin() + 50);
    file->sync();
  }
  EXPECT_EQ(jet_test::read_file(disk.path), expected);
}

TEST(WriteBehindFile, AFailedWriteBehindIsThrownByTheNextWriteSyncOrReadOfItsBytes) {
  const auto failure_of = [](const std::function<void()>& action) -> std::optional<os::FailureKind> {
    try {
      action();
    } catch (const os::Failure& f) {
      return f.kind();
    }
    return std::nullopt;
  };
  {
    Disk disk;
    auto file = disk.open();
    disk.files.disk_full_after(4096);
    // Thrown at once where there is no helper thread, else by the next call.
    auto failed = failure_of([&] { file->write_behind(0, pieces(pattern(8192, 1), 4096)); });
    if (!failed) failed = failure_of([&] { file->write_behind(8192, pieces(pattern(4096, 2), 4096)); });
    EXPECT_EQ(failed, os::FailureKind::DiskFull);
    EXPECT_EQ(failure_of([&] { file->sync(); }), std::nullopt) << "thrown once only";
  }
  for (const int call : {0, 1, 2}) {
    SCOPED_TRACE(call);
    Disk disk;
    auto file = disk.open();
    file->write_behind(0, pieces(pattern(4096, 3), 4096));
    disk.files.fail_write(1);
    std::optional<os::FailureKind> failed = failure_of([&] { file->write_behind(4096, pieces(pattern(4096, 4), 4096)); });
    if (!failed) {
      std::vector<std::uint8_t> back(4096);
      switch (call) {
        case 0: failed = failure_of([&] { file->sync(); }); break;
        case 1: failed = failure_of([&] { file->write_at(0, back); }); break;
        case 2: failed = failure_of([&] { file->read_at(4096, back); }); break;
      }
    }
    EXPECT_EQ(failed, os::FailureKind::IoError);
  }
}

}  // namespace
}  // namespace write_behind_file_test
