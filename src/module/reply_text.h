// The reply of a call, written from the start where the bytes object of the script has its bytes:
// a long reply is neither copied nor measured again, nor does it need its memory twice.
#pragma once

#include <cstddef>

#include "json/text_buffer.h"
#include "module/ref.h"

namespace kvrpc {

class reply_text {
 public:
  reply_text();

  text_buffer& text() { return text_; }

  // The text as a bytes object, or null with MemoryError pending.
  PyObject* release();

 private:
  text_buffer text_;
};

}  // namespace kvrpc
