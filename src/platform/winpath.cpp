#include "platform/winpath.h"

#include <algorithm>

#include "jet/api/values.h"
#include "platform/utf8.h"

namespace platform {
namespace {

bool isForbidden(char c, bool allowWildcards) {
  const auto b = static_cast<unsigned char>(c);
  if (b < 0x20) return true;
  switch (c) {
    case '<': case '>': case ':': case '"': case '|':
      return true;
    case '*': case '?':
      return !allowWildcards;
    default:
      return false;
  }
}

// Win32 drops trailing dots and spaces of every path component.
std::string trimComponent(std::string_view component) {
  std::size_t end = component.size();
  while (end > 0 && (component[end - 1] == '.' || component[end - 1] == ' ')) --end;
  return std::string(component.substr(0, end));
}

std::vector<std::string_view> split(std::string_view text) {
  std::vector<std::string_view> parts;
  std::size_t from = 0;
  while (from <= text.size()) {
    std::size_t at = text.find('\\', from);
    if (at == std::string_view::npos) at = text.size();
    if (at > from) parts.push_back(text.substr(from, at - from));
    from = at + 1;
  }
  return parts;
}

bool matchFrom(const std::u32string& name, std::size_t n, const std::u32string& pattern, std::size_t p) {
  while (p < pattern.size()) {
    if (pattern[p] == U'*') {
      while (p < pattern.size() && pattern[p] == U'*') ++p;
      if (p == pattern.size()) return true;
      for (std::size_t k = n; k <= name.size(); ++k)
        if (matchFrom(name, k, pattern, p)) return true;
      return false;
    }
    if (n == name.size()) return false;
    if (pattern[p] != U'?' && pattern[p] != name[n]) return false;
    ++p, ++n;
  }
  return n == name.size();
}

std::u32string upperCodePoints(std::string_view text) {
  std::u32string cps = utf8::decode(text);
  for (char32_t& c : cps) c = jet::unicode::to_upper(c);
  return cps;
}

}  // namespace

std::string WinPath::rootText() const {
  if (isUnc()) return "\\\\" + server + "\\" + share + "\\";
  return std::string(1, drive) + ":\\";
}

std::string WinPath::text() const {
  std::string out = rootText();
  if (components.empty()) {
    if (isUnc()) out.pop_back();  // a share's own path has no trailing separator
    return out;
  }
  for (std::size_t i = 0; i < components.size(); ++i) {
    if (i) out += '\\';
    out += components[i];
  }
  return out;
}

std::string WinPath::name() const { return components.empty() ? std::string() : components.back(); }

WinPath WinPath::parent() const {
  WinPath up = *this;
  if (!up.components.empty()) up.components.pop_back();
  return up;
}

std::optional<WinPath> ParseWinPath(std::string_view input, bool allowWildcards) {
  std::string text(input);
  for (char& c : text)
    if (c == '/') c = '\\';
  WinPath path;
  std::string_view rest;
  if (text.size() >= 2 && text[0] == '\\' && text[1] == '\\') {
    const auto parts = split(std::string_view(text).substr(2));
    if (parts.size() < 2) return std::nullopt;
    path.server = std::string(parts[0]);
    path.share = std::string(parts[1]);
    for (char c : path.server + path.share)
      if (isForbidden(c, false)) return std::nullopt;
    const std::size_t skip = text.find(parts[1], 2 + parts[0].size()) + parts[1].size();
    rest = std::string_view(text).substr(skip);
  } else if (text.size() >= 2 && text[1] == ':' &&
             ((text[0] >= 'A' && text[0] <= 'Z') || (text[0] >= 'a' && text[0] <= 'z'))) {
    if (text.size() > 2 && text[2] != '\\') return std::nullopt;  // "C:dossier" is drive-relative
    path.drive = static_cast<char>(text[0] & ~0x20);
    rest = std::string_view(text).substr(2);
  } else {
    return std::nullopt;
  }
  const auto parts = split(rest);
  for (std::size_t i = 0; i < parts.size(); ++i) {
    const bool last = i + 1 == parts.size();
    for (char c : parts[i])
      if (isForbidden(c, allowWildcards && last)) return std::nullopt;
    if (parts[i] == ".") continue;
    if (parts[i] == "..") {
      if (!path.components.empty()) path.components.pop_back();
      continue;
    }
    std::string component = trimComponent(parts[i]);
    if (!component.empty()) path.components.push_back(std::move(component));
  }
  return path;
}

bool HasWildcard(std::string_view text) { return text.find_first_of("*?") != std::string_view::npos; }

bool MatchesWildcard(std::string_view name, std::string_view pattern) {
  const std::u32string n = upperCodePoints(name);
  const std::u32string p = upperCodePoints(pattern);
  if (matchFrom(n, 0, p, 0)) return true;
  // "nom.*" also names "nom" without extension, as the command prompt's patterns do.
  if (p.size() >= 2 && p.compare(p.size() - 2, 2, U".*") == 0 && n.find(U'.') == std::u32string::npos)
    return matchFrom(n, 0, p.substr(0, p.size() - 2), 0);
  return false;
}

}  // namespace platform

