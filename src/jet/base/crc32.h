// CRC-32 as zlib and PNG compute it (reflected polynomial 0xEDB88320), the checksum of the
// rollback journal: a journal written by any version of the engine reads back in any other.
#pragma once

#include <cstddef>
#include <cstdint>

namespace jet {

// The CRC of `bytes` continued from `crc` (0 to start).
std::uint32_t crc32(std::uint32_t crc, const std::uint8_t* bytes, std::size_t size);

}  // namespace jet
