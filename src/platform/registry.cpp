#include "platform/registry.h"

#include <cctype>
#include <vector>

#include "platform/codepage.h"
#include "platform/error.h"
#include "platform/localfs.h"
#include "platform/vbstring.h"

namespace platform {
namespace {

// WScript.Shell's failure number for a registry path it cannot read (HRESULT 0x80070002).
constexpr std::int32_t kRegistryReadFailure = -2147024894;

std::string decodeFile(std::string_view bytes) {
  if (bytes.size() >= 2 && static_cast<unsigned char>(bytes[0]) == 0xFF &&
      static_cast<unsigned char>(bytes[1]) == 0xFE)
    return Utf16LeToUtf8(bytes.substr(2));
  if (bytes.size() >= 3 && bytes.substr(0, 3) == "\xEF\xBB\xBF") return std::string(bytes.substr(3));
  return Cp1252ToUtf8(bytes);
}

std::vector<std::string> logicalLines(const std::string& text) {
  std::vector<std::string> lines;
  std::string pending;
  std::size_t from = 0;
  while (from <= text.size()) {
    auto nl = text.find('\n', from);
    if (nl == std::string::npos) nl = text.size();
    std::string line = text.substr(from, nl - from);
    from = nl + 1;
    if (!line.empty() && line.back() == '\r') line.pop_back();
    if (!pending.empty()) {
      const auto first = line.find_first_not_of(" \t");
      line = pending + (first == std::string::npos ? std::string() : line.substr(first));
      pending.clear();
    }
    // Binary values run over several lines, each but the last ending in a backslash.
    const auto eq = line.find("=hex");
    if (eq != std::string::npos && !line.empty() && line.back() == '\\') {
      line.pop_back();
      pending = line;
      continue;
    }
    lines.push_back(std::move(line));
  }
  if (!pending.empty()) lines.push_back(pending);
  return lines;
}

// The canonical form of a key path: full hive name, upper case, no trailing separator.
std::string canonicalKey(std::string_view keyPath) {
  std::string key = UCase(keyPath);
  while (!key.empty() && key.back() == '\\') key.pop_back();
  const auto sep = key.find('\\');
  std::string hive = key.substr(0, sep);
  if (hive == "HKLM") hive = "HKEY_LOCAL_MACHINE";
  else if (hive == "HKCU") hive = "HKEY_CURRENT_USER";
  else if (hive == "HKCR") hive = "HKEY_CLASSES_ROOT";
  else if (hive == "HKU") hive = "HKEY_USERS";
  else if (hive == "HKCC") hive = "HKEY_CURRENT_CONFIG";
  return sep == std::string::npos ? hive : hive + key.substr(sep);
}

bool knownHive(const std::string& canonical) {
  const std::string hive = canonical.substr(0, canonical.find('\\'));
  return hive == "HKEY_LOCAL_MACHINE" || hive == "HKEY_CURRENT_USER" || hive == "HKEY_CLASSES_ROOT" ||
         hive == "HKEY_USERS" || hive == "HKEY_CURRENT_CONFIG";
}

// Reads a quoted text starting at `i` (on the opening quote) with regedit's \\ and \" escapes;
// leaves `i` after the closing quote. Returns false when the quote is not closed.
bool readQuoted(const std::string& line, std::size_t& i, std::string& out) {
  out.clear();
  for (++i; i < line.size(); ++i) {
    const char c = line[i];
    if (c == '\\' && i + 1 < line.size()) {
      out += line[++i];
    } else if (c == '"') {
      ++i;
      return true;
    } else {
      out += c;
    }
  }
  return false;
}

std::string hexBytes(std::string_view list) {
  std::string bytes;
  std::size_t i = 0;
  while (i < list.size()) {
    while (i < list.size() && (list[i] == ',' || list[i] == ' ' || list[i] == '\t')) ++i;
    std::size_t j = i;
    while (j < list.size() && std::isxdigit(static_cast<unsigned char>(list[j]))) ++j;
    if (j == i) break;
    bytes += static_cast<char>(std::stoul(std::string(list.substr(i, j - i)), nullptr, 16));
    i = j;
  }
  return bytes;
}

std::optional<RegistryValue> parseData(const std::string& data) {
  RegistryValue value;
  if (!data.empty() && data[0] == '"') {
    std::size_t i = 0;
    if (!readQuoted(data, i, value.text)) return std::nullopt;
    return value;
  }
  const std::string lower = LCase(data);
  if (lower.rfind("dword:", 0) == 0) {
    const std::string digits = Trim(data.substr(6));
    if (digits.empty() || digits.size() > 8 || digits.find_first_not_of("0123456789abcdefABCDEF") != std::string::npos)
      return std::nullopt;
    value.type = RegistryValue::Type::Dword;
    value.dword = static_cast<std::uint32_t>(std::stoul(digits, nullptr, 16));
    return value;
  }
  if (lower.rfind("hex(2):", 0) == 0 || lower.rfind("hex(1):", 0) == 0) {
    // Expandable and plain strings written as UTF-16LE bytes with their terminating NUL.
    std::string text = Utf16LeToUtf8(hexBytes(std::string_view(data).substr(7)));
    while (!text.empty() && text.back() == '\0') text.pop_back();
    value.text = std::move(text);
    return value;
  }
  value.type = RegistryValue::Type::Other;
  value.text = data;
  return value;
}

}  // namespace

Registry Registry::Parse(std::string_view fileBytes) {
  Registry registry;
  std::map<std::string, RegistryValue>* current = nullptr;
  for (const std::string& raw : logicalLines(decodeFile(fileBytes))) {
    const auto first = raw.find_first_not_of(" \t");
    if (first == std::string::npos) continue;
    const std::string line = raw.substr(first);
    if (line[0] == ';') continue;
    if (line[0] == '[') {
      const auto close = line.rfind(']');
      if (close == std::string::npos) {
        current = nullptr;
        continue;
      }
      if (line.size() > 1 && line[1] == '-') {
        const std::string gone = canonicalKey(line.substr(2, close - 2));
        for (auto it = registry.keys_.begin(); it != registry.keys_.end();) {
          const bool below = it->first.size() > gone.size() && it->first.compare(0, gone.size(), gone) == 0 &&
                             it->first[gone.size()] == '\\';
          it = (it->first == gone || below) ? registry.keys_.erase(it) : std::next(it);
        }
        current = nullptr;
        continue;
      }
      current = &registry.keys_[canonicalKey(line.substr(1, close - 1))];
      continue;
    }
    if (!current) continue;
    std::string name;
    std::size_t i = 0;
    if (line[0] == '@') {
      i = 1;
    } else if (line[0] == '"') {
      if (!readQuoted(line, i, name)) continue;
    } else {
      continue;
    }
    while (i < line.size() && (line[i] == ' ' || line[i] == '\t')) ++i;
    if (i >= line.size() || line[i] != '=') continue;
    const std::string data = Trim(line.substr(i + 1));
    if (data == "-") {
      current->erase(UCase(name));
      continue;
    }
    if (auto value = parseData(data)) (*current)[UCase(name)] = std::move(*value);
  }
  return registry;
}

Registry Registry::Load(const std::filesystem::path& file) {
  const auto bytes = localfs::readFile(file);
  return bytes ? Parse(*bytes) : Registry();
}

std::optional<RegistryValue> Registry::value(std::string_view keyPath, std::string_view name) const {
  const auto key = keys_.find(canonicalKey(keyPath));
  if (key == keys_.end()) return std::nullopt;
  const auto value = key->second.find(UCase(name));
  if (value == key->second.end()) return std::nullopt;
  return value->second;
}

bool Registry::hasKey(std::string_view keyPath) const { return keys_.count(canonicalKey(keyPath)) != 0; }

RegistryName SplitRegistryName(std::string_view name) {
  const std::string full(name);
  const auto sep = full.rfind('\\');
  const std::string hive = canonicalKey(full.substr(0, full.find('\\')));
  if (sep == std::string::npos || !knownHive(hive))
    throw Error(kRegistryReadFailure, "Racine non valide dans la clé de Registre \"" + full + "\".");
  RegistryName parts;
  parts.hive = hive;
  const auto firstSep = full.find('\\');
  parts.key = firstSep < sep ? full.substr(firstSep + 1, sep - firstSep - 1) : std::string();
  while (!parts.key.empty() && parts.key.back() == '\\') parts.key.pop_back();
  parts.value = full.substr(sep + 1);
  return parts;
}

void ThrowRegistryValueMissing(std::string_view name) {
  throw Error(kRegistryReadFailure,
              "Impossible d'ouvrir la clé de Registre \"" + std::string(name) + "\" en lecture.");
}

std::string RegRead(const Registry& registry, std::string_view name) {
  const RegistryName parts = SplitRegistryName(name);
  const auto value = registry.value(parts.hive + "\\" + parts.key, parts.value);
  if (!value) ThrowRegistryValueMissing(name);
  if (value->type == RegistryValue::Type::Dword) return std::to_string(static_cast<std::int32_t>(value->dword));  // a Long variant
  return value->text;
}

}  // namespace platform
