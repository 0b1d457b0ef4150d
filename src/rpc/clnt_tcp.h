// The TCP transport: one connection per handle and one call at a time. A reply is recognised by its
// transaction id.
//
// The handle closes the socket that it made itself. A socket that the caller passed in stays the
// caller's. The timeout bounds one read and not the whole reply. A call never connects anew and
// never repeats anything: a handle whose connection is lost fails until it is destroyed.
//
//   record mark | xid | 0 | 2 | program | version | procedure | credential | verifier | arguments
//   xid: each call decrements the stored bytes as a little-endian number. For example, 00 01 02 03
//        is followed by ff 00 02 03
#pragma once

#include <cstdint>

#include "rpc/clnt.h"
#include "rpc/rpc_os.h"

namespace kvrpc {

// Returns a handle, or null with the reason in rpc_createerr. Asks the portmapper for a port of 0
// and stores it in the address. Replaces a negative `*sock` with a new connected socket; uses any
// other as it is. The buffer sizes are those of the record stream; a receive size of 0 selects the
// fastest.
CLIENT* clnttcp_create(rpc_address* address, std::uint32_t program, std::uint32_t version,
                       rpc_socket* sock, std::uint32_t send_size, std::uint32_t receive_size);

}  // namespace kvrpc
