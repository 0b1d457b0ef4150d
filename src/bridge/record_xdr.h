// Records over XDR: one walker over the tables for all three directions, and the release of what a
// record holds.
//
// What a decode allocates is zero-filled and followed by a zero byte, and grows as its bytes
// arrive: neither a count nor a chain of list links allocates far beyond what the stream has
// delivered. After a decode that failed the record is consistent and record_free releases it.
// Lists are walked with loops.
#pragma once

#include <cstdint>

#include "rpc/xdr.h"
#include "schema/types.h"

namespace kvrpc {

// A value of a table's type, as clnt_call hands it to xdr_typed.
struct typed_value {
  const wire_type* type;
  char* data;
};

// The xdrproc_t of every argument; the object is a typed_value. Results have xdr_result.
bool_t xdr_typed(XDR* xdrs, void* object, std::uint32_t limit = LASTUNSIGNED);

// Carries one value of `type`.
bool_t xdr_value(XDR* xdrs, char* data, const wire_type& type);

// Releases what a value holds and leaves its pointers null.
void record_free(const wire_type& type, void* data);
// Releases a list from `node` (which may be null) to its end, the nodes included.
void list_free(const record_type& record, char* node);

}  // namespace kvrpc
