// The records that the procedures use, for code that needs the tables as a whole: kvrpc-schema and
// the tests. No call needs it.
#pragma once

#include "schema/types.h"

namespace kvrpc {

struct record_list {
  static constexpr std::uint32_t capacity = 512;
  const record_type* items[capacity];
  std::uint32_t count;

  const record_type* const* begin() const { return items; }
  const record_type* const* end() const { return items + count; }
};

// Returns each record once, in the order of its first use, and none beyond the capacity.
record_list reachable_records();

}  // namespace kvrpc
