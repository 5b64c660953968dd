// The journal's checksum is the standard CRC-32: a journal left by a crash is read back by
// any build of the engine, so its value must not depend on how it is computed.
#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "jet/base/crc32.h"

namespace crc32_test {
namespace {

std::uint32_t of(const std::string& text) {
  return jet::crc32(0, reinterpret_cast<const std::uint8_t*>(text.data()), text.size());
}

// Bit by bit, straight from the polynomial.
std::uint32_t bitwise(const std::vector<std::uint8_t>& bytes) {
  std::uint32_t crc = 0xFFFFFFFFu;
  for (const std::uint8_t b : bytes) {
    crc ^= b;
    for (int k = 0; k < 8; ++k) crc = (crc & 1) ? 0xEDB88320u ^ (crc >> 1) : crc >> 1;
  }
  return ~crc;
}

TEST(Crc32, GivesTheStandardCheckValues) {
  EXPECT_EQ(of(""), 0u);
  EXPECT_EQ(of("123456789"), 0xCBF43926u);
  EXPECT_EQ(of("The quick brown fox jumps over the lazy dog"), 0x414FA339u);
}

TEST(Crc32, AnyLengthAndAnySplitGiveTheBitwiseValue) {
  std::mt19937 random(11);
  for (std::size_t size = 0; size < 70; ++size) {
    std::vector<std::uint8_t> bytes(size);
    for (auto& b : bytes) b = static_cast<std::uint8_t>(random());
    const std::uint32_t expected = bitwise(bytes);
    EXPECT_EQ(jet::crc32(0, bytes.data(), size), expected) << size;
    for (std::size_t cut = 0; cut <= size; cut += 3) {
      const std::uint32_t first = jet::crc32(0, bytes.data(), cut);
      EXPECT_EQ(jet::crc32(first, bytes.data() + cut, size - cut), expected) << size << " cut " << cut;
    }
  }
}

}  // namespace
}  // namespace crc32_test
