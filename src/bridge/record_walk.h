// The pieces of the record walker: fields in a row, lists, counted arrays, and the memory of what
// pointers lead to.
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

}  // namespace kvrpc
