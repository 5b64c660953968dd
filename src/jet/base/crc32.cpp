#include "jet/base/crc32.h"

#include <array>

#include "jet/base/bytes.h"

namespace jet {
namespace {

// Eight tables: table[k][b] is the CRC of byte b followed by k zero bytes, so that eight
// bytes are folded in per step (the journal of a large commit holds hundreds of megabytes).
constexpr std::array<std::array<std::uint32_t, 256>, 8> make_crc_tables() {
  std::array<std::array<std::uint32_t, 256>, 8> table{};
  for (std::uint32_t i = 0; i < 256; ++i) {
    std::uint32_t c = i;
    for (int k = 0; k < 8; ++k) c = (c & 1) ? 0xEDB88320u ^ (c >> 1) : c >> 1;
    table[0][i] = c;
  }
  for (std::size_t k = 1; k < 8; ++k)
    for (std::size_t i = 0; i < 256; ++i) table[k][i] = table[0][table[k - 1][i] & 0xFF] ^ (table[k - 1][i] >> 8);
  return table;
}
constexpr auto kCrc = make_crc_tables();

}  // namespace

std::uint32_t crc32(std::uint32_t crc, const std::uint8_t* bytes, std::size_t size) {
  crc = ~crc;
  std::size_t i = 0;
  for (; i + 8 <= size; i += 8) {
    const std::uint32_t low = crc ^ load_le32(bytes + i);
    const std::uint32_t high = load_le32(bytes + i + 4);
    crc = kCrc[7][low & 0xFF] ^ kCrc[6][(low >> 8) & 0xFF] ^ kCrc[5][(low >> 16) & 0xFF] ^ kCrc[4][low >> 24] ^
          kCrc[3][high & 0xFF] ^ kCrc[2][(high >> 8) & 0xFF] ^ kCrc[1][(high >> 16) & 0xFF] ^ kCrc[0][high >> 24];
  }
  for (; i < size; ++i) crc = kCrc[0][(crc ^ bytes[i]) & 0xFF] ^ (crc >> 8);
  return ~crc;
}

}  // namespace jet