namespace platform {
namespace {

bool isSeparator(char c) { return c == '\\' || c == '/'; }

// Length of the root of a path text: "C:\" (3), "C:" (2), "\\srv\part\" (up to its separator).
std::size_t rootLength(std::string_view path) {
  if (path.size() >= 2 && path[1] == ':') return path.size() >= 3 && isSeparator(path[2]) ? 3 : 2;
  if (path.size() >= 2 && isSeparator(path[0]) && isSeparator(path[1])) {
    const auto afterServer = path.find_first_of("\\/", 2);
    if (afterServer == std::string_view::npos) return path.size();
    const auto afterShare = path.find_first_of("\\/", afterServer + 1);
    return afterShare == std::string_view::npos ? path.size() : afterShare + 1;
  }
  return 0;
}

}  // namespace

bool EndsWithSeparator(std::string_view path) { return !path.empty() && isSeparator(path.back()); }

std::string WithoutTrailingSeparator(std::string_view path) {
  const std::size_t root = rootLength(path);
  std::size_t end = path.size();
  while (end > root && isSeparator(path[end - 1])) --end;
  if (end == root && root > 3) {
    // A share's root "\\srv\part\" reads "\\srv\part".
    while (end > 0 && isSeparator(path[end - 1])) --end;
  }
  return std::string(path.substr(0, end));
}

std::string ChildPath(std::string_view folder, std::string_view name) {
  if (folder.empty()) return std::string(name);
  if (isSeparator(folder.back()) || folder.back() == ':') return std::string(folder) + std::string(name);
  return std::string(folder) + "\\" + std::string(name);
}

std::string LastComponent(std::string_view path) {
  const std::string trimmed = WithoutTrailingSeparator(path);
  if (trimmed.size() <= rootLength(trimmed) && rootLength(trimmed) > 0) return {};
  const auto at = trimmed.find_last_of("\\/:");
  return at == std::string::npos ? trimmed : trimmed.substr(at + 1);
}

std::string ParentPathText(std::string_view path) {
  const std::string trimmed = WithoutTrailingSeparator(path);
  const std::size_t root = rootLength(trimmed);
  if (root > 0 && trimmed.size() <= root) return {};
  const auto at = trimmed.find_last_of("\\/");
  if (at == std::string::npos) return {};
  if (at < root) return trimmed.substr(0, root);           // "C:\a" -> "C:\"
  if (root > 0 && at + 1 == root) return trimmed.substr(0, root);
  std::string parent = trimmed.substr(0, at);
  return parent.size() == 2 && parent[1] == ':' ? parent + "\\" : parent;
}

}  // namespace platform
