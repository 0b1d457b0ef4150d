// How far a text without a NUL extends in a record's memory: up to the first pointer after it, or
// to the end of its block. A block here is what a text may extend in: a result, a list node, a
// pointer's target or an element of an array.
#pragma once

#include <cstdint>

#include "schema/types.h"

namespace kvrpc::test {

struct record_block {
  const char* base;
  const wire_type* type;
};

// Returns the end of the bytes that the text at `text` may extend to. `text` must be in the block.
const char* text_end(const record_block& block, const char* text);

}  // namespace kvrpc::test
