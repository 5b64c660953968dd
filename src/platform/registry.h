// The workstation's registry, read from a regedit export (REGEDIT4 or "Windows Registry Editor
// Version 5.00"; UTF-16LE with BOM as regedit writes it, or ANSI Windows-1252):
//   [HKEY_LOCAL_MACHINE\SOFTWARE\Ortavia]
//   "Donnees"="C:\\Quelis\\Donnees\\"      \\ and \" are escapes inside quotes
//   @="default value"                      the key's default value
//   "Compteur"=dword:0000002a              32-bit number, hexadecimal
//   ; comment
// Other value types (hex:..., hex(2):...) are kept as their raw text after '='; lines ending in
// '\' continue on the next line. A "[-KEY]" section deletes that key (and its sub-keys) from
// what was read before, a "Name"=- line deletes a value.
#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace platform {

struct RegistryValue {
  enum class Type { String, Dword, Other } type = Type::String;
  std::string text;        // String: the value (UTF-8); Other: raw text after '='
  std::uint32_t dword = 0; // Dword only
};

class Registry {
 public:
  // Parses export text (bytes as read from the file, BOM included if any). Lines that are not
  // a key, a value, a comment or the header are ignored, as regedit ignores them on import.
  static Registry Parse(std::string_view fileBytes);
  // Reads and parses a file; a missing file gives an empty registry.
  static Registry Load(const std::filesystem::path& file);

  // A value by key path (hive long or short: HKLM, HKCU, HKCR, HKU, HKCC) and name, case-blind;
  // an empty name is the default value ("@").
  std::optional<RegistryValue> value(std::string_view keyPath, std::string_view name) const;
  bool hasKey(std::string_view keyPath) const;

 private:
  // Canonical upper-case key path -> (upper-case value name -> value).
  std::map<std::string, std::map<std::string, RegistryValue>> keys_;
};

// "WScript.Shell"'s RegRead: `name` is a full value path such as
// "HKEY_LOCAL_MACHINE\SOFTWARE\Ortavia\Donnees" (a trailing "\" names the key's default
// value). Strings come back as they are stored, dwords as the decimal text of the signed Long
// VB receives. A missing value, key or registry file raises platform::Error with the
// number WScript raises (-2147024894) and its French text naming the path.
std::string RegRead(const Registry& registry, std::string_view name);

// The two failures of RegRead, for every registry it reads: a name whose first component is
// not a hive ("Racine non valide..."), and a value, key or registry that is not there.
struct RegistryName {
  std::string hive;     // canonical: "HKEY_LOCAL_MACHINE"...; empty when the root is not a hive
  std::string key;      // below the hive, without leading or trailing "\"
  std::string value;    // empty: the key's default value
};
// Splits a RegRead name; raises the "Racine non valide" error when it has no hive.
RegistryName SplitRegistryName(std::string_view name);
[[noreturn]] void ThrowRegistryValueMissing(std::string_view name);

}  // namespace platform
