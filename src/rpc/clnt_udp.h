// The UDP transport: each call is one datagram, sent again at a fixed interval until a reply with
// its transaction id comes or the total time is spent.
//
// The handle closes the socket that it made itself; one that the caller passed in stays the
// caller's, in its own blocking mode. A datagram that is no reply to the call is dropped and starts
// the interval anew. No failure spoils the handle for the next call.
//
//   xid | 0 | 2 | program | version | procedure | credential | verifier | arguments
//   xid: each call raises the first byte by one, with the carry going into the second only
#pragma once

#include <cstdint>

#include "rpc/clnt.h"
#include "rpc/rpc_os.h"

namespace kvrpc {

constexpr std::uint32_t UDPMSGSIZE = 8800;

// A handle that sends again every `wait`, or null with the reason in rpc_createerr. A port of 0 is
// looked up and filled in. A negative `*sock` is replaced by a new socket, any other is used as it
// is. Buffer sizes are rounded up to multiples of 4.
CLIENT* clntudp_bufcreate(rpc_address* address, std::uint32_t program, std::uint32_t version,
                          rpc_timeval wait, rpc_socket* sock, std::uint32_t send_size,
                          std::uint32_t receive_size);
// The same with buffers of UDPMSGSIZE.
CLIENT* clntudp_create(rpc_address* address, std::uint32_t program, std::uint32_t version,
                       rpc_timeval wait, rpc_socket* sock);

}  // namespace kvrpc
