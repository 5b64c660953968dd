// Builds general-order text keys. A key is made of up to four runs, each ranked after the one
// before: the primary bytes of every character (then 0x01), the accent codes by character
// position (only when some character has one), then, after two more 0x01 bytes when the text
// holds kana or hidden characters, the kana size marks and the positional codes of hidden
// characters such as hyphens and apostrophes (introduced by one more 0x01).
#include "jet/base/text_sort.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <optional>
#include <span>
#include <string>

#include "jet/base/error.h"
#include "jet/base/text_codec.h"
#include "jet/base/text_sort_table.h"

namespace jet {
namespace {

using text_sort_detail::CharCode;
using text_sort_detail::CharKind;
using text_sort_detail::find_char_code;

constexpr std::uint8_t kEndOfPrimary = 0x01;
constexpr std::uint8_t kEndOfKey = 0x00;
constexpr std::uint8_t kNoAccent = 0x02;      // accent slot of a character without accent
constexpr std::uint8_t kHiddenMarker = 0x06;  // between a hidden character's position and code
constexpr unsigned kHiddenBase = 7;           // position code = (7 + 4 * position) | 0x8000
constexpr unsigned kHiddenStep = 4;
constexpr unsigned kHiddenFlag = 0x8000;
constexpr std::uint8_t kFullSizeKana = 0x03;
constexpr std::uint8_t kKanaMarkPrefix = 0x80;
constexpr std::uint8_t kKanaMarksEnd[] = {0xFF, 0x02, 0x80, 0xFF, 0x80};
constexpr std::uint8_t kKanaThenHidden = 0xFF;  // between the kana marks and a hidden run

// A character's few bytes, appended one by one: a call to insert() costs more than they.
template <typename Bytes>
void put(std::vector<std::uint8_t>& out, const Bytes& bytes, std::size_t size) {
  for (std::size_t i = 0; i < size; ++i) out.push_back(bytes[i]);
}

[[noreturn]] void unsupported_key_text(std::string_view text) {
  throw Error(ErrorCode::UnsupportedKeyCharacter, text);
}

// The UTF-16 code units a key is made of (Jet stores and indexes text as UTF-16): the first
// kMaxIndexedTextUnits of the text, its trailing spaces dropped, put in `units` (no
// allocation per key). A key is never made of text that is not well-formed UTF-8, to its end.
std::u16string_view key_units(std::string_view s, std::array<char16_t, kMaxIndexedTextUnits>& units) {
  std::size_t n = 0;
  const auto put = [&](char32_t unit) {
    if (n < units.size()) units[n++] = static_cast<char16_t>(unit);
  };
  for (std::size_t i = 0; i < s.size();) {
    const Utf8Char c = next_utf8(s, i);
    if (!c.valid) unsupported_key_text(s);
    if (c.code_point >= 0x10000) {
      put(0xD800 + ((c.code_point - 0x10000) >> 10));
      put(0xDC00 + ((c.code_point - 0x10000) & 0x3FF));
    } else {
      put(c.code_point);
    }
  }
  while (n > 0 && units[n - 1] == u' ') --n;
  return {units.data(), n};
}

// Kana size marks, three 2-bit marks to a byte under a 0x80 prefix; trailing full-size marks
// say nothing and are dropped. The closing bytes are written even when no mark is left.
void append_kana_marks(std::vector<std::uint8_t> marks, std::vector<std::uint8_t>& out) {
  while (!marks.empty() && marks.back() == kFullSizeKana) marks.pop_back();
  for (std::size_t i = 0; i < marks.size(); i += 3) {
    std::uint8_t byte = kKanaMarkPrefix;
    for (std::size_t k = 0; k < 3 && i + k < marks.size(); ++k) {
      byte = static_cast<std::uint8_t>(byte | (marks[i + k] << (2 * (2 - k))));
    }
    out.push_back(byte);
  }
  out.insert(out.end(), std::begin(kKanaMarksEnd), std::end(kKanaMarksEnd));
}

// Accent codes by character position; positions before the last accented one that carry no
// accent hold kNoAccent, trailing ones are dropped.
struct AccentRun {
  explicit AccentRun(std::vector<std::uint8_t>& buffer) : bytes(buffer) { bytes.clear(); }
  bool started = false;
  std::vector<std::uint8_t>& bytes;
  std::size_t positions = 0;  // character positions covered by `bytes`
  std::size_t lead = 0;       // a modifier met before any accent code stands alone first

