// The TCP transport: one connection per handle, one call at a time, a reply told by its
// transaction id.
//
// The handle closes the socket that it made itself; one that the caller passed in stays the
// caller's. A wait bounds one read and not the whole reply. A call never connects anew and never
// repeats anything: a handle whose connection is lost fails until it is destroyed.
//
//   record mark | xid | 0 | 2 | program | version | procedure | credential | verifier | arguments
//   xid: each call lowers the stored bytes by one, the first byte first, with the borrow going into
//        the bytes behind it
#pragma once

#include <cstdint>

#include "rpc/clnt.h"
#include "rpc/rpc_os.h"

namespace kvrpc {

// A handle, or null with the reason in rpc_createerr. A port of 0 is looked up and filled in. A
// negative `*sock` is replaced by a new connected socket, any other is used as it is. The buffer
// sizes are those of the record stream; a receive size of 0 takes the size that is fastest.
CLIENT* clnttcp_create(rpc_address* address, std::uint32_t program, std::uint32_t version,
                       rpc_socket* sock, std::uint32_t send_size, std::uint32_t receive_size);

}  // namespace kvrpc
