// Records to XDR bytes, and the release of what a record owns: one walker over the tables. Lists of
// any length are walked with loops. Nothing here decodes, because result_reader.h reads results
// without a record.
#pragma once

#include <cstdint>

#include "rpc/xdr.h"
#include "schema/types.h"

namespace kvrpc {

// A value of a table's type, as clnt_call passes it to xdr_typed.
struct typed_value {
  const wire_type* type;
  char* data;
};

// The xdrproc_t of every argument; the object is a typed_value. Results have xdr_result.
bool_t xdr_typed(XDR* xdrs, void* object, std::uint32_t limit = LASTUNSIGNED);

// Writes or releases one value of `type`. Fails for XDR_DECODE.
bool_t xdr_value(XDR* xdrs, char* data, const wire_type& type);

// Releases what a value owns and sets its pointers to null.
void record_free(const wire_type& type, void* data);
// Releases `node`, which may be null, and all nodes after it, with what they own.
void list_free(const record_type& record, char* node);

}  // namespace kvrpc
