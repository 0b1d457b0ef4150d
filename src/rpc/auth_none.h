// Authentication: the one flavour there is, AUTH_NONE, 16 zero bytes of credential and verifier.
//
// All handles of the process share one AUTH, which the first authnone_create allocates and nobody
// releases. Without memory it is null. The operations below then fail, so a handle may have a null
// AUTH and be called.
#pragma once

#include <cstdint>

#include "rpc/rpc_msg.h"
#include "rpc/xdr.h"

namespace kvrpc {

struct AUTH;

struct auth_ops {
  void (*ah_nextverf)(AUTH* auth);
  bool_t (*ah_marshal)(AUTH* auth, XDR* xdrs);
  bool_t (*ah_validate)(AUTH* auth, const opaque_auth* verifier);
  bool_t (*ah_refresh)(AUTH* auth);
  void (*ah_destroy)(AUTH* auth);
};

struct AUTH {
  opaque_auth ah_cred;
  opaque_auth ah_verf;
  std::uint8_t ah_key[8];
  const auth_ops* ah_ops;
  void* ah_private;
};

// Returns the shared AUTH, or null without memory. A later call may then succeed.
AUTH* authnone_create();

// Writes credential and verifier.
inline bool_t AUTH_MARSHALL(AUTH* auth, XDR* xdrs) {
  return auth == nullptr ? FALSE : auth->ah_ops->ah_marshal(auth, xdrs);
}
// Returns TRUE if the server's verifier is good. With AUTH_NONE, every verifier is.
inline bool_t AUTH_VALIDATE(AUTH* auth, const opaque_auth* verifier) {
  return auth == nullptr ? FALSE : auth->ah_ops->ah_validate(auth, verifier);
}
// Returns TRUE if a refused credential was renewed, so that the call is worth another try.
// AUTH_NONE renews nothing.
inline bool_t AUTH_REFRESH(AUTH* auth) {
  return auth == nullptr ? FALSE : auth->ah_ops->ah_refresh(auth);
}

}  // namespace kvrpc
