// The server directory: from a server's name to its program number, host and transport, all under
// the environment's control.
//
// Nothing here is locked, because the GIL serialises its users. Two values are cached for the life
// of the process: the program number offset, at the first creation of any client, and the local
// host name, at the first creation that needs it. Every other variable is read at each use.
// rpc/servers.h has the servers, rpc/environment.h the variables.
#pragma once

#include <cstddef>
#include <cstdint>

#include "rpc/clnt.h"
#include "rpc/rpc_os.h"
#include "rpc/servers.h"

namespace kvrpc {

// Returns a handle for the server `which`, or null. An unknown name records nothing in
// rpc_createerr; every other failure leaves its reason there. `host` may be null.
CLIENT* server_clnt_create(const char* which, const char* host);
// Destroys a handle. Ignores null.
void server_clnt_destroy(CLIENT* clnt);
// Returns the text of the last creation failure, in the shared buffer of the runtime, or null
// without memory.
const char* server_clnt_create_error(const char* prefix);

// The text of an environment variable, or a constant text in its place.
class setting {
 public:
  explicit setting(const char* name) : variable_(name), text_(variable_.get()) {}
  void replace(const char* constant) { text_ = constant; }
  bool failed() const { return variable_.failed(); }  // there was no memory for the variable
  const char* text() const { return text_; }          // null if there is neither

 private:
  environment_text variable_;
  const char* text_;
};

// Surface: the module takes the hosts of alpha and omega from their rows of rpc/servers.h.
setting rpc_transport();
setting default_host();
setting alpha_host();
setting omega_host();
// Returns the local host name, never empty; null without memory to read it.
const char* local_host();
// Adds the offset to a program number. Returns false without memory to read it.
bool rpc_prog_number(std::uint32_t program, std::uint32_t* shifted);

}  // namespace kvrpc
