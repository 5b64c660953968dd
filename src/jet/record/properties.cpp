#include "jet/record/properties.h"

#include <algorithm>
#include <array>
#include <limits>

#include "jet/base/error.h"
#include "jet/record/properties_codec.h"
#include "jet/base/bytes.h"

namespace jet {
namespace {

constexpr std::array<std::uint8_t, 4> kMagic{'M', 'R', '2', 0};
constexpr std::uint16_t kNamePoolBlock = 0x0080;
constexpr std::size_t kBlockHeader = 6;  // u32 length (itself included) + u16 block type
constexpr std::size_t kValueHeader = 8;  // u16 length, flags, type, u16 name index, u16 size

[[noreturn]] void damaged_properties(const std::string& detail) {
  throw Error(static_cast<int>(ErrorCode::DatabaseDamaged), "Propriétés endommagées : " + detail);
}

// Reads little-endian fields from a window of the blob; every read is checked against the
// window so that a damaged length can never reach past it.
class Reader {
 public:
  Reader(std::span<const std::uint8_t> bytes, std::size_t base) : bytes_(bytes), base_(base) {}

  bool done() const noexcept { return pos_ == bytes_.size(); }
  std::size_t remaining() const noexcept { return bytes_.size() - pos_; }
  std::size_t offset() const noexcept { return base_ + pos_; }

  std::uint8_t u8() { return take(1)[0]; }
  std::uint16_t u16() {
    auto b = take(2);
    return static_cast<std::uint16_t>(b[0] | (b[1] << 8));
  }
  std::uint32_t u32() {
    auto b = take(4);
    return std::uint32_t{b[0]} | (std::uint32_t{b[1]} << 8) | (std::uint32_t{b[2]} << 16) |
           (std::uint32_t{b[3]} << 24);
  }
  std::span<const std::uint8_t> take(std::size_t n) {
    if (n > remaining()) {
      damaged_properties("lecture de " + std::to_string(n) + " octet(s) à l'octet " + std::to_string(offset()) +
              " au-delà de la fin");
    }
    auto out = bytes_.subspan(pos_, n);
    pos_ += n;
    return out;
  }
  // A sub-reader over the next n bytes (checked), advancing past them.
  Reader sub(std::size_t n) {
    const std::size_t at = offset();
    return Reader(take(n), at);
  }

