// Reads the result of a call from the wire and writes its JSON text, in one pass and without a
// record in memory. This works because everything on the wire has the order of the text: lists with
// their link first, in the middle or last, unions, arrays and vectors.
#pragma once

#include <cstddef>

#include "json/text_buffer.h"
#include "rpc/xdr.h"
#include "schema/types.h"

namespace kvrpc {

struct result_text {
  const wire_type& type;
  text_buffer& text;  // receives the JSON text, after the `kept` bytes that it has already
  std::size_t kept;
  bool written = false;  // true if the text is complete
};

// The xdrproc_t of a result; `object` is a result_text. Returns FALSE only if the result cannot be
// read: if its text cannot be written, the result is read to its end all the same.
bool_t xdr_result(XDR* xdrs, void* object, std::uint32_t limit = LASTUNSIGNED);

}  // namespace kvrpc
