#include "platform/profile.h"

#include <algorithm>
#include <fstream>
#include <optional>
#include <vector>

#include "platform/codepage.h"
#include "platform/localfs.h"
#include "platform/utf8.h"
#include "platform/vbstring.h"

namespace fs = std::filesystem;

namespace platform {
namespace {

// One line of the file, as bytes: its text and its own line end ("\r\n", "\n" or none).
struct Line {
  std::string text;
  std::string end;
};

enum class Kind { Other, Section, Key };

struct Parsed {
  Kind kind = Kind::Other;
  std::string name;   // section or key name, trimmed, UTF-8
  std::string value;  // key value, trimmed, UTF-8
};

std::string trimBlanks(std::string_view s) {
  const auto first = s.find_first_not_of(" \t");
  if (first == std::string_view::npos) return {};
  const auto last = s.find_last_not_of(" \t");
  return std::string(s.substr(first, last - first + 1));
}

Parsed parse(const Line& line) {
  const std::string text = trimBlanks(Cp1252ToUtf8(line.text));
  Parsed p;
  if (text.empty() || text[0] == ';') return p;
  if (text[0] == '[') {
    const auto close = text.find(']');
    p.kind = Kind::Section;
    p.name = trimBlanks(std::string_view(text).substr(1, close == std::string::npos ? std::string::npos : close - 1));
    return p;
  }
  p.kind = Kind::Key;
  const auto eq = text.find('=');
  p.name = trimBlanks(std::string_view(text).substr(0, eq));
  if (eq != std::string::npos) p.value = trimBlanks(std::string_view(text).substr(eq + 1));
  return p;
}

std::vector<Line> splitLines(const std::string& bytes) {
  std::vector<Line> lines;
  std::size_t from = 0;
  while (from < bytes.size()) {
    const auto nl = bytes.find('\n', from);
    Line line;
    if (nl == std::string::npos) {
      line.text = bytes.substr(from);
      from = bytes.size();
    } else {
      std::size_t stop = nl;
      if (stop > from && bytes[stop - 1] == '\r') --stop;
      line.text = bytes.substr(from, stop - from);
      line.end = bytes.substr(stop, nl + 1 - stop);
      from = nl + 1;
    }
    lines.push_back(std::move(line));
  }
  return lines;
}

}  // namespace

long CopyProfileValue(std::string_view value, std::string& buffer, long size) {
  std::u32string chars = utf8::decode(buffer);
  const long room = std::min<long>(size, static_cast<long>(chars.size()));
  if (room <= 0) return 0;
  const std::u32string v = utf8::decode(value);
  const long n = std::min<long>(static_cast<long>(v.size()), room - 1);
  std::copy(v.begin(), v.begin() + n, chars.begin());
  chars[static_cast<std::size_t>(n)] = U'\0';
  buffer = utf8::encode(chars);
  return n;
}

namespace {

std::string unquote(std::string value) {
  if (value.size() >= 2 && (value.front() == '"' || value.front() == '\'') && value.back() == value.front())
    return value.substr(1, value.size() - 2);
  return value;
}

}  // namespace

long ReadProfileString(const fs::path& file, std::string_view section, std::string_view key,
                       std::string_view defaultValue, std::string& returnedString, long size) {
  const std::string wantedSection = trimBlanks(section), wantedKey = trimBlanks(key);
  if (const auto bytes = localfs::readFile(file)) {
    bool inSection = false;
    for (const Line& line : splitLines(*bytes)) {
      const Parsed p = parse(line);
      if (p.kind == Kind::Section) {
        if (inSection) break;  // the first matching section is the one read
        inSection = EqualsNoCase(p.name, wantedSection);
      } else if (inSection && p.kind == Kind::Key && EqualsNoCase(p.name, wantedKey)) {
        return CopyProfileValue(unquote(p.value), returnedString, size);
      }
    }
  }
  return CopyProfileValue(RTrim(defaultValue), returnedString, size);
}

bool WriteProfileString(const fs::path& file, std::string_view section, std::string_view key,
                        std::string_view value) {
  if (file.empty() || !localfs::isFolder(file.parent_path())) return false;
  if (localfs::isFolder(file) || (localfs::exists(file) && localfs::isReadOnly(file))) return false;
  const std::string wantedSection = trimBlanks(section), wantedKey = trimBlanks(key);
  std::vector<Line> lines = splitLines(localfs::readFile(file).value_or(std::string()));

  std::optional<std::size_t> header, lastKey, match;
  for (std::size_t i = 0; i < lines.size(); ++i) {
    const Parsed p = parse(lines[i]);
    if (p.kind == Kind::Section) {
      if (header) break;
      if (EqualsNoCase(p.name, wantedSection)) header = i;
    } else if (header && p.kind == Kind::Key) {
      lastKey = i;
      if (EqualsNoCase(p.name, wantedKey)) {
        match = i;
        break;
      }
    }
  }
  const std::string keyBytes = Utf8ToCp1252(wantedKey), valueBytes = Utf8ToCp1252(value);
  if (match) {
    // The name keeps the file's own spelling; only the value changes.
    const std::string existing = Utf8ToCp1252(parse(lines[*match]).name);
    lines[*match].text = existing + "=" + valueBytes;
  } else {
    std::size_t at;
    if (header) {
      at = lastKey.value_or(*header) + 1;
    } else {
      at = lines.size();
      lines.push_back({"[" + Utf8ToCp1252(wantedSection) + "]", "\r\n"});
      ++at;
    }
    if (at > 0 && lines[at - 1].end.empty()) lines[at - 1].end = "\r\n";
    lines.insert(lines.begin() + static_cast<std::ptrdiff_t>(at), Line{keyBytes + "=" + valueBytes, "\r\n"});
  }
  if (!header && lines.size() > 2) {
    // The new section goes after the existing content, which needs its last line ended.
    Line& before = lines[lines.size() - 3];
    if (before.end.empty()) before.end = "\r\n";
  }

  std::string out;
  for (const Line& line : lines) out += line.text + line.end;
  // Written beside the file and renamed over it, so that a failed write leaves the old file whole.
  fs::path temporary = file;
  temporary += ".~ecriture";
  {
    std::ofstream stream(temporary, std::ios::binary | std::ios::trunc);
    if (!stream) return false;
    stream << out;
    if (!stream.flush()) {
      stream.close();
      std::error_code ignored;
      fs::remove(temporary, ignored);
      return false;
    }
  }
  std::error_code ec;
  fs::rename(temporary, file, ec);
  if (ec) fs::remove(temporary, ec);
  return !ec;
}

}  // namespace platform
