// The database header (page 0): format detection and the fields Jet keeps there. Part of the
// header is masked with RC4 (a fixed key); code page, sort order and the password live in it.
#pragma once

#include <cstdint>
#include <span>
#include <string>

namespace jet {

enum class FileFormat { Jet3, Jet4, Ace12, Ace14, Unknown };

struct DatabaseHeader {
  FileFormat format = FileFormat::Unknown;
  std::uint8_t version_byte = 0;    // 0 Jet3, 1 Jet4, 2+ ACE
  std::uint16_t code_page = 0;
  std::uint32_t sort_order = 0;     // collating order, 0x409 "General"
  std::uint32_t database_key = 0;
  std::string password;             // empty when none
  double creation_date = 0;         // Jet date (Jet 4; Jet 3 keeps none here)
  std::size_t page_size = 4096;
};

const char* format_name(FileFormat format) noexcept;  // "Jet 4 (Access 2000-2003)"...
const char* sort_order_name(std::uint32_t sort_order) noexcept;  // "General"...

// Decodes the header from the first bytes of the file (at least 0x100 used). Throws 3343
// (unrecognised format, naming `file`) when the bytes are not a Jet 3 or Jet 4 database.
DatabaseHeader parse_header(std::span<const std::uint8_t> page0, const std::string& file);

// XORs `bytes` (the masked part of page 0, from disk::kHeaderMaskedStart) with the RC4
// keystream of the fixed header key: it masks clear bytes and unmasks stored ones.
void mask_header(std::span<std::uint8_t> bytes) noexcept;

}  // namespace jet
