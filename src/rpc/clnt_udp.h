// The UDP transport: each call is one datagram, sent again at a fixed interval until a reply with
// its transaction id arrives or the timeout ends.
//
// The handle closes the socket that it made itself. A socket that the caller passed in stays the
// caller's, in its own blocking mode. A datagram that is no reply to the call is dropped and starts
// the interval anew. After any failure, the handle can make the next call.
//
//   xid | 0 | 2 | program | version | procedure | credential | verifier | arguments
//   xid: each call increments the first two bytes as a little-endian number. For example,
//        ff ff 02 03 is followed by 00 00 02 03
#pragma once

#include <cstdint>

#include "rpc/clnt.h"
#include "rpc/rpc_os.h"

namespace kvrpc {

constexpr std::uint32_t UDPMSGSIZE = 8800;

// Returns a handle that sends again every `wait`, or null with the reason in rpc_createerr. Asks
// the portmapper for a port of 0 and stores it in the address. Replaces a negative `*sock` with a
// new socket; uses any other as it is. Rounds buffer sizes up to multiples of 4.
CLIENT* clntudp_bufcreate(rpc_address* address, std::uint32_t program, std::uint32_t version,
                          rpc_timeval wait, rpc_socket* sock, std::uint32_t send_size,
                          std::uint32_t receive_size);
// The same with buffers of UDPMSGSIZE.
CLIENT* clntudp_create(rpc_address* address, std::uint32_t program, std::uint32_t version,
                       rpc_timeval wait, rpc_socket* sock);

}  // namespace kvrpc
