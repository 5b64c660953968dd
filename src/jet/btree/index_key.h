// Index keys of Jet 4 indexes: how column values become the bytes stored in index entries.
//
// A key is the concatenation, column by column, of a flag byte (value or null, ascending or
// descending) and the value's bytes, arranged so that comparing two keys bytewise (unsigned,
// a proper prefix first: compare_keys) gives the index order. A descending column stores the
// complemented bytes. Nulls sort first in ascending columns and last in descending ones.
// Yes/No columns are never null in a key (Jet stores no null for them).
// Text uses the Access 2000-2003 general sort order (jet/text_sort.h).
//
// KeyWriter encodes (used by seeks, verification and, later, index maintenance); KeyReader
// walks an encoded key and decodes every kind except text, whose key cannot be reversed.
#pragma once

#include <array>
#include <compare>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace jet {

// Column kinds an index can hold, as far as their keys differ.
enum class KeyKind : std::uint8_t {
  Boolean, Byte, Integer, Long, Currency, Single, Double, DateTime, Text, Guid, Decimal, Binary
};

struct KeyColumn {
  KeyKind kind;
  bool ascending = true;
};

// Flag bytes opening each column of a key.
inline constexpr std::uint8_t kKeyValueAscending = 0x7F;
inline constexpr std::uint8_t kKeyNullAscending = 0x00;
inline constexpr std::uint8_t kKeyValueDescending = 0x80;
inline constexpr std::uint8_t kKeyNullDescending = 0xFF;

// A Decimal as its key sees it: sign and the unscaled magnitude (at the column's scale) as a
// 128-bit big-endian number.
struct KeyDecimal {
  bool negative = false;
  std::array<std::uint8_t, 16> magnitude{};
  bool operator==(const KeyDecimal&) const = default;
};

// A Decimal from its 17 stored row bytes: sign byte (0x80 = negative), then four 32-bit
// groups, most significant first, each little-endian.
KeyDecimal key_decimal_from_row(std::span<const std::uint8_t> row_bytes);

// A GUID from its 16 stored row bytes (first three fields little-endian) to the canonical
// order of its text form {XXXXXXXX-XXXX-XXXX-XXXX-XXXXXXXXXXXX}, which keys use.
std::array<std::uint8_t, 16> guid_canonical_from_row(std::span<const std::uint8_t> row_bytes);

class KeyWriter {
 public:
  void null(bool ascending = true);
  void boolean(bool value, bool ascending = true);
  void byte(std::uint8_t value, bool ascending = true);
  void integer(std::int16_t value, bool ascending = true);
  void long_integer(std::int32_t value, bool ascending = true);
  void currency(std::int64_t ten_thousandths, bool ascending = true);
  void single(float value, bool ascending = true);
  void real(double value, bool ascending = true);
  // Date/Time: days since 30 December 1899, fraction = time of day (Jet's stored double).
  void date_time(double value, bool ascending = true) { real(value, ascending); }
  // Throws jet::Error(UnsupportedKeyCharacter) when a character's key is not known.
  void text(std::string_view utf8, bool ascending = true);
  void guid(const std::array<std::uint8_t, 16>& canonical, bool ascending = true);
  void decimal(const KeyDecimal& value, bool ascending = true);
  void binary(std::span<const std::uint8_t> value, bool ascending = true);

  const std::vector<std::uint8_t>& bytes() const noexcept { return bytes_; }
  std::vector<std::uint8_t> take() noexcept { return std::move(bytes_); }
  void clear() noexcept { bytes_.clear(); }

 private:
  void flag(bool ascending);
  void fixed(std::span<std::uint8_t> big_endian, bool ascending);
  std::vector<std::uint8_t> bytes_;
};

// One decoded column of a key. Text holds no value (its key is not reversible).
struct KeyField {
  struct TextKey {
    bool operator==(const TextKey&) const = default;
  };
  using Data = std::variant<std::monostate, bool, std::uint8_t, std::int16_t, std::int32_t,
                            std::int64_t, float, double, TextKey, std::array<std::uint8_t, 16>,
                            KeyDecimal, std::vector<std::uint8_t>>;
  bool is_null = false;
  Data data;  // monostate when null; Currency is int64_t, Date/Time double, Guid the array
  std::span<const std::uint8_t> raw;  // the column's bytes in the key, flag included
};

class KeyReader {
 public:
  explicit KeyReader(std::span<const std::uint8_t> key) : key_(key) {}
  // Decodes the next column; throws jet::Error(DatabaseDamaged) when the bytes do not form
  // a key of that kind.
  KeyField next(const KeyColumn& column);
  bool at_end() const noexcept { return pos_ >= key_.size(); }
  std::size_t position() const noexcept { return pos_; }

 private:
  std::span<const std::uint8_t> take(std::size_t n);
  std::span<const std::uint8_t> key_;
  std::size_t pos_ = 0;
};

// Bytewise order of keys: unsigned bytes, a proper prefix before any longer key.
std::strong_ordering compare_keys(std::span<const std::uint8_t> a,
                                  std::span<const std::uint8_t> b) noexcept;

// Hex dump "7F 80 00 ..." for messages.
std::string key_to_hex(std::span<const std::uint8_t> key, std::size_t max_bytes = 64);

}  // namespace jet
