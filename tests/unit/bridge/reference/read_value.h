// The first half of the reference: wire to record, as XDR routines do it.
//
// The reference is a second, naive implementation of a reply: the bytes are read into a record, the
// record becomes a tree (value_tree.h), and the tree is printed. The module has none of these
// steps; the tests compare its text with the reference's.
#pragma once

#include "rpc/xdr.h"
#include "schema/types.h"

namespace kvrpc::test {

// Reads a value into zeroed memory. After a failure, too, record_free() releases what it holds.
bool_t read_value(XDR* xdrs, char* data, const wire_type& type);

}  // namespace kvrpc::test
