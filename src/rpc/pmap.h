// The portmapper query (RFC 1833, version 2 of the protocol): which port a program listens on.
//
//   argument   program | version | protocol | 0      result   port      (each word 4 bytes)
#pragma once

#include <cstdint>

#include "rpc/rpc_os.h"

namespace kvrpc {

// Asks the portmapper at port 111 of the address's host, over TCP if RPCTRANSPORT is "tcp", upper
// or lower case, and over UDP otherwise. Returns the port in the host's order, or 0 with the reason
// in rpc_createerr. Sets the address's port to 0.
std::uint16_t pmap_getport(rpc_address* address, std::uint32_t program, std::uint32_t version,
                           std::uint32_t protocol);

}  // namespace kvrpc
