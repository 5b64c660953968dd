// Windows path texts, taken apart and put together as Win32 does, without touching the disk.
// "C:\Quelis\Donnees\" has root "C:\" and components {"Quelis", "Donnees"};
// "\\serveur\partage\Quelis" has root "\\serveur\partage\" and components {"Quelis"}.
// Both separators ("\" and "/") are accepted; "." components vanish and ".." climbs (never
// above the root); trailing dots and spaces of a component are dropped as Win32 drops them.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace platform {

struct WinPath {
  char drive = 0;                       // 'A'..'Z' (upper case) for a drive path, 0 for UNC
  std::string server, share;            // UNC paths only
  std::vector<std::string> components;  // below the root, as written (case kept)

  bool isUnc() const { return drive == 0; }
  // "C:\" or "\\serveur\partage\" as it will be displayed.
  std::string rootText() const;
  // The normalized text: root + components joined by "\", no trailing separator except for
  // a bare root ("C:\").
  std::string text() const;
  std::string name() const;  // last component, "" for a root
  bool isRoot() const { return components.empty(); }
  WinPath parent() const;    // the root stays the root
};

// Parses an absolute Windows path. A relative path, an empty text, a drive-relative "C:x",
// a UNC path without share, or a name holding one of < > : " | ? * or a control character
// gives nullopt. Wildcards are accepted only when `allowWildcards` (for Dir/Kill/DeleteFile
// patterns, where only the last component may hold them).
std::optional<WinPath> ParseWinPath(std::string_view text, bool allowWildcards = false);

// Text helpers on paths exactly as the program wrote them (nothing normalized, so what the
// program shows stays its own text):
bool EndsWithSeparator(std::string_view path);
// "C:\Quelis\" -> "C:\Quelis"; a root keeps its separator ("C:\"); "\\srv\part\" -> "\\srv\part".
std::string WithoutTrailingSeparator(std::string_view path);
// FileSystemObject.BuildPath: one "\" between folder and name, none added after "\" or ":".
std::string ChildPath(std::string_view folder, std::string_view name);
// The last component ("" for a root), trailing separators ignored.
std::string LastComponent(std::string_view path);
// FileSystemObject.GetParentFolderName: "C:\a\b" -> "C:\a", "C:\a" -> "C:\", "C:\" -> "".
std::string ParentPathText(std::string_view path);

// DOS wildcard match of a file name: '*' any run, '?' one character, case-blind; "*.*"
// matches every name, including names without a dot.
bool MatchesWildcard(std::string_view name, std::string_view pattern);
bool HasWildcard(std::string_view text);

}  // namespace platform
