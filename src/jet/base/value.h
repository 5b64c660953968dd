// One value of a Jet column or expression, with the kinds of Jet/VB variants.
// A Value is small, copyable and owns its data. Text is UTF-8. Conversions follow VB rules
// where they are simple (numbers widen, Null/Empty are checked explicitly); a conversion
// that cannot be made throws jet::Error (type mismatch, 13).
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace jet {

enum class ValueKind : std::uint8_t {
  Empty,
  Null,
  Boolean,
  Byte,
  Integer,   // 16-bit signed
  Long,      // 32-bit signed
  Currency,  // 64-bit count of ten-thousandths
  Single,
  Double,
  Date,      // days since 1899-12-30 as a double, time as the fraction
  Text,      // UTF-8
  Binary,
  Guid,
  Decimal,
};

// Fixed-point decimal as Jet stores it: a 96-bit magnitude (in practice up to 28 digits),
// a sign and a scale (digits after the point).
struct Decimal {
  bool negative = false;
  std::uint8_t scale = 0;
  unsigned __int128 magnitude = 0;
  friend bool operator==(const Decimal&, const Decimal&) = default;
  // Plain decimal notation, '.' as separator, no exponent: "-12.3400".
  std::string to_string() const;
  double to_double() const;
};

// A GUID as its 16 stored bytes (first three fields little-endian, as Windows stores them).
struct Guid {
  std::array<std::uint8_t, 16> bytes{};
  friend bool operator==(const Guid&, const Guid&) = default;
  // "{XXXXXXXX-XXXX-XXXX-XXXX-XXXXXXXXXXXX}" in upper case, as Access shows it.
  std::string to_string() const;
};

struct CurrencyTag { std::int64_t ten_thousandths; friend bool operator==(const CurrencyTag&, const CurrencyTag&) = default; };
struct DateTag { double days; friend bool operator==(const DateTag&, const DateTag&) = default; };
struct EmptyTag { friend bool operator==(const EmptyTag&, const EmptyTag&) = default; };
struct NullTag { friend bool operator==(const NullTag&, const NullTag&) = default; };

class Value {
 public:
  Value() = default;  // Empty
  static Value null() { return Value(NullTag{}); }
  static Value boolean(bool b) { return Value(b); }
  static Value byte(std::uint8_t v) { return Value(v); }
  static Value integer(std::int16_t v) { return Value(v); }
  static Value long_(std::int32_t v) { return Value(v); }
  static Value currency(std::int64_t ten_thousandths) { return Value(CurrencyTag{ten_thousandths}); }
  static Value single(float v) { return Value(v); }
  static Value double_(double v) { return Value(v); }
  static Value date(double days) { return Value(DateTag{days}); }
  static Value text(std::string utf8) { return Value(std::move(utf8)); }
  static Value binary(std::vector<std::uint8_t> bytes) { return Value(std::move(bytes)); }
  static Value guid(const Guid& g) { return Value(g); }
  static Value decimal(const Decimal& d) { return Value(d); }

  ValueKind kind() const noexcept { return static_cast<ValueKind>(data_.index()); }
  bool is_null() const noexcept { return kind() == ValueKind::Null; }
  bool is_empty() const noexcept { return kind() == ValueKind::Empty; }
  bool is_numeric() const noexcept;

  // Exact accessors: throw (type mismatch) when the kind differs.
  bool as_boolean() const;
  std::uint8_t as_byte() const;
  std::int16_t as_integer() const;
  std::int32_t as_long() const;
  std::int64_t as_currency() const;  // ten-thousandths
  float as_single() const;
  double as_double() const;
  double as_date() const;
  const std::string& as_text() const;
  // Makes the value an empty Text and returns that text to be filled in place. The buffer of
  // a text the value already held is kept, so a reader decoding row after row into the same
  // values stops allocating once its buffers are large enough.
  std::string& assign_text();
  const std::vector<std::uint8_t>& as_binary() const;
  const Guid& as_guid() const;
  const Decimal& as_decimal() const;

  // Conversions across numeric kinds (Boolean True is -1, as in VB). Null/Empty/Text throw.
  double to_double() const;
  // Whole-number conversion; fractional kinds round half to even like VB's CLng.
  std::int64_t to_int64() const;
  // Display text: numbers in C locale without exponent where Jet would show one, dates as
  // "YYYY-MM-DD HH:MM:SS", Boolean "True"/"False", Null "" . For logs and diagnostics.
  std::string to_display() const;

  friend bool operator==(const Value&, const Value&) = default;

 private:
  using Data = std::variant<EmptyTag, NullTag, bool, std::uint8_t, std::int16_t, std::int32_t,
                            CurrencyTag, float, double, DateTag, std::string,
                            std::vector<std::uint8_t>, Guid, Decimal>;
  template <class T>
  explicit Value(T v) : data_(std::move(v)) {}
  Data data_;
};

const char* kind_name(ValueKind kind) noexcept;

// A Jet date as "YYYY-MM-DD HH:MM:SS" (days since 1899-12-30; time is the fraction's
// absolute value, so dates before 1899-12-30 keep their time of day).
std::string format_date_time(double days);
// Civil date (proleptic Gregorian) of a day count since 1970-01-01.
void civil_date(std::int64_t days, int& year, unsigned& month, unsigned& day);

}  // namespace jet
