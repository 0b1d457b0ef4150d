// The memory of reply texts. A reply becomes the bytes object in place, so that a long one is
// neither copied nor held twice. (Where cutting a block does not shrink it, as on Windows, it is
// copied.)
#pragma once

#include "json/text_buffer.h"
#include "module/ref.h"

namespace kvrpc {

// Blocks with room for the header of a bytes object before the text.
extern const text_memory reply_memory;

// Returns the text as a bytes object, or null with MemoryError set. The buffer must use
// reply_memory. It may be empty afterwards.
PyObject* take_reply(text_buffer& text);

}  // namespace kvrpc
