// Copying a file through the OS interface, block by block: a full disk or a failing medium is
// told for what it is (61, 57), and a copy that fails leaves no partial file behind, as
// Windows' CopyFile does.
#include <algorithm>
#include <array>
#include <vector>
#include <memory>
#include <system_error>

#include "os/failure.h"
#include "os/services.h"
#include "platform/error.h"
#include "platform/localfs.h"

namespace fs = std::filesystem;

namespace platform::localfs {
namespace {

ErrorCode codeFor(const os::Failure& failure) {
  switch (failure.kind()) {
    case os::FailureKind::NotFound: return ErrorCode::FileNotFound;
    case os::FailureKind::FolderNotFound: return ErrorCode::PathNotFound;
    case os::FailureKind::DiskFull: return ErrorCode::DiskFull;
    case os::FailureKind::IoError: return ErrorCode::DeviceIoError;
    default: return ErrorCode::PermissionDenied;
  }
}

}  // namespace

void copyFile(const fs::path& from, const fs::path& to, const CopyProgress& progress) {
  if (!isFile(from)) throw Error(ErrorCode::FileNotFound);
  os::FileSystem& files = *os::system_services().files;
  const std::string source = toUtf8(from), target = toUtf8(to);
  std::unique_ptr<os::File> in, out;
  try {
    // Readers beside the copy are fine; a writer would make it a mix of two states.
    in = files.open(source, os::Access::Read, os::Sharing::ReadersOnly);
    if (files.exists(target)) {
      out = files.open(target, os::Access::ReadWrite, os::Sharing::Exclusive);
      out->truncate(0);
    } else {
      out = files.create_new(target);
    }
  } catch (const os::Failure& failure) {
    throw Error(codeFor(failure));
  }
  try {
    std::vector<std::uint8_t> block(256 << 10);
    const std::uint64_t total = progress ? in->size() : 0;
    for (std::uint64_t at = 0;;) {
      const std::size_t got = in->read_at(at, block);
      if (got == 0) break;
      out->write_at(at, std::span(block).first(got));
      at += got;
      if (progress) progress(at, std::max(at, total));
    }
  } catch (const os::Failure& failure) {
    out.reset();
    try {
      files.remove(target);
    } catch (const os::Failure&) {
      // Nothing more can be done about a copy that can be neither finished nor removed.
    }
    throw Error(codeFor(failure));
  }
  out.reset();
  std::error_code ec;
  // Windows keeps the source's modification time and read-only attribute on the copy.
  const auto when = fs::last_write_time(from, ec);
  if (!ec) fs::last_write_time(to, when, ec);
  const auto mode = fs::status(from, ec).permissions();
  if (!ec) fs::permissions(to, mode, ec);
}

}  // namespace platform::localfs
