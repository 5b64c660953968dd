// Opening a database file through the OS interface, and the Jet error a French Windows shows
// for each way the system can fail.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "os/failure.h"
#include "os/services.h"

namespace jet {

enum class OpenMode {
  Shared,     // other openers allowed, unless one holds the file exclusively
  Exclusive,  // no other opener, in this process or another
};

// The database file, opened for reading or for reading and writing.
//   Exclusive: refused (3045, file already in use) while anyone has the file open, which is
//   what Windows reports when the share mode denies access.
//   Shared: refused (3356, opened exclusively by another user) while someone holds it
//   exclusively, which Jet reports for a shared opener in that case.
// Missing file 3024, missing folder 3044, a folder or device 3343, unreadable 3045;
// for writing, a read-only file or medium or a denied write 3051.
std::shared_ptr<os::File> open_database_file(const os::Services& services, const std::string& path, OpenMode mode,
                                             bool writable);

// Bytes [0, length) of the file (fewer when it is shorter), for the header probe before the
// page size is known, opened in `mode` for the moment of the read (so that it meets the
// refusals the real opening would).
std::vector<std::uint8_t> read_file_prefix(const os::Services& services, const std::string& path, std::size_t length,
                                           OpenMode mode);

enum class FileActivity { Opening, OpeningToWrite, Reading, Writing };

// Throws the jet::Error for `failure` met while doing `activity` on the database `path`:
// a full disk is 3026, a failed read 3040, a failed write or sync 3043, never "damaged".
[[noreturn]] void throw_file_failure(const os::Failure& failure, const os::Services& services,
                                     const std::string& path, FileActivity activity);

// 3051: the file cannot be opened for writing.
[[noreturn]] void throw_not_writable(const std::string& path);

}  // namespace jet
