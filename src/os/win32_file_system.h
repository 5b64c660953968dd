// The machine's file system on Windows: wide-character paths (UTF-8 in the interface), share
// modes for the sharing rules, MoveFileExW with write-through for publishing and replacing.
#pragma once

#include "os/failure.h"
#include "os/file.h"

namespace os {

class Win32FileSystem final : public FileSystem {
 public:
  std::unique_ptr<File> open(const std::string& path, Access access, Sharing sharing) override;
  std::unique_ptr<File> create_new(const std::string& path) override;
  void publish_new(const std::string& from, const std::string& to) override;
  void rename_over(const std::string& from, const std::string& to) override;
  void remove(const std::string& path) override;
  bool exists(const std::string& path) override;
  bool is_folder(const std::string& path) override;
  bool is_read_only(const std::string& path) override;
  std::unique_ptr<LockHold> hold_lock(const std::string& path) override;
  bool locked_by_another(const std::string& path) override;
  std::string host_name() override;
};

// UTF-8 <-> UTF-16 for the wide-character API.
std::wstring widen(const std::string& utf8);
std::string narrow(const std::wstring& utf16);

}  // namespace os
