// Key encodings per column kind. Fixed-size numbers are written big-endian with the sign
// arranged so that bytewise order is numeric order; a descending column complements them.
#include "jet/btree/index_key.h"

#include <algorithm>
#include <bit>
#include <cstring>

#include "jet/base/error.h"
#include "jet/base/text_sort.h"

namespace jet {
namespace {

constexpr std::uint8_t kTrue = 0x00;  // Yes (-1) sorts before No (0)
constexpr std::uint8_t kFalse = 0xFF;
constexpr std::size_t kSegmentData = 8;  // binary values go in 8-byte segments
constexpr std::uint8_t kMoreSegments = 9;

template <typename U>
std::array<std::uint8_t, sizeof(U)> big_endian(U v) {
  std::array<std::uint8_t, sizeof(U)> b{};
  for (std::size_t i = 0; i < sizeof(U); ++i) {
    b[sizeof(U) - 1 - i] = static_cast<std::uint8_t>(v & 0xFF);
    v = static_cast<U>(v >> 8);
  }
  return b;
}

template <typename U>
U from_big_endian(std::span<const std::uint8_t> b) {
  U v = 0;
  for (std::uint8_t x : b) v = static_cast<U>((v << 8) | x);
  return v;
}

void complement(std::span<std::uint8_t> b) {
  for (auto& x : b) x = static_cast<std::uint8_t>(~x);
}

[[noreturn]] void bad_key(const char* what) {
  throw Error(ErrorCode::DatabaseDamaged, std::string("clé d'index illisible (") + what + ")");
}

// Floating point: positive numbers get their sign bit set, negative ones are complemented.
template <typename U>
void order_float_bits(std::span<std::uint8_t> b) {
  if (b[0] & 0x80) {
    complement(b);
  } else {
    b[0] ^= 0x80;
  }
}

template <typename U>
void unorder_float_bits(std::span<std::uint8_t> b) {
  if (b[0] & 0x80) {
    b[0] ^= 0x80;
  } else {
    complement(b);
  }
}

}  // namespace

KeyDecimal key_decimal_from_row(std::span<const std::uint8_t> row) {
  if (row.size() < 17) bad_key("décimal trop court");
  KeyDecimal d;
  d.negative = (row[0] & 0x80) != 0;
  for (std::size_t group = 0; group < 4; ++group) {
    for (std::size_t k = 0; k < 4; ++k) d.magnitude[group * 4 + k] = row[1 + group * 4 + 3 - k];
  }
  return d;
}

std::array<std::uint8_t, 16> guid_canonical_from_row(std::span<const std::uint8_t> row) {
  if (row.size() < 16) bad_key("GUID trop court");
  std::array<std::uint8_t, 16> g{};
  static constexpr std::size_t kOrder[16] = {3, 2, 1, 0, 5, 4, 7, 6, 8, 9, 10, 11, 12, 13, 14, 15};
  for (std::size_t i = 0; i < 16; ++i) g[i] = row[kOrder[i]];
  return g;
}

void KeyWriter::flag(bool ascending) {
  bytes_.push_back(ascending ? kKeyValueAscending : kKeyValueDescending);
}

void KeyWriter::fixed(std::span<std::uint8_t> b, bool ascending) {
  if (!ascending) complement(b);
  bytes_.insert(bytes_.end(), b.begin(), b.end());
}

void KeyWriter::null(bool ascending) {
  bytes_.push_back(ascending ? kKeyNullAscending : kKeyNullDescending);
}

void KeyWriter::boolean(bool value, bool ascending) {
  flag(ascending);
  std::uint8_t b = value ? kTrue : kFalse;
  fixed({&b, 1}, ascending);
}

void KeyWriter::byte(std::uint8_t value, bool ascending) {
  flag(ascending);
  fixed({&value, 1}, ascending);
}

void KeyWriter::integer(std::int16_t value, bool ascending) {
  flag(ascending);
  auto b = big_endian(static_cast<std::uint16_t>(value));
  b[0] ^= 0x80;
  fixed(b, ascending);
}

void KeyWriter::long_integer(std::int32_t value, bool ascending) {
  flag(ascending);
  auto b = big_endian(static_cast<std::uint32_t>(value));
  b[0] ^= 0x80;
  fixed(b, ascending);
}

void KeyWriter::currency(std::int64_t value, bool ascending) {
  flag(ascending);
  auto b = big_endian(static_cast<std::uint64_t>(value));
  b[0] ^= 0x80;
  fixed(b, ascending);
}

void KeyWriter::single(float value, bool ascending) {
  flag(ascending);
  auto b = big_endian(std::bit_cast<std::uint32_t>(value));
  order_float_bits<std::uint32_t>(b);
  fixed(b, ascending);
}

void KeyWriter::real(double value, bool ascending) {
  flag(ascending);
  auto b = big_endian(std::bit_cast<std::uint64_t>(value));
  order_float_bits<std::uint64_t>(b);
  fixed(b, ascending);
}

void KeyWriter::text(std::string_view utf8, bool ascending) {
  const std::size_t mark = bytes_.size();
  flag(ascending);
  try {
    append_general_text_key(utf8, ascending, bytes_);
  } catch (...) {
    bytes_.resize(mark);  // leave the key as it was
    throw;
  }
}

void KeyWriter::guid(const std::array<std::uint8_t, 16>& canonical, bool ascending) {
  binary(canonical, ascending);
}

// Jet 4 keeps the old Decimal ordering: the sign byte becomes FF (positive) or 00 (negative)
// in both directions, so descending Decimal indexes still list negatives first.
void KeyWriter::decimal(const KeyDecimal& value, bool ascending) {
  flag(ascending);
  std::array<std::uint8_t, 17> b{};
  b[0] = value.negative ? 0x80 : 0x00;
  std::copy(value.magnitude.begin(), value.magnitude.end(), b.begin() + 1);
  if (value.negative == ascending) complement(b);
  b[0] = value.negative ? 0x00 : 0xFF;
  bytes_.insert(bytes_.end(), b.begin(), b.end());
}

// Binary data: 8-byte segments each followed by a length byte, 9 meaning "more follows";
// the last segment is zero-padded and carries its own length. Descending complements the
// data and the last length byte, not the intermediate 9s.
void KeyWriter::binary(std::span<const std::uint8_t> value, bool ascending) {
  flag(ascending);
  std::size_t pos = 0;
  while (value.size() - pos > kSegmentData) {
    std::array<std::uint8_t, kSegmentData> seg{};
    std::copy_n(value.begin() + static_cast<std::ptrdiff_t>(pos), kSegmentData, seg.begin());
    fixed(seg, ascending);
    bytes_.push_back(kMoreSegments);
    pos += kSegmentData;
  }
  if (pos < value.size()) {
    std::array<std::uint8_t, kSegmentData + 1> seg{};
    const std::size_t n = value.size() - pos;
    std::copy_n(value.begin() + static_cast<std::ptrdiff_t>(pos), n, seg.begin());
    seg[kSegmentData] = static_cast<std::uint8_t>(n);
    fixed(seg, ascending);
  }
}

std::span<const std::uint8_t> KeyReader::take(std::size_t n) {
  if (key_.size() - pos_ < n) bad_key("clé tronquée");
  auto s = key_.subspan(pos_, n);
  pos_ += n;
  return s;
}

KeyField KeyReader::next(const KeyColumn& column) {
  const std::size_t start = pos_;
  KeyField field;
  const std::uint8_t f = take(1)[0];
  const std::uint8_t value_flag = column.ascending ? kKeyValueAscending : kKeyValueDescending;
  const std::uint8_t null_flag = column.ascending ? kKeyNullAscending : kKeyNullDescending;
  if (f == null_flag && column.kind != KeyKind::Boolean) {
    field.is_null = true;
    field.raw = key_.subspan(start, pos_ - start);
    return field;
  }
  if (f != value_flag) bad_key("octet d'en-tête de colonne inattendu");

  // Copies n bytes and undoes the complement of descending columns.
  auto plain = [&](std::size_t n) {
    auto s = take(n);
    std::vector<std::uint8_t> b(s.begin(), s.end());
    if (!column.ascending) complement(b);
    return b;
  };

  switch (column.kind) {
    case KeyKind::Boolean: {
      auto b = plain(1);
      if (b[0] != kTrue && b[0] != kFalse) bad_key("Oui/Non");
      field.data = (b[0] == kTrue);
      break;
    }
    case KeyKind::Byte:
      field.data = plain(1)[0];
      break;
    case KeyKind::Integer: {
      auto b = plain(2);
      b[0] ^= 0x80;
      field.data = static_cast<std::int16_t>(from_big_endian<std::uint16_t>(b));
      break;
    }
    case KeyKind::Long: {
      auto b = plain(4);
      b[0] ^= 0x80;
      field.data = static_cast<std::int32_t>(from_big_endian<std::uint32_t>(b));
      break;
    }
    case KeyKind::Currency: {
      auto b = plain(8);
      b[0] ^= 0x80;
      field.data = static_cast<std::int64_t>(from_big_endian<std::uint64_t>(b));
      break;
    }
    case KeyKind::Single: {
      auto b = plain(4);
      unorder_float_bits<std::uint32_t>(b);
      field.data = std::bit_cast<float>(from_big_endian<std::uint32_t>(b));
      break;
    }
    case KeyKind::Double:
    case KeyKind::DateTime: {
      auto b = plain(8);
      unorder_float_bits<std::uint64_t>(b);
      field.data = std::bit_cast<double>(from_big_endian<std::uint64_t>(b));
      break;
    }
    case KeyKind::Decimal: {
      auto s = take(17);
      std::array<std::uint8_t, 17> b{};
      std::copy(s.begin(), s.end(), b.begin());
      if (b[0] != 0x00 && b[0] != 0xFF) bad_key("décimal");
      KeyDecimal d;
      d.negative = (b[0] == 0x00);
      if (d.negative == column.ascending) complement(b);
      std::copy(b.begin() + 1, b.end(), d.magnitude.begin());
      field.data = d;
      break;
    }
    case KeyKind::Text: {
      // The key ends at its first 00 (ascending); descending keys end with FF 00, and FF
      // cannot occur earlier since their bytes are complements of non-zero codes.
      const std::uint8_t last_of_body = column.ascending ? 0x00 : 0xFF;
      while (take(1)[0] != last_of_body) {
      }
      if (!column.ascending && take(1)[0] != 0x00) bad_key("texte");
      field.data = KeyField::TextKey{};
      break;
    }
    case KeyKind::Guid:
    case KeyKind::Binary: {
      std::vector<std::uint8_t> out;
      for (;;) {
        auto s = take(kSegmentData + 1);
        std::array<std::uint8_t, kSegmentData + 1> seg{};
        std::copy(s.begin(), s.end(), seg.begin());
        if (seg[kSegmentData] == kMoreSegments) {
          if (!column.ascending) complement(std::span(seg).first(kSegmentData));
          out.insert(out.end(), seg.begin(), seg.begin() + kSegmentData);
          continue;
        }
        if (!column.ascending) complement(seg);
        const std::size_t n = seg[kSegmentData];
        if (n == 0 || n > kSegmentData) bad_key("binaire");
        out.insert(out.end(), seg.begin(), seg.begin() + static_cast<std::ptrdiff_t>(n));
        break;
      }
      if (column.kind == KeyKind::Guid) {
        if (out.size() != 16) bad_key("GUID");
        std::array<std::uint8_t, 16> g{};
        std::copy(out.begin(), out.end(), g.begin());
        field.data = g;
      } else {
        field.data = std::move(out);
      }
      break;
    }
  }
  field.raw = key_.subspan(start, pos_ - start);
  return field;
}

std::strong_ordering compare_keys(std::span<const std::uint8_t> a,
                                  std::span<const std::uint8_t> b) noexcept {
  const std::size_t n = std::min(a.size(), b.size());
  if (n > 0) {
    const int c = std::memcmp(a.data(), b.data(), n);
    if (c != 0) return c < 0 ? std::strong_ordering::less : std::strong_ordering::greater;
  }
  return a.size() <=> b.size();
}

std::string key_to_hex(std::span<const std::uint8_t> key, std::size_t max_bytes) {
  static constexpr char kDigits[] = "0123456789ABCDEF";
  std::string s;
  for (std::size_t i = 0; i < key.size() && i < max_bytes; ++i) {
    if (i) s += ' ';
    s += kDigits[key[i] >> 4];
    s += kDigits[key[i] & 0xF];
  }
  if (key.size() > max_bytes) s += " …";
  return s;
}

}  // namespace jet
