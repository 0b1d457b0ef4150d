// The one AUTH of the process. The 16 bytes that every call carries are encoded once.
#include "rpc/auth_none.h"

#include <cstdlib>

namespace kvrpc {
namespace {

constexpr std::uint32_t MAX_MARSHAL_SIZE = 20;

struct authnone_private {
  AUTH no_client;
  char marshalled_client[MAX_MARSHAL_SIZE];
  std::uint32_t mcnt;  // size of marshalled_client, 0 until it is built
};

authnone_private* authnone = nullptr;

bool_t authnone_marshal(AUTH*, XDR* xdrs) {
  if (authnone == nullptr) return FALSE;
  return XDR_PUTBYTES(xdrs, authnone->marshalled_client, authnone->mcnt);
}

constexpr auth_ops authnone_ops = {
    [](AUTH*) {},
    authnone_marshal,
    [](AUTH*, const opaque_auth*) { return TRUE; },
    [](AUTH*) { return FALSE; },
    [](AUTH*) {},
};

// Encodes the bytes that every call carries.
void marshal(authnone_private* self) {
  XDR stream;
  xdrmem_create(&stream, self->marshalled_client, MAX_MARSHAL_SIZE, XDR_ENCODE);
  xdr_opaque_auth(&stream, &self->no_client.ah_cred);
  xdr_opaque_auth(&stream, &self->no_client.ah_verf);
  self->mcnt = XDR_GETPOS(&stream);
  XDR_DESTROY(&stream);
}

}  // namespace

AUTH* authnone_create() {
  if (authnone == nullptr) {
    authnone = static_cast<authnone_private*>(std::calloc(1, sizeof(authnone_private)));
    if (authnone == nullptr) return nullptr;
  }
  if (authnone->mcnt == 0) {
    authnone->no_client.ah_cred = _null_auth;
    authnone->no_client.ah_verf = _null_auth;
    authnone->no_client.ah_ops = &authnone_ops;
    marshal(authnone);
  }
  return &authnone->no_client;
}

}  // namespace kvrpc
