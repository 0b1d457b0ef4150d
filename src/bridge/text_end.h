// How far a fixed text may be read that has no NUL of its own.
//
// The servers' texts are read up to their NUL, so one that fills its field runs on into the bytes
// of the fields behind it. It ends before the first pointer behind it, so that no address reaches
// a reply, or with its record: the argument or result, a list node, the target of a pointer, an
// element of a counted array.
#pragma once

#include <cstdint>

#include "schema/types.h"

namespace kvrpc {

// A value in memory that texts may run on in.
struct record_block {
  const char* base;
  const wire_type* type;
};

// The end of what a text at `text`, in the block, may be read from.
const char* text_end(const record_block& block, const char* text);

}  // namespace kvrpc
