// The server directory: server name to program number, host and transport, all under the
// environment's control.
//
// Nothing here is locked; the interpreter lock serialises its users. Two values are cached for the
// life of the process: the program number offset, at the first creation of any client, and the
// local host name, at the first creation that needs it. Every other variable is read at the point
// of use.
//
//   ALPHAHOST, OMEGAHOST   host of alpha and omega, if not empty; otherwise the local host name
//   LOCALHOST              local host name, its first 35 characters; otherwise "localhost"
//   ZOLMHOST               host of all others, also if empty; otherwise "localhost"
//   KORVEXRPCOFFSET        added to every program number
//   RPCTRANSPORT           transport, also if empty; otherwise "tcp"
//
// LAMBDAHOST, GAMMAHOST, THETAHOST and PIHOST are reserved and change nothing.
#pragma once

#include <cstddef>
#include <cstdint>

#include "rpc/clnt.h"
#include "rpc/rpc_os.h"

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

// The text of an environment variable, or a constant text in its place.
class setting {
 public:
  explicit setting(const char* variable) : variable_(variable), text_(variable_.get()) {}
  void replace(const char* constant) { text_ = constant; }
  bool failed() const { return variable_.failed(); }  // there was no memory for the variable
  const char* text() const { return text_; }          // null if there is neither

 private:
  environment_text variable_;
  const char* text_;
};

setting rpc_transport();
setting default_host();
setting alpha_host();
setting omega_host();
// Returns the local host name, never empty; null without memory to read it.
const char* local_host();
// Adds the offset to a program number. Returns false without memory to read it.
bool rpc_prog_number(std::uint32_t program, std::uint32_t* shifted);

}  // namespace kvrpc
