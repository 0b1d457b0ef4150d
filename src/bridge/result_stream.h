// The result of a call on its way from the wire to the reply's text, in one pass.
//
// A list is not kept: its nodes are read one after the other into the same memory and are written
// at once, since a list with its link first or last stands on the wire in the order of its text.
// The members of a structure are written when all behind them up to the next pointer is read, for a
// text without a NUL runs on that far (see text_end.h). What has another shape is read whole first.
#pragma once

#include <cstddef>

#include "bridge/record_xdr.h"
#include "json/text_buffer.h"

namespace kvrpc {

struct streamed_result {
  typed_value value;  // its data zeroed at first; released by the caller
  text_buffer& text;  // gets the JSON text behind the `kept` bytes that it has already
  std::size_t kept;
  bool written = false;  // whether the text is there, whole
};

// The xdrproc_t of a result; the object is a streamed_result. It reads to the result's end also
// when the text cannot be written, so that FALSE always means a result that could not be read.
bool_t xdr_streamed(XDR* xdrs, void* object, std::uint32_t limit = LASTUNSIGNED);

}  // namespace kvrpc
