// The memory of a reply text, such that a long reply becomes the bytes object of the script where
// it stands: it is not copied, and its memory is not needed twice.
#pragma once

#include "json/text_buffer.h"
#include "module/ref.h"

namespace kvrpc {

// Blocks with room in front for the header of a bytes object.
extern const text_memory reply_memory;

// The text of a buffer with reply_memory as a bytes object, or null with MemoryError pending. The
// buffer may be empty afterwards.
PyObject* take_reply(text_buffer& text);

}  // namespace kvrpc
