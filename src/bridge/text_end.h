// How far a fixed text may be read that has no NUL of its own.
//
// The servers' texts are read up to their NUL, so one that fills its field runs on into the bytes
// of the fields behind it. It ends before the first pointer behind it, so that no address reaches
// a reply, or with the block of memory that it lies in.
#pragma once

#include <cstdint>

#include "schema/types.h"

namespace kvrpc {

// A block of memory that holds `count` values of one type, one behind the other.
struct record_block {
  const char* base;
  const wire_type* type;
  std::uint32_t count;
};

// The end of what a text at `text`, in the block, may be read from.
const char* text_end(const record_block& block, const char* text);

}  // namespace kvrpc
