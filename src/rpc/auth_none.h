// Authentication: the one flavour there is, AUTH_NONE, 16 zero bytes of credential and verifier.
//
// Every client of the process shares one AUTH, built by the first authnone_create and never
// released. It is null when memory was short; the operations below then fail like any other
// operation, so a handle may carry the null and be called.
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

// The shared AUTH, or null without memory; a later attempt may then succeed.
AUTH* authnone_create();

// Writes credential and verifier.
inline bool_t AUTH_MARSHALL(AUTH* auth, XDR* xdrs) {
  return auth == nullptr ? FALSE : auth->ah_ops->ah_marshal(auth, xdrs);
}
// Whether the server's verifier is good; with AUTH_NONE every one is.
inline bool_t AUTH_VALIDATE(AUTH* auth, const opaque_auth* verifier) {
  return auth == nullptr ? FALSE : auth->ah_ops->ah_validate(auth, verifier);
}
// Whether a refused credential was renewed and the call is worth another try; never here.
inline bool_t AUTH_REFRESH(AUTH* auth) {
  return auth == nullptr ? FALSE : auth->ah_ops->ah_refresh(auth);
}

}  // namespace kvrpc