 private:
  std::span<const std::uint8_t> bytes_;
  std::size_t base_;
  std::size_t pos_ = 0;
};

std::vector<std::string> read_name_pool(Reader r) {
  std::vector<std::string> names;
  while (!r.done()) {
    const std::uint16_t len = r.u16();
    names.push_back(decode_property_text(r.take(len)));
  }
  return names;
}

PropertyBlock read_value_block(Reader r, PropertyBlockKind kind,
                               const std::vector<std::string>& names) {
  PropertyBlock block;
  block.kind = kind;
  const std::size_t header_at = r.offset();
  const std::uint32_t header_len = r.u32();
  if (header_len < 6 || header_len - 4 > r.remaining()) {
    damaged_properties("en-tête de bloc de " + std::to_string(header_len) + " octets à l'octet " +
            std::to_string(header_at));
  }
  Reader header = r.sub(header_len - 4);
  block.name = decode_property_text(header.take(header.u16()));
  if (!header.done()) damaged_properties("en-tête de bloc trop long à l'octet " + std::to_string(header_at));

  while (!r.done()) {
    const std::size_t value_at = r.offset();
    const std::uint16_t len = r.u16();
    if (len < kValueHeader || len - 2u > r.remaining()) {
      damaged_properties("valeur de " + std::to_string(len) + " octets à l'octet " + std::to_string(value_at));
    }
    Reader v = r.sub(len - 2u);
    Property p;
    p.flags = v.u8();
    p.type = static_cast<ColumnType>(v.u8());
    const std::uint16_t name_index = v.u16();
    if (name_index >= names.size()) {
      damaged_properties("nom de propriété n° " + std::to_string(name_index) + " absent de la liste (octet " +
              std::to_string(value_at) + ")");
    }
    p.name = names[name_index];
    const std::uint16_t size = v.u16();
    const auto data = v.take(size);
    if (!v.done()) damaged_properties("valeur plus longue que ses données à l'octet " + std::to_string(value_at));
    const std::size_t natural = property_natural_width(p.type);
    if (natural != 0 && size != natural) p.width = size;
    p.value = decode_property_value(p.type, data);
    block.properties.push_back(std::move(p));
  }
  return block;
}

void put_name(std::vector<std::uint8_t>& out, std::string_view name) {
  const auto bytes = encode_property_text(name);
  if (bytes.size() > std::numeric_limits<std::uint16_t>::max()) {
    damaged_properties("nom de " + std::to_string(bytes.size()) + " octets, trop long");
  }
  append_le16(out, bytes.size());
  out.insert(out.end(), bytes.begin(), bytes.end());
}

// Pool index of a name: the exact spelling first, else a case-insensitive match, else a new
// entry at the end.
std::size_t pool_index(std::vector<std::string>& pool, std::string_view name) {
  auto it = std::find(pool.begin(), pool.end(), name);
  if (it == pool.end()) {
    it = std::find_if(pool.begin(), pool.end(),
                      [&](const std::string& n) { return property_name_equals(n, name); });
  }
  if (it != pool.end()) return static_cast<std::size_t>(it - pool.begin());
  pool.emplace_back(name);
  return pool.size() - 1;
}

}  // namespace

const Property* PropertyBlock::find(std::string_view property) const {
  for (const auto& p : properties) {
    if (property_name_equals(p.name, property)) return &p;
  }
  return nullptr;
}

void PropertyBlock::set(std::string_view property, Value value, std::uint8_t flags) {
  const ColumnType type = property_type_for(value.kind());
  set(property, type, std::move(value), flags);
}

void PropertyBlock::set(std::string_view property, ColumnType type, Value value,
                        std::uint8_t flags) {
  for (auto& p : properties) {
    if (property_name_equals(p.name, property)) {
      p.type = type;
      p.value = std::move(value);
      p.flags = flags;
      p.width = 0;
      return;
    }
  }
  properties.push_back(Property{std::string(property), type, flags, std::move(value), 0});
}

bool PropertyBlock::remove(std::string_view property) {
  const auto it = std::find_if(properties.begin(), properties.end(),
                               [&](const Property& p) { return property_name_equals(p.name, property); });
  if (it == properties.end()) return false;
  properties.erase(it);
  return true;
}

const PropertyBlock* PropertySet::object() const {
  for (const auto& b : blocks) {
    if (b.kind == PropertyBlockKind::Object) return &b;
  }
  return nullptr;
}

const PropertyBlock* PropertySet::column(std::string_view column_name) const {
  for (const auto& b : blocks) {
    if (b.kind == PropertyBlockKind::Column && property_name_equals(b.name, column_name)) return &b;
  }
  return nullptr;
}

PropertyBlock& PropertySet::object_block() {
  for (auto& b : blocks) {
    if (b.kind == PropertyBlockKind::Object) return b;
  }
  return *blocks.insert(blocks.begin(), PropertyBlock{PropertyBlockKind::Object, {}, {}});
}

PropertyBlock& PropertySet::column_block(std::string_view column_name) {
  for (auto& b : blocks) {
    if (b.kind == PropertyBlockKind::Column && property_name_equals(b.name, column_name)) return b;
  }
  blocks.push_back(PropertyBlock{PropertyBlockKind::Column, std::string(column_name), {}});
  return blocks.back();
}

PropertySet parse_properties(std::span<const std::uint8_t> blob) {
  PropertySet set;
  if (blob.empty()) return set;
  Reader r(blob, 0);
  const auto magic = r.take(std::min(blob.size(), kMagic.size()));
  if (!std::equal(magic.begin(), magic.end(), kMagic.begin(), kMagic.end())) {
    // Access 97 keeps its properties in an older form ("KKD", code-page names) not read here.
    static constexpr std::array<std::uint8_t, 4> kJet3Magic{'K', 'K', 'D', 0};
    if (std::equal(magic.begin(), magic.end(), kJet3Magic.begin(), kJet3Magic.end()))
      throw Error(static_cast<int>(ErrorCode::OperationNotSupported),
                  describe(static_cast<int>(ErrorCode::OperationNotSupported)) +
                      " (propriétés au format Access 97 (Jet 3), non lues)");
    damaged_properties("en-tête inconnu (format Jet 4 attendu)");
  }
  bool have_pool = false;
  while (!r.done()) {
    const std::size_t block_at = r.offset();
    const std::uint32_t len = r.u32();
    if (len < kBlockHeader || len - 4 > r.remaining()) {
      damaged_properties("bloc de " + std::to_string(len) + " octets à l'octet " + std::to_string(block_at));
    }
    Reader block = r.sub(len - 4);
    const std::uint16_t type = block.u16();
    if (type == kNamePoolBlock) {
      if (have_pool) damaged_properties("deuxième liste de noms à l'octet " + std::to_string(block_at));
      set.names = read_name_pool(block);
      have_pool = true;
    } else if (type == static_cast<std::uint16_t>(PropertyBlockKind::Object) ||
               type == static_cast<std::uint16_t>(PropertyBlockKind::Column)) {
      if (!have_pool) damaged_properties("valeurs avant la liste des noms à l'octet " + std::to_string(block_at));
      set.blocks.push_back(read_value_block(block, static_cast<PropertyBlockKind>(type), set.names));
    } else {
      damaged_properties("bloc de type " + std::to_string(type) + " inconnu à l'octet " + std::to_string(block_at));
    }
  }
  return set;
}

std::vector<std::uint8_t> encode_properties(const PropertySet& set) {
  std::vector<std::uint8_t> out;
  if (set.names.empty() && set.blocks.empty()) return out;

  // Resolve every value's pool index first: the pool is written before the values.
  std::vector<std::string> pool = set.names;
  std::vector<std::vector<std::size_t>> indexes;
  for (const auto& block : set.blocks) {
    auto& ix = indexes.emplace_back();
    for (const auto& p : block.properties) ix.push_back(pool_index(pool, p.name));
  }

  if (pool.size() > std::numeric_limits<std::uint16_t>::max() + std::size_t{1}) {
    damaged_properties(std::to_string(pool.size()) + " noms de propriétés, trop pour un seul objet");
  }

  out.insert(out.end(), kMagic.begin(), kMagic.end());
  std::size_t start = out.size();
  append_le32(out, 0);
  append_le16(out, kNamePoolBlock);
  for (const auto& name : pool) put_name(out, name);
  store_le32(out, start, out.size() - start);

  for (std::size_t b = 0; b < set.blocks.size(); ++b) {
    const auto& block = set.blocks[b];
    start = out.size();
    append_le32(out, 0);
    append_le16(out, static_cast<std::uint16_t>(block.kind));
    const std::size_t header = out.size();
    append_le32(out, 0);
    put_name(out, block.name);
    store_le32(out, header, out.size() - header);
    for (std::size_t i = 0; i < block.properties.size(); ++i) {
      const Property& p = block.properties[i];
      const auto data = encode_property_value(p.type, p.value, p.width);
      if (data.size() + kValueHeader > std::numeric_limits<std::uint16_t>::max()) {
        damaged_properties("valeur de la propriété " + p.name + " trop longue (" + std::to_string(data.size()) +
                " octets)");
      }
      append_le16(out, data.size() + kValueHeader);
      out.push_back(p.flags);
      out.push_back(static_cast<std::uint8_t>(p.type));
      append_le16(out, indexes[b][i]);
      append_le16(out, data.size());
      out.insert(out.end(), data.begin(), data.end());
    }
    store_le32(out, start, out.size() - start);
  }
  return out;
}

std::optional<PropertyForm> engine_column_property_form(std::string_view property) {
  struct Known {
    std::string_view name;
    ColumnType type;
  };
  static constexpr Known kKnown[] = {{"DefaultValue", ColumnType::Memo},
                                     {"ValidationRule", ColumnType::Text},
                                     {"ValidationText", ColumnType::Text},
                                     {"Required", ColumnType::Boolean},
                                     {"AllowZeroLength", ColumnType::Boolean}};
  for (const Known& k : kKnown)
    if (property_name_equals(k.name, property)) return PropertyForm{k.type, property_flags::Ddl};
  return std::nullopt;
}

void set_column_property(PropertyBlock& block, std::string_view property, const Value& value) {
  std::optional<PropertyForm> form;
  if (const Property* existing = block.find(property)) form = PropertyForm{existing->type, existing->flags};
  else form = engine_column_property_form(property);
  if (!form) {
    block.set(property, value);
    return;
  }
  const bool textual = form->type == ColumnType::Text || form->type == ColumnType::Memo;
  if (textual && value.kind() != ValueKind::Text) block.set(property, form->type, Value::text(value.to_display()), form->flags);
  else block.set(property, form->type, value, form->flags);
}

}  // namespace jet
