// The value of a field, a property or a parameter as Visual Basic code holds it: a jet::Value
// with VB's conversions.
//
// Comparisons follow VB's If: `v == "x"` and `v != "x"` are true only when the comparison
// itself is true, and a Null compared with anything is Null, which is not true. So for a
// Null `v`, both `v == "x"` and `v != "x"` are false, as in
//   If livers = "4.4.0.1" Then ...   and   If livers <> "4.4.0.1" Then ...
// Text comparison is binary (case-sensitive), as VB's default Option Compare Binary.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "jet/api/values.h"

namespace platform::dao {

class Variant {
 public:
  Variant() = default;  // Empty
  Variant(jet::Value value) : value_(std::move(value)) {}
  Variant(const char* text) : value_(jet::Value::text(text)) {}
  Variant(std::string text) : value_(jet::Value::text(std::move(text))) {}
  Variant(std::string_view text) : value_(jet::Value::text(std::string(text))) {}
  Variant(bool b) : value_(jet::Value::boolean(b)) {}
  Variant(int v) : value_(jet::Value::long_(v)) {}
  Variant(long v);            // Long when it fits, else Double
  Variant(long long v);       // Long when it fits, else Double
  Variant(double v) : value_(jet::Value::double_(v)) {}
  static Variant Null() { return Variant(jet::Value::null()); }
  // A Date holding the date serial `serial` (days since 30 December 1899).
  static Variant Date(double serial) { return Variant(jet::Value::date(serial)); }

  const jet::Value& value() const noexcept { return value_; }
  jet::ValueKind kind() const noexcept { return value_.kind(); }

  bool IsNull() const noexcept { return value_.is_null(); }
  bool IsEmpty() const noexcept { return value_.is_empty(); }
  // VB's VarType: 0 Empty, 1 Null, 2 Integer, 3 Long, 4 Single, 5 Double, 6 Currency,
  // 7 Date, 8 String, 11 Boolean, 14 Decimal, 17 Byte, 8209 Byte array; a GUID is a String.
  int VarType() const noexcept;

  // VB conversions. Null raises 94 "Utilisation incorrecte de Null"; a text that is not a
  // number raises 13; out of range raises 6.
  std::string CStr() const;
  std::int32_t CLng() const;
  std::int16_t CInt() const;
  double CDbl() const;
  bool CBool() const;
  double CDate() const;  // date serial
  // The text `&` concatenation uses: Null and Empty give "".
  std::string Text() const;

  friend bool operator==(const Variant& a, const Variant& b);
  friend bool operator!=(const Variant& a, const Variant& b);

 private:
  jet::Value value_;
};

// VB's Format(value, pattern) on a French workstation: date, number and named patterns
// (see jet/sql/format.h for the patterns understood). Null gives Null.
Variant Format(const Variant& value, std::string_view pattern);

}  // namespace platform::dao
