// Texts that fill their field, without a NUL.
//
// The servers' texts are read up to their NUL in memory. So a text that fills its field extends
// into the fields that follow, as the home platform lays them out: integers lowest byte first,
// alignment as zero bytes. It ends at a NUL, before the first pointer, or at the end of its
// allocation, which is the result, a list node, a pointer's target or the element of an array. All
// of these bytes follow the text on the wire, so no record is needed to find them.
//
//   {"a", chars(2)} {"n", int_} {"t", text}   in memory   a a 0 0  n n n n  c c c c  pointer
//
//   The text of `a` ends at the padding. A chars(4) would extend through n and the count c.
#pragma once

#include "bridge/wire_window.h"
#include "json/text_buffer.h"
#include "schema/types.h"

namespace kvrpc {

// What follows a value in its allocation: the fields after it in a record, or the `items_left`
// elements after it in a vector; then what follows that record or vector. By default nothing.
struct trail {
  const record_type* record = nullptr;  // null after an element
  const record_field* field = nullptr;
  const wire_type* item = nullptr;
  std::uint32_t items_left = 0;
  const trail* outer = nullptr;
};

// Writes the text of type `type` at `wire`, which the window holds, and all that it extends into.
// Returns false if the bytes that follow it cannot be read. Marks the buffer failed if memory is
// out.
bool write_run_on_text(text_buffer& out, wire_window& window, const char* wire,
                       const wire_type& type, const trail& after);

}  // namespace kvrpc
