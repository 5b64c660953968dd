#include "jet/storage/header.h"

#include <array>
#include <cstring>

#include "jet/base/bytes.h"
#include "jet/base/error.h"
#include "jet/storage/format.h"
#include "jet/storage/format_layout.h"
#include "jet/storage/pager.h"
#include "jet/base/text_codec.h"

namespace jet {

void mask_header(std::span<std::uint8_t> bytes) noexcept {
  const auto& key = disk::kHeaderMaskKey;
  std::array<std::uint8_t, 256> s{};
  for (int i = 0; i < 256; ++i) s[static_cast<std::size_t>(i)] = static_cast<std::uint8_t>(i);
  std::uint8_t j = 0;
  for (std::size_t i = 0; i < 256; ++i) {
    j = static_cast<std::uint8_t>(j + s[i] + key[i % key.size()]);
    std::swap(s[i], s[j]);
  }
  std::uint8_t a = 0, b = 0;
  for (auto& byte : bytes) {
    a = static_cast<std::uint8_t>(a + 1);
    b = static_cast<std::uint8_t>(b + s[a]);
    std::swap(s[a], s[b]);
    byte ^= s[static_cast<std::uint8_t>(s[a] + s[b])];
  }
}

const char* format_name(FileFormat format) noexcept {
  switch (format) {
    case FileFormat::Jet3: return "Jet 3 (Access 97)";
    case FileFormat::Jet4: return "Jet 4 (Access 2000-2003)";
    case FileFormat::Ace12: return "ACE 12 (Access 2007)";
    case FileFormat::Ace14: return "ACE 14+ (Access 2010 ou plus récent)";
    case FileFormat::Unknown: break;
  }
  return "inconnu";
}

const char* sort_order_name(std::uint32_t sort_order) noexcept {
  switch (sort_order & 0xFFFF) {
    case 0x0409: return "General";
    case 0x040C: return "French";
    case 0x0000: return "(none)";
    default: return "other";
  }
}

DatabaseHeader parse_header(std::span<const std::uint8_t> page0, const std::string& file) {
  static constexpr char kJet[] = "Standard Jet DB";
  static constexpr char kAce[] = "Standard ACE DB";
  if (page0.size() < disk::kHeaderMaskedStart + disk::kHeaderMaskedLength) {
    // Too short to be any Jet file: an empty or cut file is damaged if it starts like one.
    if (page0.size() >= disk::kHeaderMagic + disk::kHeaderMagicLength &&
        std::memcmp(page0.data() + disk::kHeaderMagic, kJet, disk::kHeaderMagicLength) == 0)
      throw_damaged(file, "en-tête tronqué");
    throw Error(ErrorCode::UnrecognizedFormat, file);
  }
  const bool jet = std::memcmp(page0.data() + disk::kHeaderMagic, kJet, disk::kHeaderMagicLength) == 0;
  const bool ace = std::memcmp(page0.data() + disk::kHeaderMagic, kAce, disk::kHeaderMagicLength) == 0;
  if (page0[0] != 0x00 || (!jet && !ace)) throw Error(ErrorCode::UnrecognizedFormat, file);

  DatabaseHeader h;
  h.version_byte = page0[disk::kHeaderVersion];
  switch (h.version_byte) {
    case 0: h.format = FileFormat::Jet3; break;
    case 1: h.format = FileFormat::Jet4; break;
    case 2: h.format = FileFormat::Ace12; break;
    default: h.format = FileFormat::Ace14; break;
  }
  // Jet 3 and Jet 4 are read; ACE files (and an ACE version byte in a Jet file) are not.
  if ((h.format != FileFormat::Jet4 && h.format != FileFormat::Jet3) || !jet)
    throw Error(ErrorCode::UnrecognizedFormat, file);
  const FormatLayout& layout = layout_of(h.format);
  h.page_size = layout.page_size;

  std::array<std::uint8_t, 0x100> clear{};
  std::memcpy(clear.data(), page0.data(), std::min(page0.size(), clear.size()));
  mask_header(std::span(clear).subspan(disk::kHeaderMaskedStart, layout.header_masked_length));

  h.code_page = load_le16(&clear[disk::kHeaderCodePage]);
  h.database_key = load_le32(&clear[disk::kHeaderDatabaseKey]);
  h.sort_order = load_le16(&clear[layout.header_sort_order_offset]);
  std::array<std::uint8_t, disk::kHeaderPasswordLength> password{};
  std::memcpy(password.data(), &clear[disk::kHeaderPassword], layout.header_password_length);
  if (layout.header_has_creation_date) {
    double created;
    std::memcpy(&created, &clear[disk::kHeaderCreationDate], sizeof created);
    h.creation_date = created;
    // The 40 password bytes are further XORed with the low 32 bits of the creation date.
    std::array<std::uint8_t, 4> mask{};
    if (created == created && created > -2.0e9 && created < 2.0e9) {
      const auto whole = static_cast<std::int32_t>(created);
      for (int i = 0; i < 4; ++i) mask[static_cast<std::size_t>(i)] = static_cast<std::uint8_t>(static_cast<std::uint32_t>(whole) >> (8 * i));
    }
    for (std::size_t i = 0; i < password.size(); ++i) password[i] ^= mask[i % 4];
  }
  const auto stored = std::span(password).first(layout.header_password_length);
  if (layout.header_password_unicode) {
    std::size_t end = 0;
    while (end + 1 < stored.size() && (stored[end] != 0 || stored[end + 1] != 0)) end += 2;
    h.password = utf16le_to_utf8(stored.first(end));
  } else {
    std::size_t end = 0;
    while (end < stored.size() && stored[end] != 0) ++end;
    h.password = code_page_to_utf8(stored.first(end), h.code_page);
  }
  return h;
}

}  // namespace jet
