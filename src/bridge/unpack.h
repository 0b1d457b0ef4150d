// Fields whose wire form has a fixed size, read straight from the bytes of the stream's buffer.
#pragma once

#include <cstdint>

#include "rpc/xdr.h"
#include "schema/types.h"

namespace kvrpc {

// Reads the fields from `begin` up to `end`, all of fixed wire size, from their wire form.
void unpack_fields(const char* wire, char* base, const record_type& record, std::uint32_t begin,
                   std::uint32_t end);

// Decodes the fields of fixed wire size from `begin` in one piece when that piece lies in the
// stream's buffer. The number of fields decoded, 0 when they have to be read one by one.
std::uint32_t unpack_run(XDR* xdrs, char* base, const record_type& record, std::uint32_t begin,
                         std::uint32_t end);

}  // namespace kvrpc
