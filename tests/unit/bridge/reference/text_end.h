// How far a text without a NUL extends in a record's memory: up to the first pointer after it, or
// to the end of its block. A block is a result, a list node, a pointer's target or an array's
// element.
#pragma once

#include <cstdint>

#include "schema/types.h"

namespace kvrpc::test {

struct record_block {
  const char* base;
  const wire_type* type;
};

// Returns the end of the bytes that a text at `text`, in the block, may be read from.
const char* text_end(const record_block& block, const char* text);

}  // namespace kvrpc::test
