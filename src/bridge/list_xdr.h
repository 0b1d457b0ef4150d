// The pieces of the record walker: fields in a row, lists, counted arrays, and the direct reading
// of fields whose wire form has a fixed size.
#pragma once

#include <cstdint>

#include "rpc/xdr.h"
#include "schema/types.h"

namespace kvrpc {

// A whole record; when it is a list node, all the nodes behind it as well.
bool_t xdr_record(XDR* xdrs, char* base, const record_type& record);
// The fields from `begin` up to `end`, none of them the link of a list.
bool_t xdr_fields(XDR* xdrs, char* base, const record_type& record, std::uint32_t begin,
                  std::uint32_t end);
// A list from its first node `base`, which is the caller's.
bool_t xdr_list(XDR* xdrs, char* base, const record_type& record);
// A counted array of records; `block` is its count and pointer.
bool_t xdr_array_of(XDR* xdrs, char* block, const record_type& record);

// Decodes the fields of fixed wire size from `begin` in one piece when that piece lies in the
// stream's buffer. The number of fields decoded, 0 when they have to be read one by one.
std::uint32_t unpack_run(XDR* xdrs, char* base, const record_type& record, std::uint32_t begin,
                         std::uint32_t end);

// A zero-filled target of a pointer, or null with the message for it.
char* new_target(const record_type& record);

}  // namespace kvrpc
