// Long values (Memo and OLE): a 12-byte reference in the row, the data either inline after
// it, in one row of a long-value page, or in a chain of such rows each starting with the
// pointer to the next one. Chains are bounded by the declared length and checked for cycles.
#pragma once

#include <cstdint>
#include <vector>


#include "jet/storage/pager.h"

namespace jet {

enum class LongValueStorage : std::uint8_t { Inline, SinglePage, Chain };

struct LongValueRef {
  std::uint32_t length = 0;
  LongValueStorage storage = LongValueStorage::Inline;
  std::uint32_t pointer = 0;  // row pointer of the first long-value row
};

// Parses the 12-byte reference at the start of `field`.
LongValueRef parse_long_value_ref(const ByteView& field);

// The complete bytes of the long value stored in `field` (reference + inline data).
std::vector<std::uint8_t> read_long_value(Pager& pager, const ByteView& field);

// The rows of a chained long value as read_long_value walks them, up to the declared length,
// and the next pointer the last one holds: 0 when the chain ends there, as it must for the
// readers that follow the pointers rather than the length (mdbtools, freeing a value).
// Empty for a value that is not chained. Throws 3049 as read_long_value.
struct LongValueChain {
  std::vector<std::uint32_t> rows;  // row pointers
  std::uint32_t next = 0;
};
LongValueChain long_value_chain(Pager& pager, const ByteView& field);

}  // namespace jet
