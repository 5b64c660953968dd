// Linux-side helpers shared by the file services: case-blind lookup of a name in a folder and
// folder listings in the order Windows gives them.
#pragma once

#include <cstdio>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace platform::localfs {

// The program's texts are UTF-8; a path made from a narrow string would be read in the ANSI
// code page on Windows and lose every character outside it. These two conversions are exact
// on both systems.
std::filesystem::path fromUtf8(std::string_view text);
std::string toUtf8(const std::filesystem::path& path);

// fopen for a path with any characters (the wide-character variant on Windows).
std::FILE* openFile(const std::filesystem::path& file, const char* mode);

// The name of the entry of `folder` that matches `name` without regard to case (an exact
// match preferred), nullopt when none or when `folder` cannot be read.
std::optional<std::string> findEntry(const std::filesystem::path& folder, std::string_view name);

struct Entry {
  std::string name;
  bool isFolder = false;
};

// The entries of a folder in NTFS order (symlinks followed for the file/folder test).
// Raises platform::Error: 76 when the folder is missing, 70 when it may not be read.
std::vector<Entry> list(const std::filesystem::path& folder);

// lstat-free type tests that never throw.
bool isFile(const std::filesystem::path& p);
bool isFolder(const std::filesystem::path& p);
bool exists(const std::filesystem::path& p);

// The whole content of a regular file; nullopt when it is missing or unreadable.
std::optional<std::string> readFile(const std::filesystem::path& file);

// The Windows read-only attribute maps to the owner's write permission.
bool isReadOnly(const std::filesystem::path& p);
void clearReadOnly(const std::filesystem::path& p);

// Copies a file's content, modification time and read-only attribute over `to` (replaced
// when present), through the OS interface. Raises platform::Error: 53 source missing, 70
// source open for writing by another program or destination not writable, 61 disk full, 57
// device error; a failed copy leaves no destination. `progress`, when given, is told the
// bytes copied and the bytes to copy after each block.
using CopyProgress = std::function<void(std::uint64_t done, std::uint64_t total)>;
void copyFile(const std::filesystem::path& from, const std::filesystem::path& to, const CopyProgress& progress = {});

// Puts the file `from` in place of `to` in one step (rename(2); on Windows MoveFileExW,
// replacing, written through). Raises platform::Error 70 when the system refuses.
void replaceFile(const std::filesystem::path& from, const std::filesystem::path& to);

// Renames, or copies then deletes when the two places are on different Linux file systems.
void moveEntry(const std::filesystem::path& from, const std::filesystem::path& to);

// A file or folder inside `folder` (recursively) that another process holds locked, or a
// read-only file when `readOnlyCounts`; used before deleting or moving a whole tree.
bool treeHasBlockedFile(const std::filesystem::path& folder, bool readOnlyCounts);

}  // namespace platform::localfs
