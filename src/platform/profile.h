// Private-profile (INI) files with Win32 semantics, on Linux files. The files are
// Windows-1252 text with CR LF line ends; the functions take and give UTF-8.
//
// Reading: sections and keys match without regard to case and surrounding blanks; the value is
// the text after the first '=', trimmed of blanks, and when it is enclosed in a matching pair of
// quotes (' or ") those are removed. The first matching section and, in it, the first matching
// key win. The value (or `defaultValue` when the file, section or key is missing) is copied into
// `returnedString` as into a buffer of `size` characters: at most size-1 characters are
// written over its start, a NUL follows when room remains, the rest of the buffer is left as it
// was. The result is the count of characters copied (so VB's Left$(buffer, count) is the value).
//
// The default value loses its trailing blanks, as Win32 strips them.
//
// Writing: creates the file, the section (appended at the end of the file) and the key
// (after the last key line of its section) as needed; an existing key's line becomes
// "name=value" with the name as the file spells it. Every other byte of the file (comments,
// order, other keys, blank lines, line ends) stays as it was; new lines end in CR LF. A missing
// folder, a read-only file or a failed write make the call fail (result false) and leave the
// file as it was.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace platform {

// The same operations on a Linux file; Workstation's members resolve the Windows path and
// call these.
long ReadProfileString(const std::filesystem::path& file, std::string_view section,
                       std::string_view key, std::string_view defaultValue,
                       std::string& returnedString, long size);
bool WriteProfileString(const std::filesystem::path& file, std::string_view section,
                        std::string_view key, std::string_view value);

// Copies `value` into the caller's buffer as Win32 copies into a char array of `size`
// characters; returns the count copied.
long CopyProfileValue(std::string_view value, std::string& returnedString, long size);

}  // namespace platform
