// The server directory: server name to program number, host and transport, all under the
// environment's control.
//
// Nothing here is locked; the interpreter lock serialises its users. Two values are cached for the
// life of the process: the program number offset, at the first creation of any client, and the
// local host name, at the first creation that needs it.
#pragma once

#include <cstddef>
#include <cstdint>

#include "rpc/clnt.h"

namespace kvrpc {

struct server_entry {
  const char* name;
  std::uint32_t program;
};

// The seven servers in the order they are compared; each has version 1.
extern const server_entry server_directory[7];

// A handle for the server `which`, or null. An unknown name records nothing in rpc_createerr;
// every other failure leaves its reason there. `host` may be null.
CLIENT* server_clnt_create(const char* which, const char* host);
// Destroys a handle; null is ignored.
void server_clnt_destroy(CLIENT* clnt);
// The text of the last creation failure, in the shared buffer of the runtime; may be null.
const char* server_clnt_create_error(const char* prefix);

}  // namespace kvrpc
