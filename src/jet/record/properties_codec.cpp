#include "jet/record/properties_codec.h"


#include <bit>
#include <cstring>

#include "jet/base/error.h"
#include "jet/base/error_texts.h"
#include "jet/base/text_codec.h"
#include "jet/base/unicode.h"

namespace jet {
namespace {

[[noreturn]] void damaged_property_value(const std::string& detail) {
  throw Error(static_cast<int>(ErrorCode::DatabaseDamaged), "Propriétés endommagées : " + detail);
}

[[noreturn]] void property_type_mismatch(ColumnType type, const Value& value) {
  throw Error(13, error_message(13) + " : valeur " + kind_name(value.kind()) +
                      " pour une propriété de type " + column_type_name(type) + ".");
}

template <class T>
T load_le(std::span<const std::uint8_t> bytes) {
  std::uint64_t raw = 0;
  for (std::size_t i = 0; i < sizeof(T); ++i) raw |= std::uint64_t{bytes[i]} << (8 * i);
  if constexpr (std::is_same_v<T, float>) {
    return std::bit_cast<float>(static_cast<std::uint32_t>(raw));
  } else if constexpr (std::is_same_v<T, double>) {
    return std::bit_cast<double>(raw);
  } else {
    return static_cast<T>(raw);
  }
}

template <class T>
void store_le(std::vector<std::uint8_t>& out, T v, std::size_t width) {
  std::uint64_t raw;
  if constexpr (std::is_same_v<T, float>) {
    raw = std::bit_cast<std::uint32_t>(v);
  } else if constexpr (std::is_same_v<T, double>) {
    raw = std::bit_cast<std::uint64_t>(v);
  } else {
    // Sign-extend so that a wider slot holds the same number.
    raw = static_cast<std::uint64_t>(static_cast<std::int64_t>(v));
  }
  for (std::size_t i = 0; i < width; ++i) out.push_back(i < 8 ? static_cast<std::uint8_t>(raw >> (8 * i)) : 0);
}

}  // namespace

std::size_t property_natural_width(ColumnType type) noexcept {
  switch (type) {
    case ColumnType::Boolean:
    case ColumnType::Byte: return 1;
    case ColumnType::Integer: return 2;
    case ColumnType::Long:
    case ColumnType::Single: return 4;
    case ColumnType::Currency:
    case ColumnType::Double:
    case ColumnType::DateTime: return 8;
    case ColumnType::Guid: return 16;
    default: return 0;
  }
}

Value decode_property_value(ColumnType type, std::span<const std::uint8_t> bytes) {
  const std::size_t natural = property_natural_width(type);
  // Booleans are the one type Access stores wider than needed; any width from one byte works.
  const std::size_t needed = type == ColumnType::Boolean ? 1 : natural;
  if (bytes.size() < needed) {
    damaged_property_value(std::string("valeur ") + column_type_name(type) + " de " + std::to_string(bytes.size()) +
            " octet(s)");
  }
  switch (type) {
    case ColumnType::Boolean: {
      bool any = false;
      for (auto b : bytes) any = any || b != 0;
      return Value::boolean(any);
    }
    case ColumnType::Byte: return Value::byte(bytes[0]);
    case ColumnType::Integer: return Value::integer(load_le<std::int16_t>(bytes));
    case ColumnType::Long: return Value::long_(load_le<std::int32_t>(bytes));
    case ColumnType::Currency: return Value::currency(load_le<std::int64_t>(bytes));
    case ColumnType::Single: return Value::single(load_le<float>(bytes));
    case ColumnType::Double: return Value::double_(load_le<double>(bytes));
    case ColumnType::DateTime: return Value::date(load_le<double>(bytes));
    case ColumnType::Guid: {
      Guid g;
      std::memcpy(g.bytes.data(), bytes.data(), g.bytes.size());
      return Value::guid(g);
    }
    case ColumnType::Text:
    case ColumnType::Memo: return Value::text(decode_property_text(bytes));
    default: return Value::binary(std::vector<std::uint8_t>(bytes.begin(), bytes.end()));
  }
}

std::vector<std::uint8_t> encode_property_value(ColumnType type, const Value& value,
                                                std::size_t width) {
  std::vector<std::uint8_t> out;
  const std::size_t natural = property_natural_width(type);
  const std::size_t w = width != 0 && natural != 0 ? width : natural;
  if (natural != 0 && w < natural && type != ColumnType::Boolean) property_type_mismatch(type, value);
  const ValueKind kind = value.kind();
  auto need = [&](ValueKind k) {
    if (kind != k) property_type_mismatch(type, value);
  };
  switch (type) {
    case ColumnType::Boolean:
      need(ValueKind::Boolean);
      store_le<std::int64_t>(out, value.as_boolean() ? 1 : 0, w);
      break;
    case ColumnType::Byte: need(ValueKind::Byte); store_le(out, value.as_byte(), w); break;
    case ColumnType::Integer: need(ValueKind::Integer); store_le(out, value.as_integer(), w); break;
    case ColumnType::Long: need(ValueKind::Long); store_le(out, value.as_long(), w); break;
    case ColumnType::Currency: need(ValueKind::Currency); store_le(out, value.as_currency(), w); break;
    case ColumnType::Single: need(ValueKind::Single); store_le(out, value.as_single(), w); break;
    case ColumnType::Double: need(ValueKind::Double); store_le(out, value.as_double(), w); break;
    case ColumnType::DateTime: need(ValueKind::Date); store_le(out, value.as_date(), w); break;
    case ColumnType::Guid: {
      need(ValueKind::Guid);
      const auto& b = value.as_guid().bytes;
      out.assign(b.begin(), b.end());
      out.resize(w, 0);
      break;
    }
    case ColumnType::Text:
    case ColumnType::Memo: need(ValueKind::Text); out = encode_property_text(value.as_text()); break;
    default: need(ValueKind::Binary); out = value.as_binary(); break;
  }
  return out;
}

ColumnType property_type_for(ValueKind kind) {
  switch (kind) {
    case ValueKind::Boolean: return ColumnType::Boolean;
    case ValueKind::Byte: return ColumnType::Byte;
    case ValueKind::Integer: return ColumnType::Integer;
    case ValueKind::Long: return ColumnType::Long;
    case ValueKind::Currency: return ColumnType::Currency;
    case ValueKind::Single: return ColumnType::Single;
    case ValueKind::Double: return ColumnType::Double;
    case ValueKind::Date: return ColumnType::DateTime;
    case ValueKind::Text: return ColumnType::Text;
    case ValueKind::Binary: return ColumnType::Binary;
    case ValueKind::Guid: return ColumnType::Guid;
    default:
      throw Error(13, error_message(13) + " : une propriété ne peut pas valoir " +
                          kind_name(kind) + ".");
  }
}

std::string decode_property_text(std::span<const std::uint8_t> bytes) {
  std::string out;
  out.reserve(bytes.size());
  const std::size_t units = bytes.size() / 2;
  for (std::size_t i = 0; i < units; ++i) {
    std::uint32_t cu = bytes[2 * i] | (bytes[2 * i + 1] << 8);
    if (cu >= 0xD800 && cu < 0xDC00 && i + 1 < units) {
      const std::uint32_t next = bytes[2 * i + 2] | (bytes[2 * i + 3] << 8);
      if (next >= 0xDC00 && next < 0xE000) {
        cu = 0x10000 + ((cu - 0xD800) << 10) + (next - 0xDC00);
        ++i;
      }
    }
    append_utf8(out, cu);
  }
  return out;
}

std::vector<std::uint8_t> encode_property_text(std::string_view utf8) {
  const std::u16string units = utf8_to_utf16(utf8, Utf8Surrogates::Keep);
  std::vector<std::uint8_t> out;
  out.reserve(units.size() * 2);
  for (char16_t cu : units) {
    out.push_back(static_cast<std::uint8_t>(cu & 0xFF));
    out.push_back(static_cast<std::uint8_t>(cu >> 8));
  }
  return out;
}

bool property_name_equals(std::string_view a, std::string_view b) {
  if (a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin())) return true;
  return unicode::fold_text(a) == unicode::fold_text(b);
}

}  // namespace jet
