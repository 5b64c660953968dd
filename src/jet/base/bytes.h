// Little-endian integers in byte buffers, the byte order of every field of a Jet file
// (index keys excepted: they are compared as big-endian bytes). Values wider than the
// field keep their low bytes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace jet {

inline void store_le16(std::vector<std::uint8_t>& b, std::size_t at, std::uint64_t v) {
  b[at] = static_cast<std::uint8_t>(v);
  b[at + 1] = static_cast<std::uint8_t>(v >> 8);
}

inline void store_le32(std::vector<std::uint8_t>& b, std::size_t at, std::uint64_t v) {
  for (std::size_t i = 0; i < 4; ++i) b[at + i] = static_cast<std::uint8_t>(v >> (8 * i));
}

inline void append_le16(std::vector<std::uint8_t>& b, std::uint64_t v) {
  b.push_back(static_cast<std::uint8_t>(v));
  b.push_back(static_cast<std::uint8_t>(v >> 8));
}

inline void append_le32(std::vector<std::uint8_t>& b, std::uint64_t v) {
  for (std::size_t i = 0; i < 4; ++i) b.push_back(static_cast<std::uint8_t>(v >> (8 * i)));
}

inline std::uint16_t load_le16(const std::uint8_t* p) {
  return static_cast<std::uint16_t>(p[0] | (p[1] << 8));
}

inline std::uint32_t load_le32(const std::uint8_t* p) {
  return p[0] | (p[1] << 8) | (static_cast<std::uint32_t>(p[2]) << 16) | (static_cast<std::uint32_t>(p[3]) << 24);
}

}  // namespace jet