  void pad_to(std::size_t position) {
    started = true;
    while (positions < position) {
      bytes.push_back(kNoAccent);
      ++positions;
    }
  }
};

// The closing bytes of a key whose primary run starts at `start`.
void close_key(bool ascending, std::size_t start, std::vector<std::uint8_t>& out) {
  if (!ascending) {
    out.push_back(kEndOfKey);
    for (std::size_t i = start; i < out.size(); ++i) out[i] = static_cast<std::uint8_t>(~out[i]);
  }
  out.push_back(kEndOfKey);
}

// Most indexed text is ASCII letters, digits and signs that carry only primary bytes: its key
// is those bytes and the closing ones, made without decoding to UTF-16. False, with `out` as
// it was, for any other text (an accent, a hidden hyphen, a character without a code).
bool append_plain_ascii_key(std::string_view text, bool ascending, std::vector<std::uint8_t>& out) {
  static const auto codes = [] {
    std::array<std::optional<CharCode>, 128> table;
    for (char32_t c = 0; c < 128; ++c) table[c] = find_char_code(c);
    return table;
  }();
  std::size_t n = std::min(text.size(), kMaxIndexedTextUnits);
  while (n > 0 && text[n - 1] == ' ') --n;
  const std::size_t start = out.size();
  for (std::size_t i = 0; i < n; ++i) {
    const auto c = static_cast<unsigned char>(text[i]);
    const std::optional<CharCode>* code = c < 128 ? &codes[c] : nullptr;
    if (!code || !*code) {
      out.resize(start);
      return false;
    }
    const CharCode& found = **code;
    if (found.kind == CharKind::Plain) {
      put(out, found.primary, found.primary_size);
    } else if (found.kind != CharKind::Unknown && found.kind != CharKind::Ignored) {
      out.resize(start);
      return false;
    }
  }
  // Past the truncation, non-ASCII text must still be well-formed, as the general way checks.
  for (std::size_t i = n; i < text.size(); ++i)
    if (static_cast<unsigned char>(text[i]) >= 128) {
      out.resize(start);
      return false;
    }
  out.push_back(kEndOfPrimary);
  close_key(ascending, start, out);
  return true;
}

}  // namespace

bool general_text_key_known(char32_t c) { return find_char_code(c).has_value(); }

void append_general_text_key(std::string_view utf8_text, bool ascending,
                             std::vector<std::uint8_t>& out) {
  if (append_plain_ascii_key(utf8_text, ascending, out)) return;
  std::array<char16_t, kMaxIndexedTextUnits> units;
  const std::u16string_view text = key_units(utf8_text, units);

  const std::size_t start = out.size();
  // The runs' buffers serve from key to key on each thread (reached once: each use of a
  // thread_local object costs a call).
  struct Buffers {
    std::vector<std::uint8_t> accents, hidden, kana_marks;  // kana marks: one per kana
  };
  thread_local Buffers buffers;
  Buffers& own = buffers;
  AccentRun accents(own.accents);
  std::vector<std::uint8_t>& hidden = own.hidden;
  std::vector<std::uint8_t>& kana_marks = own.kana_marks;
  hidden.clear();
  kana_marks.clear();
  std::size_t position = 0;  // characters that produced primary bytes so far

  for (char16_t unit : text) {
    const auto code = find_char_code(unit);
    if (!code) unsupported_key_text(utf8_text);
    const auto primary = std::span(code->primary).first(code->primary_size);
    const auto extra = std::span(code->extra).first(code->extra_size);
    switch (code->kind) {
      case CharKind::Unknown:
      case CharKind::Ignored:
        break;
      case CharKind::Plain:
        put(out, primary, primary.size());
        ++position;
        break;
      case CharKind::Accented:
      case CharKind::Kana:
        put(out, primary, primary.size());
        if (!extra.empty()) {
          accents.pad_to(position);
          put(accents.bytes, extra, extra.size());
          accents.positions = position + 1;
        }
        if (code->kind == CharKind::Kana) kana_marks.push_back(code->kana_mark);
        ++position;
        break;
      case CharKind::Modifier: {
        accents.pad_to(position);
        const std::uint8_t addend = extra.empty() ? 0 : extra[0];
        if (accents.bytes.empty()) {
          accents.bytes.push_back(addend);
          accents.lead = 1;
        } else {
          accents.bytes.back() = static_cast<std::uint8_t>(accents.bytes.back() + addend);
        }
        break;
      }
      case CharKind::Hidden: {
        // The position counts accent bytes already laid down, as Access computes it.
        const std::size_t at = accents.started
                                   ? accents.bytes.size() + (position - accents.positions) -
                                         accents.lead
                                   : position;
        const unsigned mark = static_cast<unsigned>(kHiddenBase + kHiddenStep * at) | kHiddenFlag;
        hidden.push_back(static_cast<std::uint8_t>((mark >> 8) & 0xFF));
        hidden.push_back(static_cast<std::uint8_t>(mark & 0xFF));
        hidden.push_back(kHiddenMarker);
        hidden.insert(hidden.end(), extra.begin(), extra.end());
        break;
      }
    }
  }
  out.push_back(kEndOfPrimary);

  while (!accents.bytes.empty() && accents.bytes.back() <= kNoAccent) accents.bytes.pop_back();
  out.insert(out.end(), accents.bytes.begin(), accents.bytes.end());
  if (!hidden.empty() || !kana_marks.empty()) {
    out.insert(out.end(), {kEndOfPrimary, kEndOfPrimary});
    if (!kana_marks.empty()) {
      append_kana_marks(kana_marks, out);
      if (!hidden.empty()) out.push_back(kKanaThenHidden);
    }
    if (!hidden.empty()) {
      out.push_back(kEndOfPrimary);
      out.insert(out.end(), hidden.begin(), hidden.end());
    }
  }

  close_key(ascending, start, out);
}

std::vector<std::uint8_t> general_text_key(std::string_view utf8_text, bool ascending) {
  std::vector<std::uint8_t> out;
  append_general_text_key(utf8_text, ascending, out);
  return out;
}

}  // namespace jet
